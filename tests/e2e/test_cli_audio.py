"""Command-line mode: the local audio stream process (--audio, --audio-off)."""

import os
import random
import signal
import string
import subprocess
import time

import pytest

from conftest import write_cfg
from fakeserver import AUDIO, CLIENT_OPEN


def streamers(desc):
    """Process ids of the streamers named with this prefix."""
    out = subprocess.run(["/usr/bin/pgrep", "-x", "-f", "^%s Streamer.*" % desc], capture_output=True, text=True).stdout
    return [int(p) for p in out.split()]


def wait_until(pred, timeout=10):
    end = time.time() + timeout
    while time.time() < end:
        if pred():
            return True
        time.sleep(0.05)
    return pred()


@pytest.fixture
def desc(fake, root):
    """A process-name prefix of this test's own, so that no other streamer on the machine is seen."""
    d = "Q" + "".join(random.choice(string.ascii_lowercase) for _ in range(4))
    write_cfg(root, fake.port, extra={"SERVER_NAME": d + "xyz"})
    yield d
    for pid in streamers(d):
        try:
            os.kill(pid, signal.SIGKILL)
        except ProcessLookupError:
            pass


@pytest.fixture
def stand_in(desc):
    """A process that carries a streamer's name."""
    p = subprocess.Popen(["%s Streamer" % desc, "600"], executable="/bin/sleep")
    assert wait_until(lambda: streamers(desc) == [p.pid])
    yield p
    p.kill()
    p.wait()


def run_ok(cli, fake, *args):
    out, err, rc = cli(*args)
    assert (rc, err) == (0, ""), (out, err)
    assert fake.errors == []
    return out


def test_audio_off_without_a_streamer(cli, fake, desc):
    assert run_ok(cli, fake, "--audio-off") == "Local audio is not enabled\n"


def test_audio_off_kills_the_streamer(cli, fake, stand_in):
    assert run_ok(cli, fake, "--audio-off") == "Local audio terminated\n"
    assert stand_in.wait(5) == -signal.SIGKILL


def test_audio_while_a_streamer_runs_starts_no_other(cli, fake, desc, stand_in):
    assert run_ok(cli, fake, "--audio") == "Audio is already enabled\n"
    time.sleep(0.3)
    assert streamers(desc) == [stand_in.pid]
    assert stand_in.poll() is None


@pytest.mark.parametrize("option", ["--audio", "--audio-off"])
def test_audio_refused_on_the_master(cli, fake, root, desc, stand_in, option):
    write_cfg(root, fake.port, mode="master", extra={"SERVER_NAME": desc})
    assert run_ok(cli, fake, option) == "Local audio stream not available on Master server\n"
    time.sleep(0.3)
    assert stand_in.poll() is None
    assert streamers(desc) == [stand_in.pid]


def test_audio_starts_the_streamer_which_talks_to_the_master(cli, fake, desc):
    # The run ends at once although the streamer goes on: it does not hold the command's output.
    assert run_ok(cli, fake, "--audio") == "Local audio started\n"
    audio = fake.wait_for(AUDIO, timeout=10)
    stream_conn = audio.conn
    on_stream = [(m.type, m.album) for m in fake.received if m.conn is stream_conn]
    assert on_stream == [(CLIENT_OPEN, 0), (AUDIO, 0)]
    assert wait_until(lambda: len(streamers(desc)) == 1)
    pid = streamers(desc)[0]

    # The streamer ignores the interrupt key.
    os.kill(pid, signal.SIGINT)
    time.sleep(0.3)
    assert streamers(desc) == [pid]

    assert run_ok(cli, fake, "--audio") == "Audio is already enabled\n"
    assert streamers(desc) == [pid]
    assert run_ok(cli, fake, "--audio-off") == "Local audio terminated\n"
    assert wait_until(lambda: streamers(desc) == [])
    assert run_ok(cli, fake, "--audio-off") == "Local audio is not enabled\n"


def test_audio_ends_the_run(cli, fake, desc, stand_in):
    assert run_ok(cli, fake, "--audio-off", "--mode") == "Local audio terminated\n"
    assert [m for m in fake.received if m.type != CLIENT_OPEN] == []


def test_a_name_with_pattern_characters_matches_no_other_program(cli, fake, root):
    """SERVER_NAME "a.*": as a pattern it would match any program whose command
    line begins with "a" and goes on to " Streamer"; the streamer is found by
    the name itself, and nothing else is ever killed."""
    tail = "".join(random.choice(string.ascii_lowercase) for _ in range(6))
    write_cfg(root, fake.port, extra={"SERVER_NAME": "Q.*"})
    bystander = subprocess.Popen(["Q%s Streamer" % tail, "600"], executable="/bin/sleep")
    own = None
    try:
        assert wait_until(lambda: bystander.pid in streamers("Q%s" % tail))
        assert run_ok(cli, fake, "--audio-off") == "Local audio is not enabled\n"
        own = subprocess.Popen(["Q.* Streamer", "600"], executable="/bin/sleep")
        assert wait_until(lambda: own.pid in streamers("Q\\.\\*"))
        assert run_ok(cli, fake, "--audio-off") == "Local audio terminated\n"
        assert own.wait(5) == -signal.SIGKILL
        assert bystander.poll() is None
    finally:
        for p in (bystander, own):
            if p is not None and p.poll() is None:
                p.kill()
                p.wait()
