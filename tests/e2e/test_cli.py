"""Command-line mode: one operation per run, output on standard output, exit status 0."""

import os
import time

import pexpect
import pytest

from conftest import ZERKA, write_cfg
from fakeserver import (ALBUM_READ, CLIENT_OPEN, DIRLIST, FAILED, FakeServer, GETTIME, GET_MODE, GET_PLIST, HISTORY,
                        PLIST_ADD, PLIST_APPEND, PLIST_DELETE, PLIST_GET, PLIST_UPDATE, SET_PLIST,
                        SHORTLIST, DONOTPLAY, SKIP, STOP, STOP_SERVICE, album_text, reply, simple_library)

JUKEBOX = 0xB2
RANDOM = 0xB3
PLAYLST = 0xB5

USAGE = (
    "\n"
    "Usage:  zerka [<args>] If <args> is null, run in interactive screen mode\n"
    "\n"
    "--next (--skip)    Fade out and play next track\n"
    "--stop             Stop master server at end of the current track\n"
    "--stop-local       Stop local zerkaserver program\n"
    "--playlist         Display current playlist\n"
    "--playlist-search  Display list of offline playlists\n"
    "--playlist-use     Append specified playlist to current playlist\n"
    "--playlist-add     Add Album/Track No. to playlist\n"
    "--playlist-del     Delete Album/Track No. from playlist\n"
    "--shortlist        Add item to short-list\n"
    "--shortlist-del    Remove item from short-list\n"
    "--search           Search (together with --artist or --title)\n"
    "--album            Restrict output to the album details\n"
    "--history          History of recently played tracks.\n"
    "--audio            Start the local audio stream\n"
    "--audio-off        Stop the local audio stream\n"
    "--mode             Get or set the playing mode\n"
    "--mode --playlist  Set target playlist (for Playlist & Play-mixed modes)\n"
    "\n"
)


def run_ok(cli, fake, *args, **kw):
    """Runs one command line; it must end with status 0, say nothing on standard error and frame every message."""
    out, err, rc = cli(*args, **kw)
    assert (rc, err) == (0, ""), (out, err)
    assert fake.errors == []
    return out


def requests(fake):
    """Every message after the greeting except the album reads, as (type, album, track, text)."""
    return [(m.type, m.album, m.track, m.str) for m in fake.received if m.type not in (CLIENT_OPEN, ALBUM_READ)]


def history_text(played, album_no, track_no, artist, title, length):
    """One history entry as the server sends it."""
    return ("%8.8X %04d/%02d %-28.28s - %-29.29s [%s]" % (played, album_no, track_no, artist, title, length)).encode()


def server_time(t):
    """A time as the program shows the server's clock."""
    tm = time.localtime(t)
    return "%02d/%02d/%02d @ %02d:%02d:%02d" % (tm.tm_mday, tm.tm_mon, tm.tm_year - 2000, tm.tm_hour, tm.tm_min,
                                               tm.tm_sec)


# ----- usage, unknown arguments ----------------------------------------------------------


def test_help_prints_the_usage_text_line_for_line(cli, fake):
    assert run_ok(cli, fake, "--help") == USAGE
    assert requests(fake) == []
    assert fake.of_type(ALBUM_READ) == []


def test_help_ends_the_scan(cli, fake):
    assert run_ok(cli, fake, "--helpful", "--next") == USAGE
    assert requests(fake) == []


def test_arguments_that_match_nothing_alone_are_unrecognized(cli, fake):
    assert run_ok(cli, fake, "hello") == "! Unrecognized command\n"
    assert run_ok(cli, fake, "-x", "--", "--Help", "--artist", "A") == "! Unrecognized command\n"
    # --album alone names no operation.
    assert run_ok(cli, fake, "--album", "--title", "T") == "! Unrecognized command\n"
    assert requests(fake) == []
    assert fake.of_type(ALBUM_READ) == []


def test_an_argument_that_matches_nothing_is_ignored(cli, fake):
    fake.albums = simple_library(2)
    fake.playlist = [(2, 1)]
    assert run_ok(cli, fake, "bogus", "--playlist", "more") == '0002/01,"Artist 2","Song 2-1",03:01,"Album 2",Y,N\n'


# ----- skip and stop ---------------------------------------------------------------------


