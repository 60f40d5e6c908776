"""Shared pieces of the browser, search, mass-apply and output tests.

The list screens are reached the way an operator reaches them: the console's
search (key s or z) for the ordinary search, the maintenance menu for the
case-sensitive ones. `Library` builds the fake server's albums from short
descriptions; `list_line` and `album_line` are list rows as the browser draws
them.
"""

import time

from console_helpers import PlaylistServer, start_console
from fakeserver import album_text
from term import KEY
from ui_common import choose_main

SEARCH_TITLE = "Enter Artist and/or Title To Search For"
SEARCH_FOOTER = "add to playlist   more by this artist   tracklist"


def ctrl(letter):
    return chr(ord(letter.upper()) - 64)


def centred_col(text):
    return (80 - len(text)) // 2


class Library:
    """Albums for the fake server: each album is (artist, title, [tracks]); a track is
    (artist, title, time) with optional status, online, cd_ident and plays."""

    def __init__(self):
        self.albums = {}

    def add(self, number, artist, title, tracks, time=None, cd_ident=0):
        self.albums[number] = (artist, title, [tuple(t) for t in tracks], time, cd_ident)
        return self

    def texts(self):
        out = {}
        for n, (artist, title, tracks, time_, cd) in self.albums.items():
            rows = []
            for t in tracks:
                t = list(t) + [None] * 5
                a, ti, length, status, online, ident, plays = t[:7]
                rows.append((a, ti, length, status or "-", 1 if online is None else online, 0, ident or 0, plays or 0))
            out[n] = album_text(artist, title, rows, album_time=time_, cd_ident=cd)
        return out

    def track(self, album, track):
        return self.albums[album][2][track - 1]

    def tracks(self, album):
        return len(self.albums[album][2])


def one_artist_library(artist, count):
    """`count` tracks by one artist, "Song 0001" on, 99 to an album numbered from 1."""
    lib = Library()
    for a, first in enumerate(range(0, count, 99), start=1):
        last = min(first + 99, count)
        lib.add(a, artist, "Album %d" % a, [(artist, "Song %04d" % n, "03:00") for n in range(first + 1, last + 1)])
    return lib


def state_char(status="-", online=1):
    if not online:
        return "-"
    return {"S": ".", "U": "x", "N": "^"}.get(status, " ")


def list_line(album, track, artist, title, length, status="-", online=1):
    """A track row as the browser draws it."""
    return "%04d/%02d %-28.28s - %-29.29s [%s]%s" % (album, track, artist, title, length, state_char(status, online))


def lib_line(lib, album, track):
    t = list(lib.track(album, track)) + [None, None]
    return list_line(album, track, t[0], t[1], t[2], t[3] or "-", 1 if t[4] is None else t[4])


def album_line(number, artist, title, length, tracks):
    return "%04d %-27.27s - %-28.28s [%s] (%d)" % (number, artist, title, length, tracks)


def rows(t, count, first=2):
    return [t.at(first + i, 2, 77) for i in range(count)]


def wait_rows(t, want, timeout=5, first=2):
    """Waits until the list shows exactly `want` from row `first` on (and nothing after)."""
    want = [w.ljust(77) for w in want]
    end = time.time() + timeout
    while True:
        t.pump(0.05)
        got = rows(t, len(want), first)
        after = t.at(first + len(want), 2, 10) if first + len(want) < 22 else "          "
        if got == want and not after.strip():
            return
        if time.time() > end:
            raise AssertionError("list is not\n%s\n---\n%s" % ("\n".join(want), t.text()))


def current_row(t):
    """The screen row of the highlighted list line, or None."""
    for r in range(2, 22):
        if t.is_reverse(r, 2) and t.is_reverse(r, 40):
            return r
    return None


def wait_current(t, row, timeout=5):
    end = time.time() + timeout
    while current_row(t) != row:
        t.pump(0.05)
        if time.time() > end:
            raise AssertionError("row %d is not current (%r):\n%s" % (row, current_row(t), t.text()))


def wait_position(t, text, timeout=5):
    """Waits for the position indicator (reversed, bottom line from column 1)."""
    t.wait_for(text, row=23, col=1, timeout=timeout)
    assert all(t.is_reverse(23, c) for c in range(1, 1 + len(text)))


def open_console(fake, term, lib, current=(), **kw):
    PlaylistServer(fake, current=current)
    return start_console(fake, term, library=lib.texts(), **kw)


def start_search(t, key="s"):
    """From the console: the search form, waiting on the artist question."""
    t.send(key)
    t.wait_for(SEARCH_TITLE, row=0)
    t.wait_for("Artist:", row=10, col=12)
    t.settle(0.2)


def search(t, artist="", title="", key="s", heading=None):
    """Runs a search from the console; waits for the results' heading when one is given."""
    start_search(t, key)
    t.send(artist + "\r")
    t.wait_for("Title:", row=12, col=12)
    t.settle(0.2)
    t.send(title + "\r")
    if heading is not None:
        t.wait_for(heading, row=0, col=centred_col(heading))
        t.settle(0.3)


def to_maintenance(t):
    choose_main(t, 7)
    t.wait_for("Maintenance", row=0, col=centred_col("Maintenance"))
    t.settle(0.2)


def maintenance_row(t, label):
    """Chooses a maintenance menu row by its label (moving down from the first row)."""
    top, x0 = (24 - 15 + 1) // 2, 39 - 36 // 2
    for i in range(15):
        if t.at(top + i, x0, len(label)) == label:
            for _ in range(i):
                t.send(KEY.DOWN)
            t.settle(0.2)
            t.send(KEY.ENTER)
            return
    raise AssertionError("no row %r:\n%s" % (label, t.text()))


def send_keys(t, keys, pause=0.05):
    for k in keys:
        t.send(k, pause=pause)
