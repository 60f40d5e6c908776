"""zerkaserver keeping what it acknowledges and standing up to idle, slow and
too many connections: restarts, a root in use, a database it cannot write,
a root removed under it, and the limits on connections (all on loopback,
each wait bounded)."""

import os
import select
import shutil
import socket
import subprocess
import tempfile
import time

import pytest

from fakeserver import ALBUM_READ, ALBUM_WRITE, GET_MODE, PLIST_ADD, album_text
from realserver import ZERKASERVER, ProtoClient, RealServer

JUKEBOX = 0xB2
RANDOM = 0xB3

# Root ignores file permissions unless it gives up the right to: the server
# then meets a read-only file as any other user would.
AS_A_USER = ["setpriv", "--bounding-set=-dac_override,-dac_read_search"] if os.geteuid() == 0 else []


@pytest.fixture
def empty():
    srv = RealServer()
    yield srv
    srv.stop()


def wait_closed(sock, timeout=20):
    """Waits until the server closes a socket; fails after `timeout` seconds."""
    sock.settimeout(timeout)
    try:
        while True:
            if not sock.recv(4096):
                return
    except (ConnectionResetError, BrokenPipeError):
        return
    except socket.timeout:
        raise AssertionError("the server kept the connection open")


def wait_log(srv, text, timeout=20):
    deadline = time.monotonic() + timeout
    while text not in srv.log_text():
        if time.monotonic() > deadline:
            raise AssertionError("not in the log: %r\n%s" % (text, srv.log_text()))
        time.sleep(0.05)


def start_plain(root, *args):
    """Runs zerkaserver on a root expected to refuse to start; returns (status, standard error)."""
    p = subprocess.run(AS_A_USER + [ZERKASERVER, "--root", root, "--port", "0"] + list(args),
                       capture_output=True, text=True, timeout=30)
    return p.returncode, p.stderr


# ----- what is acknowledged is kept ------------------------------------------------------------

def test_a_99_track_album_is_whole_after_a_restart(empty):
    text = album_text("Many", "Ninety-Nine", [("Many", "Track %02d" % i, "00:03") for i in range(1, 100)])
    c = empty.client()
    assert c.request(ALBUM_WRITE, album=1, text=text).album == 1
    before = c.request(ALBUM_READ, album=1).text
    assert before.count(b"\n") == 3 * 100
    empty.terminate()
    empty.start()
    assert empty.client().request(ALBUM_READ, album=1).text == before
    empty.kill()
    empty.start()
    assert empty.client().request(ALBUM_READ, album=1).text == before


def test_a_second_server_on_the_same_root_refuses_to_start(empty):
    c = empty.client()
    assert c.request(ALBUM_WRITE, album=1, text=album_text("A", "B", [("A", "C", "00:03")])).album == 1
    status, err = start_plain(empty.root)
    assert status == 1
    assert err == "zerkaserver: cannot use the root %s: another zerkaserver is using it\n" % empty.root
    assert c.request(ALBUM_READ, album=1).album == 1   # the first one goes on
    empty.kill()
    empty.start()   # the lock went with the process
    assert empty.client().request(ALBUM_READ, album=1).album == 1


def test_a_read_only_database_is_reported_at_start_up(empty):
    empty.terminate()
    os.chmod(os.path.join(empty.root, "zerka.db"), 0o444)
    status, err = start_plain(empty.root)
    assert status == 1
    assert err == ("zerkaserver: cannot open the database %s/zerka.db: attempt to write a readonly database\n"
                   % empty.root)


def test_a_root_that_takes_no_database_is_reported_at_start_up():
    root = tempfile.mkdtemp(prefix="zks", dir="/tmp")
    try:
        for sub in ("Media", "PlayLists", "History"):
            os.mkdir(os.path.join(root, sub))
        os.chmod(root, 0o555)
        status, err = start_plain(root)
        assert status == 1
        assert err == "zerkaserver: cannot open the database %s/zerka.db: unable to open database file\n" % root
    finally:
        os.chmod(root, 0o755)
        shutil.rmtree(root, ignore_errors=True)


def test_nothing_is_acknowledged_once_the_root_is_removed(empty):
    c = empty.client()
    assert c.request(ALBUM_WRITE, album=1, text=album_text("A", "B", [("A", "C", "00:03")])).album == 1
    shutil.rmtree(empty.root)
    assert c.request(ALBUM_WRITE, album=2, text=album_text("D", "E", [("D", "F", "00:03")])).album == 0xFFFF
    assert c.request(RANDOM).album == 0xFFFF
    assert c.request(GET_MODE).album == 2
    assert c.request(PLIST_ADD, album=1, track=1, text=b"current.lst").album == 0xFFFF


