"""A smaller, larger or changing terminal: screens lay themselves out again and nothing breaks."""

import time

from term import KEY
from ui_common import (EXIT_QUESTION, MAIN_ROWS, centred, choose_main, highlighted, start, to_main_menu,
                       wait_highlight, wait_main_highlight)


def wait_menu_at(t, top, x0, width=16, timeout=10):
    """Waits until the main menu is drawn with its first row at (top, x0)."""
    end = time.time() + timeout
    while True:
        t.pump(0.05)
        visible = [(i, label) for i, label in enumerate(MAIN_ROWS) if 0 < top + i < t.rows - 1]
        if visible and all(t.at(top + i, x0, min(width, len(label))) == label[:width] for i, label in visible):
            return
        if time.time() > end:
            raise AssertionError("menu not at (%d, %d):\n%s" % (top, x0, t.text()))


def test_the_menu_is_laid_out_again_after_a_resize(term, fake, root):
    t = start(term, fake, root)
    t.send(KEY.DOWN)
    wait_main_highlight(t, 1)
    t.resize(16, 60)
    wait_menu_at(t, 3, 21)                     # (16 - 10 + 1) / 2, 58 / 2 - 8
    t.wait_for("ZERKALIBRARY", row=0, col=34)  # still centred for 80 columns
    wait_highlight(t, 4, 21, 16)               # the highlight stays on its row
    assert t.row(15).startswith("\u2514") and t.row(15).endswith("\u2518")
    t.send(KEY.DOWN)
    wait_highlight(t, 5, 21, 16)
    t.resize(30, 100)
    wait_menu_at(t, 10, 41)
    wait_highlight(t, 12, 41, 16)
    t.resize(24, 80)
    wait_main_highlight(t, 2)


def test_a_narrow_terminal_cuts_the_labels(term, fake, root):
    t = start(term, fake, root)
    t.resize(24, 15)
    # 17 columns do not fit 15: labels are cut to (15 - 1) - 1 = 13, at column 6 - 6 = 0.
    wait_menu_at(t, 7, 0, width=13)
    assert t.at(15, 0, 13) == "Shutdown/Re-b"
    t.resize(24, 80)
    t.wait_for("Shutdown/Re-boot", row=15, col=31)


def test_a_tiny_terminal_does_not_break_the_program(term, fake, root):
    t = start(term, fake, root)
    for rows, cols in ((6, 30), (2, 5), (1, 1), (3, 80)):
        t.resize(rows, cols)
        t.settle(0.3)
        assert t.child.isalive(), (rows, cols)
    t.send(KEY.DOWN)
    t.resize(24, 80)
    t.wait_for("ZERKALIBRARY", row=0, col=34)
    wait_main_highlight(t, 1)
    t.send(KEY.ESC)
    t.wait_for(EXIT_QUESTION, row=20, col=25)
    t.send("y")
    assert t.wait_exit() == 0


def test_a_small_terminal_from_the_start(term, fake, root):
    t = start(term, fake, root, rows=20, cols=70)
    wait_menu_at(t, 5, 26)   # (20 - 10 + 1) / 2, 68 / 2 - 8
    t.send(KEY.F1)
    t.wait_for("Zerka client V4.02 (standalone Mode) - Help Screen", row=0, col=16)
    t.wait_for("w  Show server wall-time", row=18, col=2)
    assert "F2/F3" not in t.text()   # below the screen: simply not drawn
    assert t.row(19).startswith("\u2514")
    t.send("x")
    wait_menu_at(t, 5, 26)


def test_the_help_page_is_drawn_again(term, fake, root):
    t = start(term, fake, root)
    t.send(KEY.F1)
    t.wait_for("F9 Add album to database", row=22, col=42)
    t.resize(20, 80)
    t.wait_for("Help Screen", row=0)
    t.wait_for("^L  Play track locally/Stop play", row=18, col=42)
    t.settle()
    assert "F9 Add" not in t.text()
    t.resize(24, 80)
    t.wait_for("F9 Add album to database", row=22, col=42)
    t.send(" ")
    t.wait_for("ZERKALIBRARY", row=0, col=34)


def test_the_exit_question_is_asked_again_after_a_resize(term, fake, root):
    t = start(term, fake, root)
    t.send(KEY.ESC)
    t.wait_for(EXIT_QUESTION, row=20, col=25)
    t.resize(22, 70)
    t.settle()
    t.wait_for(EXIT_QUESTION, row=20, col=25)
    assert t.is_reverse(20, 25 + len(EXIT_QUESTION) + 1)
    t.send("n")
    t.wait_gone(EXIT_QUESTION)
    to_main_menu(t)          # by way of the playlist console
    wait_menu_at(t, 6, 26)   # (22 - 10 + 1) / 2, 68 / 2 - 8


def test_the_password_screen_is_drawn_again(term, fake, root):
    t = start(term, fake, root, password="secret")
    choose_main(t, 7)
    t.wait_for("Password: ", row=12, col=27)
    t.send("sec")
    t.wait_for("***", row=12, col=37)
    t.resize(18, 60)
    t.settle()
    t.wait_for("Password: ", row=12, col=27)
    t.wait_for("***" + " " * 13, row=12, col=37)
    t.send("ret\r")
    t.wait_for("Maintenance", row=0, col=centred("Maintenance"))


def test_a_sub_menu_is_laid_out_again(term, fake, root):
    t = start(term, fake, root)
    choose_main(t, 6)
    t.wait_for("Local Audio", row=0)
    t.resize(14, 80)
    t.wait_for("Start local audio stream", row=6, col=27)   # (14 - 3 + 1) / 2, 39 - 12
    assert highlighted(t, 6, 27, 24)
    t.send(KEY.ESC)
    wait_menu_at(t, 2, 31)   # (14 - 10 + 1) / 2


def test_a_form_is_drawn_again(term, fake, root):
    from test_forms import VALUE_COL, open_notes
    t = open_notes(term, fake, root)
    t.send("first")
    t.send(KEY.DOWN)
    t.send("sec")
    t.wait_for("sec", row=7, col=VALUE_COL)
    t.resize(20, 78)
    t.settle()
    t.wait_for("Notes: first", row=6, col=2)
    t.wait_for("sec" + " " * 65, row=7, col=VALUE_COL)   # the row being edited, with what was typed
    assert t.is_reverse(7, VALUE_COL)
    t.send("ond")
    t.wait_for("second", row=7, col=VALUE_COL)
    t.send(KEY.ESC)
    t.wait_gone("Notes:")
