"""The report generator's eight list reports and the statistics reset, against the fake server."""

import os
import signal
import time

from browse_common import Library, album_line, list_line, rows, wait_position, wait_rows
from fakeserver import reply
from reports_common import (REPORT_FOOTER_ALBUMS, REPORT_FOOTER_TRACKS, back_at_reports, centred_col,
                            choose_report, start_at_reports)
from term import KEY
from ui_common import EXIT_QUESTION

RESET = 0x26

# Album 1: every status on line and off line; album 2 is a gap; album 3 holds a
# like track of 1/1 (same artist and title, 5 seconds longer) and an unplayable one.
TRACKS_1 = [("Abba", "Waterloo", "02:45", "-", 1), ("Abba", "SOS", "03:20", "S", 1),
            ("Abba", "Fernando", "04:10", "U", 1), ("Abba", "Chiquitita", "05:26", "N", 1),
            ("Abba", "Mamma Mia", "03:32", "-", 0), ("Abba", "Voulez-Vous", "05:09", "S", 0),
            ("Abba", "Eagle", "05:51", "U", 0)]
TRACKS_3 = [("The Beatles", "Yesterday", "02:05", "-", 1), ("Abba", "Waterloo", "02:50", "-", 1),
            ("Carpenters", "Yesterday Once More", "03:59", "U", 1)]


def library():
    return Library().add(1, "Abba", "Gold", TRACKS_1).add(3, "Various", "Help", TRACKS_3)


def line(album, track):
    t = (TRACKS_1 if album == 1 else TRACKS_3)[track - 1]
    return list_line(album, track, t[0], t[1], t[2], t[3], t[4])


