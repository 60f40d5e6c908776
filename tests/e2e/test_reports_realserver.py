"""The statistics reset against the real zerkaserver: every play count goes to 0 and stays 0."""

import pytest

from conftest import write_cfg
from fakeserver import ALBUM_READ, ALBUM_WRITE
from realserver import RealServer
from reports_common import back_at_reports, centred_col, choose_report, start_at_reports

ALBUM_WRITTEN = 0x17


@pytest.fixture
def server():
    """A zerkaserver on a demo root; the client shares that root, in master mode."""
    srv = RealServer(demo=True)
    write_cfg(srv.root, srv.port, mode="master")
    yield srv
    srv.stop()


def album_numbers(srv):
    c = srv.client()
    numbers = []
    n = 1
    while True:
        m = c.request(ALBUM_READ, album=n)
        if m.album == 0xFFFD:
            break
        if m.album != 0xFFFE:
            numbers.append(n)
        n += 1
    c.close()
    return numbers


def plays(srv, album_no):
    """The play count of every entry of an album, entry 0 first."""
    c = srv.client()
    lines = c.request(ALBUM_READ, album=album_no).str.split("\n")
    c.close()
    return [int(lines[i + 2].split()[-1]) for i in range(0, len(lines) - 2, 3)]


def set_plays(srv, album_no, counts):
    """Writes an album back with the given play counts."""
    c = srv.client()
    lines = c.request(ALBUM_READ, album=album_no).str.split("\n")
    out = []
    for k, i in enumerate(range(0, len(lines) - 2, 3)):
        fields = lines[i + 2].split(" ")
        fields[-1] = str(counts[k % len(counts)])
        out += [lines[i], lines[i + 1], " ".join(fields)]
    assert c.request(ALBUM_WRITE, album=album_no, text=("\n".join(out) + "\n").encode()).album != 0xFFFF
    c.close()


class _Port:
    """The real server where the helpers want the fake server: only its port is used."""

    def __init__(self, srv):
        self.port = srv.port


def test_reset_sets_every_play_count_to_zero_and_it_stays_zero(server, term):
    numbers = album_numbers(server)
    assert len(numbers) >= 2
    for n in numbers:
        set_plays(server, n, [3, 0, 12, 1])
    assert any(p != 0 for p in plays(server, numbers[0]))
    watcher = server.client()   # another client: it is told of every album that changed
    t = start_at_reports(term, _Port(server), server.root, mode="master")
    choose_report(t, "Reset Statistics")
    t.wait_for("This will reset ALL played counts. Are you sure?", row=12, col=10)
    t.send("y")
    t.wait_for("Are you REALLY sure?", row=14, col=10)
    t.send("y")
    t.wait_for("Statistics have been reset", row=12, col=centred_col("Statistics have been reset"))
    for n in numbers:
        assert all(p == 0 for p in plays(server, n)), n
    changed = {watcher.wait_notice(ALBUM_WRITTEN).album for _ in numbers}
    assert changed == set(numbers)
    watcher.close()
    t.send(" ")
    back_at_reports(t)
    # Killed without warning and started again: the counts were stored.
    server.kill()
    server.start()
    for n in numbers:
        assert all(p == 0 for p in plays(server, n)), n
