"""The console, playing modes, offline playlists, chains and history against the real zerkaserver."""

import os
import time

import pytest

from conftest import write_cfg
from console_helpers import CONSOLE, CURRENT, GET_MODE, GET_PLIST, LINK_QUERY, ctrl, heading_of
from fakeserver import ALBUM_READ, GO, PLIST_ADD, PLIST_GET
from realserver import RealServer
from term import KEY

DIRLIST = 0x24


@pytest.fixture
def server():
    """A zerkaserver on a demo root; the client shares that root, in master mode."""
    srv = RealServer(demo=True)
    write_cfg(srv.root, srv.port, mode="master")
    yield srv
    srv.stop()


def texts(srv, album_no):
    """(artist, title, length) of every entry of an album, entry 0 first."""
    c = srv.client()
    lines = c.request(ALBUM_READ, album=album_no).str.split("\n")
    c.close()
    out = []
    for i in range(0, len(lines) - 2, 3):
        out.append((lines[i], lines[i + 1], lines[i + 2].split()[0]))
    return out


def line(srv, album_no, track_no):
    artist, title, length = texts(srv, album_no)[track_no]
    return "%04d/%02d %-28.28s - %-29.29s [%s]" % (album_no, track_no, artist, title, length)


def current(srv):
    c = srv.client()
    text = c.request(PLIST_GET, text=CURRENT.encode()).str
    c.close()
    return [tuple(int(x) for x in text[i:i + 8].split()) for i in range(0, len(text), 8)]


def add(srv, pairs, name=CURRENT):
    c = srv.client()
    for a, t in pairs:
        assert c.request(PLIST_ADD, album=a, track=t, text=name.encode()).album != 0xFFFF
    c.close()


def start(srv, term):
    t = term(zroot=srv.root, env={"TZ": "UTC"})
    t.wait_for("Current Playlist (", row=0, timeout=20)
    t.settle(0.5)
    return t


def wait_list(t, srv, pairs, timeout=10):
    want = [line(srv, a, tr) for a, tr in pairs]
    end = time.time() + timeout
    while True:
        t.pump(0.05)
        shown = [t.at(2 + i, 2, len(w)) for i, w in enumerate(want)]
        if shown == want and not t.at(2 + len(want), 2, 4).isdigit():
            return
        if time.time() > end:
            raise AssertionError("list is not %r:\n%s" % (pairs, t.text()))


def to_menu_row(t, row):
    t.send(KEY.ESC)
    t.wait_for("ZERKALIBRARY", row=0)
    t.send(KEY.HOME)
    for _ in range(row):
        t.send(KEY.DOWN)
    t.send(KEY.ENTER)


def test_the_console_shows_the_servers_mode_and_follows_its_playlist(server, term):
    t = start(server, term)
    assert heading_of(t).startswith("Current Playlist (Jukebox Mode)")
    add(server, [(1, 2), (2, 3), (1, 4)])
    wait_list(t, server, [(1, 2), (2, 3), (1, 4)])


def test_moving_and_deleting_change_the_servers_playlist(server, term):
    add(server, [(1, 1), (1, 2), (1, 3)])
    t = start(server, term)
    wait_list(t, server, [(1, 1), (1, 2), (1, 3)])
    t.send(KEY.DOWN)
    t.send("u")
    wait_list(t, server, [(1, 2), (1, 1), (1, 3)])
    assert current(server) == [(1, 2), (1, 1), (1, 3)]
    t.send(KEY.END)
    t.send("t")
    wait_list(t, server, [(1, 3), (1, 2), (1, 1)])
    t.send(KEY.HOME)
    t.send("d")
    wait_list(t, server, [(1, 2), (1, 3), (1, 1)])
    t.send(KEY.HOME)
    t.send("x")
    artist, title, _ = texts(server, 1)[2]
    t.wait_for("%s - %s:  Deleted From Playlist current.lst" % (artist, title), row=12)
    wait_list(t, server, [(1, 3), (1, 1)])
    assert current(server) == [(1, 3), (1, 1)]


def test_mode_rows_change_the_servers_mode(server, term):
    t = start(server, term)
    to_menu_row(t, 2)   # Random Mode
    t.wait_for("Current Playlist (Random Mode)", row=0)
    c = server.client()
    assert c.request(GET_MODE).album == 3
    c.close()


