"""Offline playlists: the menu, opening, creating, appending, deleting, and adding tracks."""

import os
import time

import pytest

from conftest import write_cfg
from console_helpers import CURRENT, PlaylistServer, count_of, ctrl, heading_of, start_console, track_line
from fakeserver import (DELETE, DIRLIST, PLIST_ADD, PLIST_ADD_LOCAL, PLIST_APPEND, PLIST_GET, PLIST_READ,
                        PLIST_UPDATE, RET_CHECK, album_text, plist_text, reply, simple_library)
from term import KEY

PARTY = [(2, 1), (2, 2), (3, 3)]


def many(n):
    """n distinct album/track pairs."""
    return [(1 + i // 99, 1 + i % 99) for i in range(n)]


def open_menu(fake, term, offline=None, current=((1, 1),)):
    server = PlaylistServer(fake, current=current, offline=offline if offline is not None else {"party": PARTY,
                                                                                               "chill": [(4, 1)]})
    t = start_console(fake, term)
    t.send("p")
    t.wait_for("Select Offline Playlist", row=0)
    t.settle(0.3)
    return t, server


def open_playlist(fake, term, name="party", **kw):
    t, server = open_menu(fake, term, **kw)
    where = t.find(name)
    assert where is not None, t.text()
    # Quick selection by first letter; names of the tests start with different letters.
    t.send(name[0])
    t.send(KEY.ENTER)
    t.wait_for("Playlist: %s" % name, row=0)
    t.settle(0.3)
    return t, server


def test_the_menu_lists_the_playlists_but_never_the_current_one(fake, term):
    t, _ = open_menu(fake, term)
    screen = t.text()
    for label in ("chill", "party", "Create Playlist", "Quit"):
        assert label in screen
    assert CURRENT not in screen
    d = fake.of_type(DIRLIST)[-1]
    assert (d.album, d.track, d.str) == (0, 0, "PlayLists")


def test_opening_a_playlist_browses_it(fake, term):
    t, _ = open_playlist(fake, term)
    r = [m for m in fake.of_type(PLIST_READ) if m.str == "party"][0]
    assert (r.album, r.track) == (1, 0)
    for i, (a, tr) in enumerate(PARTY):
        assert t.at(2 + i, 2, 77) == track_line(a, tr)
    footer = "append to current playlist: A   delete this playlist: ^D"
    assert t.at(23, 17, len(footer)) == footer
    assert t.is_reverse(23, 17 + footer.index("A")) and t.is_reverse(23, 17 + footer.index("^"))
    assert not t.is_reverse(23, 17 + footer.index("D"))
    # Esc goes back to the menu, and from there to the console with the current playlist.
    t.send(KEY.ESC)
    t.wait_for("Select Offline Playlist", row=0)
    gets = count_of(fake, PLIST_GET)
    t.send(KEY.ESC)
    t.wait_for("Current Playlist (", row=0)
    get = fake.wait_for(PLIST_GET, count=gets + 1)
    assert get.str == CURRENT
    t.wait_for(track_line(1, 1), row=2, col=2)


def test_a_playlist_the_server_cannot_open(fake, term):
    t, server = open_menu(fake, term, offline={"party": PARTY, "ghost": []})
    del server.offline["ghost"]   # listed, but gone when asked for
    t.send("g")
    t.send(KEY.ENTER)
    t.wait_for("Cannot open playlist: ghost", row=12)
    t.wait_for("Select Offline Playlist", row=0)


def test_append_asks_and_sends_the_playlist(fake, term):
    t, server = open_playlist(fake, term)
    t.send("A")
    t.wait_for('Add playlist "party" to the currently active one (3 tracks)?', row=12, col=4)
    t.send("y")
    m = fake.wait_for(PLIST_APPEND)
    assert (m.album, m.str) == (1, "party")
    assert fake.playlist == [(1, 1)] + PARTY


def test_append_declined_sends_nothing(fake, term):
    t, _ = open_playlist(fake, term)
    t.send("A")
    t.wait_for('Add playlist "party" to the currently active one (3 tracks)?', row=12, col=4)
    t.send("n")
    time.sleep(0.5)
    assert count_of(fake, PLIST_APPEND) == 0


def test_append_of_256_tracks_is_allowed(fake, term):
    t, _ = open_playlist(fake, term, name="big", offline={"big": many(256)})
    t.send("A")
    t.wait_for('Add playlist "big" to the currently active one (256 tracks)?', row=12, col=4)
    t.send("y")
    fake.wait_for(PLIST_APPEND)


def test_append_of_257_tracks_is_refused(fake, term):
    t, _ = open_playlist(fake, term, name="big", offline={"big": many(257)})
    t.send("A")
    t.wait_for("257 tracks: a maximum of 256 tracks may be added to the current playlist", row=8, col=6)
    t.wait_for("continue:", row=12)
    t.send(" ")
    t.wait_for("Playlist: big", row=0)
    time.sleep(0.3)
    assert count_of(fake, PLIST_APPEND) == 0


def test_ctrl_d_deletes_the_playlist_and_closes_the_view(fake, term):
    t, server = open_playlist(fake, term)
    t.send(ctrl("D"))
    t.wait_for('Are you sure you wish to delete playlist "party"?')
    t.send("y")
    m = fake.wait_for(DELETE)
    assert (m.album, m.str) == (1, "party")
    t.wait_for("Select Offline Playlist", row=0)
    t.settle(0.3)
    assert t.find("party") is None
    assert "party" not in server.offline


def test_ctrl_d_declined_closes_the_view_too(fake, term):
    t, server = open_playlist(fake, term)
    t.send(ctrl("D"))
    t.wait_for('Are you sure you wish to delete playlist "party"?')
    t.send("n")
    t.wait_for("Select Offline Playlist", row=0)
    assert count_of(fake, DELETE) == 0
    assert "party" in server.offline


def test_a_adds_the_track_to_the_current_playlist(fake, term):
    t, server = open_playlist(fake, term)
    t.send(KEY.DOWN)
    gets = count_of(fake, PLIST_GET)
    t.send("a")
    m = fake.wait_for(PLIST_ADD_LOCAL)
    assert (m.album, m.track, m.str) == (2, 2, CURRENT)
    t.wait_for("Artist 2 - Song 2-2:  Added to Current Playlist", row=12)
    u = fake.wait_for(PLIST_UPDATE)
    assert (u.album, u.track, u.str) == (2, 2, CURRENT)
    g = fake.wait_for(PLIST_GET, count=gets + 1)
    assert (g.album, g.str) == (1, CURRENT)
    assert fake.playlist == [(1, 1), (2, 2)]


def test_a_on_a_track_already_there_says_so(fake, term):
    t, server = open_playlist(fake, term, current=[(2, 1)])
    t.send("a")
    t.wait_for("Artist 2 - Song 2-1:  Already In Current Playlist", row=12)


def test_an_update_while_an_offline_playlist_is_shown_is_dropped(fake, term):
    t, _ = open_playlist(fake, term)
    fake.push(PLIST_UPDATE, seq=0, text=plist_text([(5, 1)]))
    fake.push(PLIST_UPDATE, seq=7, text=plist_text([(5, 2)]))
    t.settle(1.2)
    for i, (a, tr) in enumerate(PARTY):
        assert t.at(2 + i, 2, 77) == track_line(a, tr)
    assert t.find("0005/0") is None


def test_creating_a_playlist(fake, term):
    t, server = open_menu(fake, term)
    t.send("C")
    t.send(KEY.ENTER)
    t.wait_for("New Playlist Name:", row=10, col=20)
    t.send("newlist\r")
    m = fake.wait_for(PLIST_READ, pred=lambda m: m.str == "newlist")
    assert (m.album, m.track) == (1, 2)
    # The menu comes back, now with the new playlist.
    t.wait_for("newlist")
    t.wait_for("Select Offline Playlist", row=0)
    assert "newlist" in server.offline


def test_a_blank_name_is_refused(fake, term):
    t, _ = open_menu(fake, term)
    t.send("C")
    t.send(KEY.ENTER)
    t.wait_for("New Playlist Name:", row=10, col=20)
    t.send("\r")
    t.wait_for("Playlist name may not be blank", row=12)
    t.wait_for("Select Offline Playlist", row=0)
    assert [m for m in fake.of_type(PLIST_READ) if m.track == 2] == []


def test_escape_at_the_name_gives_up(fake, term):
    t, _ = open_menu(fake, term)
    t.send("C")
    t.send(KEY.ENTER)
    t.wait_for("New Playlist Name:", row=10, col=20)
    t.send(KEY.ESC)
    t.wait_for("Select Offline Playlist", row=0)
    assert [m for m in fake.of_type(PLIST_READ) if m.track == 2] == []


@pytest.mark.parametrize("answer", ["n", "y"])
def test_creating_a_playlist_whose_file_exists_asks_first(fake, term, root, answer):
    with open(os.path.join(root, "PlayLists", "party"), "w") as f:
        f.write("")
    t, server = open_menu(fake, term)
    t.send("C")
    t.send(KEY.ENTER)
    t.wait_for("New Playlist Name:", row=10, col=20)
    t.send("party\r")
    t.wait_for('Playlist "party" already exists: use it?', row=12, col=10)
    t.send(answer)
    t.wait_for("Select Offline Playlist", row=0)
    t.settle(0.3)
    creates = [m for m in fake.of_type(PLIST_READ) if m.track == 2]
    if answer == "y":
        assert [m.str for m in creates] == ["party"]
    else:
        assert creates == []
    assert server.offline["party"] == PARTY


def test_f_adds_a_track_to_a_playlist_chosen_from_a_menu(fake, term):
    server = PlaylistServer(fake, current=[(1, 2)], offline={"party": PARTY})
    t = start_console(fake, term)
    t.send("f")
    t.wait_for("Artist 1 - Song 1-2", row=0)
    t.wait_for("Select Playlist to which to add this track")
    t.settle(0.3)
    assert t.find(CURRENT) is None
    t.send("p")
    t.send(KEY.ENTER)
    m = fake.wait_for(PLIST_ADD_LOCAL)
    assert (m.album, m.track, m.str) == (1, 2, "party")
    t.wait_for("Artist 1 - Song 1-2:  Added to party Playlist", row=12)
    assert server.offline["party"] == PARTY + [(1, 2)]
    # The menu stays until Quit or Esc.
    t.wait_gone("Added to party Playlist")
    t.wait_for("Select Playlist to which to add this track")
    t.send(KEY.ESC)
    t.wait_for("Current Playlist (", row=0)
    assert heading_of(t).startswith("Current Playlist (")


def test_list_keys_work_on_the_offline_playlist(fake, term):
    t, server = open_playlist(fake, term)
    t.send(KEY.DOWN)
    t.send("u")
    m = fake.wait_for(0x34)   # PLIST_UP
    assert (m.album, m.track, m.str) == (2, 2, "party")
    r = fake.wait_for(PLIST_READ, pred=lambda m: m.str == "party", count=2)
    assert r.album == 1
    t.wait_for(track_line(2, 2), row=2, col=2)
    t.wait_for(track_line(2, 1), row=3, col=2)
    t.send("x")
    d = fake.wait_for(0x32)   # PLIST_DELETE
    assert (d.album, d.track, d.str) == (2, 2, "party")
    text = "Artist 2 - Song 2-2:  Deleted From Playlist party"
    t.wait_for(text, row=12, col=(80 - len(text)) // 2)
    t.wait_for(track_line(2, 1), row=2, col=2)
    assert server.offline["party"] == [(2, 1), (3, 3)]
    t.send("r")
    t.wait_for("Are you sure you wish to shuffle this playlist?")
    t.send("y")
    t.wait_for(track_line(3, 3), row=2, col=2)
    t.wait_for(track_line(2, 1), row=3, col=2)
    assert fake.playlist == [(1, 1)]


# ----- key a of the track lists: adding one track to the current playlist ----------------------------


def offline_library():
    """simple_library with track 2 of album 1 off-line."""
    lib = simple_library(3, 3)
    lib[1] = album_text("Artist 1", "Album 1", [("Artist 1", "Song 1-1", "03:01"),
                                                ("Artist 1", "Song 1-2", "03:02", "-", 0),
                                                ("Artist 1", "Song 1-3", "03:03")])
    return lib


def album_list(fake, term, current, root=None, **cfg):
    """The console on `current`, then the track list (key l) of its first element's album."""
    if cfg:
        write_cfg(root, fake.port, **cfg)
    PlaylistServer(fake, current=current)
    t = start_console(fake, term, library=offline_library())
    t.send("l")
    album_no = current[0][0]
    t.wait_for("%04d: Artist %d - Album %d [" % (album_no, album_no, album_no), row=0)
    t.settle(0.3)
    return t


def test_a_refuses_an_offline_track_without_a_cd_drive(fake, term):
    t = album_list(fake, term, [(1, 1)])
    t.send(KEY.DOWN)   # 0001/02 is off-line
    t.send("a")
    text = "Cannot add offline tracks to playlist - no CD drive"
    t.wait_for(text, row=12, col=(80 - len(text)) // 2)
    time.sleep(0.4)
    assert count_of(fake, PLIST_ADD) == 0


def test_a_adds_then_announces_updates_and_reads_the_list_again(fake, term):
    t = album_list(fake, term, [(1, 1)])
    t.send(KEY.DOWN)
    t.send(KEY.DOWN)   # 0001/03, on line
    before = len(fake.received)
    t.send("a")
    t.wait_for("Artist 1 - Song 1-3:  Added to Current Playlist", row=12)
    fake.wait_for(PLIST_READ, pred=lambda m: m in fake.received[before:])
    sent = [(m.type, m.album, m.track, m.str) for m in fake.received[before:]]
    assert sent[:3] == [(PLIST_ADD, 1, 3, CURRENT), (PLIST_UPDATE, 1, 3, CURRENT), (PLIST_READ, 1, 0, CURRENT)]
    assert fake.playlist == [(1, 1), (1, 3)]


def test_a_on_an_offline_track_with_a_cd_drive_notes_the_retrieve(fake, term, root):
    t = album_list(fake, term, [(1, 1)], root=root, extra={"CD_DRIVE": "/dev/null"})
    t.send(KEY.DOWN)
    t.send("a")
    m = fake.wait_for(PLIST_ADD)
    assert (m.album, m.track, m.str) == (1, 2, CURRENT)
    t.wait_for("Please load CD number 0001", row=22)
    assert count_of(fake, RET_CHECK) == 0
    # The off-line track still goes to the playlist and the list is read again.
    u = fake.wait_for(PLIST_UPDATE)
    assert (u.album, u.track, u.str) == (1, 2, CURRENT)

