"""A private PulseAudio sound server for the audio tests, and a recorder of what it plays.

    with PulseServer() as pa:
        env = pa.env()                      # PULSE_SERVER for the program under test
        rec = pa.record()                   # parec on the null sink's monitor
        ...                                 # play something
        rec.wait_for_sound(10)
        data = rec.stop()                   # raw S16LE stereo 44100 Hz bytes

The daemon runs as the calling user (root in CI) with its own runtime, state
and config directories, a null sink as its only sink (so nothing is heard) and
the native protocol on a private socket with anonymous access. Samples pass
through the null sink unchanged (one stream, full volume, the same sample
format, rate and channels), so a test can look for the exact bytes it sent.

Also: PCM generators (sine, noise), WAV writing, and searches in a recording.
"""

import array
import math
import os
import random
import shutil
import signal
import struct
import subprocess
import tempfile
import threading
import time

RATE = 44100
CHANNELS = 2
FRAME = 4                       # bytes per stereo frame of 16-bit samples
SECOND = RATE * FRAME           # 176400 bytes
SINK = "zerka_test"


class PulseServer:
    """A private pulseaudio daemon with a null sink; stop() (or the with-block) ends it."""

    def __init__(self):
        self.dir = tempfile.mkdtemp(prefix="zkpa", dir="/tmp")
        self.socket = os.path.join(self.dir, "native")
        self.server = "unix:" + self.socket
        home = os.path.join(self.dir, "home")
        runtime = os.path.join(self.dir, "runtime")
        for d in (home, runtime):
            os.makedirs(d, mode=0o700)
        self.daemon_env = dict(os.environ)
        self.daemon_env.update({
            "HOME": home,
            "XDG_RUNTIME_DIR": runtime,
            "XDG_CONFIG_HOME": os.path.join(home, ".config"),
            "PULSE_RUNTIME_PATH": runtime,
            "PULSE_STATE_PATH": os.path.join(home, "state"),
        })
        self.daemon_env.pop("PULSE_SERVER", None)
        self.log_path = os.path.join(self.dir, "pulseaudio.log")
        self.log = open(self.log_path, "wb")
        self.proc = subprocess.Popen(
            ["pulseaudio", "-n", "--daemonize=no", "--exit-idle-time=-1", "--system=false",
             "--disallow-exit", "--disallow-module-loading", "--use-pid-file=no",
             "--log-target=stderr", "--log-level=warning",
             "-L", "module-null-sink sink_name=%s format=s16le rate=%d channels=%d" % (SINK, RATE, CHANNELS),
             "-L", "module-native-protocol-unix auth-anonymous=1 socket=%s" % self.socket],
            env=self.daemon_env, stdin=subprocess.DEVNULL, stdout=self.log, stderr=self.log)
        end = time.time() + 15
        while True:
            if self.proc.poll() is not None:
                raise RuntimeError("pulseaudio ended: %s" % self.daemon_log())
            if os.path.exists(self.socket) and self._pactl("info").returncode == 0:
                break
            if time.time() > end:
                self.stop()
                raise RuntimeError("pulseaudio did not come up: %s" % self.daemon_log())
            time.sleep(0.1)

    def _pactl(self, *args):
        return subprocess.run(["pactl"] + list(args), env=self.client_env(), capture_output=True, timeout=10)

    def daemon_log(self):
        try:
            with open(self.log_path, "rb") as f:
                return f.read().decode("latin-1")
        except OSError:
            return ""

    def client_env(self):
        """The environment of a client of this daemon (and of nothing else)."""
        e = dict(self.daemon_env)
        e["PULSE_SERVER"] = self.server
        return e

    def env(self):
        """What to add to a program's environment so that it plays here."""
        return {"PULSE_SERVER": self.server}

    def playback_streams(self):
        """The number of playback streams (sink inputs) connected now."""
        out = self._pactl("list", "short", "sink-inputs").stdout.decode("latin-1")
        return len([line for line in out.splitlines() if line.strip()])

    def record(self):
        return Recorder(self)

    def stop(self):
        if self.proc.poll() is None:
            self.proc.terminate()
            try:
                self.proc.wait(5)
            except subprocess.TimeoutExpired:
                self.proc.kill()
                self.proc.wait(5)
        self.log.close()
        shutil.rmtree(self.dir, ignore_errors=True)

    def __enter__(self):
        return self

    def __exit__(self, *exc):
        self.stop()


