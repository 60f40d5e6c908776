"""Starts a real zerkaserver for end-to-end tests.

    srv = RealServer(demo=True)          # a demo root on a temporary folder, a free port
    srv.port, srv.root                   # where it listens, its root folder
    c = srv.client()                     # a protocol client (greeted)
    c.request(GET_MODE).album            # one request, its reply
    srv.kill(); srv.start()              # kill -9 and start again on the same root
    srv.terminate(); srv.start()         # SIGTERM and start again
    srv.stop()                           # SIGTERM, wait, remove the root (unless keep_root)

The root is short (/tmp/zksXXXXXX), because the client keeps its root in 80
characters; a client can use the server's root as its own (master mode).
"""

import os
import shutil
import signal
import socket
import subprocess
import tempfile
import time

from fakeserver import CLIENT_OPEN, HEADER_LEN, Msg, parse_header

REPO = os.path.abspath(os.path.join(os.path.dirname(__file__), "..", ".."))
BUILD = os.environ.get("ZERKA_BUILD_DIR", os.path.join(REPO, "build"))
ZERKASERVER = os.path.join(BUILD, "zerkaserver")


def make_demo_root():
    """A fresh demo root (zerkaserver --make-demo) in a short temporary folder, with the tests' short tracks."""
    root = tempfile.mkdtemp(prefix="zks", dir="/tmp")
    subprocess.run([ZERKASERVER, "--make-demo", root, "--short-tracks"], check=True, capture_output=True, timeout=60)
    return root


class ProtoClient:
    """A blocking client of the jukebox protocol: one request at a time, notices kept aside."""

    def __init__(self, port, greet=True, timeout=10, host="127.0.0.1"):
        self.sock = socket.create_connection((host, port), timeout=timeout)
        self.sock.setsockopt(socket.IPPROTO_TCP, socket.TCP_NODELAY, 1)
        self.seq = 0
        self.notices = []   # unsolicited messages received while waiting for replies
        if greet:
            self.request(CLIENT_OPEN)

    def _read_exact(self, n):
        data = b""
        while len(data) < n:
            chunk = self.sock.recv(n - len(data))
            if not chunk:
                raise EOFError("server closed the connection")
            data += chunk
        return data

    def recv(self):
        """One message, whatever it is."""
        t, q, a, k, n = parse_header(self._read_exact(HEADER_LEN))
        return Msg(t, q, a, k, self._read_exact(n) if n else b"")

    def send(self, type_, album=1, track=0, text=b"", seq=None):
        self.sock.sendall(Msg(type_, self.seq if seq is None else seq, album, track, text).encode())

    def request(self, type_, album=1, track=0, text=b""):
        """Sends a request and returns its reply (matched as the client matches it)."""
        self.send(type_, album, track, text)
        while True:
            m = self.recv()
            if m.seq == self.seq or m.type == CLIENT_OPEN:
                self.seq = (m.seq & 0xFF00) | ((m.seq + 1) & 0xFF)
                return m
            self.notices.append(m)

    def wait_notice(self, type_, timeout=10, pred=None):
        """Waits for an unsolicited message of a type (matching pred); returns it."""
        for i, m in enumerate(self.notices):
            if m.type == type_ and (pred is None or pred(m)):
                return self.notices.pop(i)
        deadline = time.monotonic() + timeout
        old = self.sock.gettimeout()
        try:
            while True:
                left = deadline - time.monotonic()
                if left <= 0:
                    raise AssertionError("no notice 0x%02x" % type_)
                self.sock.settimeout(left)
                m = self.recv()
                if m.type == type_ and (pred is None or pred(m)):
                    return m
                self.notices.append(m)
        finally:
            self.sock.settimeout(old)

    def close(self):
        try:
            self.sock.close()
        except OSError:
            pass


class RealServer:
    """A zerkaserver process on a temporary root and a free loopback port."""

    def __init__(self, root=None, demo=False, keep_root=False, args=(), port=None, wrapper=()):
        if root is None:
            root = make_demo_root() if demo else tempfile.mkdtemp(prefix="zks", dir="/tmp")
        self.root = root
        self.keep_root = keep_root
        self.args = list(args)
        self.wrapper = list(wrapper)   # a command the server runs under (prlimit, setpriv)
        self.proc = None
        self.clients = []   # protocol clients, closed before the server is stopped
        self.port = None
        self.host = "127.0.0.1"
        self.log = os.path.join(root, "zerkaserver.log")
        self.start(port)

    def start(self, port=None):
        """Starts the server (again) on the same root; by default on the port it had, else a free one."""
        want = port if port is not None else (self.port or 0)
        self.proc = subprocess.Popen(self.wrapper + [ZERKASERVER, "--root", self.root, "--port", str(want),
                                                     "--log", self.log] + self.args, stdout=subprocess.PIPE, text=True)
        line = self.proc.stdout.readline()
        if not line.startswith("zerkaserver listening on "):
            self.proc.kill()
            raise RuntimeError("zerkaserver did not start: %r" % line)
        self.host, port = line.strip().rsplit(" ", 1)[1].rsplit(":", 1)
        self.port = int(port)

    def client(self, greet=True):
        c = ProtoClient(self.port, greet=greet, host=self.host)
        self.clients.append(c)
        return c

    def alive(self):
        return self.proc is not None and self.proc.poll() is None

    def kill(self):
        """kill -9."""
        if self.alive():
            self.proc.send_signal(signal.SIGKILL)
        self.proc.wait()

    def terminate(self):
        """SIGTERM and wait; the root stays for a start again."""
        if self.alive():
            self.proc.send_signal(signal.SIGTERM)
        self.proc.wait(timeout=30)

    def stop(self):
        # The server waits a few seconds for its clients to leave after telling them it stops.
        for c in self.clients:
            c.close()
        self.clients = []
        if self.alive():
            self.proc.send_signal(signal.SIGTERM)
            try:
                self.proc.wait(timeout=10)
            except subprocess.TimeoutExpired:
                self.proc.kill()
                self.proc.wait()
        if not self.keep_root:
            shutil.rmtree(self.root, ignore_errors=True)

    def log_text(self):
        with open(self.log, encoding="latin-1") as f:
            return f.read()
