"""The local audio stream: the streamer process started and stopped from the
command line, playing what the (fake) master server sends into a private
PulseAudio daemon, recorded from the null sink's monitor.

The recording is compared with the sent samples exactly: one stream at full
volume passes the null sink unchanged, apart from the first few milliseconds
after the stream starts, which the comparisons leave out.
"""

import ctypes
import os
import random
import signal
import socket
import subprocess
import threading
import time

import pytest

from conftest import write_cfg
from fakeserver import AUDIO, CLIENT_OPEN, PLIST_NOW, SERVER_NOTICE, Msg, reply
import pulse

# Streamers outlive the command that started them; as a subreaper this test
# process inherits them, so their exit status can be read.
_libc = ctypes.CDLL(None, use_errno=True)
_PR_SET_CHILD_SUBREAPER = 36
_libc.prctl(_PR_SET_CHILD_SUBREAPER, 1, 0, 0, 0)

SETTLE = int(0.1 * pulse.SECOND) // pulse.FRAME * pulse.FRAME   # the first 0.1 s is left out of comparisons


# ----- helpers ------------------------------------------------------------------------

def processes(name, role):
    """Process ids named "<name> <role>", found the way the program finds them."""
    out = subprocess.run(["/usr/bin/pgrep", "-x", "-f", "^%s %s.*" % (name, role)], capture_output=True).stdout
    return [int(p) for p in out.split()]


def wait_process(name, role, timeout=10):
    end = time.time() + timeout
    while True:
        found = processes(name, role)
        if found:
            return found[0]
        if time.time() > end:
            raise AssertionError("no %s %s process" % (name, role))
        time.sleep(0.05)


def reap(pid, timeout=15):
    """Waits for a (reparented) process to end; returns ("exit", status) or ("signal", number)."""
    end = time.time() + timeout
    while True:
        done, status = os.waitpid(pid, os.WNOHANG)
        if done == pid:
            if os.WIFEXITED(status):
                return ("exit", os.WEXITSTATUS(status))
            return ("signal", os.WTERMSIG(status))
        if time.time() > end:
            raise AssertionError("process %d still running" % pid)
        time.sleep(0.05)


def running(pid):
    done, _ = os.waitpid(pid, os.WNOHANG)
    return done == 0


def log_lines(root):
    try:
        with open(os.path.join(root, "zerka.log"), encoding="latin-1") as f:
            return [line.rstrip("\n")[18:] for line in f]
    except OSError:
        return []


def place_of(rec, sent, anchor, timeout):
    """Waits for the sent samples to be recorded; returns where sent[0] is (or would be) in the
    recording. The anchor is a place in `sent` whose samples occur nowhere else."""
    at = rec.wait_for(sent[anchor:anchor + 4096], timeout)
    rec.wait_bytes(at - anchor + len(sent), timeout)
    return at - anchor


def frame_msg(type_, payload, seq=0):
    return Msg(type_, seq, 0, 0, payload)


class AudioFeed:
    """Answers the streamer's AUDIO request, then plays a script on that connection.

    Script steps: ("audio", pcm, block_size), ("msg", Msg), ("raw", bytes, piece, gap), ("sleep", s), ("close",).
    The script starts when `go` is set, so a test can first let the starting command end.
    """

    def __init__(self, fake, script, reply_payload=b""):
        self.fake = fake
        self.script = script
        self.reply_payload = reply_payload
        self.go = threading.Event()
        self.requested = threading.Event()
        self.done = threading.Event()
        self.conn = None
        self.first_send = None
        fake.handlers[AUDIO] = self._on_audio

    def _on_audio(self, srv, conn, m):
        conn.send(reply(m, text=self.reply_payload))   # the reply to the request itself
        self.conn = conn
        self.requested.set()
        threading.Thread(target=self._run, daemon=True).start()
        return None

    def _send(self, data):
        if self.first_send is None:
            self.first_send = time.monotonic()
        self.conn.send(data)

    def _run(self):
        self.go.wait(30)
        for step in self.script:
            if self.conn.closed:
                break
            kind = step[0]
            if kind == "audio":
                pcm, size = step[1], step[2]
                for at in range(0, len(pcm), size):
                    self._send(frame_msg(AUDIO, pcm[at:at + size]))
            elif kind == "msg":
                self.conn.send(step[1])
            elif kind == "raw":
                data, piece, gap = step[1], step[2], step[3]
                for at in range(0, len(data), piece):
                    self.conn.send(data[at:at + piece])
                    time.sleep(gap)
            elif kind == "sleep":
                time.sleep(step[1])
            elif kind == "close":
                self.conn.close()
        self.done.set()