def test_next_skips_and_prints_nothing(cli, fake):
    assert run_ok(cli, fake, "--next") == ""
    assert requests(fake) == [(SKIP, 1, 0, "")]


def test_skip_is_the_same_as_next(cli, fake):
    assert run_ok(cli, fake, "--skip") == ""
    assert requests(fake) == [(SKIP, 1, 0, "")]


def test_next_then_stop_only_skips(cli, fake):
    assert run_ok(cli, fake, "--next", "--stop") == ""
    assert requests(fake) == [(SKIP, 1, 0, "")]


def test_refused_skip(cli, fake):
    fake.handlers[SKIP] = lambda srv, conn, m: reply(m, album=FAILED)
    assert run_ok(cli, fake, "--next") == "! Control message failed\n"


def test_stop_stops_the_master_silently(cli, fake):
    assert run_ok(cli, fake, "--stop", "--next") == ""
    assert requests(fake) == [(STOP, 1, 0, "")]


def test_stop_with_another_suffix_still_stops_the_master(cli, fake):
    assert run_ok(cli, fake, "--stop-localhost") == ""
    assert requests(fake) == [(STOP, 1, 0, "")]


# ----- stop-local in the three modes -----------------------------------------------------


def test_stop_local_in_standalone_mode(cli, fake):
    assert run_ok(cli, fake, "--stop-local") == "No local server running\n"
    assert requests(fake) == []


@pytest.fixture
def local_server(fake, root):
    local = FakeServer(port=fake.port, host="127.0.0.2")
    write_cfg(root, fake.port, mode="local", loopback="127.0.0.2")
    yield local
    local.stop()


def test_stop_local_in_local_mode_stops_the_local_server(cli, fake, local_server):
    assert run_ok(cli, fake, "--stop-local") == "Local server will now shut down\n"
    assert requests(fake) == []
    assert [(m.type, m.album, m.track, m.str) for m in local_server.received if m.type != CLIENT_OPEN] == \
        [(STOP_SERVICE, 1, 0, "")]
    assert local_server.errors == []


WARNING = "\n    WARNING: this will shut down the MASTER server:  Are you sure?  "


@pytest.mark.parametrize("answer", [b"y", b"yes\n"])
def test_stop_local_in_master_mode_asks_first(cli, fake, root, answer):
    write_cfg(root, fake.port, mode="master")
    assert run_ok(cli, fake, "--stop-local", input=answer) == WARNING + "\n"
    assert requests(fake) == [(STOP_SERVICE, 1, 0, "")]


@pytest.mark.parametrize("answer", [b"n", b"Y", b"\n", b"", b" y"])
def test_stop_local_in_master_mode_declined(cli, fake, root, answer):
    write_cfg(root, fake.port, mode="master")
    assert run_ok(cli, fake, "--stop-local", input=answer) == WARNING + "\n"
    assert requests(fake) == []


def spawn_in_terminal(root, *args):
    env = dict(os.environ)
    env["ZERKA"] = root
    return pexpect.spawn(ZERKA, list(args), env=env, timeout=10, encoding="latin-1")


def test_stop_local_in_a_terminal_takes_one_key_without_enter(fake, root):
    write_cfg(root, fake.port, mode="master")
    child = spawn_in_terminal(root, "--stop-local")
    try:
        child.expect_exact("MASTER server:  Are you sure?  ")
        time.sleep(0.3)   # let the terminal be switched to character mode
        child.send("y")
        fake.wait_for(STOP_SERVICE, timeout=5)
        child.expect(pexpect.EOF)
    finally:
        child.close()
    assert child.exitstatus == 0
    # The key is echoed, then the blank line follows.
    assert child.before.endswith("y\r\n"), repr(child.before)
    assert fake.errors == []


def test_stop_local_in_a_terminal_declined_and_the_terminal_restored(fake, root):
    write_cfg(root, fake.port, mode="master")
    env = dict(os.environ)
    env["ZERKA"] = root
    # The terminal settings are read back by stty in the same terminal once the program has ended.
    child = pexpect.spawn("/bin/sh", ["-c", '"$0" --stop-local; echo; /bin/stty -a', ZERKA], env=env, timeout=10,
                          encoding="latin-1")
    try:
        child.expect_exact("Are you sure?  ")
        time.sleep(0.3)
        child.send("n")
        child.expect(pexpect.EOF)
    finally:
        child.close()
    assert requests(fake) == []
    settings = child.before.split()
    assert "icanon" in settings and "echo" in settings, child.before
    assert "-icanon" not in settings and "-echo" not in settings


