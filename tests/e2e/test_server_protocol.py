"""zerkaserver on the wire: replies, notices, robustness, audio, shutdown and
durability, driven by a plain protocol client (realserver.ProtoClient)."""

import os
import re
import shutil
import socket
import struct
import subprocess
import tempfile
import time
import wave

import pytest

from fakeserver import (ALBUM_DELETED, ALBUM_READ, ALBUM_WRITE, ALBUM_WRITTEN, AUDIO, CD_EJECT, CLIENT_OPEN,
                        CONSOLE, DIRLIST, GET_MODE, GETTIME, GO, HISTORY, LINK_QUERY, PLIST_ADD, PLIST_GET,
                        PLIST_DELETE, PLIST_NOW, PLIST_READ, PLIST_UPDATE, REBOOT, RET_CHECK, SERVER_DOWN, SHORTLIST, SHUTDOWN,
                        SKIP, STOP_SERVICE, Msg, album_text)
from realserver import ZERKASERVER, RealServer, make_demo_root

ALBUM_DELETE = 0x12
JUKEBOX = 0xB2
RET_TRACK = 0x4E
WRITE_CD = 0x6E
CD_WAITING = 0xBB


@pytest.fixture
def demo():
    srv = RealServer(demo=True)
    yield srv
    srv.stop()


@pytest.fixture
def empty():
    srv = RealServer()
    yield srv
    srv.stop()


def write_silence(root, album, track, seconds):
    """A WAV file of silence for a track."""
    with wave.open(os.path.join(root, "Media", "%04d_%02d.wav" % (album, track)), "wb") as w:
        w.setnchannels(2)
        w.setsampwidth(2)
        w.setframerate(44100)
        w.writeframes(b"\0" * (176400 * seconds))


# ----- the demo library ----------------------------------------------------------------------