def test_playlist_mode_selects_from_the_chosen_playlist(server, term):
    t = start(server, term)
    to_menu_row(t, 4)   # Playlist Mode
    t.wait_for("Choose Playlist to use for selection", row=0)
    t.settle(0.3)
    assert t.find(CURRENT) is None
    t.send("p")   # party
    t.send(KEY.ENTER)
    t.wait_for('Playlist mode: selecting from "party" playlist', row=0)
    c = server.client()
    assert c.request(GET_MODE).album == 5
    assert c.request(GET_PLIST).str == "party"
    c.close()


def test_console_mode_is_refused_while_another_client_holds_it(server, term):
    holder = server.client()
    assert holder.request(CONSOLE).album != 0
    t = start(server, term)
    assert heading_of(t).startswith("Current Playlist (Console Mode)")
    to_menu_row(t, 2)   # Random: refused while the console is held
    t.wait_for("Current Playlist (Console Mode)", row=0)
    to_menu_row(t, 0)   # Console Mode
    t.wait_for("Console already in use", row=12)
    t.wait_for("Current Playlist (Console Mode)", row=0)
    holder.close()


def test_offline_playlists_create_open_append_delete(server, term):
    t = start(server, term)
    t.send("p")
    t.wait_for("Select Offline Playlist", row=0)
    t.settle(0.3)
    assert t.find("favourites") and t.find("party") and t.find(CURRENT) is None
    # Create.
    t.send("C")
    t.send(KEY.ENTER)
    t.wait_for("New Playlist Name:", row=10, col=20)
    t.send("mine\r")
    t.wait_for("mine")
    assert os.path.exists(os.path.join(server.root, "PlayLists", "mine"))
    # Open and append to the current playlist.
    t.send("p")
    t.send(KEY.ENTER)
    t.wait_for("Playlist: party", row=0)
    c = server.client()
    party = c.request(0x3F, text=b"party").str
    c.close()
    pairs = [tuple(int(x) for x in party[i:i + 8].split()) for i in range(0, len(party), 8)]
    assert pairs
    wait_list(t, server, pairs)
    t.send("A")
    t.wait_for('Add playlist "party" to the currently active one (%d tracks)?' % len(pairs), row=12, col=4)
    t.send("y")
    deadline = time.time() + 5
    while current(server) != pairs and time.time() < deadline:
        time.sleep(0.1)
    assert current(server) == pairs
    t.send(KEY.ESC)
    t.wait_for("Select Offline Playlist", row=0)
    # Delete the new one.
    t.send("m")
    t.send(KEY.ENTER)
    t.wait_for("Playlist: mine", row=0)
    t.send(ctrl("D"))
    t.wait_for('Are you sure you wish to delete playlist "mine"?')
    t.send("y")
    t.wait_for("Select Offline Playlist", row=0)
    t.settle(0.3)
    assert t.find("mine") is None
    assert not os.path.exists(os.path.join(server.root, "PlayLists", "mine"))


def test_creating_a_playlist_that_exists_asks_first(server, term):
    t = start(server, term)
    t.send("p")
    t.wait_for("Select Offline Playlist", row=0)
    t.send("C")
    t.send(KEY.ENTER)
    t.wait_for("New Playlist Name:", row=10, col=20)
    t.send("party\r")
    t.wait_for('Playlist "party" already exists: use it?', row=12, col=10)
    t.send("n")
    t.wait_for("Select Offline Playlist", row=0)


def test_chains_start_append_and_delete(server, term):
    add(server, [(3, 1), (3, 2)])
    t = start(server, term)
    wait_list(t, server, [(3, 1), (3, 2)])
    t.send("q")
    t.wait_for("Make this track the first link in a new chain?", row=16, col=10)
    t.send("y")
    t.wait_for("Current Playlist (", row=0)
    t.send(KEY.DOWN)
    t.send("q")
    t.wait_for("Append Album 0003, Track 02 to this chain?", row=22, col=10)
    t.send("y")
    t.wait_for("Do you want to add further links?", row=22, col=10)
    t.send("n")
    t.wait_for("Current Playlist (", row=0)
    c = server.client()
    assert c.request(LINK_QUERY, album=3, track=2).str == "0003 01\n0003 02\n"
    c.close()
    t.send("v")
    t.wait_for("The following tracks are linked:", row=2, col=10)
    artist, title, _ = texts(server, 3)[2]
    assert t.at(5, 2, 60) == ("%04d/%02d %-32.32s - %-32.32s" % (3, 2, artist, title))[:60]
    assert t.is_bold(5, 2)
    t.send(" ")
    t.wait_for("Current Playlist (", row=0)
    t.send("q")
    t.wait_for("Re-activate this chain and add more links?", row=20, col=10)
    t.send("n")
    t.wait_for("Delete this linked chain?", row=20)
    t.send("y")
    t.wait_for("Current Playlist (", row=0)
    c = server.client()
    assert c.request(LINK_QUERY, album=3, track=1).album == 0
    c.close()


