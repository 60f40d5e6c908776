"""Fixtures shared by the end-to-end tests.

- `fake`: a FakeServer on a free loopback port (see fakeserver.py).
- `root`: a fresh root directory for the program, with zerka.cfg pointing at `fake`.
- `cli`: runs the program once with arguments; returns (stdout, stderr, status).
- `term`: starts the interactive program in an 80x24 pseudo-terminal (see term.py).

Non-master clients set the system clock from the server's time at start-up;
the fake server therefore answers GETTIME with the real time unless a test
sets `fake.time`, and such a test must run in master mode.
"""

import os
import shutil
import subprocess
import sys
import tempfile

import pytest

sys.path.insert(0, os.path.dirname(__file__))

from fakeserver import FakeServer  # noqa: E402
from term import Term  # noqa: E402

REPO = os.path.abspath(os.path.join(os.path.dirname(__file__), "..", ".."))
BUILD = os.environ.get("ZERKA_BUILD_DIR", os.path.join(REPO, "build"))
ZERKA = os.path.join(BUILD, "zerka")
ZERKASERVER = os.path.join(BUILD, "zerkaserver")


def write_cfg(root, port, mode="standalone", password=None, extra=None, server="127.0.0.1", loopback="127.0.0.1"):
    """Writes zerka.cfg for a root; extra: key -> value (None drops a key)."""
    keys = {
        "SERVER_NAME": "Zerka",
        "SERVER_MODE": mode,
        "MASTER_SERVER": server,
        "MASTER_PORT": str(port),
        "MASTER_ROOT": root,
        "LOOPBACK": loopback,
        "EXPORT_FOLDER": os.path.join(root, "Export"),
        "WAV_PATH": os.path.join(root, "Wav"),
        "WAV_FOLDER": "Incoming",
    }
    if password is not None:
        keys["PASSWORD"] = password
    for k, v in (extra or {}).items():
        if v is None:
            keys.pop(k, None)
        else:
            keys[k] = v
    with open(os.path.join(root, "zerka.cfg"), "w") as f:
        for k, v in keys.items():
            f.write("%s %s\n" % (k, v))


def make_root():
    """A short root path (the program keeps its root in 80 characters)."""
    root = tempfile.mkdtemp(prefix="zk", dir="/tmp")
    for d in ("PlayLists", "Reports", "Media", "History", "Export"):
        os.makedirs(os.path.join(root, d), exist_ok=True)
    return root


@pytest.fixture
def fake():
    srv = FakeServer()
    yield srv
    srv.stop()


@pytest.fixture
def root(fake):
    r = make_root()
    write_cfg(r, fake.port)
    yield r
    shutil.rmtree(r, ignore_errors=True)


@pytest.fixture
def cli(root):
    def run(*args, timeout=20, env=None, input=None, zroot=None):
        e = dict(os.environ)
        e["ZERKA"] = zroot or root
        e.update(env or {})
        p = subprocess.run([ZERKA] + list(args), env=e, capture_output=True, timeout=timeout, input=input)
        return p.stdout.decode("latin-1"), p.stderr.decode("latin-1"), p.returncode
    return run


@pytest.fixture
def term(root):
    started = []

    def start(args=(), env=None, rows=24, cols=80, zroot=None):
        e = {"ZERKA": zroot or root}
        e.update(env or {})
        t = Term([ZERKA] + list(args), e, rows=rows, cols=cols)
        started.append(t)
        return t

    yield start
    for t in started:
        t.kill()


def reach_main_menu(t, timeout=15):
    """From start-up (the console opens first), leaves with Esc until the main menu shows."""
    import time as _time
    end = _time.time() + timeout
    t.settle(0.3)
    while "ZERKALIBRARY" not in t.row(0):
        if _time.time() > end:
            raise AssertionError("main menu not reached:\n" + t.text())
        t.send("\x1b", pause=0.3)
        t.settle(0.3)
    t.wait_for("Console Mode")
