"""Command-line mode against the real zerkaserver: the core flows end to end."""

import os
import random
import shutil
import signal
import string
import subprocess
import tempfile
import time

import pytest

from conftest import ZERKA, write_cfg
from fakeserver import ALBUM_WRITE, CONSOLE, GET_MODE, album_text
from realserver import ZERKASERVER, RealServer

MODES = ["Undefined", "Console", "Jukebox", "Random", "Mixed", "Playlist", "Play-Mixed"]


def library():
    return {
        1: album_text("Zed", "First", [("Zed", "Alpha Song", "03:00"), ("Zed feat. Abba", "Beta", "04:00")]),
        2: album_text("Abba", "Gold", [
            ("Abba", "Waterloo", "02:45"),
            ("Abba", "Mamma Mia", "03:33", "U"),
            ("ABBA", 'Song "Quoted"', "03:00"),
        ]),
        3: album_text("The Beatles", "Abbey Road", [
            ("The Beatles", "Something", "03:03"),
            ("The Beatles", "Come Together", "04:20"),
            ("The Beatles", "Octopus's Garden", "02:51"),
        ]),
    }


def plist_line(album_no, track_no, artist, title, length, key=0):
    return "%8.8X %04d/%02d %-28.28s - %-29.29s [%s]\n" % (key, album_no, track_no, artist, title, length)


@pytest.fixture
def server():
    """A zerkaserver with a small library; the client shares its root, in master mode."""
    srv = RealServer()
    c = srv.client()
    for n, text in library().items():
        assert c.request(ALBUM_WRITE, album=n, text=text).album == n
    c.close()
    write_cfg(srv.root, srv.port, mode="master")
    yield srv
    srv.stop()


def zerka(server, *args, input=None, root=None):
    env = dict(os.environ)
    env["ZERKA"] = root or server.root
    p = subprocess.run([ZERKA] + list(args), env=env, capture_output=True, timeout=30, input=input)
    out, err = p.stdout.decode("latin-1"), p.stderr.decode("latin-1")
    assert (p.returncode, err) == (0, ""), (out, err)
    return out


def mode_line(current):
    others = " ".join(m for i, m in enumerate(MODES) if i and i != current)
    return "Current Mode: %s.  Other modes: %s \n" % (MODES[current], others)


def write_playlist(server, name, tracks):
    with open(os.path.join(server.root, "PlayLists", name), "w") as f:
        for album_no, track_no, artist, title, length in tracks:
            f.write(plist_line(album_no, track_no, artist, title, length))


def test_mode_get_and_set(server):
    c = server.client()
    start = c.request(GET_MODE).album
    assert zerka(server, "--mode") == mode_line(start)
    assert zerka(server, "--mode", "JUKE") == ""
    assert c.request(GET_MODE).album == 2
    assert zerka(server, "--mode") == mode_line(2)
    assert zerka(server, "--mode", "ran") == ""
    assert zerka(server, "--mode") == mode_line(3)
    assert zerka(server, "--mode", "disco") == "! unknown mode\n"
    assert c.request(GET_MODE).album == 3
    c.close()


def test_mode_with_a_selection_playlist(server):
    write_playlist(server, "rock", [(3, 1, "The Beatles", "Something", "03:03")])
    assert zerka(server, "--mode", "play", "--playlist", "rock") == ""
    assert zerka(server, "--mode", "--playlist") == 'Selection Playlist: "rock"\n'
    assert zerka(server, "--mode") == mode_line(5)
    assert zerka(server, "--mode", "play-", "--playlist") == ""
    assert zerka(server, "--mode") == mode_line(6)
    assert zerka(server, "--mode", "--playlist") == 'Selection Playlist: "rock"\n'
    assert zerka(server, "--mode", "play", "--playlist", "nosuch") == "! Unknown playlist\n"


def test_mode_refused_while_another_client_holds_the_console(server):
    write_playlist(server, "rock", [(3, 1, "The Beatles", "Something", "03:03")])
    holder = server.client()
    assert holder.request(CONSOLE).album != 0
    assert zerka(server, "--mode", "play", "--playlist", "rock") == \
        "! Playlist change not allowed - Console logged in\n"
    holder.close()


