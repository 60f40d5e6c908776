"""Start-up: configuration, root directory, log, connection failures and the greetings."""

import os
import socket
import subprocess
import time

import pytest

from conftest import ZERKA, make_root, run_watching_sleeps, write_cfg
from fakeserver import CLIENT_OPEN, FakeServer, GETTIME, reply

MASTER_DOWN = '\nMaster zerka server does not appear to be running. Please run "zerkaserver"\n'
LOCAL_DOWN = '\nLocal zerka server does not appear to be running. Please run "zerkaserver"\n'


def free_port():
    s = socket.socket()
    s.bind(("127.0.0.1", 0))
    port = s.getsockname()[1]
    s.close()
    return port


def run(root, *args, env=None, timeout=20):
    e = dict(os.environ)
    e["ZERKA"] = root
    e.update(env or {})
    p = subprocess.run([ZERKA] + list(args), env=e, capture_output=True, timeout=timeout)
    return p.stdout.decode("latin-1"), p.stderr.decode("latin-1"), p.returncode


def cfg_without(root, port, key, **kw):
    write_cfg(root, port, extra={key: None}, **kw)


@pytest.fixture
def bare_root():
    r = make_root()
    yield r
    subprocess.run(["rm", "-rf", r])


def test_missing_configuration_file(bare_root):
    out, err, rc = run(bare_root, "--x")
    assert (err, rc) == ("Cannot open configuration file - No such file or directory\n", 1)


@pytest.mark.parametrize("key", ["SERVER_MODE", "MASTER_SERVER", "MASTER_PORT", "MASTER_ROOT", "LOOPBACK",
                                 "EXPORT_FOLDER", "WAV_PATH", "WAV_FOLDER"])
def test_missing_mandatory_key_is_named(bare_root, key):
    cfg_without(bare_root, 1, key)
    out, err, rc = run(bare_root, "--x")
    assert (err, rc) == ('Configuration error: "%s"\n' % key, 1)


def test_optional_keys_may_be_absent(fake, bare_root):
    write_cfg(bare_root, fake.port, extra={"SERVER_NAME": None})
    out, err, rc = run(bare_root, "--nothing-known")
    assert rc == 0 and err == ""


@pytest.mark.parametrize("mode", ["bogus", "local ", "master2", ""])
def test_bad_server_mode(bare_root, mode):
    write_cfg(bare_root, 1, extra={"SERVER_MODE": mode})
    out, err, rc = run(bare_root, "--x")
    assert (err, rc) == ("Configuration error: SERVER_MODE\n", 1)


def test_server_mode_with_comment_after_blanks_is_accepted(fake, bare_root):
    write_cfg(bare_root, fake.port, extra={"SERVER_MODE": "Standalone    # the usual"})
    out, err, rc = run(bare_root, "--x")
    assert rc == 0, err


def test_root_directory_that_cannot_be_entered(bare_root):
    out, err, rc = run(bare_root, "--x", env={"ZERKA": "/nonexistent/zerka"})
    assert (err, rc) == ('Cannot change to directory "/nonexistent/zerka"\n', 1)


def test_root_from_the_program_path(fake, bare_root):
    # Without ZERKA the root is the folder that holds the program.
    os.symlink(ZERKA, os.path.join(bare_root, "zerka"))
    write_cfg(bare_root, fake.port)
    e = dict(os.environ)
    e.pop("ZERKA", None)
    p = subprocess.run([os.path.join(bare_root, "zerka"), "--x"], env=e, capture_output=True, timeout=20, cwd="/")
    assert p.returncode == 0, p.stderr
    assert os.path.exists(os.path.join(bare_root, "zerka.log"))


