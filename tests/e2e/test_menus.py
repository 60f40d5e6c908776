"""Menus: the main menu, movement, quick selection, leaving, sub-menus and their footers."""

import time

from fakeserver import GETTIME
from term import KEY
from ui_common import (BOTTOM_FRAME, EXIT_QUESTION, MAIN_COL, MAIN_ROWS, MAIN_TOP, MAIN_WIDTH, centred,
                       choose_main, highlighted, is_console, main_highlight, start, to_main_menu, wait_highlight,
                       wait_main_highlight)


def test_main_menu_heading_and_rows(term, fake, root):
    t = start(term, fake, root)
    assert t.at(0, 34, 12) == "ZERKALIBRARY"
    assert highlighted(t, 0, 34, 12)
    for i, label in enumerate(MAIN_ROWS):
        assert t.at(MAIN_TOP + i, MAIN_COL, MAIN_WIDTH) == label.ljust(MAIN_WIDTH), i
    assert t.row(MAIN_TOP - 1)[1:79].strip() == ""
    assert t.row(MAIN_TOP + 10)[1:79].strip() == ""
    assert main_highlight(t) == 0
    assert not t.is_reverse(MAIN_TOP + 1, MAIN_COL)
    assert t.row(23) == BOTTOM_FRAME   # an empty footer draws nothing


def test_up_from_row_0_lands_on_the_last_row(term, fake, root):
    t = start(term, fake, root)
    t.send(KEY.UP)
    wait_main_highlight(t, 9)
    t.send(KEY.DOWN)
    wait_main_highlight(t, 0)
    t.send(KEY.UP)
    wait_main_highlight(t, 9)
    t.send(KEY.UP)
    wait_main_highlight(t, 8)


def test_movement_keys(term, fake, root):
    t = start(term, fake, root)
    t.send(KEY.END)
    wait_main_highlight(t, 9)
    t.send(KEY.HOME)
    wait_main_highlight(t, 0)
    t.send(KEY.TAB)
    wait_main_highlight(t, 1)
    t.send(KEY.PGDN)
    wait_main_highlight(t, 9)   # the last row of the column, not beyond the table
    t.send(KEY.PGUP)
    wait_main_highlight(t, 0)
    t.send(KEY.RIGHT)
    wait_main_highlight(t, 9)   # 20 rows on, not beyond the last row
    t.send(KEY.LEFT)
    wait_main_highlight(t, 0)


def test_quick_selection(term, fake, root):
    t = start(term, fake, root)
    t.send("j")
    wait_main_highlight(t, 1)
    t.send("M")
    wait_main_highlight(t, 3)   # Mixed Mode
    t.send("m")
    wait_main_highlight(t, 7)   # Maintenance
    t.send("m")
    wait_main_highlight(t, 3)   # wrapping round
    t.send("c")
    wait_main_highlight(t, 0)   # wrapping to row 0


def test_a_letter_no_label_starts_with_leaves_the_highlight(term, fake, root):
    t = start(term, fake, root)
    t.send("r")
    wait_main_highlight(t, 2)
    t.send("z")
    t.send("q")
    t.settle()
    assert main_highlight(t) == 2
    t.send("r")   # only the highlighted row starts with r
    t.settle()
    assert main_highlight(t) == 2


def test_escape_asks_the_exit_question_and_y_exits(term, fake, root):
    t = start(term, fake, root)
    t.send(KEY.ESC)
    t.wait_for(EXIT_QUESTION, row=20, col=25)
    wait_main_highlight(t, 9)   # ESC highlights the last row before leaving
    assert t.is_reverse(20, 25 + len(EXIT_QUESTION) + 1)
    t.send("y")
    assert t.wait_exit() == 0


def test_any_other_answer_comes_back_by_way_of_the_console(term, fake, root):
    t = start(term, fake, root)
    for answer in ("n", "\r", "x", KEY.ESC):
        t.send(KEY.ESC)
        t.wait_for(EXIT_QUESTION, row=20, col=25)
        t.send(answer)
        t.wait_gone(EXIT_QUESTION)
        end = time.time() + 10
        while not is_console(t):
            t.pump(0.05)
            assert time.time() < end, "no playlist console after %r:\n%s" % (answer, t.text())
        to_main_menu(t)
        wait_main_highlight(t, 0)
    assert t.child.isalive()


def test_w_shows_the_server_time(term, fake, root):
    fake.time = 1700000000   # 14/11/23 22:13:20 UTC
    t = start(term, fake, root, mode="master")
    before = len(fake.of_type(GETTIME))
    t.send("w")
    text = "Date/Time is now: 14/11/23 @ 22:13:20"
    t.wait_for(text, row=12, col=centred(text))
    assert len(fake.of_type(GETTIME)) == before + 1
    # A pop-up of 37 characters: a window of 5 lines and 41 columns at row 10.
    assert t.at(10, 19, 1) == "\u250c" and t.at(10, 59, 1) == "\u2510"
    assert t.at(14, 19, 1) == "\u2514" and t.at(14, 59, 1) == "\u2518"
    t.wait_gone(text, timeout=6)
    assert t.at(MAIN_TOP + 4, MAIN_COL, 13) == "Playlist Mode"
    assert main_highlight(t) == 0