# ----- connections -------------------------------------------------------------------------------

def test_connections_beyond_the_limit_are_closed_and_logged():
    srv = RealServer(args=["--max-connections", "3"])
    try:
        held = [srv.client() for _ in range(3)]
        extra = socket.create_connection(("127.0.0.1", srv.port))
        wait_closed(extra)
        wait_log(srv, "refused: 3 connections open, the most allowed")
        held.pop().close()
        wait_log(srv, "closed: closed by the client")
        assert srv.client().request(GET_MODE).album == 2
        assert all(c.request(GET_MODE).album == 2 for c in held)
    finally:
        srv.stop()


def test_a_connection_that_never_greets_is_closed():
    srv = RealServer(args=["--greet-limit", "1"])
    try:
        greeted = srv.client()
        silent = socket.create_connection(("127.0.0.1", srv.port))
        wait_closed(silent)
        wait_log(srv, "closed: no greeting in time")
        assert greeted.request(GET_MODE).album == 2   # older than the silent one, and kept
    finally:
        srv.stop()


def test_a_message_dripped_a_byte_at_a_time_is_stalled_from_its_start():
    srv = RealServer(args=["--stall-limit", "2"])
    try:
        c = srv.client()
        message = b"10 0105 0001 0000 0100 " + b"x" * 0x100
        sent = 0
        deadline = time.monotonic() + 60
        closed = False
        # A byte every 0.3 seconds would keep a limit restarted by each byte
        # waiting for ever; the whole message would take 84 seconds.
        while not closed and sent < len(message) and time.monotonic() < deadline:
            try:
                c.sock.sendall(message[sent:sent + 1])
            except (BrokenPipeError, ConnectionResetError):
                closed = True
                break
            sent += 1
            if select.select([c.sock], [], [], 0.3)[0]:
                try:
                    closed = c.sock.recv(4096) == b""
                except ConnectionResetError:
                    closed = True
        assert closed, "the connection stayed open while the message trickled in"
        assert sent < len(message)
        assert "message stalled half-way" in srv.log_text()
        assert srv.client().request(GET_MODE).album == 2
    finally:
        srv.stop()


def rss_kib(pid):
    with open("/proc/%d/status" % pid) as f:
        for line in f:
            if line.startswith("VmRSS:"):
                return int(line.split()[1])
    raise AssertionError("no VmRSS")


def test_idle_connections_hold_no_read_buffer(empty):
    """An idle connection costs far less than one holding part of a long
    message, whatever else a connection costs in this build (sanitizers)."""
    n = 40
    empty.client().request(GET_MODE)   # the first request of its kind
    r0 = rss_kib(empty.proc.pid)
    idle = [empty.client() for _ in range(n)]
    assert idle[-1].request(GET_MODE).album == 2
    r1 = rss_kib(empty.proc.pid)
    half = [empty.client() for _ in range(n)]
    for c in half:
        c.sock.sendall(b"11 0105 0001 0000 7000 " + b"x" * 6000)   # 28 KiB announced, 6000 bytes sent
    # Each must cost at least 14 KiB more than an idle one (a buffer for its
    # message). With a buffer at every connection the two would cost the same.
    deadline = time.monotonic() + 20
    while True:
        extra = (rss_kib(empty.proc.pid) - r1) - (r1 - r0)
        if extra > n * 14 or time.monotonic() > deadline:
            break
        time.sleep(0.05)
    assert extra > n * 14, "idle: %d KiB, holding part of a message: %d KiB more" % (r1 - r0, extra)
    for c in idle + half:
        c.close()


def test_idle_sockets_never_lock_out_a_client_when_descriptors_are_few():
    """With 256 descriptors, 300 sockets that never greet: the server keeps
    room for its files, refuses what it cannot hold, drops the silent ones,
    and then serves a real client."""
    srv = RealServer(wrapper=["prlimit", "--nofile=256:256"],
                     args=["--greet-limit", "2", "--max-connections", "1000"])
    idle = []
    try:
        wait_log(srv, "at most 224 connections")
        for _ in range(300):
            idle.append(socket.create_connection(("127.0.0.1", srv.port)))
        for s in idle:
            wait_closed(s, timeout=30)
        c = ProtoClient(srv.port)
        assert c.request(GET_MODE).album == 2
        assert c.request(JUKEBOX).album == 1
        log = srv.log_text()
        assert "refused: 224 connections open, the most allowed" in log
        assert "no greeting in time" in log
        assert "Accept failed" not in log
    finally:
        for s in idle:
            s.close()
        srv.stop()
