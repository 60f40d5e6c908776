"""Shared pieces of the console, playlist, chain and history tests.

`PlaylistServer` gives the fake server a small model of the server's playlists
(the current one and named offline ones) so that the console's requests change
something and its re-reads show it; `start_console` starts the program on its
console; `track_line` is a list row as the browser draws it.
"""

import time

from fakeserver import (ALBUM_READ, DELETE, DIRLIST, PLIST_ADD, PLIST_ADD_LOCAL, PLIST_APPEND, PLIST_CLEAR,
                        PLIST_DELETE, PLIST_DOWN, PLIST_GET, PLIST_KEEP, PLIST_NEXT, PLIST_READ, PLIST_SHUFFLE,
                        PLIST_UP, PLIST_UPDATE, FAILED, plist_text, reply, simple_library)

CURRENT = "current.lst"
HISTORY = 0x23
LINK_TRACK = 0x57
LINK_QUERY = 0x58
CONSOLE = 0xB1
GET_MODE = 0xB7
SET_PLIST = 0xB9
GET_PLIST = 0xBA
CHANGE_MODE = 0xB8
MODE_NAMES = ["Undefined", "Console", "Jukebox", "Random", "Mixed", "Playlist", "Play-Mixed"]


def ctrl(letter):
    return chr(ord(letter.upper()) - 64)


def song(album, track):
    """Artist and title of a track of simple_library."""
    return "Artist %d" % album, "Song %d-%d" % (album, track)


def track_line(album, track, length=None, mark=" "):
    """A track row of the browser for a track of simple_library."""
    artist, title = song(album, track)
    return "%04d/%02d %-28.28s - %-29.29s [%s]%s" % (album, track, artist, title,
                                                   length or "03:%02d" % track, mark)


class PlaylistServer:
    """Current and offline playlists kept by the fake server, answering the playlist requests."""

    def __init__(self, fake, current=(), offline=None, history_files=None):
        self.fake = fake
        fake.playlist = [tuple(p) for p in current]
        self.offline = {name: [tuple(p) for p in pairs] for name, pairs in (offline or {}).items()}
        self.history_files = list(history_files or [])
        for type_, fn in ((PLIST_GET, self.on_read), (PLIST_READ, self.on_read), (PLIST_UP, self.on_up),
                          (PLIST_DOWN, self.on_down), (PLIST_NEXT, self.on_next), (PLIST_DELETE, self.on_delete),
                          (PLIST_SHUFFLE, self.on_shuffle), (PLIST_CLEAR, self.on_clear),
                          (PLIST_KEEP, self.on_keep), (PLIST_APPEND, self.on_append), (PLIST_ADD, self.on_add),
                          (PLIST_ADD_LOCAL, self.on_add), (PLIST_UPDATE, self.on_update), (DIRLIST, self.on_dirlist),
                          (DELETE, self.on_delete_plist)):
            fake.handlers[type_] = fn

    def pairs(self, name):
        if name == CURRENT:
            return self.fake.playlist
        return self.offline.get(name)

    def on_read(self, srv, conn, m):
        name = m.str
        pairs = self.pairs(name)
        if pairs is None:
            if m.type == PLIST_READ and m.track in (2, 3):
                self.offline[name] = pairs = []
            else:
                return reply(m, album=0)
        return reply(m, text=plist_text(pairs))

    def _move(self, m, where):
        pairs = self.pairs(m.str)
        key = (m.album, m.track)
        if pairs is None or key not in pairs:
            return reply(m, album=FAILED)
        i = pairs.index(key)
        j = where(i, len(pairs))
        pairs.insert(j, pairs.pop(i))
        return reply(m)

    def on_up(self, srv, conn, m):
        return self._move(m, lambda i, n: max(i - 1, 0))

    def on_down(self, srv, conn, m):
        return self._move(m, lambda i, n: min(i + 1, n - 1))

    def on_next(self, srv, conn, m):
        return self._move(m, lambda i, n: 0)

    def on_delete(self, srv, conn, m):
        pairs = self.pairs(m.str)
        key = (m.album, m.track)
        if pairs is None or key not in pairs:
            return reply(m, album=FAILED)
        pairs.remove(key)
        return reply(m)

    def on_shuffle(self, srv, conn, m):
        pairs = self.pairs(m.str)
        if pairs is None:
            return reply(m, album=FAILED)
        pairs.reverse()   # a shuffle the tests can foresee
        return reply(m, text=plist_text(pairs))

    def on_clear(self, srv, conn, m):
        del self.fake.playlist[:]
        return reply(m)

    def on_keep(self, srv, conn, m):
        self.offline[m.str] = list(self.fake.playlist)
        return reply(m)

    def on_append(self, srv, conn, m):
        pairs = self.pairs(m.str)
        if pairs is None:
            return reply(m, album=FAILED)
        self.fake.playlist.extend(pairs)
        return reply(m)

    def on_add(self, srv, conn, m):
        pairs = self.pairs(m.str)
        key = (m.album, m.track)
        if pairs is None or key in pairs:
            return reply(m, album=FAILED)
        pairs.append(key)
        return reply(m)

    def on_update(self, srv, conn, m):
        return reply(m)

    def on_dirlist(self, srv, conn, m):
        if m.album == 58:
            names = self.history_files
        else:
            names = sorted(self.offline) + [CURRENT]
        return reply(m, text=("".join(n + "\n" for n in names)).encode("latin-1"))

    def on_delete_plist(self, srv, conn, m):
        self.offline.pop(m.str, None)
        return reply(m)


def start_console(fake, term, mode=0, selection=b"favourites", library=None, **kw):
    """The program on its console, idle; the playlists are whatever the test set up."""
    fake.albums = library if library is not None else simple_library(5, 3)
    fake.mode = mode
    fake.selection_playlist = selection
    t = term(**kw)
    fake.wait_for(GET_PLIST)
    t.wait_for("Current Playlist (" if mode not in (5, 6) else "selecting from", row=0)
    t.settle(0.3)
    return t


def count_of(fake, type_):
    return len(fake.of_type(type_))


def no_new(fake, type_, before, wait=0.5):
    """True when no message of type_ arrived beyond the `before` count within `wait` seconds."""
    time.sleep(wait)
    return count_of(fake, type_) == before


def heading_of(t):
    return t.row(0).strip()


def centred(t, text, row=0):
    """Asserts text is on `row` where the program centres it for 80 columns."""
    col = (80 - len(text)) // 2
    assert t.at(row, col, len(text)) == text, t.text()