def test_program_found_on_the_path_takes_the_current_directory_as_root(fake, bare_root):
    # A program name without "/" names no folder: the root is where it was started.
    write_cfg(bare_root, fake.port)
    e = dict(os.environ)
    e.pop("ZERKA", None)
    e["PATH"] = os.path.dirname(ZERKA) + ":" + e.get("PATH", "")
    p = subprocess.run(["zerka", "--x"], env=e, capture_output=True, timeout=20, cwd=bare_root)
    assert p.returncode == 0, p.stderr
    assert os.path.exists(os.path.join(bare_root, "zerka.log"))


def test_log_that_cannot_be_opened(bare_root):
    write_cfg(bare_root, 1)
    os.mkdir(os.path.join(bare_root, "zerka.log"))
    out, err, rc = run(bare_root, "--x")
    assert (err, rc) == ("Failed to open log file for append - Is a directory\n", 1)


def test_value_longer_than_its_buffer_is_a_configuration_error(bare_root):
    write_cfg(bare_root, 1, extra={"MASTER_SERVER": "h" * 40})
    out, err, rc = run(bare_root, "--x")
    assert (err, rc) == ('Configuration error: "MASTER_SERVER"\n', 1)


def test_overlong_lines_do_not_overflow(fake, bare_root):
    write_cfg(bare_root, fake.port)
    with open(os.path.join(bare_root, "zerka.cfg"), "a") as f:
        f.write("# " + "x" * 5000 + "\n")
        f.write("PARANOIA " + "-d /dev/sr0 " * 400 + "\n")   # far longer than a line and than its buffer
    out, err, rc = run(bare_root, "--x")
    assert (err, rc) == ('Configuration error: "PARANOIA"\n', 1)


def test_empty_server_name_keeps_the_other_key_in_its_message(bare_root):
    write_cfg(bare_root, 1, extra={"MASTER_SERVER": ""})
    out, err, rc = run(bare_root, "--x")
    assert (err, rc) == ("Configuration error: SERVER_MODE\n", 1)


def test_unknown_host(bare_root):
    write_cfg(bare_root, 1, extra={"MASTER_SERVER": "nosuch.invalid"})
    out, err, rc = run(bare_root, "--x", timeout=60)
    assert rc == 1
    assert err.startswith("gethostbyname failed on nosuch.invalid - ") and err.endswith("\n")


def test_master_not_running_in_master_mode_fails_at_once(bare_root):
    write_cfg(bare_root, free_port(), mode="master")
    out, err, rc, slept = run_watching_sleeps([ZERKA, "--x"], dict(os.environ, ZERKA=bare_root))
    assert (err, rc) == (MASTER_DOWN, 1)   # no "trying again"
    assert not slept   # no pause before a retry in master mode


def test_interactive_start_says_please_wait_first(bare_root):
    write_cfg(bare_root, free_port(), mode="master")
    out, err, rc = run(bare_root)
    assert (err, rc) == ("\n\n Please wait.......\n" + MASTER_DOWN, 1)


def test_master_not_running_in_standalone_mode_retries_once(bare_root):
    write_cfg(bare_root, free_port())
    out, err, rc, slept = run_watching_sleeps([ZERKA, "--x"], dict(os.environ, ZERKA=bare_root))
    assert rc == 1
    assert err == ("Connecting to Master server (127.0.0.1) - Connection refused: trying again\n"
                   "Connecting to Master server (127.0.0.1) - giving up\n")
    assert slept   # it paused before the second try


def test_local_server_not_running(fake, bare_root):
    write_cfg(bare_root, fake.port, mode="local", loopback="127.0.0.2")
    out, err, rc = run(bare_root, "--x")
    assert rc == 1
    assert err == "Connecting to Local server (127.0.0.2) - Connection refused: trying again\n" + LOCAL_DOWN


def test_master_not_running_in_local_mode_gives_up(bare_root):
    write_cfg(bare_root, free_port(), mode="local", loopback="127.0.0.2")
    out, err, rc = run(bare_root, "--x")
    assert rc == 1
    assert err == ("Connecting to Master server (127.0.0.1) - Connection refused: trying again\n"
                   "Connecting to Master server (127.0.0.1) - giving up\n")


