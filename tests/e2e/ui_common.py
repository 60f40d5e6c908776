"""Helpers of the screen toolkit's end-to-end tests: getting to the main menu
and reading menus, pop-ups and the frame."""

import time

from conftest import write_cfg
from term import KEY

MAIN_ROWS = ["Console Mode", "Jukebox Mode", "Random Mode", "Mixed Mode", "Playlist Mode",
             "Play-Mixed Mode", "Local Audio", "Maintenance", "Shutdown/Re-boot", "Help"]
MAIN_TOP = 7       # (24 - 10 + 1) / 2
MAIN_COL = 31      # 78 / 2 - 16 / 2
MAIN_WIDTH = 16    # "Shutdown/Re-boot"

EXIT_QUESTION = "Are you sure you want to exit?"

BOTTOM_FRAME = "\u2514" + "\u2500" * 78 + "\u2518"


def is_console(t):
    top = t.row(0)
    return "Current Playlist (" in top or "mode: selecting from" in top


def to_main_menu(t, timeout=15):
    """Waits for the main menu; leaves the playlist console with ESC if it shows first."""
    end = time.time() + timeout
    while True:
        t.pump(0.05)
        if "ZERKALIBRARY" in t.row(0):
            t.settle(0.2)
            if "ZERKALIBRARY" in t.row(0):
                return
        elif is_console(t):
            t.settle(0.2)
            t.send(KEY.ESC)
        if time.time() > end:
            raise AssertionError("no main menu:\n%s" % t.text())


def start(term, fake, root, mode="standalone", password=None, extra=None, rows=24, cols=80, env=None):
    """Writes the configuration, starts the program and waits for the main menu."""
    write_cfg(root, fake.port, mode=mode, password=password, extra=extra)
    e = {"TZ": "UTC"}
    e.update(env or {})
    t = term(env=e, rows=rows, cols=cols)
    to_main_menu(t)
    return t


def highlighted(t, row, col, length):
    """True when every cell of the text at (row, col) is in reverse video."""
    return all(t.is_reverse(row, c) for c in range(col, col + length))


def menu_label(t, row, col, width):
    return t.at(row, col, width)


def wait_highlight(t, row, col, width, timeout=5):
    end = time.time() + timeout
    while True:
        t.pump(0.05)
        if highlighted(t, row, col, width):
            return
        if time.time() > end:
            raise AssertionError("row %d not highlighted:\n%s" % (row, t.text()))


def main_highlight(t):
    """Index of the highlighted main-menu row, or None."""
    hits = [i for i in range(10) if highlighted(t, MAIN_TOP + i, MAIN_COL, MAIN_WIDTH)]
    return hits[0] if len(hits) == 1 else None


def wait_main_highlight(t, index, timeout=5):
    end = time.time() + timeout
    while True:
        t.pump(0.05)
        if main_highlight(t) == index:
            return
        if time.time() > end:
            raise AssertionError("main menu row %d not highlighted (have %r):\n%s" % (index, main_highlight(t), t.text()))


def choose_main(t, index):
    """Moves the highlight from row 0 down to `index` and presses Enter."""
    assert main_highlight(t) == 0
    for _ in range(index):
        t.send(KEY.DOWN)
    wait_main_highlight(t, index)
    t.send(KEY.ENTER)


def menu_cols(rows, longest, lines=24, cols=80):
    """(top, x0) of a one-column menu."""
    return (lines - rows + 1) // 2, (cols - 2) // 2 - longest // 2


def centred(text):
    return (80 - len(text)) // 2
