"""The real client (build/zerka) against the real server (build/zerkaserver) on
its demo library: command line and full screen."""

import os
import subprocess
import time
import wave

import pytest

from conftest import ZERKA, write_cfg
from fakeserver import ALBUM_WRITE, GO, PLIST_ADD, PLIST_NOW, SKIP, album_text
from realserver import RealServer
from term import KEY, Term

COUNTER_ROW, COUNTER_COL = 23, 74


@pytest.fixture
def served():
    srv = RealServer(demo=True)
    write_cfg(srv.root, srv.port, mode="master")
    yield srv
    srv.stop()


def zerka(srv, *args):
    """One command-line run against the server; returns its standard output."""
    p = subprocess.run([ZERKA] + list(args), env=dict(os.environ, ZERKA=srv.root), capture_output=True,
                       timeout=30)
    assert p.returncode == 0, p.stderr
    return p.stdout.decode("latin-1")


def console(srv):
    """The full-screen program on its console."""
    t = Term([ZERKA], {"ZERKA": srv.root})
    t.wait_for("Current Playlist (Jukebox Mode)", row=0)
    return t


def counter(t):
    """The play-time counter as seconds, or None when it is not shown."""
    text = t.at(COUNTER_ROW, COUNTER_COL, 5)
    if len(text) != 5 or text[2] != ":" or not (text[:2] + text[3:]).isdigit():
        return None
    return int(text[:2]) * 60 + int(text[3:])


def long_track(srv, client, seconds=40):
    """Album 20: one silent track of `seconds` seconds, with its media."""
    text = album_text("Quiet Person", "Long Silence", [("Quiet Person", "Very Long", "00:%02d" % seconds)])
    assert client.request(ALBUM_WRITE, album=20, text=text).album == 20
    with wave.open(os.path.join(srv.root, "Media", "0020_01.wav"), "wb") as w:
        w.setnchannels(2)
        w.setsampwidth(2)
        w.setframerate(44100)
        w.writeframes(b"\0" * (176400 * seconds))


def test_an_album_added_to_the_playlist_prints(served):
    assert zerka(served, "--playlist-add", "1/0") == \
        "Album No: 0001 (Marigold Tramway - Lanterns Over Quay Street) Added to Playlist\n"
    assert zerka(served, "--playlist") == (
        '0001/01,"Marigold Tramway","Last Car to the Harbour",00:04,"Lanterns Over Quay Street",Y,N\n'
        '0001/02,"Marigold Tramway","Copper Wire Waltz",00:05,"Lanterns Over Quay Street",Y,N\n'
        '0001/03,"Marigold Tramway","Quay Street at Dusk",00:03,"Lanterns Over Quay Street",Y,N\n'
        '0001/04,"Marigold Tramway","The Conductor\'s Whistle",00:04,"Lanterns Over Quay Street",Y,N\n'
        '0001/05,"Marigold Tramway","Tramlines in the Rain",00:05,"Lanterns Over Quay Street",Y,N\n')
    assert zerka(served, "--playlist-add", "1/2") == "! Marigold Tramway - Copper Wire Waltz:  Already In Playlist\n"
    assert zerka(served, "--playlist-del", "1/2") == "Marigold Tramway - Copper Wire Waltz:  Deleted From Playlist\n"
    assert zerka(served, "--playlist-del", "1/2") == "! Marigold Tramway - Copper Wire Waltz:  Not found In Playlist\n"


def test_offline_playlists_and_modes_from_the_command_line(served):
    assert zerka(served, "--playlist-search") == "favourites \nparty \n"
    assert zerka(served, "--mode") == "Current Mode: Jukebox.  Other modes: Console Random Mixed Playlist Play-Mixed \n"
    assert zerka(served, "--mode", "--playlist") == 'Selection Playlist: "favourites"\n'
    assert zerka(served, "--mode", "play", "--playlist", "party") == ""
    assert zerka(served, "--mode") == "Current Mode: Playlist.  Other modes: Console Jukebox Random Mixed Play-Mixed \n"
    assert zerka(served, "--mode", "--playlist") == 'Selection Playlist: "party"\n'
    assert zerka(served, "--mode", "play-m", "--playlist", "nothing") == "! Unknown playlist\n"
    assert zerka(served, "--playlist-use", "party") == ""
    assert zerka(served, "--playlist").count("\n") == 7


def test_short_listing_shows_in_another_client(served):
    zerka(served, "--playlist-add", "1/2")
    t = console(served)
    try:
        row, col = t.wait_for("0001/02 Marigold Tramway")
        state = col + 76   # the state character after "[mm:ss]"
        assert t.at(row, state - 7, 7) == "[00:05]"
        assert t.at(row, state, 1) == " "
        assert zerka(served, "--shortlist", "1/2") == ""
        t.wait_for(".", row=row, col=state)
        assert zerka(served, "--shortlist-del", "1/2") == ""
        t.wait_for(" ", row=row, col=state)
    finally:
        t.kill()


def test_a_mode_change_shows_in_another_client(served):
    t = console(served)
    try:
        zerka(served, "--mode", "random")
        t.wait_for("Playing Mode changed to Random")
    finally:
        t.kill()