# ----- history ---------------------------------------------------------------------------


def history_server(fake, entries):
    """Serves entries one per HISTORY request: the n-th reply carries album n and track 6 + n,
    and the reply after the last entry has album 0."""
    served = []

    def handler(srv, conn, m):
        if len(served) >= len(entries):
            return reply(m, album=0, track=0, text=b"")
        served.append(m)
        n = len(served)
        return reply(m, album=n, track=6 + n, text=entries[n - 1])
    fake.handlers[HISTORY] = handler


def test_history_prints_every_entry_with_the_server_clock_format(cli, fake):
    t1, t2 = 1597654380, 1600000000
    history_server(fake, [
        history_text(t1, 12, 3, "Artist Name", "Song Title", "04:31"),
        # Texts that fill their columns to the brim are cut to 29 characters.
        ("%8.8X %04d/%02d " % (t2, 7, 11) + "A" * 31 + "T" * 29 + "  12:05:99").encode(),
    ])
    out = run_ok(cli, fake, "--history")
    assert out == ('0012/03,"Artist Name","Song Title",04:31,%s\n' % server_time(t1) +
                   '0007/11,"%s","%s",12:05,%s\n' % ("A" * 29, "T" * 29, server_time(t2)))
    # Each request has the text reset to history.hst and the other fields as the reply left them.
    assert [(m.album, m.track, m.str) for m in fake.of_type(HISTORY)] == [
        (1, 0, "history.hst"), (1, 7, "history.hst"), (2, 8, "history.hst")]
    assert fake.of_type(GETTIME) == []


def test_history_of_an_empty_history_prints_nothing(cli, fake):
    history_server(fake, [])
    assert run_ok(cli, fake, "--history") == ""
    assert len(fake.of_type(HISTORY)) == 1


def test_history_skips_an_entry_it_cannot_read(cli, fake):
    history_server(fake, [b"garbage", history_text(0x5F3A1B2C, 1, 2, "X", "Y", "01:00")])
    assert run_ok(cli, fake, "--history") == '0001/02,"X","Y",01:00,%s\n' % server_time(0x5F3A1B2C)


def test_history_entry_without_a_time_shows_the_server_clock(cli, fake, root):
    # A play time of 0 makes the clock text come from the server's own time.
    write_cfg(root, fake.port, mode="master")
    fake.time = 1234567890
    history_server(fake, [history_text(0, 4, 1, "X", "Y", "01:00")])
    assert run_ok(cli, fake, "--history") == '0004/01,"X","Y",01:00,%s\n' % server_time(1234567890)
    assert len(fake.of_type(GETTIME)) == 1


def test_history_ends_the_run(cli, fake):
    history_server(fake, [])
    assert run_ok(cli, fake, "--history", "--mode") == ""
    assert fake.of_type(GET_MODE) == []


# ----- playing mode ----------------------------------------------------------------------


def test_mode_alone_prints_the_current_mode_and_the_others(cli, fake):
    fake.mode = 2
    assert run_ok(cli, fake, "--mode") == "Current Mode: Jukebox.  Other modes: Console Random Mixed Playlist Play-Mixed \n"
    assert requests(fake) == [(GET_MODE, 1, 0, "")]
    assert fake.of_type(ALBUM_READ) == []


def test_mode_undefined(cli, fake):
    fake.mode = 0
    assert run_ok(cli, fake, "--mode") == \
        "Current Mode: Undefined.  Other modes: Console Jukebox Random Mixed Playlist Play-Mixed \n"


def test_mode_playlist_alone_prints_the_selection_playlist(cli, fake):
    fake.selection_playlist = b"party mix"
    assert run_ok(cli, fake, "--mode", "--playlist") == 'Selection Playlist: "party mix"\n'
    assert requests(fake) == [(GET_PLIST, 1, 0, "")]


def test_mode_with_a_target_but_no_mode_does_nothing(cli, fake):
    assert run_ok(cli, fake, "--mode", "--playlist", "rock") == ""
    assert requests(fake) == []


