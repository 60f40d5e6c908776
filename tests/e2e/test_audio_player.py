"""The local player: Ctrl-L in the playlist console (a browser) plays the
current track's media file through a private PulseAudio daemon; the panel
shows the elapsed seconds; the arrow keys are forwarded to the player.

The media files are random bytes, so every second of a track is unlike any
other and the recording of the null sink's monitor tells exactly which second
followed which.
"""

import ctypes
import os
import random
import signal
import subprocess
import time

import pytest

from conftest import write_cfg
from fakeserver import album_text
from term import KEY
import pulse

BLOCK = pulse.SECOND                    # the player's block: one second
SETTLE = int(0.1 * pulse.SECOND) // pulse.FRAME * pulse.FRAME   # the stream's first moments are left out
MID = BLOCK // 2                        # a block is recognised by its middle where the sound (re)starts

TITLE = "Player Artist - Player Title"
HINT_BACK = "<- back 30 secs             -> forward 30 secs"
HINT_CTRL = "CTRL<- skip to start        CTRL-> skip to end"

_libc = ctypes.CDLL(None, use_errno=True)


# ----- helpers ------------------------------------------------------------------------

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


def sigqueue(pid, sig, value):
    """Sends a signal carrying an integer, as the client does."""
    if _libc.sigqueue(ctypes.c_int(pid), ctypes.c_int(sig), ctypes.c_void_p(value)) != 0:
        raise OSError(ctypes.get_errno(), "sigqueue")


def log_lines(root):
    try:
        with open(os.path.join(root, "zerka.log"), encoding="latin-1") as f:
            return [line.rstrip("\n")[18:] for line in f]
    except OSError:
        return []


def seconds(text):
    mm, ss = text.split(":")
    return int(mm) * 60 + int(ss)


class Panel:
    """Follows the elapsed time the panel shows, keeping every value seen, in order."""

    def __init__(self, t):
        self.t = t
        self.values = []

    def poll(self, duration):
        end = time.time() + duration
        while True:
            self.t.pump(0.03)
            shown = self.t.at(10, 37, 5)
            if len(shown) == 5 and shown[2] == ":" and shown.replace(":", "").isdigit():
                if not self.values or self.values[-1] != seconds(shown):
                    self.values.append(seconds(shown))
            if time.time() >= end:
                return

    def wait(self, pred, timeout=15):
        """Waits for a value satisfying pred (the one shown now, or a later one); returns it.
        Every value counts, also one that a busy machine let pass between two looks."""
        first = max(len(self.values) - 1, 0)
        end = time.time() + timeout
        while True:
            self.poll(0.05)
            for v in self.values[first:]:
                if pred(v):
                    return v
            if time.time() > end:
                raise AssertionError("panel shows %r; values seen %r\n%s" % (
                    self.t.at(10, 37, 5), self.values, self.t.text()))

    def mark(self):
        return len(self.values)

    def since(self, mark):
        """The values seen since a mark, with the one shown at the mark in front."""
        return self.values[max(mark - 1, 0):]


class Setup:
    """A console on a one-album library whose first track is a random media file."""

    def __init__(self, term, fake, root, pa, track_seconds, name, wav=None, mode="standalone"):
        self.name = name
        self.root = root
        self.pa = pa
        write_cfg(root, fake.port, mode=mode, extra={"SERVER_NAME": name})
        fake.albums = {1: album_text("Album Artist", "Album Title", [
            ("Player Artist", "Player Title", "%02d:%02d" % divmod(track_seconds, 60)),
            ("Off Line", "Not Here", "00:03", None, 0),
            ("Long Artist " + "x" * 40, "Long Title " + "y" * 40, "00:04")])}
        fake.playlist = [(1, 1), (1, 2), (1, 3)]
        self.pcm = os.urandom(track_seconds * BLOCK) if wav is None else None
        with open(os.path.join(root, "Media", "0001_01.wav"), "wb") as f:
            f.write(pulse.wav_bytes(self.pcm) if wav is None else wav)
        self.blocks = [self.pcm[i:i + BLOCK] for i in range(0, len(self.pcm), BLOCK)] if self.pcm else []
        self.rec = pa.record()
        self.t = term(env=pa.env())
        self.t.wait_for("0001/01 Player Artist", row=2)
        self.panel = Panel(self.t)

    def play(self):
        self.t.send(KEY.ctrl("l"))
        assert wait_until(lambda: len(processes(self.name, "Locplay")) == 1)
        return processes(self.name, "Locplay")[0]

    def seam(self, first, second, timeout=15, start=0):
        """Waits until block `first` is followed directly by block `second` in the recording."""
        return self.rec.wait_for(self.blocks[first][-4096:] + self.blocks[second][:4096], timeout, start)


