"""Play history: the menu of history files (Ctrl-H) and browsing one file."""

import time

from console_helpers import HISTORY, PlaylistServer, count_of, start_console, track_line
from fakeserver import DIRLIST, reply
from term import KEY

FILES = ["240315143000.hst", "991231235959.hst", "history.hst"]
LABELS = ["Fri Mar 15 14:30:00 2024", "Fri Dec 31 23:59:59 1999", "Sun Jan  0 00:00:00 1900"]


def entry_text(played, album, track):
    artist, title = "Artist %d" % album, "Song %d-%d" % (album, track)
    return ("%8.8X %04d/%02d %-28.28s - %-29.29s [%s]" % (played, album, track, artist, title,
                                                          "03:%02d" % track)).encode()


class HistoryFiles:
    """HISTORY of the fake server: one entry per request for the file named, album 0 at the end."""

    def __init__(self, fake, root, files):
        self.root = root
        self.files = files          # name -> [(played, album, track)]
        self.position = {}
        self.asked = []
        fake.handlers[HISTORY] = self.on_history

    def on_history(self, srv, conn, m):
        self.asked.append(m)
        name = m.str.rsplit("/", 1)[-1]
        entries = self.files.get(name, [])
        i = self.position.get(name, 0)
        if i >= len(entries):
            self.position[name] = 0
            return reply(m, album=0, text=b"")
        self.position[name] = i + 1
        return reply(m, text=entry_text(*entries[i]))


def history_menu(fake, term, root, files):
    PlaylistServer(fake, current=[(1, 1)], history_files=FILES)
    model = HistoryFiles(fake, root, files)
    t = start_console(fake, term, env={"TZ": "UTC"})
    t.send(KEY.ctrl("H"))
    t.wait_for("Available History Files", row=0)
    t.settle(0.3)
    return t, model


def test_the_menu_lists_the_files_by_their_time(fake, term, root):
    t, _ = history_menu(fake, term, root, {})
    d = [m for m in fake.of_type(DIRLIST) if m.album == 58][-1]
    assert (d.album, d.track, d.str) == (58, 1, root + "/History")
    for label in LABELS:
        assert t.find(label) is not None, t.text()
    assert t.find("Quit") is not None
    assert t.find("Select history file") is not None
    # The rows keep the server's order.
    rows = [t.find(label)[0] for label in LABELS]
    assert rows == sorted(rows)


def test_browsing_a_file_starts_on_its_last_entry(fake, term, root):
    entries = [(0x65F45C00 + 60 * i, 2, i + 1) for i in range(3)]
    t, model = history_menu(fake, term, root, {"240315143000.hst": entries})
    t.send(KEY.ENTER)
    t.wait_for("Playlist History: Fri Mar 15 14:30:00 2024", row=0)
    assert len(model.asked) == 4
    assert all((m.album, m.track, m.str) == (1, 0, root + "/History/240315143000.hst") for m in model.asked)
    for i in range(3):
        assert t.at(2 + i, 2, 77) == track_line(2, i + 1)
    assert t.is_reverse(4, 2)
    # 0x65F45C78 seconds is 14:34:32 UTC on 15 March 2024.
    assert t.at(23, 1, 35) == "3 of 3. Played: 15/03/24 @ 14:34:32"
    assert t.is_reverse(23, 1)
    t.send(KEY.ESC)
    t.wait_for("Available History Files", row=0)
    t.send(KEY.ESC)
    t.wait_for("Current Playlist (", row=0)


def test_an_empty_file_goes_back_to_the_menu_without_a_message(fake, term, root):
    t, model = history_menu(fake, term, root, {})
    t.send(KEY.ENTER)
    t.wait_for("Available History Files", row=0)
    t.settle(0.5)
    assert len(model.asked) == 1
    assert t.find("No History") is None


def test_a_badly_formed_name_is_still_a_row_that_opens(fake, term, root):
    t, model = history_menu(fake, term, root, {"history.hst": [(0x65000000, 3, 2)]})
    t.send("s")   # the only row beginning with S
    t.send(KEY.ENTER)
    t.wait_for("Playlist History: Sun Jan  0 00:00:00 1900", row=0)
    assert model.asked[0].str == root + "/History/history.hst"
    assert t.at(2, 2, 77) == track_line(3, 2)


def test_malformed_entries_are_left_out(fake, term, root):
    PlaylistServer(fake, current=[(1, 1)], history_files=FILES)
    replies = [b"rubbish", entry_text(0x65000000, 9999, 1), entry_text(0x65000010, 2, 2)]

    def history(srv, conn, m):
        if replies:
            return reply(m, text=replies.pop(0))
        return reply(m, album=0)
    fake.handlers[HISTORY] = history
    t = start_console(fake, term)
    t.send(KEY.ctrl("H"))
    t.wait_for("Available History Files", row=0)
    t.send(KEY.ENTER)
    t.wait_for("Playlist History:", row=0)
    assert t.at(2, 2, 77) == track_line(2, 2)
    assert t.at(3, 2, 4) != "0000"
    time.sleep(0.2)
    assert count_of(fake, HISTORY) == 4


def test_reading_a_file_shows_a_running_count_only(fake, term, root):
    PlaylistServer(fake, current=[(1, 1)], history_files=FILES)
    model = HistoryFiles(fake, root, {"240315143000.hst": [(0x65F45C00, 2, 1), (0x65F45C10, 2, 2)]})
    slow = model.on_history

    def history(srv, conn, m):
        time.sleep(0.6)
        return slow(srv, conn, m)
    fake.handlers[HISTORY] = history
    t = start_console(fake, term, env={"TZ": "UTC"})
    t.send(KEY.ctrl("H"))
    t.wait_for("Available History Files", row=0)
    t.send(KEY.ENTER)
    t.wait_for("1", row=12, col=44)
    assert t.find("Please Wait") is None
    assert t.find("Available History Files") is None   # the screen was cleared
    t.wait_for("2", row=12, col=44)
    t.wait_for("Playlist History: Fri Mar 15 14:30:00 2024", row=0)
