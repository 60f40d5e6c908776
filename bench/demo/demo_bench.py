"""The demo's start on this machine.

1. `zerkaserver --make-demo` into a fresh folder, several times: the wall time
   of each run (best and median) and the library's size.
2. `scripts/demo-run.sh` on a fresh folder in an 80x24 pseudo-terminal, with no
   sound server: the time from its start to "Press Enter" (library, disc,
   servers) and on to the program's console once Enter is pressed.

    /usr/bin/python3 bench/demo/demo_bench.py --build build [--rounds 3]
"""

import argparse
import os
import shutil
import statistics
import subprocess
import sys
import tempfile
import time

HERE = os.path.dirname(os.path.abspath(__file__))
REPO = os.path.join(HERE, "..", "..")
sys.path.insert(0, os.path.join(REPO, "tests", "e2e"))

from term import Term  # noqa: E402


def folder_bytes(path):
    return sum(os.path.getsize(os.path.join(d, f)) for d, _, fs in os.walk(path) for f in fs)


def main():
    ap = argparse.ArgumentParser()
    ap.add_argument("--build", default=os.path.join(REPO, "build"))
    ap.add_argument("--rounds", type=int, default=3)
    args = ap.parse_args()
    build = os.path.abspath(args.build)
    server = os.path.join(build, "zerkaserver")

    times = []
    size = 0
    for _ in range(args.rounds):
        d = tempfile.mkdtemp(prefix="zkdb", dir="/tmp")
        try:
            started = time.monotonic()
            subprocess.run([server, "--make-demo", os.path.join(d, "root")], check=True, capture_output=True)
            times.append(time.monotonic() - started)
            size = folder_bytes(os.path.join(d, "root"))
        finally:
            shutil.rmtree(d, ignore_errors=True)
    print("make-demo: best %.2f s, median %.2f s over %d runs; %.0f MB in %d media files"
          % (min(times), statistics.median(times), len(times), size / 1e6, 65))

    d = tempfile.mkdtemp(prefix="zkdb", dir="/tmp")
    t = None
    try:
        started = time.monotonic()
        t = Term([os.path.join(REPO, "scripts", "demo-run.sh"), build, d],
                 {"PULSE_SERVER": "unix:/nonexistent/zerka-bench"})
        t.wait_for("Press Enter to start the program.", timeout=120)
        ready = time.monotonic()
        t.send("\r")
        t.wait_for("Current Playlist (", row=0, timeout=120)
        console = time.monotonic()
        print("demo-run.sh on a fresh folder: %.2f s to \"Press Enter\", %.2f s more to the console"
              % (ready - started, console - ready))
        while t.child.isalive():
            t.send("y" if "Are you sure you want to exit?" in t.text() else "\x1b", pause=0.3)
            t.settle(0.3)
    finally:
        if t is not None:
            t.kill()
        shutil.rmtree(d, ignore_errors=True)


if __name__ == "__main__":
    main()