@pytest.fixture
def pa():
    with pulse.PulseServer() as p:
        yield p


@pytest.fixture
def name():
    """A process-name prefix of this test's own."""
    n = "P%04d" % random.randrange(10000)
    yield n
    for role in ("Locplay", "Streamer"):
        for pid in processes(n, role):
            try:
                os.kill(pid, signal.SIGKILL)
            except OSError:
                pass


# ----- the tests ----------------------------------------------------------------------

def test_the_track_plays_and_the_panel_shows(term, fake, root, pa, name):
    s = Setup(term, fake, root, pa, 4, name)
    pid = s.play()
    t = s.t
    # The panel: box, title in bold, time reversed, key hints.
    t.wait_for("00:00", row=10, col=37)
    assert t.row(6) == "│┌" + "─" * 76 + "┐│"
    assert t.row(18) == "│└" + "─" * 76 + "┘│"
    for r in range(7, 18):
        assert t.row(r)[1] == "│" and t.row(r)[78] == "│", r
    assert t.at(8, (80 - len(TITLE)) // 2, len(TITLE)) == TITLE
    assert t.row(8).strip("│ ") == TITLE
    assert t.is_bold(8, 26) and not t.is_bold(8, 25)
    assert t.is_reverse(10, 37) and t.is_reverse(10, 41) and not t.is_reverse(10, 36) and not t.is_reverse(10, 42)
    assert t.at(12, 17, len(HINT_BACK)) == HINT_BACK
    assert t.at(14, 17, len(HINT_CTRL)) == HINT_CTRL
    assert t.at(16, 35, 10) == "ESC - quit"
    for r in (7, 9, 11, 13, 15, 17):
        assert t.row(r)[2:78] == " " * 76, r

    # One value a second, from 00:00 to the last whole second; then the player waits.
    s.panel.wait(lambda v: v == 3)
    s.panel.poll(1.5)
    assert s.panel.values == [0, 1, 2, 3]
    assert processes(name, "Locplay") == [pid]

    # What was heard is the file's audio.
    at = s.rec.wait_for(s.pcm[SETTLE:SETTLE + 4096], 15) - SETTLE
    s.rec.wait_bytes(at + len(s.pcm), 10)
    data = s.rec.snapshot()
    assert data[at + SETTLE:at + len(s.pcm)] == s.pcm[SETTLE:]
    # Then silence: the player waits at the end.
    assert not any(data[at + len(s.pcm) + 8192:])

    # Esc ends it; the list stays, drawn again over the panel.
    t.send(KEY.ESC)
    assert wait_until(lambda: processes(name, "Locplay") == [])
    t.wait_gone("ESC - quit")
    t.settle()
    assert "Current Playlist" in t.row(0)
    assert_list_without_panel(t)


def assert_list_without_panel(t):
    """The console's three rows and nothing of the player's panel."""
    assert t.row(2)[2:23] == "0001/01 Player Artist"
    assert t.row(3)[2:18] == "0001/02 Off Line"
    assert t.row(4)[2:21] == "0001/03 Long Artist"
    for r in range(5, 22):
        assert t.row(r)[1:79] == " " * 78, r


def test_esc_while_playing_draws_the_list_again(term, fake, root, pa, name):
    s = Setup(term, fake, root, pa, 100, name)
    s.play()
    t = s.t
    s.panel.wait(lambda v: v >= 1)
    assert t.at(16, 35, 10) == "ESC - quit"
    t.send(KEY.ESC)
    assert wait_until(lambda: processes(name, "Locplay") == [])
    t.wait_gone("ESC - quit")
    t.settle(1.5)   # a report the player sent on its way out brings no panel back
    assert "Current Playlist" in t.row(0)
    assert_list_without_panel(t)


def test_seeks_back_forward_start_and_end(term, fake, root, pa, name):
    s = Setup(term, fake, root, pa, 100, name)
    pid = s.play()
    p = s.panel
    t = s.t

    # Back within the first 30 seconds: to the start, shown as 00:00.
    p.wait(lambda v: v == 2)
    mark = p.mark()
    t.send(KEY.LEFT)
    p.wait(lambda v: v == 0)
    before = p.since(mark)[-2]
    assert p.since(mark)[-2:] == [before, 0] and 2 <= before <= 27
    where = s.seam(before, 0)

    # Forward: the counter gains 31 and the block read before the seek is
    # dropped, so the next value is 32 above the last one and names the second heard.
    p.wait(lambda v: v == 2)
    mark = p.mark()
    t.send(KEY.RIGHT)
    after = p.wait(lambda v: v >= 30)
    before = p.since(mark)[-2]
    assert after - before == 32
    where = s.seam(before, after, start=where)

    # Back: 30 off the counter; one second later in the file than the counter says.
    p.wait(lambda v: v == after + 1)
    mark = p.mark()
    t.send(KEY.LEFT)
    back = p.wait(lambda v: v < after)
    before = p.since(mark)[-2]
    assert back == before - 29
    where = s.seam(before, back + 1, start=where)

    # Control-right, in the code the client sends for it: to the end, showing the length; then silence.
    sigqueue(pid, signal.SIGUSR1, 559)
    t.wait_for("01:40", row=10, col=37)
    p.poll(3.5)
    assert p.values[-1] == 100
    quiet_from = s.rec.size()
    p.poll(1.5)
    assert not any(s.rec.snapshot()[quiet_from:]), "the player waits at the end"

    # Back from the end: the last 30 seconds again (the sound restarts after the
    # silence, so a block is recognised by its middle).
    t.send(KEY.LEFT)
    p.wait(lambda v: v == 71)
    where = s.rec.wait_for(s.blocks[70][MID:MID + 4096], 15, quiet_from)
    assert s.rec.wait_for(s.blocks[70][-4096:] + s.blocks[71][:4096], 15, where) > where

    # Control-left: to the start; the other code of each pair does the same.
    sigqueue(pid, signal.SIGUSR1, 560)
    t.wait_for("01:40", row=10, col=37)
    sigqueue(pid, signal.SIGUSR1, 544)
    p.wait(lambda v: v == 0)
    where = s.rec.wait_for(s.blocks[0][MID:MID + 4096], 15, where)
    p.wait(lambda v: v == 3)
    mark = p.mark()
    sigqueue(pid, signal.SIGUSR1, 545)
    p.wait(lambda v: v == 0)
    s.seam(p.since(mark)[-2], 0, start=where)

    t.send(KEY.ESC)
    assert wait_until(lambda: processes(name, "Locplay") == [])


def test_control_arrows_typed_at_the_terminal_reach_the_player(term, fake, root, pa, name):
    s = Setup(term, fake, root, pa, 100, name)
    s.play()
    s.panel.wait(lambda v: v == 2)
    s.t.send(KEY.CTRL_RIGHT)
    s.t.wait_for("01:40", row=10, col=37)
    s.t.send(KEY.CTRL_LEFT)
    s.panel.wait(lambda v: v == 0)
    s.rec.wait_for(s.blocks[0][MID:MID + 4096], 15, BLOCK)


def test_forward_past_the_end_shows_the_length_and_waits(term, fake, root, pa, name):
    s = Setup(term, fake, root, pa, 40, name)
    s.play()
    s.panel.wait(lambda v: v == 10)
    s.t.send(KEY.RIGHT)
    s.t.wait_for("00:40", row=10, col=37)
    s.panel.poll(2.5)
    assert s.panel.values[-1] == 40
    assert len(processes(name, "Locplay")) == 1


def test_a_short_last_block_is_written_whole_and_left_after_the_end_plays_again(term, fake, root, pa, name):
    # Two and a half seconds: the third read is half a block, and the whole
    # block is written, so the second half of the block before plays again
    # behind it. Then the player waits at the end; cursor left starts over.
    pcm = os.urandom(BLOCK * 5 // 2)
    s = Setup(term, fake, root, pa, 3, name, wav=pulse.wav_bytes(pcm))
    s.play()
    p = s.panel
    p.wait(lambda v: v == 2)
    half = BLOCK * 5 // 2
    at = s.rec.wait_for(pcm[half - 4096:half] + pcm[BLOCK * 3 // 2:BLOCK * 3 // 2 + 4096], 15)
    s.rec.wait_bytes(at + 4096 + BLOCK // 2, 10)
    data = s.rec.snapshot()
    start = at + 4096 - half
    assert data[start + SETTLE:start + half] == pcm[SETTLE:half]
    assert data[start + half:start + 3 * BLOCK] == pcm[BLOCK * 3 // 2:2 * BLOCK]
    p.poll(1.5)
    assert p.values == [0, 1, 2], "one value a block, the short one included"
    quiet_from = s.rec.size()
    p.poll(1.0)
    assert not any(s.rec.snapshot()[quiet_from:]), "the player waits at the end"

    s.t.send(KEY.LEFT)
    p.wait(lambda v: v == 0)
    s.rec.wait_for(pcm[MID:MID + 4096], 15, quiet_from)
    p.wait(lambda v: v == 2)
    assert len(processes(name, "Locplay")) == 1
    s.t.send(KEY.ESC)
    assert wait_until(lambda: processes(name, "Locplay") == [])


def test_a_second_ctrl_l_stops_the_player(term, fake, root, pa, name):
    s = Setup(term, fake, root, pa, 30, name)
    pid = s.play()
    s.panel.wait(lambda v: v == 1)
    s.t.send(KEY.ctrl("l"))
    assert wait_until(lambda: processes(name, "Locplay") == [])
    time.sleep(1.0)
    assert processes(name, "Locplay") == [], "the second request starts nothing"
    assert wait_until(lambda: pa.playback_streams() == 0)
    with pytest.raises(ProcessLookupError):
        os.kill(pid, 0)
    # And a third one plays again.
    s.play()
    s.panel.wait(lambda v: v == 1)


def test_an_off_line_track_is_not_played(term, fake, root, pa, name):
    s = Setup(term, fake, root, pa, 5, name)
    s.t.send(KEY.DOWN)
    s.t.send(KEY.ctrl("l"))
    s.t.wait_for("Track Not Online")
    time.sleep(0.5)
    assert processes(name, "Locplay") == []


def test_a_long_title_is_cut_on_the_panel(term, fake, root, pa, name):
    s = Setup(term, fake, root, pa, 5, name)
    with open(os.path.join(root, "Media", "0001_03.wav"), "wb") as f:
        f.write(pulse.wav_bytes(os.urandom(4 * BLOCK)))
    s.t.send(KEY.DOWN)
    s.t.send(KEY.DOWN)
    s.t.send(KEY.ctrl("l"))
    title = ("Long Artist " + "x" * 40)[:36] + " - " + ("Long Title " + "y" * 40)[:36]
    assert len(title) == 75
    s.t.wait_for(title, row=8, col=2)
    s.t.send(KEY.ESC)
    assert wait_until(lambda: processes(name, "Locplay") == [])


def test_an_unknown_key_leaves_the_player_silent_until_the_next(term, fake, root, pa, name):
    s = Setup(term, fake, root, pa, 60, name)
    pid = s.play()
    s.panel.wait(lambda v: v == 2)
    sigqueue(pid, signal.SIGUSR1, ord("x"))
    stopped = s.panel.wait(lambda v: v >= 2)
    s.panel.poll(4.0)
    assert s.panel.values[-1] <= stopped + 1
    quiet_from = s.rec.size()
    s.panel.poll(1.0)
    assert not any(s.rec.snapshot()[quiet_from:]), "silent while the key is pending"
    s.t.send(KEY.RIGHT)
    after = s.panel.wait(lambda v: v >= 30)
    s.rec.wait_for(s.blocks[after][MID:MID + 4096], 15, quiet_from)


def test_a_file_shorter_than_a_header_plays_nothing_and_waits(term, fake, root, pa, name):
    s = Setup(term, fake, root, pa, 5, name, wav=b"RIFF" + bytes(16))
    pid = s.play()
    time.sleep(1.5)
    assert processes(name, "Locplay") == [pid]
    assert not any(s.rec.snapshot())
    sigqueue(pid, signal.SIGUSR1, 559)
    s.t.wait_for("00:00", row=10, col=37)
    s.t.wait_for(TITLE, row=8)
    s.t.send(KEY.ESC)
    assert wait_until(lambda: processes(name, "Locplay") == [])


def test_a_missing_file_ends_the_player_with_a_log_line(term, fake, root, pa, name):
    s = Setup(term, fake, root, pa, 5, name)
    os.unlink(os.path.join(root, "Media", "0001_01.wav"))
    s.t.send(KEY.ctrl("l"))
    assert wait_until(lambda: "Cannot open WAV file: Media/0001_01.wav - No such file or directory" in log_lines(root))
    assert wait_until(lambda: processes(name, "Locplay") == [])


def test_no_sound_server_ends_the_player_with_a_log_line(term, fake, root, pa, name):
    write_cfg(root, fake.port, extra={"SERVER_NAME": name})
    fake.albums = {1: album_text("A", "B", [("Player Artist", "Player Title", "00:04")])}
    fake.playlist = [(1, 1)]
    with open(os.path.join(root, "Media", "0001_01.wav"), "wb") as f:
        f.write(pulse.wav_bytes(os.urandom(4 * BLOCK)))
    t = term(env={"PULSE_SERVER": "unix:/nonexistent/zerka-test-socket"})
    t.wait_for("0001/01 Player Artist", row=2)
    t.send(KEY.ctrl("l"))
    assert wait_until(lambda: any(line.startswith("pa_simple_new() failed: ") for line in log_lines(root)))
    assert wait_until(lambda: processes(name, "Locplay") == [])


def test_master_mode_refuses_the_player(term, fake, root, pa, name):
    s = Setup(term, fake, root, pa, 5, name, mode="master")
    s.t.send(KEY.ctrl("l"))
    s.t.wait_for("Local audio stream not available on Master server")
    time.sleep(0.5)
    assert processes(name, "Locplay") == []


def test_the_player_ignores_the_interrupt_and_ends_with_its_client(term, fake, root, pa, name):
    s = Setup(term, fake, root, pa, 30, name)
    pid = s.play()
    s.panel.wait(lambda v: v == 1)
    os.kill(pid, signal.SIGINT)
    os.kill(pid, signal.SIGUSR2)
    s.panel.wait(lambda v: v == 3)
    assert processes(name, "Locplay") == [pid]
    s.t.kill()
    assert wait_until(lambda: processes(name, "Locplay") == [], 5)


def test_a_player_waiting_at_the_end_ends_with_its_client(term, fake, root, pa, name):
    s = Setup(term, fake, root, pa, 3, name)
    pid = s.play()
    s.panel.wait(lambda v: v == 2)
    time.sleep(1.5)
    assert processes(name, "Locplay") == [pid], "waiting at the end"
    s.t.kill()
    assert wait_until(lambda: processes(name, "Locplay") == [], 5)