def test_upper_case_w_is_a_quick_selection_letter(term, fake, root):
    t = start(term, fake, root)
    before = len(fake.of_type(GETTIME))
    t.send("W")
    t.settle(0.5)
    assert "Date/Time" not in t.text()
    assert main_highlight(t) == 0   # no row starts with W
    assert len(fake.of_type(GETTIME)) == before


def test_local_audio_sub_menu_has_no_footer_and_returns(term, fake, root):
    t = start(term, fake, root)
    choose_main(t, 6)
    t.wait_for("Local Audio", row=0, col=centred("Local Audio"))
    rows = ["Start local audio stream", "Stop local audio stream", "Return To Main Menu"]
    top, x0 = (24 - 3 + 1) // 2, 39 - 24 // 2
    for i, label in enumerate(rows):
        assert t.at(top + i, x0, 24) == label.ljust(24)
    wait_highlight(t, top, x0, 24)
    assert t.row(23) == BOTTOM_FRAME
    t.send(KEY.UP)
    wait_highlight(t, top + 2, x0, 24)
    t.send(KEY.ENTER)
    t.wait_for("ZERKALIBRARY", row=0, col=34)
    wait_main_highlight(t, 6)   # the chosen row keeps the highlight


def test_escape_from_a_sub_menu_goes_back_one_level(term, fake, root):
    t = start(term, fake, root)
    t.send("l")
    wait_main_highlight(t, 6)
    t.send(KEY.ENTER)
    t.wait_for("Local Audio", row=0)
    t.send(KEY.ESC)
    t.wait_for("ZERKALIBRARY", row=0, col=34)
    wait_main_highlight(t, 6)
    t.settle()
    assert EXIT_QUESTION not in t.text()


MAINT_ROWS = ["Album Tracklist", "Report Generator", "Imports", "Back Up Album To CD",
              "Artist/Title Search (Case Sensitive)", "Global search (Case Sensitive)", "Edit Album", "Delete Album",
              'Correct "Various Artists" Format', "Transpose Artist & Title", "Capitalize Artist & Title",
              "Capitalize (Lower-case First)", "Capitalize ALL Artists & Titles",
              "Recalculate Track Timings For Album", "Refresh Database"]
REPORT_ROWS = ["Album List", "Track List by Artist", "Track List by Title", "On Short-List", "Not on short-List",
               "Not on normal selection", "Off-line Tracks", "Unplayable List", "Duplicates report",
               "Reset Statistics", "Audit Playlists", "On-line Tracks Audit", "Find Monaural Tracks",
               "Check album for duplicates", "WAV file integrity check", "Show recent history"]


def test_maintenance_sub_menus_have_no_footer(term, fake, root):
    t = start(term, fake, root)
    choose_main(t, 7)
    t.wait_for("Maintenance", row=0, col=centred("Maintenance"))
    # The maintenance menu: 15 rows, longest "Artist/Title Search (Case Sensitive)" (36).
    top, x0 = (24 - 15 + 1) // 2, 39 - 36 // 2
    for i, label in enumerate(MAINT_ROWS):
        assert t.at(top + i, x0, 36) == label.ljust(36), i
    assert t.row(top + 15)[1:79].strip() == ""
    t.send(KEY.DOWN)
    t.send(KEY.ENTER)
    t.wait_for("Report Generator", row=0, col=centred("Report Generator"))
    # 16 rows, longest "Check album for duplicates" (26).
    rtop, rx0 = (24 - 16 + 1) // 2, 39 - 26 // 2
    for i, label in enumerate(REPORT_ROWS):
        assert t.at(rtop + i, rx0, 26) == label.ljust(26), i
    assert t.row(rtop + 16)[1:79].strip() == ""
    assert t.row(23) == BOTTOM_FRAME
    t.send(KEY.ESC)
    t.wait_for("Maintenance", row=0, col=centred("Maintenance"))
    t.send("I")
    t.send(KEY.ENTER)
    t.wait_for("Imports", row=0, col=centred("Imports"))
    itop, ix0 = (24 - 3 + 1) // 2, 39 - 37 // 2
    for i, label in enumerate(["Create New album from Folder contents", "XMCD (FreeDB) Style import",
                               "Plain text import"]):
        assert t.at(itop + i, ix0, 37) == label.ljust(37), i
    assert t.row(itop + 3)[1:79].strip() == ""
    assert t.row(23) == BOTTOM_FRAME
    t.send(KEY.ESC)
    t.wait_for("Maintenance", row=0)
    t.send(KEY.ESC)
    t.wait_for("ZERKALIBRARY", row=0, col=34)   # the heading is restored on the way out
    wait_main_highlight(t, 7)