def test_mode_play_selects_playlist_mode(cli, fake):
    fake.mode = 2
    assert run_ok(cli, fake, "--mode", "play") == ""
    assert requests(fake) == [(GET_MODE, 1, 0, ""), (SET_PLIST, 5, 1, "")]


def test_mode_name_in_any_case_with_a_target(cli, fake):
    assert run_ok(cli, fake, "--mode", "PLAY-m", "--playlist", "rock") == ""
    assert requests(fake) == [(GET_MODE, 1, 0, ""), (SET_PLIST, 6, 1, "rock")]


def test_mode_playlist_without_a_target_sends_the_wildcard(cli, fake):
    assert run_ok(cli, fake, "--mode", "Playlist", "--playlist") == ""
    assert requests(fake) == [(GET_MODE, 1, 0, ""), (SET_PLIST, 5, 1, "****")]


@pytest.mark.parametrize("track,text", [
    (1, "! Playlist change not allowed - Console logged in\n"),
    (2, "! Unknown playlist\n"),
    (3, "! Problem opening playlist\n"),
    (0, "! Problem opening playlist\n"),
])
def test_refused_set_plist_explained_by_the_track_field(cli, fake, track, text):
    fake.handlers[SET_PLIST] = lambda srv, conn, m: reply(m, album=0, track=track)
    assert run_ok(cli, fake, "--mode", "play", "--playlist", "nope") == text


def test_mode_change_carries_the_fields_the_previous_reply_left(cli, fake):
    fake.mode = 2
    assert run_ok(cli, fake, "--mode", "rand") == ""
    # The mode's own message goes with the album field GET_MODE's reply left (the old mode).
    assert requests(fake) == [(GET_MODE, 1, 0, ""), (RANDOM, 2, 0, "")]


def test_mode_already_current_sends_nothing_more(cli, fake):
    fake.mode = 2
    assert run_ok(cli, fake, "--mode", "Jukebox") == ""
    assert requests(fake) == [(GET_MODE, 1, 0, "")]


def test_unknown_mode(cli, fake):
    assert run_ok(cli, fake, "--mode", "disco") == "! unknown mode\n"
    assert requests(fake) == []


def test_mode_wins_over_list_options(cli, fake):
    fake.mode = 3
    assert run_ok(cli, fake, "--playlist", "--mode") == \
        "Current Mode: Random.  Other modes: Console Jukebox Mixed Playlist Play-Mixed \n"
    assert fake.of_type(ALBUM_READ) == []


# ----- the database load -----------------------------------------------------------------


def test_list_operations_load_albums_from_0_until_the_end_answer(cli, fake):
    fake.albums = simple_library(7)
    del fake.albums[6]
    run_ok(cli, fake, "--playlist")
    assert [m.album for m in fake.of_type(ALBUM_READ)] == [0, 1, 2, 3, 4, 5, 6, 7, 8]


def test_load_goes_no_further_than_3000(cli, fake):
    fake.albums = {3000: album_text("Last", "Album", [("Last", "Song", "01:00")])}
    fake.playlist = [(3000, 1)]
    assert run_ok(cli, fake, "--playlist") == '3000/01,"Last","Song",01:00,"Album",Y,N\n'
    asked = [m.album for m in fake.of_type(ALBUM_READ)]
    assert asked == list(range(0, 3001))


# ----- printing a playlist ---------------------------------------------------------------


def quoting_library():
    return {
        1: album_text("Various", 'Hits "Vol 1"', [
            ('The "Band"', 'Say "Hi"', "03:10", "S", 1),
            ("Solo", "Quiet", "02:05", "-", 0),
            ("Gone", "Away", "01:00", "U", 0),
        ]),
    }


def test_playlist_prints_each_track_with_quotes_fixed_and_yes_no_columns(cli, fake):
    fake.albums = quoting_library()
    fake.playlist = [(1, 1), (1, 2), (1, 3)]
    out = run_ok(cli, fake, "--playlist")
    assert out == ('0001/01,"The \'\'Band\'\'","Say \'\'Hi\'\'",03:10,"Hits "Vol 1"",Y,Y\n'
                   '0001/02,"Solo","Quiet",02:05,"Hits "Vol 1"",N,N\n'
                   '0001/03,"Gone","Away",01:00,"Hits "Vol 1"",N,N\n')
    assert requests(fake) == [(PLIST_GET, 1, 0, "current.lst")]


