"""The playlist audit and the on-line audit, against the fake server: their log
lines, questions, messages to the server, refusals and interrupts."""

import os
import signal
import time

from browse_common import Library
from fakeserver import ALBUM_WRITE, OFFLINE
from reports_common import (back_at_reports, centred_col, choose_report, log_lines, put_media, start_at_reports,
                            tone, wait_log, wav)
from term import KEY
from ui_common import EXIT_QUESTION


def plist_line(key, album, track, artist, title, length):
    return "%8.8X %04d/%02d %-28.28s - %-29.29s [%s]\n" % (key, album, track, artist, title, length)


def audit_library():
    long_artist = "An Artist Whose Name Runs Past Twenty-Eight Characters"
    return Library().add(1, "Abba", "Gold", [("Abba", "Waterloo", "02:45"), ("Abba", "SOS", "03:20"),
                                             (long_artist, "Fernando", "04:10")])


def write(root, name, data):
    path = os.path.join(root, "PlayLists", name)
    with open(path, "wb") as f:
        f.write(data if isinstance(data, bytes) else data.encode("latin-1"))
    return path


# ----- the playlist audit --------------------------------------------------------------

def test_the_audits_are_refused_in_stand_alone_mode(term, fake, root):
    t = start_at_reports(term, fake, root, audit_library(), mode="standalone")
    for label, text in (("Audit Playlists", "Playlist audit not allowed in stand-alone mode"),
                        ("On-line Tracks Audit", "Online audit not allowed in stand-alone mode")):
        choose_report(t, label)
        t.wait_for(text, row=12, col=centred_col(text))
        t.send(" ")
        t.wait_gone(text)
        back_at_reports(t)
    assert fake.of_type(ALBUM_WRITE) == [] and fake.of_type(OFFLINE) == []


def test_playlist_audit_logs_every_mismatch_and_changes_no_file(term, fake, root):
    long_artist = "An Artist Whose Name Runs Past Twenty-Eight Characters"
    good = (plist_line(0x1234, 1, 1, "Abba", "Waterloo", "02:45") +
            plist_line(0x1235, 1, 3, long_artist, "Fernando", "04:10"))   # compared by its first 28
    bad = ("# not a playlist line\n" +
           plist_line(1, 1, 1, "Abba ", "Waterloo", "02:45") +            # a trailing blank: the same field
           plist_line(2, 1, 2, "abba", "S.O.S.", "03:20") +
           "#" * 255 + plist_line(9, 1, 2, "Nobody", "Nothing", "01:00") +  # a long line: its rest is no line
           "00000003 0001/01 Abba\0 with a NUL byte\n" +
           plist_line(4, 1, 2, "Abba", "SOS", "03:20").rstrip("\n"))       # no line end: still a line
    files = {"good.lst": good, "bad.lst": bad, ".hidden": plist_line(5, 1, 1, "Nobody", "Nothing", "01:00"),
             "current.lst": plist_line(6, 1, 2, "Abba", "Sos", "03:20")}
    for name, text in files.items():
        write(root, name, text)
    os.mkdir(os.path.join(root, "PlayLists", "folder"))
    os.mkfifo(os.path.join(root, "PlayLists", "fifo"))               # no writer: must not hold the audit up
    os.symlink("loop", os.path.join(root, "PlayLists", "loop"))       # cannot be opened
    before = {n: open(os.path.join(root, "PlayLists", n), "rb").read() for n in files}
    t = start_at_reports(term, fake, root, audit_library())
    choose_report(t, "Audit Playlists")
    text = " Errors found in playlists - see zerka.log"
    t.wait_for(text, row=12, col=centred_col(text), timeout=15)
    a28, w28, s28 = "%-28s" % "Abba", "%-28s" % "Waterloo", "%-28s" % "SOS"
    lines = log_lines(root)
    # In name order; "Abba " in a 28-column field is "Abba" padded: no mismatch.
    expected = [
        'Audit playlist: bad.lst\t 0001/02: Artist mismatch:',
        '"abba                        " Should be: "%s"' % a28,
        'Audit playlist: bad.lst\t 0001/02:  Title mismatch:',
        ' "S.O.S.                      " Should be: "%s"' % s28,
        'Audit playlist: bad.lst\t 0001/01: Artist mismatch:',   # the line cut at its NUL byte
        '"Abba" Should be: "%s"' % a28,
        'Audit playlist: bad.lst\t 0001/01:  Title mismatch:',
        ' "" Should be: "%s"' % w28,
        'Audit playlist: current.lst\t 0001/02:  Title mismatch:',
        ' "Sos                         " Should be: "%s"' % s28,
        'Cannot open playlist: "loop" - Too many levels of symbolic links',
    ]
    start = lines.index(expected[0])
    assert lines[start:start + len(expected)] == expected, "\n".join(lines)
    assert not any("good.lst" in line or "hidden" in line or "fifo" in line or "folder" in line for line in lines)
    t.send(" ")
    t.wait_gone(text)
    back_at_reports(t)
    for name, data in before.items():
        assert open(os.path.join(root, "PlayLists", name), "rb").read() == data, name


