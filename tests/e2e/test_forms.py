"""Forms on the screen: the notes form that the playlist console opens with "j"."""

import os
import time

from conftest import write_cfg
from term import KEY
from ui_common import is_console

VALUE_COL = 9   # "Notes:" at column 2, the value one column after it


def open_notes(term, fake, root):
    write_cfg(root, fake.port)
    t = term(env={"TZ": "UTC"})
    end = time.time() + 15
    while not is_console(t):
        t.pump(0.05)
        assert time.time() < end, "no playlist console:\n" + t.text()
    t.settle()
    t.send("j")
    t.wait_for("Notes:", row=6, col=2)
    t.settle()
    return t


def notes_file(root):
    with open(os.path.join(root, "Notes.txt")) as f:
        return f.read()


def test_the_notes_form(term, fake, root):
    t = open_notes(term, fake, root)
    assert t.at(0, 0, 1) == "\u250c"   # the frame corner is drawn again
    for r in range(7, 14):
        assert t.at(r, 2, 6) == "      "
    # The first line is edited in reverse video, 68 cells wide.
    assert all(t.is_reverse(6, c) for c in range(VALUE_COL, VALUE_COL + 68))
    assert not t.is_reverse(6, VALUE_COL + 68)
    assert not t.is_reverse(7, VALUE_COL)


def test_the_69th_character_goes_to_the_next_line(term, fake, root):
    t = open_notes(term, fake, root)
    t.send("a" * 68)
    t.wait_for("a" * 68, row=6, col=VALUE_COL)
    before = len(t.raw)
    t.send("b")
    t.wait_for("b" + " " * 67, row=7, col=VALUE_COL)
    assert b"\x07" in t.raw[before:]   # the bell rings as the key moves on
    assert t.is_reverse(7, VALUE_COL)
    assert not t.is_reverse(6, VALUE_COL)
    t.send("c")
    t.wait_for("bc", row=7, col=VALUE_COL)
    t.send(KEY.ESC)   # the edits are kept: the console stores them
    t.wait_gone("Notes:")
    lines = notes_file(root).split("\n")
    assert lines[3:6] == ["a" * 68, "bc", ""]


def test_editing_keys_and_moving_between_lines(term, fake, root):
    t = open_notes(term, fake, root)
    t.send("world")
    t.send(KEY.HOME)
    t.send("hello ")
    t.wait_for("hello world ", row=6, col=VALUE_COL)
    t.send(KEY.END)
    t.send("!")
    t.wait_for("hello world! ", row=6, col=VALUE_COL)
    t.send(KEY.HOME)
    t.send(KEY.DEL)
    t.send(KEY.RIGHT)
    t.send(KEY.BACKSPACE)
    t.wait_for("llo world! ", row=6, col=VALUE_COL)
    t.send(KEY.UP)   # from the first line to the last
    t.send("last")
    t.wait_for("last", row=13, col=VALUE_COL)
    t.send(KEY.DOWN)   # and round to the first again
    t.send("X")
    t.wait_for("Xllo world!", row=6, col=VALUE_COL)
    t.send(KEY.TAB)
    t.send("second")
    t.wait_for("second", row=7, col=VALUE_COL)
    t.send(KEY.ctrl("w"))   # Ctrl-W ends the form like Page Down
    t.wait_gone("Notes:")
    text = notes_file(root)
    assert "Xllo world!\nsecond\nlast\n" in text