def test_playlist_add_print_and_delete(server):
    assert zerka(server, "--playlist") == ""
    assert zerka(server, "--playlist-add", "2/1") == "Abba - Waterloo:  Added to Playlist\n"
    assert zerka(server, "--playlist-add", "3/2") == "The Beatles - Come Together:  Added to Playlist\n"
    assert zerka(server, "--playlist-add", "3/2") == "! The Beatles - Come Together:  Already In Playlist\n"
    assert zerka(server, "--playlist") == ('0002/01,"Abba","Waterloo",02:45,"Gold",Y,N\n'
                                           '0003/02,"The Beatles","Come Together",04:20,"Abbey Road",Y,N\n')
    assert zerka(server, "--playlist-del", "2/1") == "Abba - Waterloo:  Deleted From Playlist\n"
    assert zerka(server, "--playlist-del", "2/1") == "! Abba - Waterloo:  Not found In Playlist\n"
    assert zerka(server, "--playlist-print") == '0003/02,"The Beatles","Come Together",04:20,"Abbey Road",Y,N\n'
    assert zerka(server, "--playlist-add", "9999/01") == "! Album/track No. out of range (9999/01)\n"


def test_playlist_add_of_a_whole_album(server):
    assert zerka(server, "--playlist-add", "3/0") == \
        "Album No: 0003 (The Beatles - Abbey Road) Added to Playlist\n"
    assert zerka(server, "--playlist") == (
        '0003/01,"The Beatles","Something",03:03,"Abbey Road",Y,N\n'
        '0003/02,"The Beatles","Come Together",04:20,"Abbey Road",Y,N\n'
        '0003/03,"The Beatles","Octopus\'s Garden",02:51,"Abbey Road",Y,N\n')


def test_shortlist_and_its_removal(server):
    assert zerka(server, "--shortlist", "2/3") == ""
    assert zerka(server, "--search", "--title", "quoted") == '0002/03,"ABBA","Song \'\'Quoted\'\'",03:00,"Gold",Y,Y\n'
    assert zerka(server, "--shortlist-del", "2/3") == ""
    assert zerka(server, "--search", "--title", "quoted") == '0002/03,"ABBA","Song \'\'Quoted\'\'",03:00,"Gold",Y,N\n'


def test_offline_playlists_listed_and_appended(server):
    write_playlist(server, "rock", [(3, 1, "The Beatles", "Something", "03:03"),
                                    (1, 1, "Zed", "Alpha Song", "03:00")])
    write_playlist(server, "jazz", [])
    listed = zerka(server, "--playlist-search").splitlines()
    assert sorted(listed) == ["jazz ", "rock "]
    assert zerka(server, "--playlist-use", "rock") == ""
    assert zerka(server, "--playlist") == ('0003/01,"The Beatles","Something",03:03,"Abbey Road",Y,N\n'
                                           '0001/01,"Zed","Alpha Song",03:00,"First",Y,N\n')
    assert zerka(server, "--playlist-use", "blues") == '! Playlist "PlayLists/blues" does not exist\n'
    assert zerka(server, "--playlist-use", "rock", "--playlist-print") == (
        '0003/01,"The Beatles","Something",03:03,"Abbey Road",Y,N\n'
        '0001/01,"Zed","Alpha Song",03:00,"First",Y,N\n')


def test_searches(server):
    assert zerka(server, "--search", "--artist", "abba") == (
        '0002/03,"ABBA","Song \'\'Quoted\'\'",03:00,"Gold",Y,N\n'
        '0002/01,"Abba","Waterloo",02:45,"Gold",Y,N\n'
        '0001/02,"Zed feat. Abba","Beta",04:00,"First",Y,N\n')
    assert zerka(server, "--search", "--artist", "beatles", "--title", "o") == (
        '0003/02,"The Beatles","Come Together",04:20,"Abbey Road",Y,N\n'
        '0003/03,"The Beatles","Octopus\'s Garden",02:51,"Abbey Road",Y,N\n'
        '0003/01,"The Beatles","Something",03:03,"Abbey Road",Y,N\n')
    assert zerka(server, "--search", "--title", "mamma") == "! Nothing found\n"
    assert zerka(server, "--search", "--album", "--artist", "zed", "--title", "gold") == (
        '00000000,0002,"Abba","Gold",09:18,3\n'
        '00000000,0001,"Zed","First",07:00,2\n')