def test_a_server_message_redraws_the_menu(term, fake, root):
    t = start(term, fake, root)
    t.send(KEY.DOWN)
    wait_main_highlight(t, 1)
    fake.push(0x42)   # PAUSE: handled quietly; the menu redraws and keeps its place
    t.settle(0.5)
    wait_main_highlight(t, 1)
    t.send(KEY.DOWN)
    wait_main_highlight(t, 2)


def test_interrupt_asks_the_exit_question(term, fake, root):
    t = start(term, fake, root)
    t.send(KEY.DOWN)
    wait_main_highlight(t, 1)
    t.child.kill(2)
    t.wait_for(EXIT_QUESTION, row=20, col=25)
    assert "ZERKALIBRARY" not in t.text()   # asked on a clear screen
    t.send("n")
    t.wait_for("ZERKALIBRARY", row=0, col=34)
    wait_main_highlight(t, 1)   # the menu is drawn again where it was
    assert t.at(MAIN_TOP + 9, MAIN_COL, 4) == "Help"
    t.child.kill(2)
    t.wait_for(EXIT_QUESTION, row=20, col=25)
    t.send("y")
    assert t.wait_exit() == 0


def test_ctrl_a_and_ctrl_l_reach_the_local_audio(term, fake, root):
    # On the master machine neither the stream nor the player is available, and both say so.
    t = start(term, fake, root, mode="master")
    text = "Local audio stream not available on Master server"
    for key in (KEY.ctrl("a"), KEY.ctrl("l")):
        t.send(KEY.DOWN)
        t.send(key)
        t.wait_for(text, row=12, col=centred(text))
        t.wait_gone(text, timeout=5)
        t.wait_for("ZERKALIBRARY", row=0, col=34)
    wait_main_highlight(t, 2)


def playlist_menu(term, fake, offline):
    """The console's offline playlist menu: the names, a caption row, "Create Playlist" and "Quit"."""
    from console_helpers import PlaylistServer, start_console
    PlaylistServer(fake, current=((1, 1),), offline=offline)
    t = start_console(fake, term)
    t.send("p")
    t.wait_for("Select Offline Playlist", row=0)
    t.settle(0.3)
    return t


def test_a_caption_row_is_skipped_in_the_direction_of_travel(term, fake):
    t = playlist_menu(term, fake, {"chill": [(4, 1)], "party": [(2, 1)]})
    # Five rows, the longest "Create Playlist" (15): top (24 - 5 + 1) / 2, column 39 - 15 / 2.
    top, x0, w = 10, 32, 15
    labels = ["chill", "party", "", "Create Playlist", "Quit"]
    for i, label in enumerate(labels):
        assert t.at(top + i, x0, w) == label.ljust(w), i
    wait_highlight(t, top, x0, w)
    t.send(KEY.DOWN)
    wait_highlight(t, top + 1, x0, w)
    t.send(KEY.DOWN)
    wait_highlight(t, top + 3, x0, w)   # over the caption, forwards
    assert not highlighted(t, top + 2, x0, w)
    t.send(KEY.UP)
    wait_highlight(t, top + 1, x0, w)   # over the caption, backwards
    t.send(KEY.UP)
    t.send(KEY.UP)
    wait_highlight(t, top + 4, x0, w)   # Up from row 0 lands on the last row
    t.send(KEY.DOWN)
    wait_highlight(t, top, x0, w)
    t.send(KEY.PGDN)
    wait_highlight(t, top + 4, x0, w)
    t.send(KEY.ESC)                     # leaves through the brk_func "Quit" row
    end = time.time() + 10
    while not is_console(t):
        t.pump(0.05)
        assert time.time() < end, t.text()


def test_a_caption_as_the_first_row_is_never_highlighted(term, fake):
    t = playlist_menu(term, fake, {})
    # Three rows: the caption, "Create Playlist" and "Quit"; top (24 - 3 + 1) / 2.
    top, x0, w = 11, 32, 15
    assert t.at(top + 1, x0, w) == "Create Playlist"
    wait_highlight(t, top + 1, x0, w)   # the highlight starts past the caption
    assert not highlighted(t, top, x0, w)
    t.send(KEY.UP)
    wait_highlight(t, top + 2, x0, w)   # back over the caption and round to the last row
    t.send(KEY.DOWN)
    wait_highlight(t, top + 1, x0, w)   # round to row 0, then on over the caption
    t.send(KEY.HOME)
    wait_highlight(t, top + 1, x0, w)