def check_demo_albums(srv, shortest, longest):
    """The demo library's albums on a server, their media matching their times, every track of a length between."""
    c = srv.client()
    albums = {}
    n = 1
    while True:
        m = c.request(ALBUM_READ, album=n)
        if m.album == 0xFFFD:
            break
        assert m.album == n
        albums[n] = m.str.split("\n")[:-1]
        n += 1
    assert len(albums) == 13
    assert albums[13][0] == "Various Artists"
    statuses = set()
    offline = 0
    for number, lines in albums.items():
        entries = [lines[i:i + 3] for i in range(0, len(lines), 3)]
        total = 0
        for track, (artist, title, third) in enumerate(entries[1:], start=1):
            fields = third.split()
            mm, ss = fields[0].split(":")
            seconds = int(mm) * 60 + int(ss)
            assert shortest <= seconds <= longest, (number, track, seconds)
            total += seconds
            statuses.add(fields[1])
            path = os.path.join(srv.root, "Media", "%04d_%02d.wav" % (number, track))
            if fields[3] == "1":
                assert os.path.getsize(path) == 44 + 176400 * seconds, path
            else:
                offline += 1
                assert not os.path.exists(path)
        assert entries[0][2].split()[0] == "%02d:%02d" % (total // 60, total % 60)
    assert statuses == {"-", "S", "U", "N"}
    assert offline == 3
    for n in list(range(9000, 9020)) + [0, 3001]:
        assert c.request(ALBUM_READ, album=n).album == 0xFFFE


def test_the_demo_root_is_complete_and_its_tracks_last_30_to_42_seconds():
    root = tempfile.mkdtemp(prefix="zkdemo", dir="/tmp")
    srv = None
    try:
        out = subprocess.run([ZERKASERVER, "--make-demo", root], capture_output=True, text=True, timeout=120)
        assert out.returncode == 0, out.stderr
        total = sum(os.path.getsize(os.path.join(d, f)) for d, _, fs in os.walk(root) for f in fs)
        said = re.fullmatch(r"zerkaserver: demo root written to %s in \d+\.\d s \((\d+) MB\)\n" % re.escape(root),
                            out.stdout)
        assert said and int(said.group(1)) == round(total / 1e6)
        assert len(os.listdir(os.path.join(root, "Media"))) == 65
        assert sorted(os.listdir(os.path.join(root, "PlayLists"))) == ["current.lst", "favourites", "party"]
        assert len(os.listdir(os.path.join(root, "History"))) == 1
        # A second run refuses to overwrite it.
        again = subprocess.run([ZERKASERVER, "--make-demo", root], capture_output=True, text=True, timeout=60)
        assert again.returncode == 1
        assert "already exists" in again.stderr
        srv = RealServer(root=root)
        check_demo_albums(srv, 30, 42)
    finally:
        if srv is not None:
            srv.stop()
        shutil.rmtree(root, ignore_errors=True)


def test_the_tests_demo_albums_match_their_short_media(demo):
    check_demo_albums(demo, 3, 6)


# ----- replies and notices --------------------------------------------------------------------

def test_greeting_and_clock(demo):
    c = demo.client(greet=False)
    r = c.request(CLIENT_OPEN)
    assert (r.type, r.seq) == (CLIENT_OPEN, 0x0100)
    assert c.seq == 0x0101
    now = int(c.request(GETTIME, album=0, text=b"Time").str, 16)
    assert abs(now - time.time()) < 60   # the same clock (the margin is for a loaded machine, not a measure)


def test_no_notice_reaches_a_client_before_its_greeting_is_answered(demo):
    # The greeting goes out with the sequence 0 of the notices: a notice before its
    # answer would be taken for it, and the client's counter would start at 0x0000.
    late = demo.client(greet=False)
    a = demo.client()
    assert a.request(PLIST_ADD, album=6, track=2, text=b"current.lst").album == 6
    assert a.request(PLIST_UPDATE, album=6, track=2, text=b"current.lst").album == 6
    late.send(CLIENT_OPEN, seq=0)
    first = late.recv()
    assert (first.type, first.seq) == (CLIENT_OPEN, 0x0100)
    late.seq = 0x0101
    # From then on it hears them.
    assert a.request(PLIST_DELETE, album=6, track=2, text=b"current.lst").album == 6
    assert late.wait_notice(PLIST_UPDATE).text == b""


def test_album_changes_reach_the_other_clients(demo):
    a, b = demo.client(), demo.client()
    text = album_text("Test Artist", "Test Album", [("Test Artist", "Song", "00:03")])
    assert a.request(ALBUM_WRITE, album=20, text=text).album == 20
    m = b.wait_notice(ALBUM_WRITTEN)
    assert (m.album, m.seq, m.text) == (20, 0, text)
    assert a.request(SHORTLIST, album=20, track=1).album == 20
    for c in (a, b):   # the requester hears of it too: its own table changes only through notices
        assert "\nSong\n00:03 S " in c.wait_notice(ALBUM_WRITTEN, pred=lambda m: m.album == 20).str
    assert a.request(ALBUM_DELETE, album=20).album == 20
    assert b.wait_notice(ALBUM_DELETED).album == 20
    assert b.request(ALBUM_READ, album=20).album == 0xFFFD


def test_playlist_changes_reach_the_other_clients(demo):
    a, b = demo.client(), demo.client()
    assert a.request(PLIST_ADD, album=6, track=2, text=b"current.lst").album == 6
    m = b.wait_notice(PLIST_UPDATE)
    assert (m.seq, m.text) == (0, b"0006 02 ")
    assert a.request(PLIST_ADD, album=6, track=2, text=b"current.lst").album == 0xFFFF
    # An offline playlist's changes go only to a client showing it, with a non-zero sequence.
    assert b.request(PLIST_READ, text=b"party").album != 0
    assert a.request(PLIST_ADD, album=3, track=1, text=b"party").album == 3
    m = b.wait_notice(PLIST_UPDATE, pred=lambda m: m.seq != 0)
    assert m.text.endswith(b"0003 01 ")


def test_the_sender_of_a_playlist_update_hears_it_after_its_reply(demo):
    a, b = demo.client(), demo.client()
    assert a.request(PLIST_ADD, album=6, track=2, text=b"current.lst").album == 6
    assert a.request(GET_MODE).album != 0xFFFF   # the add's own notice has arrived before this reply
    assert [(m.type, m.seq, m.text) for m in a.notices] == [(PLIST_UPDATE, 0, b"0006 02 ")]
    a.notices.clear()
    # On the wire: the reply first (the request's type and sequence), then the notice with sequence 0.
    a.send(PLIST_UPDATE, album=6, track=2, text=b"current.lst")
    reply, notice = a.recv(), a.recv()
    assert (reply.type, reply.seq) == (PLIST_UPDATE, a.seq)
    assert (notice.type, notice.seq, notice.text) == (PLIST_UPDATE, 0, b"0006 02 ")
    assert notice.seq & 0xFF00 != a.seq & 0xFF00   # never taken for the reply to a request
    assert b.wait_notice(PLIST_UPDATE, pred=lambda m: m.text == b"0006 02 ").seq == 0
    # An offline playlist's update reaches its viewer with a non-zero sequence, and not a client showing another.
    assert b.request(PLIST_READ, text=b"party").album != 0
    a.seq = (a.seq & 0xFF00) | ((a.seq + 1) & 0xFF)
    a.notices.clear()
    assert a.request(PLIST_ADD, album=3, track=2, text=b"party").album == 3
    assert a.request(PLIST_UPDATE, album=3, track=2, text=b"party").album != 0xFFFF
    assert a.request(GET_MODE).album != 0xFFFF   # every notice of the update has arrived before this reply
    assert [m for m in a.notices if m.seq != 0] == []
    m = b.wait_notice(PLIST_UPDATE, pred=lambda m: m.seq == 0x0200)
    assert m.text.endswith(b"0003 02 ")


def test_history_walk(demo):
    c = demo.client()
    entries = []
    while True:
        m = c.request(HISTORY, text=b"history.hst")
        if m.album == 0:
            break
        entries.append(m.str)
    assert [e[9:16] for e in entries] == ["0001/01", "0002/01", "0004/02", "0006/03", "0009/05", "0013/03"]
    assert entries[5][17:46] == "%-29s" % "Juniper Voss"
    assert entries[5][48:77] == "%-29s" % "Bellbuoy"
    assert entries[5][79:84] == "00:05"
    names = c.request(DIRLIST, album=58, track=1, text=b"/anywhere/History").str.split("\n")
    assert len(names) == 2 and names[0].endswith(".hst") and names[1] == ""
    m = c.request(HISTORY, text=("/anywhere/History/" + names[0]).encode())
    assert m.str[9:16] == "0001/01"


def test_the_console_is_released_when_its_holder_goes(demo):
    a, b = demo.client(), demo.client()
    assert a.request(CONSOLE).album == 1
    assert b.request(CONSOLE).album == 0
    assert b.request(JUKEBOX).album == 0
    a.close()
    time.sleep(0.3)
    assert b.request(CONSOLE).album == 1


def test_power_requests_are_refused_and_cd_requests_answered(demo):
    c = demo.client()
    assert c.request(REBOOT).album == 0
    assert c.request(SHUTDOWN).album == 0
    assert c.request(RET_TRACK, album=3, track=1).album == 0xFFFF
    assert c.request(RET_CHECK, album=0).album == 0
    assert c.request(CD_EJECT, album=3).album == 0
    assert c.request(CD_WAITING, album=3).album == 0
    assert c.request(WRITE_CD, album=3).track == 1
    assert demo.alive()


# ----- robustness ---------------------------------------------------------------------------

@pytest.mark.parametrize("garbage", [
    b"zz 0000 0000 0000 0000 ",    # not hex
    b"10-0000 0000 0000 0000 ",    # a blank missing
    b"10 0000 0001 0000 8001 ",    # longer than any text
    b"10 0000 0001 0000 FFFF ",    # upper case and far too long
])
def test_a_broken_frame_costs_only_its_connection(demo, garbage):
    good = demo.client()
    bad = demo.client()
    bad.sock.sendall(garbage)
    with pytest.raises((EOFError, ConnectionResetError)):
        bad.recv()
    assert good.request(GET_MODE).album == 2
    assert "malformed message header" in demo.log_text()


def test_random_bytes_from_many_clients_never_stop_the_server(demo):
    """Well-framed requests of any type (the service stop excepted) with random
    fields and texts, then bytes of every kind: the server answers each whole
    request and at worst closes that connection."""
    import random
    rng = random.Random(4711)
    interesting = [0, 1, 2, 58, 99, 100, 3000, 3001, 9000, 9019, 0x8000, 0xFFFD, 0xFFFE, 0xFFFF]
    for i in range(100):
        c = demo.client(greet=rng.random() < 0.5)
        c.sock.settimeout(0.3)
        data = b""
        for _ in range(rng.randrange(1, 6)):
            t = rng.choice([rng.randrange(0x10, 0xBC), rng.randrange(0, 256)])
            if t == STOP_SERVICE:
                t = GET_MODE
            text = bytes(rng.randrange(256) for _ in range(rng.randrange(0, 200)))
            if rng.random() < 0.3:
                text = rng.choice([b"../zerka.db", b"/etc/passwd", b"..", b"current.lst", b"a~b\nc", b"0000 00",
                                   b"history.hst", b"PlayLists", b"x" * 5000])
            data += Msg(t, rng.randrange(0x10000), rng.choice(interesting + [rng.randrange(0x10000)]),
                        rng.choice(interesting + [rng.randrange(0x10000)]), text).encode()
        if i % 3 == 0:
            data += bytes(rng.randrange(256) for _ in range(rng.randrange(1, 64)))
        c.sock.sendall(data)
        if i % 2 == 0:
            c.sock.shutdown(socket.SHUT_WR)   # the end of the stream right behind the bytes
        try:
            while c.recv():
                pass
        except (EOFError, ConnectionResetError, socket.timeout):
            pass
        c.close()
    assert demo.alive()
    other = demo.client()
    assert other.request(ALBUM_READ, album=1).album == 1
    assert other.request(GETTIME, text=b"Time").type == GETTIME


def test_album_reads_in_a_burst_are_answered_whole_and_in_order_however_they_arrive(demo):
    """A client reading albums as fast as it can (the server polls for its next
    request after each answer) gets every answer whole, with its own sequence,
    in order: requests in pieces, two in one write, another client's requests
    in between, and a pause. With two CPUs the server and this client run on
    different ones, where the server polls."""
    cpus = sorted(os.sched_getaffinity(0))
    mine = set(cpus)
    if len(cpus) >= 2:
        os.sched_setaffinity(demo.proc.pid, {cpus[0]})
        os.sched_setaffinity(0, {cpus[1]})
    try:
        burst_of_album_reads(demo)
    finally:
        os.sched_setaffinity(0, mine)


def burst_of_album_reads(demo):
    c = demo.client()
    other = demo.client()
    texts = {n: c.request(ALBUM_READ, album=n).text for n in range(1, 14)}
    assert all(texts.values())

    def next_seq(seq):
        return (seq & 0xFF00) | ((seq + 1) & 0xFF)

    def answer(n, seq):
        m = c.recv()
        assert (m.type, m.seq, m.album, m.text) == (ALBUM_READ, seq, n, texts[n])

    n = 1
    while n <= 13:
        frame = Msg(ALBUM_READ, c.seq, n, 0, b"").encode()
        if n % 3 == 1:   # the header in two pieces, the second a little later
            c.sock.sendall(frame[:7])
            time.sleep(0.001)
            c.sock.sendall(frame[7:])
        elif n % 3 == 2:   # this request and the next one in one write
            c.sock.sendall(frame + Msg(ALBUM_READ, next_seq(c.seq), n + 1, 0, b"").encode())
            answer(n, c.seq)
            c.seq = next_seq(c.seq)
            n += 1
        else:
            c.sock.sendall(frame)
        answer(n, c.seq)
        c.seq = next_seq(c.seq)
        if n % 4 == 0:
            assert other.request(GETTIME, text=b"Time").type == GETTIME
        n += 1
    time.sleep(0.05)   # idle: the next request finds the server blocked in its loop
    assert c.request(ALBUM_READ, album=14).album == 0xFFFD
    assert c.request(ALBUM_READ, album=13).text == texts[13]
    assert c.notices == [] and other.notices == []


def test_a_client_that_vanishes_mid_message_costs_nothing(demo):
    c = demo.client()
    c.sock.sendall(b"11 0105 0014 0000 0100 half a text")
    c.close()
    other = demo.client()
    assert other.request(ALBUM_READ, album=1).album == 1
    assert other.request(ALBUM_READ, album=20).album == 0xFFFD   # nothing half-written


def test_a_message_stalled_half_way_costs_its_connection():
    srv = RealServer(demo=True, args=["--stall-limit", "1"])
    try:
        stalled = srv.client()
        started = time.monotonic()
        stalled.sock.sendall(b"10 0105 00")
        other = srv.client()
        stalled.sock.settimeout(30)
        with pytest.raises((EOFError, ConnectionResetError)):
            stalled.recv()
        assert time.monotonic() - started >= 1   # not before the limit (a bound no delay can break)
        assert "message stalled half-way" in srv.log_text()
        assert other.request(GET_MODE).album == 2
    finally:
        srv.stop()


def test_a_client_that_never_reads_is_dropped(demo):
    slow = demo.client()
    slow.sock.setsockopt(socket.SOL_SOCKET, socket.SO_RCVBUF, 4096)
    fast = demo.client()
    # Each write of a big album is announced to the others (some 17 KB); the slow client reads none.
    big = album_text("A" * 66, "T" * 66, [("A" * 66, "%02d" % t + "T" * 64, "00:03") for t in range(1, 100)])
    deadline = time.monotonic() + 60
    writes = 0
    while "too slow" not in demo.log_text() and time.monotonic() < deadline:
        assert fast.request(ALBUM_WRITE, album=30, text=big).album == 30
        writes += 1
    assert "too slow" in demo.log_text()
    assert writes > 8 * 1024 * 1024 // len(big) / 2
    assert fast.request(GET_MODE).album == 2


# ----- playing ------------------------------------------------------------------------------

def test_audio_streams_the_playing_track_in_real_time(empty):
    c = empty.client()
    text = album_text("Tone", "Tones", [("Tone", "Ramp", "00:04")])
    assert c.request(ALBUM_WRITE, album=1, text=text).album == 1
    samples = b"".join(struct.pack("<hh", i % 30000, -(i % 30000)) for i in range(44100 * 4))
    with wave.open(os.path.join(empty.root, "Media", "0001_01.wav"), "wb") as w:
        w.setnchannels(2)
        w.setsampwidth(2)
        w.setframerate(44100)
        w.writeframes(samples)
    audio = empty.client(greet=False)
    audio.send(CLIENT_OPEN, album=0, seq=0)
    audio.recv()
    audio.send(AUDIO, album=0, seq=0)
    assert audio.recv().type == AUDIO   # the answer to the request, not audio
    c.request(PLIST_ADD, album=1, track=1, text=b"current.lst")
    c.request(GO)
    got = b""
    started = time.monotonic()
    while len(got) < len(samples):
        m = audio.recv()
        assert m.type == AUDIO
        assert len(m.text) <= 32768
        got += m.text
    took = time.monotonic() - started
    assert got[:len(samples)] == samples
    assert took > 3.0   # four seconds of sound, paced by the clock: never sent ahead of it


def test_skip_fades_out_and_the_next_track_follows(empty):
    c = empty.client()
    tracks = [("Slow", "Long One", "00:30"), ("Slow", "Next One", "00:03")]
    assert c.request(ALBUM_WRITE, album=1, text=album_text("Slow", "Longs", tracks)).album == 1
    write_silence(empty.root, 1, 1, 30)
    write_silence(empty.root, 1, 2, 3)
    other = empty.client()
    c.request(PLIST_ADD, album=1, track=1, text=b"current.lst")
    c.request(PLIST_ADD, album=1, track=2, text=b"current.lst")
    c.request(GO)
    first = c.wait_notice(PLIST_NOW, pred=lambda m: m.track == 1)
    assert first.str == "30 0 1"
    time.sleep(1)
    skipped = time.monotonic()
    assert c.request(SKIP).album == 1
    assert other.wait_notice(SKIP).seq == 0
    nxt = c.wait_notice(PLIST_NOW, timeout=35, pred=lambda m: m.track == 2)
    assert nxt.str == "3 0 1"
    # Eight seconds of fade, not the 29 left of the track (margins no loaded machine can break).
    assert 7.0 < time.monotonic() - skipped < 28


def test_pulse_output_is_optional():
    """With --output pulse the server plays on whether or not a sound server answers."""
    srv = RealServer(demo=True, args=["--output", "pulse"])
    try:
        c = srv.client()
        c.request(PLIST_ADD, album=1, track=3, text=b"current.lst")
        c.request(GO)
        c.wait_notice(PLIST_NOW, pred=lambda m: (m.album, m.track) == (1, 3))
        c.wait_notice(PLIST_NOW, timeout=10, pred=lambda m: m.str.endswith(" 1") and (m.album, m.track) != (1, 3))
        assert srv.alive()
        assert c.request(GET_MODE).album == 2
    finally:
        srv.stop()


def test_no_skip_when_nothing_plays(demo):
    assert demo.client().request(SKIP).album == 0xFFFF


# ----- ending and durability -------------------------------------------------------------------

def test_stop_service_tells_the_others_and_ends_cleanly(demo):
    a, b = demo.client(), demo.client()
    assert a.request(STOP_SERVICE).album == 1
    assert b.wait_notice(SERVER_DOWN).type == SERVER_DOWN
    # The server waits for its clients to leave (they show the notice first) rather than closing under them.
    a.close()
    b.close()
    assert demo.proc.wait(timeout=10) == 0
    assert [m.type for m in a.notices] == []   # the requester knows from its answer
    log = demo.log_text()
    assert log.count("closed: closed by the client") == 2
    assert "closed: server stopping" not in log


def test_sigterm_tells_every_client(demo):
    a = demo.client()
    demo.proc.terminate()
    assert a.wait_notice(SERVER_DOWN).type == SERVER_DOWN
    assert demo.proc.wait(timeout=10) == 0


def test_kill_9_loses_nothing_acknowledged():
    srv = RealServer(demo=True)
    try:
        c = srv.client()
        for n in range(20, 60):
            text = album_text("Kept %d" % n, "Album %d" % n, [("Kept %d" % n, "Song", "00:03")])
            assert c.request(ALBUM_WRITE, album=n, text=text).album == n
        assert c.request(SHORTLIST, album=3, track=1).album == 3
        assert c.request(PLIST_ADD, album=5, track=2, text=b"current.lst").album == 5
        assert c.request(PLIST_ADD, album=5, track=3, text=b"party").album == 5
        assert c.request(0x57, album=7, track=1, text=b"0007 01").album != 0xFFFF   # LINK_TRACK
        srv.kill()
        srv.start()
        c = srv.client()
        for n in range(20, 60):
            assert c.request(ALBUM_READ, album=n).str.startswith("Kept %d\n" % n)
        assert "\nOrigami Tide (Part One)\n" in c.request(ALBUM_READ, album=3).str
        assert c.request(ALBUM_READ, album=3).str.split("\n")[5].split()[1] == "S"
        assert c.request(PLIST_GET, text=b"current.lst").text == b"0005 02 "
        assert c.request(PLIST_GET, text=b"party").text.endswith(b"0005 03 ")
        assert c.request(LINK_QUERY, album=7, track=1).text == b"0007 01\n"
    finally:
        srv.stop()


def test_bad_options_and_roots():
    assert subprocess.run([ZERKASERVER], capture_output=True).returncode == 2
    r = subprocess.run([ZERKASERVER, "--root", "/nonexistent/zk"], capture_output=True, text=True)
    assert r.returncode == 1 and "is not a directory" in r.stderr
    r = subprocess.run([ZERKASERVER, "--root", "/tmp", "--port", "x"], capture_output=True, text=True)
    assert r.returncode == 2 and 'bad port "x"' in r.stderr
    r = subprocess.run([ZERKASERVER, "--root", "/tmp", "--stall-limit", "0"], capture_output=True, text=True)
    assert r.returncode == 2 and 'bad stall limit "0"' in r.stderr
    r = subprocess.run([ZERKASERVER, "--help"], capture_output=True, text=True)
    assert r.returncode == 0 and r.stdout.startswith("Usage: zerkaserver --root DIR")