def test_history_of_recently_played_tracks(server):
    t1, t2 = 1600000000, 1600000300
    with open(os.path.join(server.root, "History", "200913122640.hst"), "w") as f:
        f.write(plist_line(2, 1, "Abba", "Waterloo", "02:45", key=t1))
        f.write(plist_line(3, 2, "The Beatles", "Come Together", "04:20", key=t2))

    def shown(t):
        tm = time.localtime(t)
        return "%02d/%02d/%02d @ %02d:%02d:%02d" % (tm.tm_mday, tm.tm_mon, tm.tm_year - 2000, tm.tm_hour, tm.tm_min,
                                                   tm.tm_sec)
    assert zerka(server, "--history") == ('0002/01,"Abba","Waterloo",02:45,%s\n' % shown(t1) +
                                          '0003/02,"The Beatles","Come Together",04:20,%s\n' % shown(t2))


def test_skip_with_nothing_playing_and_stop(server):
    assert zerka(server, "--next") == "! Control message failed\n"
    assert zerka(server, "--stop") == ""
    assert server.alive()


def test_stop_local_on_the_master_shuts_the_server_down(server):
    assert zerka(server, "--stop-local", input=b"n") == \
        "\n    WARNING: this will shut down the MASTER server:  Are you sure?  \n"
    assert server.alive()
    assert zerka(server, "--stop-local", input=b"y") == \
        "\n    WARNING: this will shut down the MASTER server:  Are you sure?  \n"
    server.proc.wait(timeout=10)


def test_stop_local_in_local_mode_stops_only_the_local_server(server):
    local_root = tempfile.mkdtemp(prefix="zks", dir="/tmp")
    local = subprocess.Popen([ZERKASERVER, "--root", local_root, "--listen", "127.0.0.2", "--port", str(server.port),
                              "--log", os.path.join(local_root, "log")], stdout=subprocess.PIPE, text=True)
    try:
        assert local.stdout.readline().startswith("zerkaserver listening on 127.0.0.2:")
        write_cfg(server.root, server.port, mode="local", loopback="127.0.0.2")
        assert zerka(server, "--stop-local") == "Local server will now shut down\n"
        local.wait(timeout=10)
        assert server.alive()
    finally:
        if local.poll() is None:
            local.kill()
            local.wait()
        shutil.rmtree(local_root, ignore_errors=True)


def test_audio_stream_from_the_real_server(server):
    desc = "R" + "".join(random.choice(string.ascii_lowercase) for _ in range(4))
    write_cfg(server.root, server.port, mode="standalone", extra={"SERVER_NAME": desc})

    def streamers():
        out = subprocess.run(["/usr/bin/pgrep", "-x", "-f", "^%s Streamer.*" % desc], capture_output=True,
                             text=True).stdout
        return [int(p) for p in out.split()]
    try:
        assert zerka(server, "--audio") == "Local audio started\n"
        deadline = time.time() + 10
        while "Audio stream to connection" not in server.log_text() and time.time() < deadline:
            time.sleep(0.1)
        assert "Audio stream to connection" in server.log_text()
        assert len(streamers()) == 1
        assert zerka(server, "--audio") == "Audio is already enabled\n"
        assert zerka(server, "--audio-off") == "Local audio terminated\n"
        deadline = time.time() + 10
        while streamers() and time.time() < deadline:
            time.sleep(0.1)
        assert streamers() == []
        assert zerka(server, "--audio-off") == "Local audio is not enabled\n"
    finally:
        for pid in streamers():
            os.kill(pid, signal.SIGKILL)
