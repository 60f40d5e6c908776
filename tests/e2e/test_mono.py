"""The mono track finder against the fake server: which tracks it examines and
finds, the off-line message for files that cannot be opened, its screens, the
interrupt, and the interrupt handling it keeps when nothing was found."""

import os
import signal
import threading

from browse_common import Library, list_line, wait_position, wait_rows
from fakeserver import OFFLINE, reply
from reports_common import (REPORT_FOOTER_TRACKS, back_at_reports, centred_col, choose_report, put_media,
                            start_at_reports, tone, wav)
from term import KEY
from ui_common import EXIT_QUESTION


def library():
    return (Library()
            .add(1, "Duo", "Pairs", [("Duo", "Mono song", "00:12"), ("Duo", "Wide song", "00:12"),
                                     ("Duo", "Short song", "00:02"), ("Duo", "Unplayable", "00:12", "U"),
                                     ("Duo", "Off line", "00:12", "-", 0), ("Duo", "Missing", "00:12")])
            .add(2, "Trio", "Threes", [("Trio", "Two tones", "00:12")]))


def media(root):
    put_media(root, 1, 1, wav(tone(12, "same")))
    put_media(root, 1, 2, wav(tone(12, "opposite")))
    put_media(root, 1, 3, wav(tone(2, "other")))    # ends before the first probe: mono
    put_media(root, 1, 4, wav(tone(12, "same")))    # "U": never examined
    put_media(root, 1, 5, wav(tone(12, "same")))    # off line: never examined
    put_media(root, 2, 1, wav(tone(12, "other")))


def line(lib, album, track):
    t = list(lib.track(album, track)) + [None, None]
    return list_line(album, track, t[0], t[1], t[2], t[3] or "-", 1 if t[4] is None else t[4])


def test_mono_tracks_found_and_listed(term, fake, root):
    media(root)
    lib = library()
    t = start_at_reports(term, fake, root, lib)
    choose_report(t, "Find Monaural Tracks")
    t.wait_for("Finished: 2 mono tracks found", row=10, col=29, timeout=20)
    t.wait_for("Proceed: ", row=12, col=29)
    assert t.at(6, 29, 15) == "Please Wait...."
    assert t.at(8, 29, 11) == "Album: 0002"
    assert t.at(8, 42, 9) == "Track: 01"
    assert t.at(8, 53, 7) == "Mono: 2"
    assert [(m.album, m.track) for m in fake.of_type(OFFLINE)] == [(1, 6)]
    t.send(" ")
    t.wait_for("Monaural Tracks", row=0, col=centred_col("Monaural Tracks"))
    wait_rows(t, [line(lib, 1, 1), line(lib, 1, 3)])
    wait_position(t, "1 of 2")
    assert t.at(23, 17, len(REPORT_FOOTER_TRACKS)) == REPORT_FOOTER_TRACKS
    t.send(KEY.ESC)
    back_at_reports(t)
    os.kill(t.child.pid, signal.SIGINT)   # the exit question's again after the list
    t.wait_for(EXIT_QUESTION, row=20, col=25)
    t.send("n")
    t.wait_gone(EXIT_QUESTION)


def test_nothing_found_shows_no_list_and_keeps_the_interrupt(term, fake, root):
    lib = Library().add(1, "Duo", "Pairs", [("Duo", "Wide song", "00:12")])
    put_media(root, 1, 1, wav(tone(12, "opposite")))
    t = start_at_reports(term, fake, root, lib)
    choose_report(t, "Find Monaural Tracks")
    t.wait_for("Finished: 0 mono tracks found", row=10, col=29, timeout=20)
    t.wait_for("Proceed: ", row=12, col=29)
    t.send(" ")
    back_at_reports(t)
    t.settle(0.3)
    # The finder's own interrupt handler stays: an interrupt asks nothing now.
    os.kill(t.child.pid, signal.SIGINT)
    t.settle(0.5)
    assert EXIT_QUESTION not in t.text()
    assert t.child.isalive()


def test_a_refused_offline_message_is_reported(term, fake, root):
    fake.handlers[OFFLINE] = lambda srv, conn, m: reply(m, album=0xFFFF)
    lib = Library().add(1, "Duo", "Pairs", [("Duo", "Missing", "00:12"), ("Duo", "Mono song", "00:12")])
    put_media(root, 1, 2, wav(tone(12, "same")))
    t = start_at_reports(term, fake, root, lib)
    choose_report(t, "Find Monaural Tracks")
    t.wait_for(" Send message failed", row=12, col=centred_col(" Send message failed"), timeout=20)
    t.send(" ")
    t.wait_for("Finished: 1 mono tracks found", row=10, col=29, timeout=20)


def test_files_that_cannot_be_opened_are_reported_off_line(term, fake, root):
    lib = Library().add(1, "Duo", "Pairs", [("Duo", "Folder", "00:12"), ("Duo", "Fifo", "00:12"),
                                            ("Duo", "Loop", "00:12"), ("Duo", "Empty", "00:12")])
    os.mkdir(os.path.join(root, "Media", "0001_01.wav"))
    os.mkfifo(os.path.join(root, "Media", "0001_02.wav"))
    os.symlink("0001_03.wav", os.path.join(root, "Media", "0001_03.wav"))
    put_media(root, 1, 4, b"")   # opens: too short for any probe, so mono
    t = start_at_reports(term, fake, root, lib)
    choose_report(t, "Find Monaural Tracks")
    t.wait_for("Finished: 1 mono tracks found", row=10, col=29, timeout=20)
    assert [(m.album, m.track) for m in fake.of_type(OFFLINE)] == [(1, 1), (1, 2), (1, 3)]


def test_an_interrupt_stops_the_finder_after_the_album_in_hand(term, fake, root):
    release = threading.Event()

    def slow_offline(srv, conn, m):
        release.wait(20)
        return reply(m)

    fake.handlers[OFFLINE] = slow_offline
    lib = (Library().add(1, "Duo", "Pairs", [("Duo", "Missing", "00:12"), ("Duo", "Mono song", "00:12")])
           .add(2, "Trio", "Threes", [("Trio", "Mono too", "00:12"), ("Trio", "Missing too", "00:12")]))
    put_media(root, 1, 2, wav(tone(12, "same")))
    put_media(root, 2, 1, wav(tone(12, "same")))
    t = start_at_reports(term, fake, root, lib)
    choose_report(t, "Find Monaural Tracks")
    fake.wait_for(OFFLINE)   # the finder waits for the reply about 1/01
    os.kill(t.child.pid, signal.SIGINT)
    t.settle(0.3)
    release.set()
    t.wait_for("Interrupt: 1 mono tracks found", row=10, col=29, timeout=20)
    assert EXIT_QUESTION not in t.text()
    assert [(m.album, m.track) for m in fake.of_type(OFFLINE)] == [(1, 1)]   # album 2 was not looked at
    t.send(" ")
    t.wait_for("Monaural Tracks", row=0, col=centred_col("Monaural Tracks"))
    wait_rows(t, [line(lib, 1, 2)])
