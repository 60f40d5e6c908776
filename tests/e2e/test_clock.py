"""The tests never change the machine's clock: a client outside master mode
sets the clock from the server's time with /bin/date, and every program the
tests start runs without the right to do so (conftest.no_clock_setting)."""

import subprocess
import threading
import time

from conftest import CAP_SYS_TIME, capability_sets, children_may_set_the_clock
from fakeserver import GETTIME, simple_library
from test_database import hold_reply


def test_no_program_the_tests_start_may_set_the_clock():
    assert not children_may_set_the_clock()
    # A program started here, and one it starts in turn, hold no such right.
    out = subprocess.run(["/bin/sh", "-c", "cat /proc/self/status; /bin/sh -c 'cat /proc/$$/status'"],
                         capture_output=True, text=True, check=True).stdout
    caps = [line.split(":") for line in out.splitlines() if line.startswith("Cap")]
    assert len(caps) == 10
    for key, value in caps:
        assert not int(value, 16) & (1 << CAP_SYS_TIME), (key, value)
    assert not capability_sets()["Bnd"] & (1 << CAP_SYS_TIME)


def test_a_standalone_client_told_a_distant_time_leaves_the_clock_alone(fake, term):
    assert not children_may_set_the_clock()   # before anything could move the clock
    fake.time = 1000000000   # 09/09/01 01:46:40 UTC, far from now
    fake.albums = simple_library(1)
    release = threading.Event()
    hold_reply(fake, 9000, release)
    wall, steady = time.time(), time.monotonic()
    t = term(env={"TZ": "UTC"})
    try:
        # The client ran /bin/date before it drew this line: it shows the
        # server's time whether or not the clock could be set.
        t.wait_for("Zerka client V4.02 Started (standalone) 09/09/01 @ 01:46:40", row=10, col=10)
        assert len(fake.of_type(GETTIME)) == 1
        moved = (time.time() - wall) - (time.monotonic() - steady)
        assert abs(moved) < 60, "the clock moved by %.0f seconds" % moved
    finally:
        release.set()
