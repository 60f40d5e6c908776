"""Pop-ups: window size, line breaking and centring, shown over the main menu."""

import os
import time

from conftest import ZERKA, run_watching_sleeps
from fakeserver import SERVER_NOTICE
from ui_common import MAIN_COL, MAIN_TOP, main_highlight, start

TL, TR, BL, BR = "\u250c", "\u2510", "\u2514", "\u2518"


def words(n):
    """n characters of 9-letter words and blanks: blanks at 9, 19, 29..."""
    text = ""
    while len(text) < n:
        text += "abcdefghi "
    return text[:n]


def show(t, fake, text):
    fake.push(SERVER_NOTICE, album=0, text=text.encode())


def box(t, top, lines, left, cols):
    right, bottom = left + cols - 1, top + lines - 1
    t.wait_for(TL, row=top, col=left)
    assert t.at(top, right, 1) == TR
    assert t.at(bottom, left, 1) == BL
    assert t.at(bottom, right, 1) == BR
    for r in range(top + 1, bottom):
        assert t.at(r, left, 1) == "\u2502" and t.at(r, right, 1) == "\u2502"


def test_seventy_four_characters_are_one_line(term, fake, root):
    t = start(term, fake, root)
    text = words(73) + "X"
    show(t, fake, text)
    t.wait_for(text, row=12, col=3)
    box(t, 10, 5, 1, 78)
    assert t.at(11, 2, 76).strip() == "" and t.at(13, 2, 76).strip() == ""


def test_seventy_five_characters_are_drawn_on_two_lines(term, fake, root):
    t = start(term, fake, root)
    text = words(75)
    show(t, fake, text)
    first, second = text[:69], text[70:]
    t.wait_for(first, row=12, col=(74 - 69) // 2 + 2 + 1)
    t.wait_for(second, row=13, col=(74 - len(second)) // 2 + 2 + 1)
    box(t, 10, 6, 1, 78)


def test_one_hundred_forty_nine_characters_make_a_window_of_seven_lines(term, fake, root):
    t = start(term, fake, root)
    text = words(149)
    show(t, fake, text)
    t.wait_for(text[:69], row=12, col=3 + 2)
    t.wait_for(text[70:139], row=13, col=3 + 2)
    t.wait_for(text[140:], row=14, col=(74 - 9) // 2 + 3)
    box(t, 10, 7, 1, 78)


def test_a_long_word_is_cut_at_seventy_four(term, fake, root):
    t = start(term, fake, root)
    text = "".join(chr(ord("A") + i % 26) for i in range(80))
    show(t, fake, text)
    t.wait_for(text[:74], row=12, col=3)
    t.wait_for(text[75:], row=13, col=(74 - 5) // 2 + 3)
    assert t.at(13, 3, 74).strip() == text[75:]   # the character at the cut is gone


def test_a_short_text_is_centred_and_goes_away(term, fake, root):
    t = start(term, fake, root)
    text = "Hello there"
    show(t, fake, text)
    t.wait_for(text, row=12, col=(80 - 11) // 2)
    box(t, 10, 5, (80 - 11) // 2 - 2, 15)
    t.wait_gone(text, timeout=5)
    assert t.at(MAIN_TOP + 3, MAIN_COL, 10) == "Mixed Mode"   # what lay under it is back
    assert main_highlight(t) == 0


def test_command_line_mode_shows_no_pop_up_and_does_not_wait(fake, root):
    # The server goes away while a skip waits for its reply: the closing notice is a
    # pop-up that would stay two seconds on the screen; here it shows nothing.
    fake.handlers[0x43] = lambda srv, conn, m: conn.close()
    out, err, rc, slept = run_watching_sleeps([ZERKA, "--skip"], dict(os.environ, ZERKA=root))
    assert rc == 1
    assert "\x1b" not in out and "\x1b" not in err
    assert err.endswith("Zerka server is closing down - abort\n")
    assert not slept   # the two seconds of the pop-up are not waited either


def inner(t, row):
    """The text between the pop-up's side lines on a screen row."""
    line = t.row(row)
    left = line.index("\u2502", 1)
    right = line.index("\u2502", left + 1)
    return line[left + 1:right]


def test_an_error_notice_waits_for_a_key_and_the_key_is_spent(term, fake, root):
    import re
    from term import KEY
    t = start(term, fake, root)
    # A notice with a non-zero album goes through the error pop-up: " text", then
    # " - <system error text> " while errno holds a failure from before.
    fake.push(SERVER_NOTICE, album=1, text=b"Disk full")
    t.wait_for(" Disk full", row=12)
    text = inner(t, 12)
    assert re.fullmatch(r"  Disk full( - [^ ].* )? ", text), repr(text)
    width = len(text) - 2
    assert t.at(10, (80 - width) // 2 - 2, 1) == TL
    fake.push(0x42)   # PAUSE: handled quietly; the pop-up stays
    t.settle(3.5)     # longer than any timed pop-up
    assert " Disk full" in t.row(12)
    t.send("j")       # the key closes the pop-up and does nothing else
    t.wait_gone("Disk full")
    t.settle()
    assert main_highlight(t) == 0
    t.send(KEY.DOWN)
    t.wait_for("Jukebox Mode", row=MAIN_TOP + 1, col=MAIN_COL)
    end = time.time() + 5
    while main_highlight(t) != 1:
        t.pump(0.05)
        assert time.time() < end, t.text()


def test_a_key_ends_a_timed_pop_up_and_is_spent(term, fake, root):
    t = start(term, fake, root)
    show(t, fake, "Wait a moment")
    t.wait_for("Wait a moment", row=12, col=(80 - 13) // 2)
    t.send("r")
    t.wait_gone("Wait a moment")
    t.settle()
    assert main_highlight(t) == 0   # "r" did not reach the menu (Random Mode)