@pytest.fixture
def pa():
    with pulse.PulseServer() as p:
        yield p


@pytest.fixture
def name(root, fake):
    """A process-name prefix of this test's own, so that no other run's streamer is taken for ours."""
    n = "S%04d" % random.randrange(10000)
    write_cfg(root, fake.port, extra={"SERVER_NAME": n})
    yield n
    for pid in processes(n, "Streamer"):
        try:
            os.kill(pid, signal.SIGKILL)
            reap(pid, 5)
        except (OSError, AssertionError):
            pass


def start_streamer(cli, pa, name, feed):
    out, err, status = cli("--audio", env=pa.env())
    assert (out, status) == ("Local audio started\n", 0), (out, err)
    pid = wait_process(name, "Streamer")
    assert feed.requested.wait(10), "the streamer asked for no audio"
    feed.go.set()
    return pid


# ----- the tests ----------------------------------------------------------------------

def test_blocks_play_in_order_and_other_messages_are_skipped(pa, fake, cli, name, root):
    a = pulse.sine(440, 1.5)
    b = pulse.sine(1000, 1.5, amplitude=9000)
    not_played = pulse.noise(0.15, seed=7)   # 26460 bytes: one whole payload
    feed = AudioFeed(fake, [
        ("audio", b"", 1),                                       # an empty block first: harmless
        ("audio", a[:pulse.SECOND // 2], 8820),
        ("msg", frame_msg(PLIST_NOW, b"0001 02 ")),
        ("msg", frame_msg(SERVER_NOTICE, pulse.noise(0.05, seed=8))),   # not audio, even if it looks like it
        ("msg", frame_msg(CLIENT_OPEN, b"")),
        ("audio", a[pulse.SECOND // 2:], 32768),
        ("msg", frame_msg(AUDIO, b"")),                          # an empty block between blocks
        ("audio", b, 17640),
        ("audio", bytes(pulse.SECOND), 32768),                  # a second of silence behind it
    ], reply_payload=not_played)
    rec = pa.record()
    pid = start_streamer(cli, pa, name, feed)

    sent = a + b
    base = place_of(rec, sent, len(a) - 2048, 15)   # where the sines meet: found once only
    data = rec.stop()
    # Everything after the first tenth of a second, in order, with nothing between.
    assert data[base + SETTLE:base + len(sent)] == sent[SETTLE:]
    # The two sines are told apart by correlation as well.
    second = base + len(a)
    assert pulse.correlation(data[second + 4000:second + 12000], b[4000:12000]) > 0.99
    assert pulse.correlation(data[second + 4000:second + 12000], a[4000:12000]) < 0.5
    # The payload of the reply to the streamer's own request never reached the speaker.
    assert pulse.find_frames(data, not_played[4000:8000]) == -1
    assert pulse.find_frames(data, not_played[20000:24000]) == -1

    # It greeted the server and asked for the stream on a connection of its own.
    streamer_conn = feed.conn
    mine = [m for m in fake.received if m.conn is streamer_conn]
    assert [(m.type, m.seq, m.album, m.track, m.text) for m in mine] == [
        (CLIENT_OPEN, 0, 0, 0, b""), (AUDIO, 0, 0, 0, b"")]
    assert streamer_conn is not fake.connections[0]
    assert fake.errors == []
    assert running(pid)


def test_headers_split_over_segments_are_reassembled(pa, fake, cli, name):
    # Pieces sent milliseconds apart reach a streamer that waits for them as
    # reads of their own: headers come byte by byte, payloads in small pieces.
    # The stream runs dry between such messages, so each block is looked for
    # on its own, in order; the blocks that follow in one piece play on without a break.
    chunks = [pulse.noise(0.1, seed=20 + i) for i in range(6)]
    slow = []
    for c in chunks:
        slow.append(("raw", frame_msg(AUDIO, c).encode()[:23], 1, 0.003))
        slow.append(("raw", c, 1470, 0.002))
        slow.append(("raw", frame_msg(PLIST_NOW, b"0003 04 ").encode(), 3, 0.002))
    bulk = pulse.noise(3.0, seed=30)
    feed = AudioFeed(fake, slow + [("audio", bulk, 32768), ("audio", bytes(pulse.SECOND), 32768)])
    rec = pa.record()
    start_streamer(cli, pa, name, feed)
    base = place_of(rec, bulk, SETTLE, 30)
    data = rec.stop()
    assert data[base + SETTLE:base + len(bulk)] == bulk[SETTLE:]
    places = [pulse.find_frames(data, c[6000:12000]) for c in chunks]
    assert -1 not in places
    assert places == sorted(places) and places[-1] < base


def test_odd_sized_blocks_play_whole(pa, fake, cli, name):
    pcm = pulse.noise(3.0, seed=12)
    feed = AudioFeed(fake, [("audio", pcm, 4099), ("audio", bytes(pulse.SECOND), 8820)])
    rec = pa.record()
    pid = start_streamer(cli, pa, name, feed)
    base = place_of(rec, pcm, SETTLE, 15)
    data = rec.stop()
    assert data[base + SETTLE:base + len(pcm)] == pcm[SETTLE:]
    assert running(pid)


def test_connection_closed_mid_header_ends_the_streamer(pa, fake, cli, name):
    pcm = pulse.noise(3.0, seed=13)
    feed = AudioFeed(fake, [("audio", pcm, 8820), ("sleep", 2.5), ("raw", b"6d 0000 00", 10, 0), ("sleep", 0.3),
                            ("close",)])
    rec = pa.record()
    pid = start_streamer(cli, pa, name, feed)
    rec.wait_for(pcm[SETTLE:SETTLE + 4096], 15)
    assert reap(pid) == ("exit", 1)
    rec.stop()
    assert processes(name, "Streamer") == []


def test_payload_longer_than_the_area_ends_the_streamer(pa, fake, cli, name, root):
    feed = AudioFeed(fake, [("audio", pulse.noise(0.2, seed=14), 8820), ("sleep", 0.5),
                            ("raw", b"6d 0000 0000 0000 8001 " + bytes(0x8001), 65536, 0), ("sleep", 5)])
    pid = start_streamer(cli, pa, name, feed)
    assert reap(pid) == ("exit", 1)
    assert "Audio stream: message longer than 32768 bytes" in log_lines(root)


def test_server_closing_before_any_audio_ends_the_streamer(pa, fake, cli, name):
    feed = AudioFeed(fake, [("close",)])
    pid = start_streamer(cli, pa, name, feed)
    assert reap(pid) == ("exit", 1)


def test_the_streamer_ignores_sigint_and_audio_off_kills_it(pa, fake, cli, name):
    tone = pulse.sine(500, 20.0)
    feed = AudioFeed(fake, [("audio", tone, 32768)])
    rec = pa.record()
    pid = start_streamer(cli, pa, name, feed)
    rec.wait_for(tone[SETTLE:SETTLE + 4096], 15)
    os.kill(pid, signal.SIGINT)
    time.sleep(0.5)
    assert running(pid)
    assert pa.playback_streams() == 1

    # A second start finds it and starts nothing.
    connections = len(fake.connections)
    out, err, status = cli("--audio", env=pa.env())
    assert (out, status) == ("Audio is already enabled\n", 0)
    time.sleep(0.5)
    assert len(fake.connections) == connections + 1        # the command's own connection only
    assert processes(name, "Streamer") == [pid]

    out, err, status = cli("--audio-off", env=pa.env())
    assert (out, status) == ("Local audio terminated\n", 0)
    assert reap(pid) == ("signal", signal.SIGKILL)
    end = time.time() + 5
    while pa.playback_streams() != 0 and time.time() < end:
        time.sleep(0.05)
    assert pa.playback_streams() == 0
    rec.stop()

    out, err, status = cli("--audio-off", env=pa.env())
    assert (out, status) == ("Local audio is not enabled\n", 0)


def test_master_mode_refuses_and_leaves_a_streamer_alone(pa, fake, cli, name, root):
    feed = AudioFeed(fake, [("audio", pulse.sine(300, 20.0), 32768)])
    pid = start_streamer(cli, pa, name, feed)
    write_cfg(root, fake.port, mode="master", extra={"SERVER_NAME": name})
    for arg in ("--audio", "--audio-off"):
        connections = len(fake.connections)
        out, err, status = cli(arg, env=pa.env())
        assert (out, status) == ("Local audio stream not available on Master server\n", 0)
        time.sleep(0.3)
        assert len(fake.connections) == connections + 1
    assert running(pid)
    assert processes(name, "Streamer") == [pid]


def test_no_sound_server_ends_the_streamer_at_the_first_block(fake, cli, name, root):
    feed = AudioFeed(fake, [("sleep", 0.5), ("audio", pulse.noise(0.1, seed=15), 8820), ("sleep", 5)])
    out, err, status = cli("--audio", env={"PULSE_SERVER": "unix:/nonexistent/zerka-test-socket"})
    assert (out, status) == ("Local audio started\n", 0)
    pid = wait_process(name, "Streamer")
    assert feed.requested.wait(10)
    time.sleep(0.3)
    assert running(pid), "the stream is made at the first audio block, not before"
    feed.go.set()
    assert reap(pid) == ("exit", 1)
    assert any(line.startswith("Cannot create playback stream: ") for line in log_lines(root))


def test_unreachable_master_ends_the_streamer_silently(pa, fake, cli, name, root):
    # The command reaches the server; then the server stops taking connections.
    def refuse_more(srv, conn, m):
        srv.listener.shutdown(socket.SHUT_RDWR)   # stops listening at once (a close would wait for accept)
        return reply(m)
    fake.handlers[CLIENT_OPEN] = refuse_more
    before = log_lines(root)
    out, err, status = cli("--audio", env=pa.env())
    assert (out, status) == ("Local audio started\n", 0)
    pid = wait_process(name, "Streamer")
    assert reap(pid) == ("exit", 1)
    assert log_lines(root) == before


def test_the_real_server_streams_the_playing_track(pa, cli, name, root):
    from fakeserver import GO, PLIST_ADD, ALBUM_WRITE, album_text
    from realserver import RealServer
    srv = RealServer()
    try:
        c = srv.client()
        assert c.request(ALBUM_WRITE, album=1, text=album_text("Noise", "Noises", [("Noise", "White", "00:04")])).album == 1
        pcm = pulse.noise(4.0, seed=40)
        with open(os.path.join(srv.root, "Media", "0001_01.wav"), "wb") as f:
            f.write(pulse.wav_bytes(pcm))
        write_cfg(root, srv.port, extra={"SERVER_NAME": name})
        rec = pa.record()
        out, err, status = cli("--audio", env=pa.env())
        assert (out, status) == ("Local audio started\n", 0), (out, err)
        pid = wait_process(name, "Streamer")
        assert wait_until_text(srv.log_text, "Audio stream to connection")
        c.request(PLIST_ADD, album=1, track=1, text=b"current.lst")
        c.request(GO)
        # The whole track, apart from its first tenth of a second, as it is in the file.
        at = rec.wait_for(pcm[pulse.SECOND:pulse.SECOND + 4096], 20) - pulse.SECOND
        rec.wait_bytes(at + len(pcm), 15)
        data = rec.stop()
        assert data[at + SETTLE:at + len(pcm)] == pcm[SETTLE:]
        assert running(pid)
    finally:
        srv.stop()
    assert reap(pid) == ("exit", 1), "the streamer ends with its connection"


def wait_until_text(read, text, timeout=10):
    end = time.time() + timeout
    while time.time() < end:
        try:
            if text in read():
                return True
        except OSError:
            pass
        time.sleep(0.05)
    return False