def test_playlist_audit_without_errors_says_so_and_an_interrupt_is_only_noted(term, fake, root):
    write(root, "party", plist_line(7, 1, 2, "Abba", "SOS", "03:20"))
    t = start_at_reports(term, fake, root, audit_library())
    choose_report(t, "Audit Playlists")
    text = "No playlist errors found"
    t.wait_for(text, row=12, col=centred_col(text))
    os.kill(t.child.pid, signal.SIGINT)   # taken by the audit's own handler while the pop-up sleeps
    t.wait_gone(text, timeout=10)         # it goes by itself
    back_at_reports(t)
    t.settle(0.3)
    assert EXIT_QUESTION not in t.text()
    os.kill(t.child.pid, signal.SIGINT)   # the exit question's again
    t.wait_for(EXIT_QUESTION, row=20, col=25)
    t.send("n")
    t.wait_gone(EXIT_QUESTION)
    assert not any("Audit playlist" in line for line in log_lines(root))


def test_playlist_audit_without_the_folder_logs_it(term, fake, root):
    os.rmdir(os.path.join(root, "PlayLists"))
    t = start_at_reports(term, fake, root, audit_library())
    choose_report(t, "Audit Playlists")
    wait_log(root, "Problem opening directory: PlayLists")
    back_at_reports(t)
    t.settle(0.3)
    assert "playlist errors" not in t.text() and "Errors found" not in t.text()


# ----- the on-line audit ---------------------------------------------------------------

QUESTION = "Media file exists: Mark this track online?"


def online_library():
    return (Library()
            .add(1, "Band", "First", [("Band", "Here", "03:00", "-", 1), ("Band", "Gone", "03:00", "-", 1),
                                      ("Band", "Back", "03:00", "-", 0), ("Band", "Also gone", "03:00", "-", 1)])
            .add(2, "Group", "Second", [("Group", "Found", "03:00", "-", 0), ("Group", "Folder", "03:00", "-", 1),
                                        ("Group", "Fifo", "03:00", "-", 1), ("Group", "Absent", "03:00", "-", 0)]))


def media_files(root):
    data = wav(tone(0.1))
    paths = [put_media(root, 1, 1, data), put_media(root, 1, 3, data), put_media(root, 2, 1, data)]
    os.mkdir(os.path.join(root, "Media", "0002_02.wav"))
    os.mkfifo(os.path.join(root, "Media", "0002_03.wav"))
    return paths


def online_flags(msg):
    """The on-line flag of every track (entries 1..) in an ALBUM_WRITE text."""
    lines = msg.str.split("\n")
    return [int(lines[i + 2].split()[3]) for i in range(3, len(lines) - 2, 3)]


def answer_question(t, album, track, artist, title, answer):
    t.wait_for("%04d/%02d: %s - %s" % (album, track, artist, title), row=8, col=4)
    t.wait_for(QUESTION, row=16, col=10)
    assert t.at(1, 0, 1) == "\u2502"   # shown on a clean, framed screen
    t.settle(0.2)
    t.send(answer)


def test_online_audit(term, fake, root):
    paths = media_files(root)
    t = start_at_reports(term, fake, root, online_library())
    choose_report(t, "On-line Tracks Audit")
    answer_question(t, 1, 3, "Band", "Back", "n")
    answer_question(t, 2, 1, "Group", "Found", "y")
    t.wait_for("Online Audit Finished", row=12, col=centred_col("Online Audit Finished"), timeout=15)
    t.send(" ")
    back_at_reports(t)
    # Tracks marked on line whose file cannot be opened: the album written back, then OFFLINE.
    offline = [(m.album, m.track) for m in fake.of_type(OFFLINE)]
    assert offline == [(1, 2), (1, 4), (2, 2), (2, 3)]
    writes = fake.of_type(ALBUM_WRITE)
    assert [m.album for m in writes] == [1, 1, 2, 2, 2]
    assert online_flags(writes[0]) == [1, 0, 0, 1]
    assert online_flags(writes[1]) == [1, 0, 0, 0]   # "n": 1/03 stays off line
    assert online_flags(writes[2]) == [1, 1, 1, 0]   # "y": 2/01 on line
    assert online_flags(writes[4]) == [1, 0, 0, 0]
    order = [(m.type, m.album, m.track) for m in fake.received if m.type in (ALBUM_WRITE, OFFLINE)]
    assert order[:2] == [(ALBUM_WRITE, 1, 0), (OFFLINE, 1, 2)]
    for p in paths:
        assert os.path.exists(p), p   # "n" leaves the media file where it is
    assert sorted(os.listdir(os.path.join(root, "Media"))) == ["0001_01.wav", "0001_03.wav", "0002_01.wav",
                                                                "0002_02.wav", "0002_03.wav"]


def test_online_audit_interrupted_stops_after_the_album_in_hand(term, fake, root):
    media_files(root)
    t = start_at_reports(term, fake, root, online_library())
    choose_report(t, "On-line Tracks Audit")
    t.wait_for(QUESTION, row=16, col=10)
    t.settle(0.2)
    os.kill(t.child.pid, signal.SIGINT)
    t.settle(0.3)
    assert EXIT_QUESTION not in t.text()
    t.send("n")
    back_at_reports(t)
    t.settle(0.5)
    # The rest of album 1 was audited (1/04 taken off line), album 2 not, and no "Finished".
    assert [(m.album, m.track) for m in fake.of_type(OFFLINE)] == [(1, 2), (1, 4)]
    assert "Online Audit Finished" not in t.raw.decode("latin-1")
    os.kill(t.child.pid, signal.SIGINT)
    t.wait_for(EXIT_QUESTION, row=20, col=25)
    t.send("n")
    t.wait_gone(EXIT_QUESTION)
