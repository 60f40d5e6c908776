"""The load test as a correctness check: 50 clients at once, each loading the
whole demo database and making 200 playlist changes, with no error and no lost
update (the figures themselves are the benchmark's business)."""

import os
import subprocess

import pytest

from realserver import BUILD, ZERKASERVER

LOAD_BENCH = os.path.join(BUILD, "bench", "server", "server_load_bench")


@pytest.mark.skipif(not os.path.exists(LOAD_BENCH), reason="benchmarks not built")
def test_fifty_clients_lose_no_update():
    r = subprocess.run([LOAD_BENCH, ZERKASERVER, "50", "200", "--no-library"], capture_output=True, text=True, timeout=300)
    assert r.returncode == 0, r.stdout + r.stderr
    lines = r.stdout.splitlines()
    assert lines[0] == "zerkaserver load: 50 clients x (whole database + 200 playlist operations), loopback"
    assert "  errors             0" in lines
    assert any(line.startswith("  lost updates       none") for line in lines)