def test_playlist_print_suffix(cli, fake):
    fake.albums = simple_library(1)
    fake.playlist = [(1, 3)]
    assert run_ok(cli, fake, "--playlist-print") == '0001/03,"Artist 1","Song 1-3",03:03,"Album 1",Y,N\n'


def test_playlist_that_cannot_be_opened(cli, fake):
    fake.albums = simple_library(1)
    fake.handlers[PLIST_GET] = lambda srv, conn, m: reply(m, album=0)
    assert run_ok(cli, fake, "--playlist") == 'Cannot open playlist: "current.lst"\n'


def test_playlist_of_4096_records_prints_them_all(cli, fake):
    fake.albums = simple_library(64, 64)
    fake.playlist = [(a, t) for a in range(1, 65) for t in range(1, 65)]
    assert len(fake.playlist) * 8 == 0x8000
    out = run_ok(cli, fake, "--playlist", timeout=60)
    lines = out.splitlines()
    assert len(lines) == 4096
    assert lines[0] == '0001/01,"Artist 1","Song 1-1",03:01,"Album 1",Y,N'
    assert lines[-1] == '0064/64,"Artist 64","Song 64-64",03:64,"Album 64",Y,N'


def test_playlist_stops_at_a_record_it_cannot_read_and_skips_impossible_pairs(cli, fake):
    fake.albums = simple_library(2)
    fake.handlers[PLIST_GET] = lambda srv, conn, m: reply(m, text=b"0002 01 9999 99 0001 02 junk!!! 0001 01 ")
    assert run_ok(cli, fake, "--playlist") == ('0002/01,"Artist 2","Song 2-1",03:01,"Album 2",Y,N\n'
                                               '0001/02,"Artist 1","Song 1-2",03:02,"Album 1",Y,N\n')


# ----- adding to and deleting from the current playlist ----------------------------------


def test_playlist_add_one_track(cli, fake):
    fake.albums = simple_library(5)
    assert run_ok(cli, fake, "--playlist-add", "3/2") == "Artist 3 - Song 3-2:  Added to Playlist\n"
    assert requests(fake) == [(PLIST_ADD, 3, 2, "current.lst"), (PLIST_UPDATE, 3, 2, "current.lst")]


def test_playlist_add_of_a_track_already_there(cli, fake):
    fake.albums = simple_library(5)
    fake.handlers[PLIST_ADD] = lambda srv, conn, m: reply(m, album=FAILED)
    assert run_ok(cli, fake, "--playlist-add", "3/2") == "! Artist 3 - Song 3-2:  Already In Playlist\n"
    # The update carries what the refusal left in the record.
    assert requests(fake) == [(PLIST_ADD, 3, 2, "current.lst"), (PLIST_UPDATE, FAILED, 2, "current.lst")]


def test_playlist_delete(cli, fake):
    fake.albums = simple_library(5)
    assert run_ok(cli, fake, "--playlist-del", "5/1") == "Artist 5 - Song 5-1:  Deleted From Playlist\n"
    assert requests(fake) == [(PLIST_DELETE, 5, 1, "current.lst"), (PLIST_UPDATE, 5, 1, "current.lst")]


def test_playlist_delete_of_a_track_not_there(cli, fake):
    fake.albums = simple_library(5)
    fake.handlers[PLIST_DELETE] = lambda srv, conn, m: reply(m, album=FAILED)
    assert run_ok(cli, fake, "--playlist-del", "5/1") == "! Artist 5 - Song 5-1:  Not found In Playlist\n"


def test_playlist_add_of_a_whole_album_adds_every_track_one_by_one(cli, fake):
    fake.albums = simple_library(12, 10)
    assert run_ok(cli, fake, "--playlist-add", "12/0") == "Album No: 0012 (Artist 12 - Album 12) Added to Playlist\n"
    adds = [(m.album, m.track, m.str) for m in fake.of_type(PLIST_ADD)]
    assert adds == [(12, t, "current.lst") for t in range(1, 11)]
    # The summary is followed by the update of the current playlist.
    assert requests(fake)[-1] == (PLIST_UPDATE, 12, 0, "current.lst")


