"""The playlist console: its list, its keys and the play controls."""

import time

import pytest

from conftest import write_cfg
from console_helpers import (CHANGE_MODE, CURRENT, HISTORY, PlaylistServer, count_of, ctrl, heading_of, no_new,
                             start_console, track_line)
from fakeserver import (CANCEL, GO, PAUSE, PLIST_CLEAR, PLIST_DELETE, PLIST_DOWN, PLIST_GET, PLIST_KEEP, PLIST_NEXT,
                        PLIST_READ, PLIST_SHUFFLE, PLIST_UP, PLIST_UPDATE, REFRESH, SKIP, STOP, FAILED, plist_text,
                        reply)
from term import KEY

THREE = [(1, 1), (1, 2), (1, 3)]


def rows_of(t, count, first=2):
    return [t.at(first + i, 2, 77) for i in range(count)]


def lines(pairs):
    return [track_line(a, tr) for a, tr in pairs]


def wait_rows(t, pairs, timeout=5):
    """Waits until the list shows exactly pairs from row 2 on."""
    want = lines(pairs)
    end = time.time() + timeout
    while True:
        t.pump(0.05)
        if rows_of(t, len(want)) == want and not t.at(2 + len(want), 2, 10).startswith("0"):
            return
        if time.time() > end:
            raise AssertionError("list is not %r:\n%s" % (pairs, t.text()))


def test_console_shows_the_current_playlist_in_the_servers_order(fake, term):
    PlaylistServer(fake, current=[(2, 3), (1, 1), (3, 2)])
    t = start_console(fake, term)
    wait_rows(t, [(2, 3), (1, 1), (3, 2)])
    get = fake.of_type(PLIST_GET)[0]
    assert (get.album, get.str) == (1, CURRENT)
    assert t.is_reverse(2, 2)   # the first row is current


@pytest.mark.parametrize("key,type_,after", [
    ("u", PLIST_UP, [(1, 2), (1, 1), (1, 3)]),
    ("d", PLIST_DOWN, [(1, 1), (1, 3), (1, 2)]),
    ("t", PLIST_NEXT, [(1, 2), (1, 1), (1, 3)]),
])
def test_move_keys_send_their_request_and_the_list_is_read_again(fake, term, key, type_, after):
    PlaylistServer(fake, current=THREE)
    t = start_console(fake, term)
    wait_rows(t, THREE)
    t.send(KEY.DOWN)
    reads = count_of(fake, PLIST_READ)
    t.send(key)
    m = fake.wait_for(type_)
    assert (m.album, m.track, m.str) == (1, 2, CURRENT)
    r = fake.wait_for(PLIST_READ, count=reads + 1)
    assert (r.album, r.str) == (1, CURRENT)
    wait_rows(t, after)