def test_greeting_on_one_server(fake, root):
    out, err, rc = run(root, "--x")
    assert rc == 0
    first = fake.received[0]
    assert (first.type, first.seq, first.album, first.track, first.text) == (CLIENT_OPEN, 0, 1, 0, b"")
    assert fake.errors == []


@pytest.fixture
def two_servers():
    master = FakeServer()
    local = FakeServer(port=master.port, host="127.0.0.2")
    yield master, local
    master.stop()
    local.stop()


def test_greetings_on_two_servers_reuse_the_masters_reply(two_servers, bare_root):
    master, local = two_servers
    master.handlers[CLIENT_OPEN] = lambda srv, conn, m: reply(m, album=5, track=7, seq=0x0a42)
    write_cfg(bare_root, master.port, mode="LOCAL", loopback="127.0.0.2")
    out, err, rc = run(bare_root, "--x")
    assert rc == 0, err
    g = local.wait_for(CLIENT_OPEN)
    assert (g.type, g.seq, g.album, g.track, g.text) == (CLIENT_OPEN, 0, 5, 7, b"")
    assert len(master.of_type(CLIENT_OPEN)) == 1
    assert master.errors == [] and local.errors == []


def test_start_local_sends_both_greetings_to_the_master(two_servers, bare_root):
    master, local = two_servers
    write_cfg(bare_root, master.port, mode="local", loopback="127.0.0.2")
    out, err, rc = run(bare_root, "--start-local")
    assert rc == 0, err
    greetings = master.of_type(CLIENT_OPEN)
    assert len(greetings) == 2
    assert local.connections == []


def test_sequence_low_byte_rolls_over_without_carry(fake, root):
    fake.handlers[CLIENT_OPEN] = lambda srv, conn, m: reply(m, seq=0x03FF)
    fake.albums = {}
    from term import Term
    t = Term([ZERKA], {"ZERKA": root})
    try:
        fake.wait_for(GETTIME)
        reads = [m for m in fake.received if m.type == 0x10]
        deadline = time.time() + 10
        while len(reads) < 2 and time.time() < deadline:
            time.sleep(0.05)
            reads = [m for m in fake.received if m.type == 0x10]
        assert fake.of_type(GETTIME)[0].seq == 0x0300
        assert reads[0].seq == 0x0301
    finally:
        t.kill()


def test_interactive_process_is_named_and_found_by_name(fake, term):
    fake.albums = {}
    t = term()
    fake.wait_for(0x10, pred=lambda m: m.album == 9019)
    t.settle(0.3)
    pid = t.child.pid
    with open("/proc/%d/comm" % pid) as f:
        assert f.read().strip() == "Zerka Client"
    found = subprocess.run(["/usr/bin/pgrep", "-x", "-f", "^Zerka Client.*"], capture_output=True, text=True)
    assert str(pid) in found.stdout.split()


def test_process_name_prefix_comes_from_the_server_name(fake, root, term):
    write_cfg(root, fake.port, extra={"SERVER_NAME": "Jukebox"})
    fake.albums = {}
    t = term()
    fake.wait_for(0x10, pred=lambda m: m.album == 9019)
    t.settle(0.3)
    with open("/proc/%d/comm" % t.child.pid) as f:
        assert f.read().strip() == "Jukeb Client"


def test_interrupt_asks_the_exit_question(fake, term):
    import signal
    fake.albums = {}
    t = term()
    fake.wait_for(0x10, pred=lambda m: m.album == 9019)
    t.settle(0.5)
    t.child.kill(signal.SIGINT)
    t.wait_for("Are you sure you want to exit?", row=20, col=25)
    t.send("n")
    t.wait_gone("Are you sure you want to exit?")
    t.child.kill(signal.SIGINT)          # the handler is in place again
    t.wait_for("Are you sure you want to exit?", row=20, col=25)
    t.send("y")
    assert t.wait_exit() == 0
