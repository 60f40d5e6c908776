#!/usr/bin/python3
"""The interactive start-up with the 297,000-track library: `build/zerka` in an
80x24 pseudo-terminal against zerkaserver, from the launch to the console drawn
(the first full screen of the console after the load: the time of the last
byte written before the program goes quiet, once the console's heading
"Current Playlist (" shows on the top row).

    python3 bench/startup/run.py [--rounds N] [--zerka PROGRAM]

Measured with the server and the client on one CPU, on two CPUs, and unpinned:
medians with min-max over --rounds fresh launches (default 9). The client runs
in master mode, so it never sets the clock.
"""

import argparse
import os
import sys
import time

import pexpect
import pyte

sys.path.insert(0, os.path.join(os.path.dirname(os.path.abspath(__file__)), "..", "common"))
import zkbench as zk  # noqa: E402

HEADING = "Current Playlist ("
QUIET = 0.5   # seconds without output that end the first screen


class _Screen(pyte.Screen):
    """pyte's screen plus the "repeat the last character" sequence (CSI n b) that curses uses."""

    last_char = " "

    def draw(self, data):
        if data:
            self.last_char = data[-1]
        super().draw(data)

    def repeat_last(self, count=1, *args, **kwargs):
        super().draw(self.last_char * max(1, count))


class _Stream(pyte.ByteStream):
    csi = dict(pyte.ByteStream.csi, b="repeat_last")


def launch_to_console(argv, env, limit=60):
    """Seconds from the launch to the last byte of the first console screen; and that screen."""
    screen = _Screen(80, 24)
    stream = _Stream(screen)
    stream.use_utf8 = False
    full_env = dict(env, TERM="xterm", LANG="C.UTF-8")
    t0 = time.perf_counter()
    child = pexpect.spawn(argv[0], argv[1:], env=full_env, dimensions=(24, 80))
    last = None
    try:
        while True:
            try:
                data = child.read_nonblocking(65536, timeout=QUIET if last is not None else limit)
            except pexpect.TIMEOUT:
                if last is not None:
                    return last - t0, "\n".join(screen.display)
                raise RuntimeError("no console within %d s:\n%s" % (limit, "\n".join(screen.display)))
            except pexpect.EOF:
                raise RuntimeError("the program ended:\n%s" % "\n".join(screen.display))
            now = time.perf_counter()
            stream.feed(data)
            if last is not None or screen.display[0].find(HEADING) >= 0:
                last = now
    finally:
        child.kill(9)
        child.close(force=True)


def main():
    ap = argparse.ArgumentParser()
    ap.add_argument("--rounds", type=int, default=9)
    ap.add_argument("--zerka", default=os.path.join(zk.BUILD, "zerka"))
    ap.add_argument("--show", action="store_true", help="print the first console screen")
    args = ap.parse_args()
    zk.never_set_clock()
    tmp = zk.temp_dir("zkstart")
    try:
        print("making the library (%d albums x %d tracks)..." % (zk.ALBUMS, zk.TRACKS), flush=True)
        root = zk.make_library_root(tmp)
        print("launch to the console drawn, 80x24, %d launches each; load average %s" %
              (args.rounds, zk.load_average()))
        print("medians (min-max)")
        shown = not args.show
        for name, port, folder in zk.each_placement(root, tmp):
            env = zk.client_env(folder)
            launch_to_console([args.zerka], env)   # a first launch, not counted
            times = []
            for _ in range(args.rounds):
                secs, screen = launch_to_console([args.zerka], env)
                times.append(secs)
                if not shown:
                    print(screen)
                    shown = True
            print("\n%s\n  launch to console drawn  %s" % (name, zk.ms(times)), flush=True)
        print("\nload average at the end %s" % zk.load_average())
        return 0
    finally:
        zk.remove(tmp)


if __name__ == "__main__":
    sys.exit(main())
