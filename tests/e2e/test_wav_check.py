"""The WAV integrity check: its screens and questions, the refusals, and the
background checker process with its log lines in zerka.log."""

import math
import os
import signal
import struct
import time

from browse_common import Library
from reports_common import (back_at_reports, centred_col, choose_report, log_lines, put_media, start_at_reports,
                            tone, wait_log, wav, wav_head)
from term import KEY

GLITCH_QUESTION = "Do you wish to check for glitches caused by bad rips?"
ALBUM_QUESTION = "Starting album No:"


def f32(x):
    return struct.unpack("f", struct.pack("f", x))[0]


def glitch_text(count):
    """The checker's text for a glitch at a sample count, in single precision as the program reckons it."""
    s = f32(f32(count) / f32(88200.0))
    return "Glitch at Sample: %8d (%2d:%9.6f)" % (count // 2, int(f32(s / 60.0)), math.fmod(s, 60.0))


def held_frames(varying, held):
    """`varying` frames of changing audio, then the left channel held at 5000 for `held` frames."""
    frames = [(1000 + i % 50, -1000 - i % 30) for i in range(varying)]
    return frames + [(5000, -2000 - i % 40) for i in range(held)]


def library():
    tracks = lambda n: [("Band", "Song %d" % i, "00:01") for i in range(1, n + 1)]
    return (Library().add(1, "Band", "One", tracks(5)).add(2, "Band", "Two", tracks(5))
            .add(3, "Band", "Three", [("Band", "Off", "00:01", "-", 0), ("Band", "Off too", "00:01", "-", 0)]))


def media(root):
    put_media(root, 1, 1, wav(tone(1)))
    put_media(root, 1, 2, wav(held_frames(100, 1100)))
    # 1/03 is missing
    put_media(root, 1, 4, b"RIFF\0\0\0\0WAVE")                             # shorter than a header
    put_media(root, 1, 5, b"")                                             # empty
    put_media(root, 2, 1, wav(tone(1), riff=b"RIFX"))                      # not RIFF
    put_media(root, 2, 2, wav(tone(1), data_size=0x7FFFFFFF))              # larger than the file: read to its end
    put_media(root, 2, 3, wav(held_frames(10, 1100), data_size=-4))        # negative: nothing scanned
    os.mkdir(os.path.join(root, "Media", "0002_04.wav"))                   # a folder
    os.mkfifo(os.path.join(root, "Media", "0002_05.wav"))                  # a FIFO without a writer
    put_media(root, 3, 1, wav(held_frames(10, 1100)))                      # off line: not looked at


def start_check(t, glitches="y", album="\r"):
    choose_report(t, "WAV file integrity check")
    t.wait_for(GLITCH_QUESTION, row=14, col=12)
    t.settle(0.2)
    t.send(glitches)
    t.wait_for(ALBUM_QUESTION, row=20, col=12)
    t.settle(0.2)
    t.send(album)


def checker_lines(root):
    """The log from the checker's first line on."""
    lines = log_lines(root)
    first = [i for i, line in enumerate(lines) if line.startswith("WAVcheck Started")][0]
    return lines[first:]


def test_refused_in_stand_alone_mode(term, fake, root):
    t = start_at_reports(term, fake, root, library(), mode="standalone")
    choose_report(t, "WAV file integrity check")
    text = "WAV integrity check not allowed in stand-alone mode"
    t.wait_for(text, row=12, col=centred_col(text))
    t.send(" ")
    back_at_reports(t)
    assert not any("WAVcheck" in line for line in log_lines(root))


def test_a_missing_media_folder_is_reported(term, fake, root):
    os.rmdir(os.path.join(root, "Media"))
    t = start_at_reports(term, fake, root, library())
    choose_report(t, "WAV file integrity check")
    text = " Problem opening media directory: 2  - No such file or directory "
    t.wait_for(text, row=12, col=centred_col(text))
    t.send(" ")
    back_at_reports(t)


def test_the_check_logs_every_file_and_the_totals(term, fake, root):
    media(root)
    t = start_at_reports(term, fake, root, library())
    choose_report(t, "WAV file integrity check")
    t.wait_for("WAV integrity check", row=2, col=30)
    t.wait_for("This program runs in the background and will take long time to run.", row=6, col=10)
    t.wait_for('Any problems found will be logged to "zerka.log"', row=8, col=14)
    t.wait_for(GLITCH_QUESTION, row=14, col=12)
    assert "WARNING" not in t.text()   # the master machine is not warned
    t.send("y")
    t.wait_for(ALBUM_QUESTION, row=20, col=12)
    t.settle(0.2)
    t.send("\r")   # no number: from the first album
    back_at_reports(t)
    t.settle(0.3)
    screen = t.text()
    lines = wait_log(root, "WAVcheck Finished: 10 files processed, 7 errors found")
    assert checker_lines(root) == [
        "WAVcheck Started at album 0001, looking for glitches",
        "Media/0001_02.wav: " + glitch_text(2 * (100 + 1002)),
        "Media/0001_03.wav: Cannot open: No such file or directory",
        "Media/0001_04.wav: Cannot read header",
        "Media/0001_05.wav: Cannot read header",
        "Album 0001: 3 errors",
        "Media/0002_01.wav: Not a WAV file",
        "Media/0002_04.wav: Cannot open: Is a directory",
        "Media/0002_05.wav: Cannot open: No such device or address",
        "Album 0002: 1 errors",
        "Album 0003: OK",
        "WAVcheck Finished: 10 files processed, 7 errors found",
        "",   # the format's own line end, then the log's
        "",
    ], "\n".join(lines)
    # The checker drew nothing: the menu is as the client left it.
    t.settle(0.3)
    assert t.text() == screen


def test_without_glitches_and_from_a_given_album(term, fake, root):
    media(root)
    t = start_at_reports(term, fake, root, library())
    start_check(t, glitches="n", album="0002\r")
    back_at_reports(t)
    wait_log(root, "WAVcheck Finished: 5 files processed, 3 errors found")
    assert checker_lines(root)[:2] == ["WAVcheck Started at album 0002",
                                       "Media/0002_01.wav: Not a WAV file"]
    assert "Album 0001: 3 errors" not in log_lines(root)


def test_a_clean_library_has_no_errors(term, fake, root):
    put_media(root, 1, 1, wav(tone(1)))
    t = start_at_reports(term, fake, root, Library().add(1, "Band", "One", [("Band", "Song", "00:01")]))
    start_check(t)
    back_at_reports(t)
    wait_log(root, "WAVcheck Finished: 1 files processed, No errors found")
    assert checker_lines(root)[:2] == ["WAVcheck Started at album 0001, looking for glitches", "Album 0001: OK"]


def test_escape_or_an_invalid_album_starts_nothing(term, fake, root):
    t = start_at_reports(term, fake, root, library())
    start_check(t, album=KEY.ESC)
    back_at_reports(t)
    start_check(t, album="7\r")
    t.wait_for("Invalid album No: 0007", row=12, col=centred_col("Invalid album No: 0007"))
    back_at_reports(t)
    t.settle(1.0)
    assert not any("WAVcheck" in line for line in log_lines(root))


def test_a_local_client_is_warned_first(term, fake, root):
    put_media(root, 1, 1, wav(tone(1)))
    t = start_at_reports(term, fake, root, Library().add(1, "Band", "One", [("Band", "Song", "00:01")]), mode="local")
    choose_report(t, "WAV file integrity check")
    t.wait_for("!!!!!! WARNING !!!!!!", row=12, col=30)
    t.wait_for("You are running this program on a local client machine", row=14, col=10)
    t.wait_for("and it will take MUCH longer and cause considerable network traffic.", row=16, col=10)
    t.wait_for("Proceed anyway?", row=20, col=30)
    t.settle(0.2)
    t.send("n")
    back_at_reports(t)
    choose_report(t, "WAV file integrity check")
    t.wait_for("Proceed anyway?", row=20, col=30)
    t.settle(0.2)
    t.send("y")
    t.wait_for(GLITCH_QUESTION, row=14, col=12)
    assert t.row(14)[1:12].strip() == ""   # the warning's line was cleared for the question
    t.send("n")
    t.wait_for(ALBUM_QUESTION, row=20, col=12)
    assert "Proceed" not in t.row(20)
    t.send("\r")
    back_at_reports(t)
    wait_log(root, "WAVcheck Finished: 1 files processed, No errors found")


def find_checker(parent, timeout=10):
    """The pid of the client's child process named "Zerka WAVcheck"."""
    end = time.time() + timeout
    while time.time() < end:
        for name in os.listdir("/proc"):
            if not name.isdigit():
                continue
            try:
                with open("/proc/%s/stat" % name) as f:
                    stat = f.read()
            except OSError:
                continue
            comm = stat[stat.index("(") + 1:stat.rindex(")")]
            ppid = int(stat[stat.rindex(")") + 2:].split()[1])
            if ppid == parent and comm == "Zerka WAVcheck":
                return int(name)
        time.sleep(0.02)
    raise AssertionError("no checker process")


def test_the_checker_is_a_named_process_that_ignores_the_interrupt(term, fake, root):
    put_media(root, 1, 1, wav(tone(1)))
    # zerka.log as a FIFO, filled up before the checker starts: its first log line
    # then waits, and the process can be seen at leisure.
    log = os.path.join(root, "zerka.log")
    os.mkfifo(log)
    fd = os.open(log, os.O_RDWR | os.O_NONBLOCK)
    try:
        t = start_at_reports(term, fake, root, Library().add(1, "Band", "One", [("Band", "Song", "00:01")]))
        choose_report(t, "WAV file integrity check")
        t.wait_for(GLITCH_QUESTION, row=14, col=12)
        t.settle(0.2)
        t.send("y")
        t.wait_for(ALBUM_QUESTION, row=20, col=12)
        t.settle(0.2)
        for chunk in (4096, 1):
            try:
                while True:
                    os.write(fd, b"#" * chunk)
            except BlockingIOError:
                pass
        t.send("\r")
        back_at_reports(t)   # the client goes on at once
        pid = find_checker(t.child.pid)
        with open("/proc/%d/cmdline" % pid, "rb") as f:
            assert f.read().split(b"\0")[0] == b"Zerka WAVcheck"
        os.kill(pid, signal.SIGINT)   # the operator's interrupt is not the checker's
        data = b""
        end = time.time() + 15
        while b"WAVcheck Finished" not in data:
            try:
                data += os.read(fd, 65536)
            except BlockingIOError:
                time.sleep(0.02)
            assert time.time() < end, data[-300:]
        lines = data.lstrip(b"#").split(b"\n")   # the filler has no line end of its own
        assert [line[18:] for line in lines[:3]] == [b"WAVcheck Started at album 0001, looking for glitches",
                                                     b"Album 0001: OK",
                                                     b"WAVcheck Finished: 1 files processed, No errors found"]
        end = time.time() + 10
        while os.path.exists("/proc/%d" % pid):
            assert time.time() < end, "the checker did not end"
            time.sleep(0.02)
        assert t.child.isalive()
    finally:
        os.close(fd)
