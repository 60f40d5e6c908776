"""Fixtures shared by the end-to-end tests.

- `fake`: a FakeServer on a free loopback port (see fakeserver.py).
- `root`: a fresh root directory for the program, with zerka.cfg pointing at `fake`.
- `cli`: runs the program once with arguments; returns (stdout, stderr, status).
- `term`: starts the interactive program in an 80x24 pseudo-terminal (see term.py).
- `run_watching_sleeps`: runs a program and tells whether it paused (slept) on the way.

Non-master clients set the system clock from the server's time at start-up
(with /bin/date). No program these tests start may do so: on loading, this
file gives up the right to set the clock (CAP_SYS_TIME) for every program the
test run starts, and stops the run when it cannot (see `no_clock_setting`).
The fake server still answers GETTIME with the real time unless a test sets
`fake.time`.
"""

import ctypes
import os
import shutil
import subprocess
import sys
import tempfile

import pytest

sys.path.insert(0, os.path.dirname(__file__))

from fakeserver import FakeServer  # noqa: E402
from term import Term  # noqa: E402

CAP_SYS_TIME = 25


def capability_sets(status_path="/proc/self/status"):
    """The capability sets of a process (Inh, Prm, Eff, Bnd, Amb) as integers."""
    sets = {}
    with open(status_path) as f:
        for line in f:
            if line.startswith("Cap"):
                key, value = line.split(":")
                sets[key[3:]] = int(value, 16)
    return sets


def children_may_set_the_clock():
    """Whether a program this process starts could hold CAP_SYS_TIME: root's
    programs get their bounding and inheritable sets, anyone's the ambient one."""
    sets = capability_sets()
    bit = 1 << CAP_SYS_TIME
    held = sets["Amb"]
    if os.geteuid() == 0:
        held |= sets["Bnd"] | sets["Inh"]
    return bool(held & bit)


def no_clock_setting():
    """Takes CAP_SYS_TIME out of this process's bounding, inheritable and
    ambient sets, so that no program the tests start (a client running
    /bin/date, a shell, anything) can ever set the clock. What
    `setpriv --bounding-set=-sys_time --inh-caps=-sys_time` does for one program,
    done once for the whole run."""
    if not children_may_set_the_clock():
        return
    libc = ctypes.CDLL(None, use_errno=True)
    ulong = ctypes.c_ulong
    pr_capbset_drop, pr_cap_ambient, pr_cap_ambient_clear_all = 24, 47, 4
    libc.prctl(ctypes.c_int(pr_cap_ambient), ulong(pr_cap_ambient_clear_all), ulong(0), ulong(0), ulong(0))
    libc.prctl(ctypes.c_int(pr_capbset_drop), ulong(CAP_SYS_TIME), ulong(0), ulong(0), ulong(0))
    if capability_sets()["Inh"] & (1 << CAP_SYS_TIME):
        class Header(ctypes.Structure):
            _fields_ = [("version", ctypes.c_uint32), ("pid", ctypes.c_int)]

        class Data(ctypes.Structure):
            _fields_ = [("effective", ctypes.c_uint32), ("permitted", ctypes.c_uint32),
                        ("inheritable", ctypes.c_uint32)]
        header = Header(0x20080522, 0)   # _LINUX_CAPABILITY_VERSION_3
        data = (Data * 2)()
        if libc.capget(ctypes.byref(header), data) == 0:
            data[0].inheritable &= ~(1 << CAP_SYS_TIME)
            libc.capset(ctypes.byref(header), data)


no_clock_setting()
if children_may_set_the_clock():
    pytest.exit("the end-to-end tests cannot give up the right to set the clock (CAP_SYS_TIME), "
                "so a client they start could change the machine's time", returncode=1)

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


# The system calls a program sleeps in (sleep, usleep): nanosleep, clock_nanosleep.
SLEEP_CALLS = {"x86_64": {35, 230}, "aarch64": {101, 115}}.get(os.uname().machine, {35, 230})


def run_watching_sleeps(argv, env, timeout=20):
    """Runs a program to its end while watching what it blocks in
    (/proc/PID/syscall, sampled until it exits): a pause the program takes is
    seen however loaded the machine, without timing it. Returns (stdout,
    stderr, status, slept): slept tells whether it was ever seen asleep."""
    import time as _time
    p = subprocess.Popen(argv, env=env, stdout=subprocess.PIPE, stderr=subprocess.PIPE)
    slept = False
    end = _time.monotonic() + timeout
    while p.poll() is None:
        if _time.monotonic() > end:
            p.kill()
            p.wait()
            raise AssertionError("%s did not end" % argv)
        try:
            with open("/proc/%d/syscall" % p.pid) as f:
                call = f.read().split()
            slept = slept or (bool(call) and call[0].isdigit() and int(call[0]) in SLEEP_CALLS)
        except OSError:
            pass
        _time.sleep(0.002)
    out, err = p.communicate()
    return out.decode("latin-1"), err.decode("latin-1"), p.returncode, slept


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
