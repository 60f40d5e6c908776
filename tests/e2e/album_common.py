"""Shared pieces of the album maintenance tests: a fake server that keeps the
albums it is sent, the way to a maintenance row, the album number prompts and
the album text the server received.

    store = AlbumStore(fake, {1: album_text(...)})
    t = start_maint(term, fake, root)
    maintenance_row(t, "Edit Album")
    album_number(t, 1)
    ...
    assert written(fake)[-1] == (1, [("Abba", "Gold", "10:17 - 00000000 1 00000000 0"), ...])
"""

import time

from browse_common import to_maintenance
from fakeserver import ALBUM_READ, ALBUM_WRITE, NO_SUCH_ALBUM, PAST_THE_END, album_text, reply  # noqa: F401
from term import KEY  # noqa: F401
from ui_common import start

ALBUM_DELETE = 0x12


def entries(text):
    """The entries of an album text: a list of (artist, title, third line)."""
    if isinstance(text, bytes):
        text = text.decode("latin-1")
    lines = text.split("\n")
    assert lines[-1] == "", "an album text ends with a newline: %r" % text
    lines = lines[:-1]
    assert len(lines) % 3 == 0, text
    return [tuple(lines[i:i + 3]) for i in range(0, len(lines), 3)]


def entry_line(time_, status="-", last_played=0, online=1, cd_ident=0, plays=0):
    """The third line of an entry as the program writes it."""
    return "%s %s %8.8X %d %8.8X %d" % (time_, status, last_played, online, cd_ident, plays)


class AlbumStore:
    """Album texts kept by the fake server: ALBUM_READ answers from them and ALBUM_WRITE replaces them."""

    def __init__(self, fake, albums):
        self.fake = fake
        fake.albums = dict(albums)
        fake.handlers[ALBUM_WRITE] = self.on_write

    def on_write(self, srv, conn, m):
        srv.albums[m.album] = m.text
        return reply(m, album=m.album)


MAINT_TOP = (24 - 15 + 1) // 2   # the maintenance menu: 15 rows
MAINT_COL = 39 - 36 // 2         # its longest label has 36 characters


def maintenance_row(t, label):
    """Chooses a maintenance menu row by its label, from wherever the highlight is."""
    for i in range(15):
        if t.at(MAINT_TOP + i, MAINT_COL, len(label)) == label:
            t.send(KEY.HOME)
            for _ in range(i):
                t.send(KEY.DOWN)
            end = time.time() + 5
            while not all(t.is_reverse(MAINT_TOP + i, c) for c in range(MAINT_COL, MAINT_COL + len(label))):
                t.pump(0.05)
                if time.time() > end:
                    raise AssertionError("row %r not highlighted:\n%s" % (label, t.text()))
            t.send(KEY.ENTER)
            return
    raise AssertionError("no row %r:\n%s" % (label, t.text()))


def start_maint(term, fake, root, **kw):
    """Starts the program in master mode and opens the maintenance menu."""
    t = start(term, fake, root, mode="master", **kw)
    to_maintenance(t)
    return t


def album_number(t, number, row=18, col=12, width=4):
    """Answers an "Album No:" prompt: the typed digits push the default out of the field."""
    t.wait_for("Album No:", row=row, col=col)
    t.settle(0.2)
    t.send(("%0*d" % (width, number)) + "\r")


def written(fake):
    """Every ALBUM_WRITE received: (album, entries)."""
    return [(m.album, entries(m.text)) for m in fake.of_type(ALBUM_WRITE)]


def wait_written(fake, count=1):
    m = fake.wait_for(ALBUM_WRITE, count=count)
    return m.album, entries(m.text)


def popup_at(t, text, timeout=10):
    """Waits for a one-line pop-up: centred on row 12."""
    t.wait_for(text, row=12, col=(80 - len(text)) // 2, timeout=timeout)


def quiet(t, fake, seconds=0.6):
    """Lets the program settle; returns the number of messages received so far."""
    t.settle(seconds)
    return len(fake.received)


def no_new_messages(fake, before, types, wait=0.5):
    time.sleep(wait)
    got = [m for m in fake.received[before:] if m.type in types]
    assert got == [], got