@pytest.mark.parametrize("item,shown", [
    ("9999/01", "9999/01"),
    ("0/0", "0000/00"),
    ("13/1", "0013/01"),
    ("3/4", "0003/04"),
    ("3/-1", "0003/-1"),
    ("-2/1", "-002/01"),
    ("junk", "0000/00"),
])
def test_playlist_add_out_of_range(cli, fake, item, shown):
    fake.albums = simple_library(12, 3)
    assert run_ok(cli, fake, "--playlist-add", item) == "! Album/track No. out of range (%s)\n" % shown
    assert requests(fake) == []


def test_playlist_add_without_an_item(cli, fake):
    fake.albums = simple_library(2)
    assert run_ok(cli, fake, "--playlist-add") == "! Album/track No. out of range (0000/00)\n"


def test_an_album_without_a_track_number_is_the_whole_album(cli, fake):
    fake.albums = simple_library(2, 2)
    assert run_ok(cli, fake, "--playlist-add", "2") == "Album No: 0002 (Artist 2 - Album 2) Added to Playlist\n"


# ----- the short-list --------------------------------------------------------------------


def test_shortlist_sends_the_track_silently(cli, fake):
    fake.albums = simple_library(12, 5)
    assert run_ok(cli, fake, "--shortlist", "4/5") == ""
    assert requests(fake) == [(SHORTLIST, 4, 5, "")]


def test_shortlist_del_sends_donotplay(cli, fake):
    fake.albums = simple_library(12, 5)
    assert run_ok(cli, fake, "--shortlist-del", "12/3") == ""
    assert requests(fake) == [(DONOTPLAY, 12, 3, "")]


def test_shortlist_out_of_range(cli, fake):
    fake.albums = simple_library(3, 5)
    assert run_ok(cli, fake, "--shortlist", "4/1") == "! Album/track No. out of range (0004/01)\n"
    assert requests(fake) == []


# ----- appending and listing offline playlists -------------------------------------------


def test_playlist_use_appends_an_existing_playlist(cli, fake, root):
    open(os.path.join(root, "PlayLists", "rock"), "w").close()
    fake.albums = simple_library(1)
    assert run_ok(cli, fake, "--playlist-use", "rock") == ""
    assert requests(fake) == [(PLIST_APPEND, 1, 0, "rock")]


def test_playlist_use_of_a_missing_playlist(cli, fake):
    fake.albums = simple_library(1)
    assert run_ok(cli, fake, "--playlist-use", "jazz") == '! Playlist "PlayLists/jazz" does not exist\n'
    assert requests(fake) == []


def test_playlist_use_without_a_name(cli, fake):
    assert run_ok(cli, fake, "--playlist-use") == "! Format error\n"
    assert requests(fake) == []
    assert fake.of_type(ALBUM_READ) == []


def test_playlist_use_then_print_shows_that_playlist(cli, fake, root):
    open(os.path.join(root, "PlayLists", "rock"), "w").close()
    fake.albums = simple_library(1)
    fake.playlist = [(1, 1)]
    out = run_ok(cli, fake, "--playlist-use", "rock", "--playlist-print")
    assert out == '0001/01,"Artist 1","Song 1-1",03:01,"Album 1",Y,N\n'
    assert requests(fake) == [(PLIST_APPEND, 1, 0, "rock"), (PLIST_GET, 1, 0, "rock")]


def test_playlist_search_lists_the_offline_playlists(cli, fake):
    fake.albums = simple_library(1)
    fake.handlers[DIRLIST] = lambda srv, conn, m: reply(m, text=b"rock\ncurrent.lst\njazz night\n")
    assert run_ok(cli, fake, "--playlist-search") == "rock \njazz night \n"
    assert requests(fake) == [(DIRLIST, 0x8000, 0, "PlayLists")]


# ----- searching -------------------------------------------------------------------------


def search_library():
    return {
        1: album_text("Zed", "First", [
            ("Zed", "Alpha Song", "03:00"),
            ("Zed feat. Abba", "Beta", "04:00"),
        ], last_played=0x5F000001),
        2: album_text("Abba", "Gold", [
            ("Abba", "Waterloo", "02:45"),
            ("Abba", "Mamma Mia", "03:33", "U"),
            ("ABBA", 'Song "Quoted"', "03:00", "S", 0),
        ]),
        3: album_text("The Beatles", "Abbey Road", [
            ("The Beatles", "Something", "03:03"),
            ("The Beatles", "Come Together", "04:20"),
        ]),
    }