class Recorder:
    """Records the null sink's monitor with parec; every chunk is time-stamped on arrival."""

    def __init__(self, pulse):
        self.proc = subprocess.Popen(
            ["parec", "--device=%s.monitor" % SINK, "--format=s16le", "--rate=%d" % RATE,
             "--channels=%d" % CHANNELS, "--raw", "--latency-msec=10", "--process-time-msec=5"],
            env=pulse.client_env(), stdin=subprocess.DEVNULL, stdout=subprocess.PIPE, stderr=subprocess.PIPE)
        self.data = bytearray()
        self.first_sound = None         # (monotonic time, byte offset) of the first non-zero sample
        self.stamps = []                # (bytes recorded so far, monotonic time) after each chunk
        self.lock = threading.Lock()
        self.cond = threading.Condition(self.lock)
        self.thread = threading.Thread(target=self._read, daemon=True)
        self.thread.start()
        # parec is connected once it delivers (silence); without that, early sound could be missed.
        self.wait_bytes(FRAME * 441, 10)

    def _read(self):
        fd = self.proc.stdout.fileno()
        while True:
            chunk = os.read(fd, 4096)
            if not chunk:
                break
            now = time.monotonic()
            with self.cond:
                if self.first_sound is None and any(chunk):
                    first = next(i for i, b in enumerate(chunk) if b)
                    self.first_sound = (now, len(self.data) + first - first % FRAME)
                self.data += chunk
                self.stamps.append((len(self.data), now))
                self.cond.notify_all()
        with self.cond:
            self.cond.notify_all()

    def wait_bytes(self, n, timeout):
        with self.cond:
            if not self.cond.wait_for(lambda: len(self.data) >= n or self.proc.poll() is not None, timeout):
                raise AssertionError("recording stalled at %d bytes" % len(self.data))
            if len(self.data) < n:
                raise AssertionError("parec ended: %s" % self.proc.stderr.read().decode("latin-1"))

    def wait_for_sound(self, timeout):
        with self.cond:
            if not self.cond.wait_for(lambda: self.first_sound is not None, timeout):
                raise AssertionError("no sound recorded in %ss" % timeout)
            return self.first_sound

    def wait_for(self, needle, timeout, start=0):
        """Waits until needle shows in the recording (from byte `start`); returns its offset."""
        end = time.time() + timeout
        while True:
            with self.cond:
                at = find_frames(self.data, needle, start)
                if at >= 0:
                    return at
                left = end - time.time()
                if left <= 0:
                    raise AssertionError("sound not recorded in %ss (%d bytes recorded)" % (timeout, len(self.data)))
                self.cond.wait(min(left, 0.2))

    def arrival(self, offset):
        """When the recorded byte at offset reached this process (monotonic seconds)."""
        with self.cond:
            for end, when in self.stamps:
                if end > offset:
                    return when
        raise AssertionError("byte %d not recorded yet" % offset)

    def snapshot(self):
        with self.cond:
            return bytes(self.data)

    def size(self):
        with self.cond:
            return len(self.data)

    def stop(self):
        if self.proc.poll() is None:
            self.proc.send_signal(signal.SIGINT)
            try:
                self.proc.wait(5)
            except subprocess.TimeoutExpired:
                self.proc.kill()
                self.proc.wait(5)
        self.thread.join(5)
        return self.snapshot()


# ----- sound to send --------------------------------------------------------------------

def sine(freq, seconds, amplitude=12000, phase_frames=0):
    """Stereo S16LE: a sine on the left, the same at half amplitude on the right."""
    frames = int(round(seconds * RATE))
    out = array.array("h", bytes(frames * FRAME))
    for i in range(frames):
        v = int(amplitude * math.sin(2 * math.pi * freq * (i + phase_frames) / RATE))
        out[2 * i] = v
        out[2 * i + 1] = v // 2
    return out.tobytes() if struct.pack("=h", 1) == b"\x01\x00" else _swap(out)


def noise(seconds, seed, amplitude=8000):
    """Stereo S16LE white noise from a seed: every second of it is unlike any other."""
    rng = random.Random(seed)
    frames = int(round(seconds * RATE))
    out = array.array("h", (rng.randint(-amplitude, amplitude) for _ in range(frames * CHANNELS)))
    return out.tobytes() if struct.pack("=h", 1) == b"\x01\x00" else _swap(out)


def _swap(a):
    a.byteswap()
    return a.tobytes()


def wav_bytes(pcm):
    """A canonical 44-byte WAV header (16-bit stereo, 44100 Hz) followed by pcm."""
    header = struct.pack("<4sI4s4sIHHIIHH4sI", b"RIFF", 36 + len(pcm), b"WAVE", b"fmt ", 16, 1, CHANNELS,
                         RATE, SECOND, FRAME, 16, b"data", len(pcm))
    assert len(header) == 44
    return header + pcm


# ----- looking at a recording -----------------------------------------------------------

def find_frames(recording, needle, start=0):
    """Offset of needle in recording at a whole frame (from `start`), or -1."""
    at = start
    while True:
        at = recording.find(needle, at)
        if at < 0 or at % FRAME == 0:
            return at
        at += 1


def correlation(a, b):
    """Normalised correlation of two equally long S16LE sample runs (left channel only)."""
    xa = array.array("h", a)[0::2]
    xb = array.array("h", b)[0::2]
    n = min(len(xa), len(xb))
    sa = sum(x * x for x in xa[:n])
    sb = sum(x * x for x in xb[:n])
    if sa == 0 or sb == 0:
        return 0.0
    return sum(x * y for x, y in zip(xa[:n], xb[:n])) / math.sqrt(sa * sb)
