"""The local audio stream from the interactive program: the "Local Audio"
menu's rows and the toggle key (Ctrl-A) in the menus and in the browser start
and stop the streamer process, which plays into a private PulseAudio daemon."""

import os
import random
import signal
import subprocess
import time

import pytest

from conftest import write_cfg
from fakeserver import AUDIO, CLIENT_OPEN, Msg, album_text, reply
from term import KEY
import pulse

SETTLE = int(0.1 * pulse.SECOND) // pulse.FRAME * pulse.FRAME


def processes(name, role):
    out = subprocess.run(["/usr/bin/pgrep", "-x", "-f", "^%s %s.*" % (name, role)], capture_output=True).stdout
    return [int(p) for p in out.split()]


def wait_until(pred, timeout=10):
    end = time.time() + timeout
    while time.time() < end:
        if pred():
            return True
        time.sleep(0.05)
    return pred()


def popup_at(t, text):
    """Waits for a one-line pop-up; it is centred on row 12."""
    t.wait_for(text, row=12, col=(80 - len(text)) // 2)


def popup_gone(t, text):
    t.wait_gone(text, timeout=10)


class Feed:
    """Answers the streamer's AUDIO request with its reply, then sends a noise in 50 ms blocks."""

    def __init__(self, fake, seconds=30.0):
        self.pcm = pulse.noise(seconds, seed=random.randrange(1000))
        self.requests = 0
        fake.handlers[AUDIO] = self._on_audio

    def _on_audio(self, srv, conn, m):
        import threading
        self.requests += 1
        conn.send(reply(m))

        def run():
            for at in range(0, len(self.pcm), 8820):
                if conn.closed:
                    return
                conn.send(Msg(AUDIO, 0, 0, 0, self.pcm[at:at + 8820]))
        threading.Thread(target=run, daemon=True).start()
        return None


@pytest.fixture
def pa():
    with pulse.PulseServer() as p:
        yield p


@pytest.fixture
def name(root, fake):
    n = "M%04d" % random.randrange(10000)
    write_cfg(root, fake.port, extra={"SERVER_NAME": n})
    fake.albums = {1: album_text("Album Artist", "Album Title", [("Some Artist", "Some Title", "03:00")])}
    fake.playlist = [(1, 1)]
    yield n
    for pid in processes(n, "Streamer"):
        try:
            os.kill(pid, signal.SIGKILL)
        except OSError:
            pass


def to_main_menu(t):
    t.wait_for("0001/01 Some Artist", row=2)
    t.send(KEY.ESC)
    t.wait_for("Local Audio", row=13)


def test_toggle_key_in_the_main_menu(term, fake, root, pa, name):
    feed = Feed(fake)
    rec = pa.record()
    t = term(env=pa.env())
    to_main_menu(t)
    connections = len(fake.connections)

    t.send(KEY.ctrl("a"))
    popup_at(t, "Local audio started")
    assert wait_until(lambda: len(processes(name, "Streamer")) == 1)
    pid = processes(name, "Streamer")[0]
    # Its own connection: greeting, then the audio request.
    fake.wait_for(AUDIO)
    assert len(fake.connections) == connections + 1
    conn = fake.connections[-1]
    assert [(m.type, m.album) for m in fake.received if m.conn is conn] == [(CLIENT_OPEN, 0), (AUDIO, 0)]
    # And it plays.
    rec.wait_for(feed.pcm[pulse.SECOND:pulse.SECOND + 4096], 15)
    popup_gone(t, "Local audio started")

    t.send(KEY.ctrl("a"))
    popup_at(t, "Local audio terminated")
    assert wait_until(lambda: processes(name, "Streamer") == [])
    with pytest.raises(ProcessLookupError):
        os.kill(pid, 0)
    assert wait_until(lambda: pa.playback_streams() == 0)
    popup_gone(t, "Local audio terminated")
    t.wait_for("Local Audio", row=13)

    # Toggled on again: a new streamer.
    t.send(KEY.ctrl("a"))
    popup_at(t, "Local audio started")
    assert wait_until(lambda: len(processes(name, "Streamer")) == 1)
    assert processes(name, "Streamer") != [pid]
    rec.stop()


def test_the_local_audio_menu_rows(term, fake, root, pa, name):
    Feed(fake)
    t = term(env=pa.env())
    to_main_menu(t)
    for _ in range(6):
        t.send(KEY.DOWN)
    t.send(KEY.ENTER)
    t.wait_for("Start local audio stream")
    start = t.find("Start local audio stream")
    stop = t.find("Stop local audio stream")
    assert stop == (start[0] + 1, start[1])

    rows = ["Start local audio stream", "Stop local audio stream", "Return To Main Menu"]

    def highlighted():
        for i in range(len(rows)):
            if t.is_reverse(start[0] + i, start[1]):
                return i
        raise AssertionError("no row highlighted:\n" + t.text())

    def choose(row_text, popup_text):
        want = rows.index(row_text)
        t.settle()
        now = highlighted()
        for _ in range(abs(want - now)):
            t.send(KEY.DOWN if want > now else KEY.UP)
        t.settle()
        assert highlighted() == want
        t.send(KEY.ENTER)
        popup_at(t, popup_text)
        popup_gone(t, popup_text)
        t.wait_for(row_text)

    choose("Stop local audio stream", "Local audio is not enabled")
    assert processes(name, "Streamer") == []

    choose("Start local audio stream", "Local audio started")
    assert wait_until(lambda: len(processes(name, "Streamer")) == 1)
    pid = processes(name, "Streamer")[0]
    fake.wait_for(AUDIO)
    connections = len(fake.connections)

    choose("Start local audio stream", "Audio is already enabled")
    time.sleep(0.5)
    assert processes(name, "Streamer") == [pid]
    assert len(fake.connections) == connections, "a second start forks nothing"

    choose("Stop local audio stream", "Local audio terminated")
    assert wait_until(lambda: processes(name, "Streamer") == [])


def test_toggle_key_in_the_browser(term, fake, root, pa, name):
    Feed(fake)
    t = term(env=pa.env())
    t.wait_for("0001/01 Some Artist", row=2)
    t.send(KEY.ctrl("a"))
    popup_at(t, "Local audio started")
    assert wait_until(lambda: len(processes(name, "Streamer")) == 1)
    popup_gone(t, "Local audio started")
    t.send(KEY.ctrl("a"))
    popup_at(t, "Local audio terminated")
    assert wait_until(lambda: processes(name, "Streamer") == [])


def test_the_streamer_ignores_the_interrupt_key(term, fake, root, pa, name):
    Feed(fake)
    t = term(env=pa.env())
    to_main_menu(t)
    t.send(KEY.ctrl("a"))
    popup_at(t, "Local audio started")
    assert wait_until(lambda: len(processes(name, "Streamer")) == 1)
    pid = processes(name, "Streamer")[0]
    popup_gone(t, "Local audio started")
    # The interrupt key reaches every process of the terminal: the client asks, the streamer plays on.
    t.send("\x03")
    t.wait_for("Are you sure you want to exit?")
    time.sleep(0.5)
    assert processes(name, "Streamer") == [pid]
    t.send("n")
    t.wait_for("Local Audio", row=13)
    assert processes(name, "Streamer") == [pid]


def test_master_mode_refuses_without_looking_for_a_streamer(term, fake, root, pa, name, cli):
    Feed(fake)
    # A streamer started from the command line before the machine became the master.
    out, err, status = cli("--audio", env=pa.env())
    assert out == "Local audio started\n"
    assert wait_until(lambda: len(processes(name, "Streamer")) == 1)
    pid = processes(name, "Streamer")[0]
    write_cfg(root, fake.port, mode="master", extra={"SERVER_NAME": name})
    t = term(env=pa.env())
    to_main_menu(t)
    connections = len(fake.connections)
    for _ in range(2):
        t.send(KEY.ctrl("a"))
        popup_at(t, "Local audio stream not available on Master server")
        popup_gone(t, "Local audio stream not available on Master server")
    time.sleep(0.5)
    assert processes(name, "Streamer") == [pid], "neither stopped nor doubled"
    assert len(fake.connections) == connections