def test_the_play_time_counter_runs_after_go(served):
    zerka(served, "--playlist-add", "1/2")   # 5 seconds
    zerka(served, "--playlist-add", "2/1")   # 5 seconds
    t = console(served)
    try:
        assert counter(t) is None
        t.send(KEY.ctrl("G"))
        deadline = time.monotonic() + 10
        while (counter(t) or 0) < 3 and time.monotonic() < deadline:
            t.pump(0.1)
        first = counter(t)
        assert first is not None and first >= 3
        deadline = time.monotonic() + 15
        while (counter(t) is None or counter(t) >= first) and time.monotonic() < deadline:
            t.pump(0.1)
        assert counter(t) is not None and counter(t) < first   # it counts down
        t.wait_for("0002/01 Osgood Pellin Quartet", row=2)   # 1/2 left the playlist when it started
    finally:
        t.kill()


def test_skip_fades_to_the_next_track(served):
    watcher = served.client()
    long_track(served, watcher)
    zerka(served, "--playlist-add", "20/1")
    zerka(served, "--playlist-add", "1/1")
    t = console(served)
    try:
        t.send(KEY.ctrl("G"))
        watcher.wait_notice(PLIST_NOW, pred=lambda m: (m.album, m.track) == (20, 1))
        time.sleep(1)
        t.send(KEY.ctrl("F"))
        t.wait_for("Are you sure you want to skip the current track?")
        skipped = time.monotonic()
        t.send("y")
        t.wait_for("00:0", row=COUNTER_ROW, col=COUNTER_COL)
        assert counter(t) <= 8   # what is left of the fade
        assert watcher.wait_notice(SKIP).album == 1
        watcher.wait_notice(PLIST_NOW, timeout=45, pred=lambda m: (m.album, m.track) == (1, 1))
        # Eight seconds of fade, not the 39 left of the track (margins no loaded machine can break).
        assert 7.0 < time.monotonic() - skipped < 30
    finally:
        t.kill()


def test_next_from_the_command_line(served):
    watcher = served.client()
    long_track(served, watcher)
    assert watcher.request(PLIST_ADD, album=20, track=1, text=b"current.lst").album == 20
    assert zerka(served, "--next") == "! Control message failed\n"   # nothing plays yet
    watcher.request(GO)
    assert zerka(served, "--next") == ""
    assert watcher.wait_notice(SKIP).album == 1


def test_history_after_a_played_track(served):
    watcher = served.client()
    zerka(served, "--playlist-add", "1/3")   # 3 seconds
    watcher.request(GO)
    watcher.wait_notice(PLIST_NOW, pred=lambda m: (m.album, m.track) == (1, 3))
    # When it ends the auto-DJ moves on to the short-list (Jukebox mode).
    watcher.wait_notice(PLIST_NOW, timeout=10, pred=lambda m: m.str.endswith(" 1") and (m.album, m.track) != (1, 3))
    files = sorted(os.listdir(os.path.join(served.root, "History")))
    with open(os.path.join(served.root, "History", files[-1])) as f:
        ours = [line for line in f if line[9:16] == "0001/03"]
    assert len(ours) == 1
    played = time.localtime(int(ours[0][:8], 16))
    stamp = "%02d/%02d/%02d @ %02d:%02d:%02d" % (played.tm_mday, played.tm_mon, played.tm_year - 2000,
                                                 played.tm_hour, played.tm_min, played.tm_sec)
    lines = zerka(served, "--history").splitlines()
    assert lines[:6] == [
        '0001/01,"Marigold Tramway","Last Car to the Harbour",00:04,' + lines[0].rsplit(",", 1)[1],
        '0002/01,"Osgood Pellin Quartet","Barometer Blues",00:05,' + lines[1].rsplit(",", 1)[1],
        '0004/02,"The Quiet Barometers","Low Cloud Anthem",00:05,' + lines[2].rsplit(",", 1)[1],
        '0006/03,"Coral Static","Shortwave Roses",00:05,' + lines[3].rsplit(",", 1)[1],
        '0009/05,"Dusty Compass Band","The Long Way Home",00:06,' + lines[4].rsplit(",", 1)[1],
        '0013/03,"Juniper Voss","Bellbuoy",00:05,' + lines[5].rsplit(",", 1)[1],
    ]
    assert lines[6] == '0001/03,"Marigold Tramway","Quay Street at Dusk",00:03,' + stamp


def test_the_console_shows_the_recent_history(served):
    t = console(served)
    try:
        t.send("h")
        t.wait_for("Playlist History", row=0)
        t.wait_for("0013/03 Juniper Voss")
        t.wait_for("0001/01 Marigold Tramway")
    finally:
        t.kill()


def test_kill_9_after_a_write_loses_nothing(served):
    assert zerka(served, "--shortlist", "3/1") == ""
    assert zerka(served, "--playlist-add", "5/2") == \
        "Halvard Nyqvist Trio - Cabin Seven:  Added to Playlist\n"
    served.kill()
    served.start()
    assert zerka(served, "--playlist") == \
        '0005/02,"Halvard Nyqvist Trio","Cabin Seven",00:05,"Night Ferry to Ystad",Y,N\n'
    found = zerka(served, "--search", "--title", "Folded Boats")
    assert found == '0003/01,"Juniper Voss","Folded Boats",00:04,"Paper Harbours",Y,Y\n'