def test_delete_key_pops_up_and_rebuilds(fake, term):
    PlaylistServer(fake, current=THREE)
    t = start_console(fake, term)
    wait_rows(t, THREE)
    t.send(KEY.DOWN)
    t.send("x")
    m = fake.wait_for(PLIST_DELETE)
    assert (m.album, m.track, m.str) == (1, 2, CURRENT)
    text = "Artist 1 - Song 1-2:  Deleted From Playlist current.lst"
    t.wait_for(text, row=12, col=(80 - len(text)) // 2)
    wait_rows(t, [(1, 1), (1, 3)])


def test_a_refused_delete_shows_no_message(fake, term):
    PlaylistServer(fake, current=THREE)
    fake.handlers[PLIST_DELETE] = lambda srv, conn, m: reply(m, album=FAILED)
    t = start_console(fake, term)
    wait_rows(t, THREE)
    reads = count_of(fake, PLIST_READ)
    t.send("x")
    fake.wait_for(PLIST_DELETE)
    fake.wait_for(PLIST_READ, count=reads + 1)
    t.settle(0.8)
    assert t.find("Deleted From Playlist") is None
    wait_rows(t, THREE)


def test_on_an_empty_console_the_list_keys_do_nothing(fake, term):
    PlaylistServer(fake, current=[])
    t = start_console(fake, term)
    before = len(fake.received)
    for key in "dtux":
        t.send(key)
    time.sleep(0.6)
    assert fake.received[before:] == []
    assert heading_of(t).startswith("Current Playlist (Undefined Mode)")


def test_a_on_an_empty_console_opens_the_album_screen(fake, term):
    PlaylistServer(fake, current=[])
    t = start_console(fake, term)
    t.send("a")
    t.wait_for("Album No: 0001", row=18, col=12)
    t.send(KEY.ESC)
    t.wait_for("Current Playlist (", row=0)


def test_a_on_a_track_opens_the_album_screen(fake, term):
    PlaylistServer(fake, current=THREE)
    t = start_console(fake, term)
    t.send("a")
    t.wait_for("Album No: 0001", row=18, col=12)
    t.send("0002\r")
    t.wait_for("0002: Artist 2 - Album 2 [09:06]", row=0)
    t.send(KEY.ESC)
    t.wait_for("Album No: 0003", row=18, col=12)
    t.send(KEY.ESC)
    t.wait_for("Current Playlist (", row=0)


def test_c_then_escape_leaves_the_console(fake, term):
    PlaylistServer(fake, current=THREE)
    t = start_console(fake, term)
    t.send("c")
    t.wait_for("Currently active playlist will be cleared/replaced", row=8, col=10)
    t.wait_for("Save Current Playlist As:", row=12, col=10)
    t.send(KEY.ESC)
    t.wait_for("ZERKALIBRARY", row=0)
    assert count_of(fake, PLIST_CLEAR) == 0
    assert count_of(fake, PLIST_KEEP) == 0


def test_k_then_escape_only_cancels(fake, term):
    PlaylistServer(fake, current=THREE)
    t = start_console(fake, term)
    t.send("k")
    t.wait_for("Save Current Playlist As:", row=12, col=10)
    t.send(KEY.ESC)
    t.settle(0.5)
    assert heading_of(t).startswith("Current Playlist (")
    assert t.find("Save Current Playlist As:") is None
    wait_rows(t, THREE)
    assert count_of(fake, PLIST_KEEP) == 0


def test_k_keeps_the_playlist_under_a_name(fake, term):
    server = PlaylistServer(fake, current=THREE)
    t = start_console(fake, term)
    t.send("k")
    t.wait_for("Save Current Playlist As:", row=12, col=10)
    t.send("party\r")
    m = fake.wait_for(PLIST_KEEP)
    assert (m.album, m.str) == (1, "party")
    assert server.offline["party"] == THREE
    t.settle(0.3)
    assert heading_of(t).startswith("Current Playlist (")


def test_c_keeps_under_a_typed_name_then_clears(fake, term):
    server = PlaylistServer(fake, current=THREE)
    t = start_console(fake, term)
    gets = count_of(fake, PLIST_GET)
    t.send("c")
    t.wait_for("Save Current Playlist As:", row=12, col=10)
    t.send("old\r")
    keep = fake.wait_for(PLIST_KEEP)
    clear = fake.wait_for(PLIST_CLEAR)
    assert keep.str == "old" and clear.str == CURRENT
    fake.wait_for(PLIST_GET, count=gets + 1)
    assert server.offline["old"] == THREE
    t.wait_for("Current Playlist (", row=0)
    t.settle(0.3)
    assert t.find("0001/0") is None


def test_c_with_no_name_clears_without_keeping(fake, term):
    PlaylistServer(fake, current=THREE)
    t = start_console(fake, term)
    t.send("c")
    t.wait_for("Save Current Playlist As:", row=12, col=10)
    t.send("\r")
    fake.wait_for(PLIST_CLEAR)
    assert count_of(fake, PLIST_KEEP) == 0
    t.wait_for("Current Playlist (", row=0)


def test_r_shuffles_after_the_question(fake, term):
    PlaylistServer(fake, current=THREE)
    t = start_console(fake, term)
    t.send("r")
    t.wait_for("Are you sure you wish to shuffle this playlist?")
    t.send("n")
    time.sleep(0.4)
    assert count_of(fake, PLIST_SHUFFLE) == 0
    t.send("r")
    t.wait_for("Are you sure you wish to shuffle this playlist?")
    t.send("y")
    m = fake.wait_for(PLIST_SHUFFLE)
    assert m.str == CURRENT
    wait_rows(t, list(reversed(THREE)))


def test_skip_asks_then_counts_down_from_eight_seconds(fake, term):
    PlaylistServer(fake, current=THREE)
    t = start_console(fake, term)
    t.send(ctrl("F"))
    t.wait_for("Are you sure you want to skip the current track?", row=12, col=14)
    t.send("n")
    time.sleep(0.4)
    assert count_of(fake, SKIP) == 0
    t.send(ctrl("F"))
    t.wait_for("Are you sure you want to skip the current track?", row=12, col=14)
    t.send("y")
    m = fake.wait_for(SKIP)
    assert (m.album, m.track) == (1, 0)
    t.wait_for("00:0", row=23, col=74)
    assert t.is_reverse(23, 74)
    assert int(t.at(23, 77, 2)) <= 8
    first = t.at(23, 74, 5)
    time.sleep(2.2)
    t.pump()
    assert t.at(23, 74, 5) < first


def test_a_failed_control_says_so(fake, term):
    PlaylistServer(fake, current=THREE)
    fake.handlers[SKIP] = lambda srv, conn, m: reply(m, album=FAILED)
    t = start_console(fake, term)
    t.send(ctrl("F"))
    t.wait_for("Are you sure you want to skip the current track?")
    t.send("y")
    t.wait_for(" Control message failed", row=12)


def test_only_stopping_asks_for_the_password(fake, term, root):
    write_cfg(root, fake.port, password="sesame")
    PlaylistServer(fake, current=THREE)
    t = start_console(fake, term)
    t.send(ctrl("G"))
    go = fake.wait_for(GO)
    assert (go.album, go.track) == (1, 0)
    t.send(ctrl("P"))
    p = fake.wait_for(PAUSE)
    assert (p.album, p.track) == (1, 0)
    t.send(ctrl("F"))
    t.wait_for("Are you sure you want to skip the current track?")
    t.send("y")
    fake.wait_for(SKIP)
    t.settle(0.3)
    assert t.find("Password") is None
    assert t.find("Are you sure") is None


def test_stopping_the_auto_dj_asks_for_the_password(fake, term, root):
    write_cfg(root, fake.port, password="sesame")
    PlaylistServer(fake, current=THREE)
    t = start_console(fake, term)
    t.send(ctrl("E"))
    t.wait_for("Are you sure you want to stop the Auto-DJ?", row=12, col=14)
    t.send("y")
    t.wait_for("Password: ", row=12, col=27)
    assert count_of(fake, STOP) == 0
    t.send("sesame\r")
    m = fake.wait_for(STOP)
    assert (m.album, m.track) == (1, 0)
    t.wait_for("Auto-DJ will stop at the end of the current track", row=12)


def test_a_wrong_password_stops_nothing(fake, term, root):
    write_cfg(root, fake.port, password="sesame")
    PlaylistServer(fake, current=THREE)
    t = start_console(fake, term)
    t.send(ctrl("E"))
    t.wait_for("Are you sure you want to stop the Auto-DJ?")
    t.send("y")
    t.wait_for("Password: ", row=12, col=27)
    t.send("nope\r")
    t.wait_for("Sorry - Wrong Password")
    time.sleep(0.5)
    assert count_of(fake, STOP) == 0


@pytest.mark.parametrize("drive", [None, "/dev/null"])
def test_cancel_retrieve_without_one_only_says_so_and_reloads(fake, term, root, drive):
    write_cfg(root, fake.port, extra={"CD_DRIVE": drive})
    PlaylistServer(fake, current=THREE)
    t = start_console(fake, term)
    reads = count_of(fake, PLIST_READ)
    t.send(ctrl("K"))
    t.wait_for("There are no outstanding retrieves", row=12)
    fake.wait_for(PLIST_READ, count=reads + 1)
    assert count_of(fake, CANCEL) == 0
    assert t.find("Are you sure") is None


def test_f5_refreshes_the_database(fake, term):
    PlaylistServer(fake, current=THREE)
    t = start_console(fake, term)
    t.send(KEY.F5)
    m = fake.wait_for(REFRESH)
    assert m.album == 1
    t.wait_for("Current Playlist (", row=0)


def test_an_unsolicited_update_rebuilds_the_list(fake, term):
    PlaylistServer(fake, current=THREE)
    t = start_console(fake, term)
    wait_rows(t, THREE)
    fake.push(PLIST_UPDATE, text=plist_text([(2, 1), (3, 3)]))
    wait_rows(t, [(2, 1), (3, 3)])


def test_change_mode_changes_the_heading_and_pops_up(fake, term):
    PlaylistServer(fake, current=THREE)
    t = start_console(fake, term, mode=2)
    assert heading_of(t).startswith("Current Playlist (Jukebox Mode)")
    fake.push(CHANGE_MODE, album=3)
    t.wait_for("Playing Mode changed to Random", row=12)
    t.wait_for("Current Playlist (Random Mode)", row=0)
    fake.push(CHANGE_MODE, album=5, track=1, text=b"party")
    t.wait_for('Playing Mode changed to Playlist: "party"', row=12)
    t.wait_for('Playlist mode: selecting from "party" playlist', row=0)


def test_recent_history_is_browsed_from_the_latest_entry(fake, term):
    PlaylistServer(fake, current=THREE)
    entries = [(0x65000000 + i * 200, 2, i + 1) for i in range(3)]
    served = []

    def history(srv, conn, m):
        if len(served) < len(entries):
            played, a, tr = entries[len(served)]
            served.append(m)
            artist, title = "Artist %d" % a, "Song %d-%d" % (a, tr)
            text = "%8.8X %04d/%02d %-28.28s - %-29.29s [%s]" % (played, a, tr, artist, title, "03:%02d" % tr)
            return reply(m, text=text.encode())
        served.append(m)
        return reply(m, album=0)
    fake.handlers[HISTORY] = history
    t = start_console(fake, term)
    t.send("h")
    t.wait_for("Playlist History", row=0)
    assert all((m.album, m.track, m.str) == (1, 0, "history.hst") for m in served)
    assert len(served) == 4
    for i in range(3):
        assert t.at(2 + i, 2, 77) == track_line(2, i + 1)
    assert t.is_reverse(4, 2)   # the most recent entry
    t.send(KEY.ESC)
    t.wait_for("Current Playlist (", row=0)


def test_no_recent_history_says_so(fake, term):
    PlaylistServer(fake, current=THREE)
    fake.handlers[HISTORY] = lambda srv, conn, m: reply(m, album=0)
    t = start_console(fake, term)
    t.send("h")
    t.wait_for("No History Available", row=12)
    t.wait_for("Current Playlist (", row=0)


def test_cancel_of_a_running_retrieve(fake, term, root):
    write_cfg(root, fake.port, extra={"CD_DRIVE": "/dev/null"})
    PlaylistServer(fake, current=THREE)
    t = start_console(fake, term)
    fake.push(0x61, album=2, track=1)   # RET_REQ: the server wants CD 0002
    t.wait_for("Please load CD number 0002", row=22)
    t.send(ctrl("K"))
    t.wait_for("Are you sure you want to cancel the current retrieve?", row=12, col=14)
    t.send("n")
    time.sleep(0.4)
    assert count_of(fake, CANCEL) == 0
    t.send(ctrl("K"))
    t.wait_for("Are you sure you want to cancel the current retrieve?", row=12, col=14)
    t.send("y")
    m = fake.wait_for(CANCEL)
    assert (m.album, m.track) == (1, 0)
    t.wait_gone("Please load CD number")
    t.settle(1.5)
    assert t.find("Please load CD number") is None


def test_s_and_z_open_the_search_until_it_is_left(fake, term):
    PlaylistServer(fake, current=THREE)
    t = start_console(fake, term)
    for key in "sz":
        t.send(key)
        t.wait_for("Enter Artist and/or Title To Search For", row=0)
        t.send(KEY.ESC)
        t.wait_for("Current Playlist (", row=0)
        wait_rows(t, THREE)


def test_search_results_add_to_the_current_playlist(fake, term):
    server = PlaylistServer(fake, current=[(1, 1)])
    t = start_console(fake, term)
    t.send("s")
    t.wait_for("Artist: ", row=10, col=12)
    t.send("\r")
    t.wait_for("Title:  ", row=12, col=12)
    t.send("Song 3-2\r")
    t.wait_for('Titles containing "Song 3-2"', row=0)
    t.send("a")
    m = fake.wait_for(0x31)   # PLIST_ADD
    assert (m.album, m.track, m.str) == (3, 2, CURRENT)
    t.wait_for("Artist 3 - Song 3-2:  Added to Current Playlist", row=12)
    assert fake.playlist == [(1, 1), (3, 2)]


def test_p_opens_the_offline_playlists_and_comes_back_to_the_current_one(fake, term):
    PlaylistServer(fake, current=THREE, offline={"party": [(2, 2)]})
    t = start_console(fake, term)
    t.send("p")
    t.wait_for("Select Offline Playlist", row=0)
    gets = count_of(fake, PLIST_GET)
    t.send(KEY.ESC)
    t.wait_for("Current Playlist (", row=0)
    g = fake.wait_for(PLIST_GET, count=gets + 1)
    assert (g.album, g.str) == (1, CURRENT)
    wait_rows(t, THREE)


def test_keys_of_the_track_lists_work_on_the_console(fake, term):
    PlaylistServer(fake, current=THREE)
    t = start_console(fake, term)
    t.send(KEY.DOWN)
    t.send("l")   # the album's track list
    t.wait_for("0001: Artist 1 - Album 1 [", row=0)
    t.send(KEY.ESC)
    t.wait_for("Current Playlist (", row=0)
    t.send(ctrl("D"))   # not on the short-list: said by the track lists' own key
    t.wait_for("Track is not on the shortlist")


def test_recent_history_says_please_wait_with_a_running_count(fake, term):
    PlaylistServer(fake, current=THREE)
    served = []

    def history(srv, conn, m):
        served.append(m)
        time.sleep(0.6)   # slow enough to see the count before the next reply
        if len(served) > 2:
            return reply(m, album=0)
        text = "%8.8X %04d/%02d %-28.28s - %-29.29s [%s]" % (0x65000000 + len(served), 2, len(served),
                                                            "Artist 2", "Song 2-%d" % len(served), "03:01")
        return reply(m, text=text.encode())
    fake.handlers[HISTORY] = history
    t = start_console(fake, term)
    t.send("h")
    # The count is written over the end of the text, at column 44.
    t.wait_for("Please Wait ..1.", row=12, col=30)
    assert t.row(2).strip() == ""   # the screen was cleared for it
    t.wait_for("Please Wait ..2.", row=12, col=30)
    t.wait_for("Playlist History", row=0)