def test_history_menu_and_browsing(server, term):
    files = sorted(os.listdir(os.path.join(server.root, "History")))
    assert files
    t = start(server, term)
    t.send(ctrl("H"))
    t.wait_for("Available History Files", row=0)
    label = time.asctime(time.strptime(files[0], "%y%m%d%H%M%S.hst"))
    t.wait_for(label)
    t.send(KEY.ENTER)
    t.wait_for("Playlist History: " + label, row=0)
    with open(os.path.join(server.root, "History", files[0]), encoding="latin-1") as f:
        count = len([x for x in f.read().split("\n") if x.strip()])
    assert t.at(23, 1, len("%d of %d" % (count, count))) == "%d of %d" % (count, count)


def test_skip_with_nothing_playing_fails_and_after_go_it_counts_down(server, term):
    t = start(server, term)
    t.send(ctrl("F"))
    t.wait_for("Are you sure you want to skip the current track?", row=12, col=14)
    t.send("y")
    t.wait_for("Control message failed", row=12)
    t.send(" ")
    t.wait_gone("Control message failed")
    add(server, [(1, 1)])
    c = server.client()
    assert c.request(GO).album != 0xFFFF
    c.close()
    t.wait_for("Now Playing: ", row=12)
    t.wait_gone("Now Playing: ")
    t.send(ctrl("F"))
    t.wait_for("Are you sure you want to skip the current track?", row=12, col=14)
    t.send("y")
    t.wait_for("00:0", row=23, col=74)
    assert int(t.at(23, 77, 2)) <= 8


# ----- the console shows what this program adds ---------------------------------------------

def search_artist(t, artist):
    """s on the console, then a search for an artist; waits for the results."""
    t.send("s")
    t.wait_for("Artist: ", row=10, col=12)
    t.send(artist + "\r")
    t.wait_for("Title:  ", row=12, col=12)
    t.send("\r")
    t.wait_for('Artists containing "%s"' % artist, row=0)
    t.settle(0.3)


def back_to_console(t):
    """Esc from the search results, then Esc at the search prompt."""
    t.send(KEY.ESC)
    t.wait_for("Artist: ", row=10, col=12)
    t.send(KEY.ESC)
    t.wait_for("Current Playlist (", row=0)


def test_tracks_added_from_the_consoles_search_show_when_the_search_ends(server, term):
    t = start(server, term)
    search_artist(t, "Marigold")
    for _ in range(3):
        t.send("a")
        t.wait_for("Added to Current Playlist", row=12)
        t.wait_gone("Added to Current Playlist")
        t.send(KEY.DOWN)
    back_to_console(t)
    added = current(server)
    assert len(set(added)) == 3
    wait_list(t, server, added)


def test_tracks_added_by_mass_apply_show_on_the_console(server, term):
    t = start(server, term)
    search_artist(t, "Juniper")
    t.send(KEY.F8)
    t.wait_for("Apply operations to whole browser list", row=0)
    t.settle(0.2)
    t.send("\r")   # "Add all tracks to the current playlist"
    t.wait_for("Are you sure?", row=12, col=30)
    t.send("y")
    t.wait_for('Artists containing "Juniper"', row=0)
    back_to_console(t)
    added = current(server)
    assert sorted(added) == [(3, n) for n in range(1, 6)] + [(13, 3)]   # and a compilation's track
    wait_list(t, server, added)


def test_a_command_line_add_shows_on_a_running_console(server, term):
    t = start(server, term)
    add(server, [(2, 1)])
    wait_list(t, server, [(2, 1)])
    import subprocess
    from conftest import ZERKA
    out = subprocess.run([ZERKA, "--playlist-add", "5/3"], env=dict(os.environ, ZERKA=server.root),
                         capture_output=True, timeout=30)
    assert out.returncode == 0, out.stderr
    assert out.stdout.decode("latin-1").endswith(":  Added to Playlist\n")
    wait_list(t, server, [(2, 1), (5, 3)])