def album_time(tracks):
    secs = sum(int(t[2][:2]) * 60 + int(t[2][3:]) for t in tracks)
    return "%02d:%02d" % (secs // 60 % 100, secs % 60)


def wait_heading(t, text):
    t.wait_for(text, row=0, col=centred_col(text))


def footer_is(t, text):
    """The footer from column 17, and nothing of it after its end."""
    return t.at(23, 17, len(text)) == text and t.at(23, 17 + len(text), 3) == "   "


def open_track_report(t, label, duplicates=None):
    """Chooses a track report (answering the duplicates question when it is asked)."""
    choose_report(t, label)
    if duplicates is not None:
        t.wait_for("Do you want to include duplicates?", row=20, col=12)
        t.settle(0.2)
        t.send(duplicates)


def leave_list(t):
    t.send(KEY.ESC)
    back_at_reports(t)
    t.settle(0.2)


def test_album_list(term, fake, root):
    t = start_at_reports(term, fake, root, library())
    choose_report(t, "Album List")
    wait_heading(t, "Albums; Numerical Order")
    wait_rows(t, [album_line(1, "Abba", "Gold", album_time(TRACKS_1), 7),
                  album_line(3, "Various", "Help", album_time(TRACKS_3), 3)])
    wait_position(t, "1 of 2")
    assert footer_is(t, REPORT_FOOTER_ALBUMS), t.row(23)
    assert t.is_reverse(23, 17) and not t.is_reverse(23, 18)       # ^R
    assert t.is_reverse(23, 53) and not t.is_reverse(23, 54)       # the d of duplicates
    # The album list refuses the operations sub-menu.
    t.send(KEY.F8)
    t.wait_for(" Operations sub-menu not allowed here", row=12)
    t.send(" ")
    t.wait_gone("Operations sub-menu")
    leave_list(t)
    assert fake.errors == []


def test_track_list_by_artist_without_duplicates(term, fake, root):
    t = start_at_reports(term, fake, root, library())
    open_track_report(t, "Track List by Artist", "n")
    wait_heading(t, "Tracks; Sorted by Artist")
    # No unplayable track, and the like track 3/2 folded into the on-line 1/1.
    wait_rows(t, [line(1, 4), line(1, 5), line(1, 2), line(1, 6), line(1, 1), line(3, 1)])
    wait_position(t, "1 of 6")
    assert footer_is(t, REPORT_FOOTER_TRACKS), t.row(23)
    assert b"\x1b[13;31HPlease Wait...." in t.raw
    leave_list(t)


def test_track_list_by_artist_with_duplicates_lists_the_unplayable_tracks(term, fake, root):
    t = start_at_reports(term, fake, root, library())
    open_track_report(t, "Track List by Artist", "y")
    wait_heading(t, "Tracks; Sorted by Artist")
    wait_rows(t, [line(1, 4), line(1, 7), line(1, 3), line(1, 5), line(1, 2), line(1, 6), line(1, 1), line(3, 2),
                  line(3, 1), line(3, 3)])
    wait_position(t, " 1 of 10")
    leave_list(t)


def test_track_list_by_title(term, fake, root):
    t = start_at_reports(term, fake, root, library())
    open_track_report(t, "Track List by Title", "x")   # anything but y is no
    wait_heading(t, "Tracks; Sorted by Title")
    wait_rows(t, [line(1, 4), line(1, 5), line(1, 2), line(1, 6), line(1, 1), line(3, 1)])
    leave_list(t)


def test_the_filtered_reports(term, fake, root):
    t = start_at_reports(term, fake, root, library())
    cases = [
        ("On Short-List", "Short-list", [line(1, 2), line(1, 6)]),
        ("Not on short-List", "Not on Short List", [line(1, 1), line(3, 1), line(3, 2)]),   # not the off-line 1/5
        ("Not on normal selection", "Not normally selected", [line(1, 4)]),
        ("Off-line Tracks", "Off-line List", [line(1, 5), line(1, 6)]),                     # not the off-line U
        ("Unplayable List", "Unplayables", [line(1, 3), line(1, 7), line(3, 3)]),
    ]
    for label, heading, want in cases:
        choose_report(t, label)
        wait_heading(t, heading)
        wait_rows(t, want)
        wait_position(t, "1 of %d" % len(want))
        assert footer_is(t, REPORT_FOOTER_TRACKS), t.row(23)
        assert "include duplicates" not in t.raw.decode("latin-1")
        leave_list(t)


def test_a_short_listed_unplayable_track_is_never_on_the_short_list(term, fake, root):
    lib = Library().add(1, "Abba", "Gold", [("Abba", "SOS", "03:20", "U", 1), ("Abba", "Waterloo", "02:45", "S", 1)])
    t = start_at_reports(term, fake, root, lib)
    choose_report(t, "On Short-List")
    wait_heading(t, "Short-list")
    wait_rows(t, [list_line(1, 2, "Abba", "Waterloo", "02:45", "S", 1)])
    leave_list(t)


def test_a_database_without_albums_gives_empty_lists(term, fake, root):
    t = start_at_reports(term, fake, root, {})
    choose_report(t, "Album List")
    wait_heading(t, "Albums; Numerical Order")
    t.settle(0.3)
    assert all(r.strip() == "" for r in rows(t, 20))
    assert " of " not in t.row(23)
    leave_list(t)
    open_track_report(t, "Track List by Artist", "n")
    wait_heading(t, "Tracks; Sorted by Artist")
    t.settle(0.3)
    assert all(r.strip() == "" for r in rows(t, 20))
    assert " of " not in t.row(23)
    assert b"\x1b[13;31HPlease Wait...." in t.raw   # no album: no running count
    leave_list(t)


def test_an_interrupt_stops_the_scan_after_the_album_in_hand(term, fake, root):
    t = start_at_reports(term, fake, root, library())
    open_track_report(t, "Track List by Artist")
    t.wait_for("Do you want to include duplicates?", row=20, col=12)
    t.settle(0.2)
    os.kill(t.child.pid, signal.SIGINT)   # the report's own handler takes it: no exit question
    t.settle(0.3)
    assert EXIT_QUESTION not in t.text()
    t.send("y")
    wait_heading(t, "Tracks; Sorted by Artist")
    # Album 1 was scanned, then the scan stopped: nothing of album 3.
    wait_rows(t, [line(1, 4), line(1, 7), line(1, 3), line(1, 5), line(1, 2), line(1, 6), line(1, 1)])
    wait_position(t, "1 of 7")
    leave_list(t)
    # The interrupt is the exit question's again.
    os.kill(t.child.pid, signal.SIGINT)
    t.wait_for(EXIT_QUESTION, row=20, col=25)
    t.send("n")
    t.wait_gone(EXIT_QUESTION)


def test_an_interrupt_during_the_album_list_is_only_noted(term, fake, root):
    t = start_at_reports(term, fake, root, library())
    choose_report(t, "Album List")
    wait_heading(t, "Albums; Numerical Order")
    t.settle(0.2)
    os.kill(t.child.pid, signal.SIGINT)
    t.settle(0.3)
    assert EXIT_QUESTION not in t.text()
    wait_position(t, "1 of 2")
    leave_list(t)


RESET_QUESTION = "This will reset ALL played counts. Are you sure?"
REALLY = "Are you REALLY sure?"


def test_reset_statistics_asks_twice_and_sends_reset(term, fake, root):
    t = start_at_reports(term, fake, root, library())
    for answers in (["n"], [KEY.ESC], ["y", "n"], ["y", KEY.ESC]):
        choose_report(t, "Reset Statistics")
        t.wait_for(RESET_QUESTION, row=12, col=10)
        t.settle(0.2)
        t.send(answers[0])
        if len(answers) > 1:
            t.wait_for(REALLY, row=14, col=10)
            t.settle(0.2)
            t.send(answers[1])
        back_at_reports(t)
        t.settle(0.2)
        assert fake.of_type(RESET) == []
    choose_report(t, "Reset Statistics")
    t.wait_for(RESET_QUESTION, row=12, col=10)
    assert t.at(1, 0, 1) == "\u2502"   # the frame
    t.send("y")
    t.wait_for(REALLY, row=14, col=10)
    t.send("Y")
    m = fake.wait_for(RESET)
    assert (m.album, m.track, m.text) == (0, 0, b"")
    t.wait_for("Statistics have been reset", row=12, col=centred_col("Statistics have been reset"))
    t.send(" ")
    back_at_reports(t)
    assert len(fake.of_type(RESET)) == 1


def test_a_refused_reset_is_not_reported_as_done(term, fake, root):
    fake.handlers[RESET] = lambda srv, conn, m: reply(m, album=0xFFFF)
    t = start_at_reports(term, fake, root, library())
    choose_report(t, "Reset Statistics")
    t.wait_for(RESET_QUESTION, row=12, col=10)
    t.send("y")
    t.wait_for(REALLY, row=14, col=10)
    t.send("y")
    t.wait_for(" Send message failed", row=12, col=centred_col(" Send message failed"))
    assert "Statistics have been reset" not in t.text()
    t.send(" ")
    back_at_reports(t)