def test_search_by_artist_lists_tracks_in_artist_order(cli, fake):
    fake.albums = search_library()
    out = run_ok(cli, fake, "--search", "--artist", "abba")
    assert out == ('0002/03,"ABBA","Song \'\'Quoted\'\'",03:00,"Gold",N,Y\n'
                   '0002/01,"Abba","Waterloo",02:45,"Gold",Y,N\n'
                   '0001/02,"Zed feat. Abba","Beta",04:00,"First",Y,N\n')
    assert requests(fake) == []


def test_search_by_title_lists_tracks_in_title_order(cli, fake):
    fake.albums = search_library()
    out = run_ok(cli, fake, "--search", "--title", "O")
    assert out == ('0001/01,"Zed","Alpha Song",03:00,"First",Y,N\n'
                   '0003/02,"The Beatles","Come Together",04:20,"Abbey Road",Y,N\n'
                   '0003/01,"The Beatles","Something",03:03,"Abbey Road",Y,N\n'
                   '0002/03,"ABBA","Song \'\'Quoted\'\'",03:00,"Gold",N,Y\n'
                   '0002/01,"Abba","Waterloo",02:45,"Gold",Y,N\n')


def test_track_search_needs_both_strings_to_match(cli, fake):
    fake.albums = search_library()
    assert run_ok(cli, fake, "--search", "--artist", "abba", "--title", "water") == \
        '0002/01,"Abba","Waterloo",02:45,"Gold",Y,N\n'
    assert run_ok(cli, fake, "--search", "--artist", "zed", "--title", "water") == "! Nothing found\n"


def test_tracks_on_the_unplayable_list_are_never_found(cli, fake):
    fake.albums = search_library()
    assert run_ok(cli, fake, "--search", "--title", "mamma") == "! Nothing found\n"


def test_album_search_either_string_suffices(cli, fake):
    fake.albums = search_library()
    out = run_ok(cli, fake, "--search", "--album", "--artist", "zed", "--title", "abbey")
    assert out == ('00000000,0003,"The Beatles","Abbey Road",07:23,2\n'
                   '5F000001,0001,"Zed","First",07:00,2\n')


def test_album_search_by_title_alone(cli, fake):
    fake.albums = search_library()
    assert run_ok(cli, fake, "--album", "--search", "--title", "GOLD") == '00000000,0002,"Abba","Gold",09:18,3\n'


def test_album_search_nothing_found(cli, fake):
    fake.albums = search_library()
    assert run_ok(cli, fake, "--search", "--album", "--artist", "nobody") == "! Nothing found\n"


def test_search_without_strings(cli, fake):
    fake.albums = search_library()
    assert run_ok(cli, fake, "--search") == "! No search strings specified\n"
    # --search clears the strings given before it.
    assert run_ok(cli, fake, "--artist", "abba", "--search") == "! No search strings specified\n"


def test_search_lists_a_like_track_once_as_its_on_line_copy(cli, fake):
    fake.albums = {
        1: album_text("Abba", "Live", [("Abba", "Waterloo", "02:50", "-", 0)]),
        2: album_text("Abba", "Gold", [("Abba", "Waterloo", "02:45", "-", 1)]),
    }
    assert run_ok(cli, fake, "--search", "--title", "waterloo") == '0002/01,"Abba","Waterloo",02:45,"Gold",Y,N\n'


def test_search_reads_only_the_loaded_albums(cli, fake):
    fake.albums = search_library()
    run_ok(cli, fake, "--search", "--artist", "abba")
    assert [m.album for m in fake.of_type(ALBUM_READ)] == [0, 1, 2, 3, 4]


def test_history_from_a_server_that_never_says_no_more_still_ends(cli, fake):
    entry = history_text(0x5F3A1B2C, 1, 2, "X", "Y", "01:00")
    fake.handlers[HISTORY] = lambda srv, conn, m: reply(m, text=entry)
    out = run_ok(cli, fake, "--history", timeout=120)
    assert out.count("\n") == 100000
    assert len(fake.of_type(HISTORY)) == 100000
