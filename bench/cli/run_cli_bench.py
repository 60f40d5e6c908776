#!/usr/bin/python3
"""Times `zerka --search --artist WORD` against zerkaserver on loopback with the
library of 3000 albums x 99 tracks (297,000 tracks), as a ratio to the floor:
cli_bench, a minimal program making the same greeting and album-read round
trips without parsing. Both are fresh processes, timed alike from start to end.

    bench/cli/run_cli_bench.py [--rounds N] [--zerka PROGRAM] [--word WORD]...

Each ratio is measured with the server and the client (and the floor) on one
CPU, on two CPUs, and unpinned; runs alternate floor and client; medians with
min-max. The default words hit 297 tracks (crew0411) and 98,901 (trio).
"""

import argparse
import os
import sys

sys.path.insert(0, os.path.join(os.path.dirname(os.path.abspath(__file__)), "..", "common"))
import zkbench as zk  # noqa: E402


def main():
    ap = argparse.ArgumentParser()
    ap.add_argument("--zerka", default=None, help="the client to time (default: build/zerka)")
    ap.add_argument("--word", action="append", help="artist search words (default: %s, %s)" % (zk.SELECTIVE, zk.THIRD))
    ap.add_argument("--rounds", type=int, default=9)
    args = ap.parse_args()
    words = args.word or [zk.SELECTIVE, zk.THIRD]
    zk.never_set_clock()
    floor_prog = os.path.join(zk.BUILD, "bench", "cli", "cli_bench")

    tmp = zk.temp_dir("zkcli")
    try:
        print("making the library (%d albums x %d tracks)..." % (zk.ALBUMS, zk.TRACKS), flush=True)
        root = zk.make_library_root(tmp)
        print("zerka --search --artist WORD against its floor; %d runs each; load average %s" %
              (args.rounds, zk.load_average()))
        print("medians (min-max), fresh processes timed from start to end")
        for name, port, folder in zk.each_placement(root, tmp):
            print("\n%s" % name)
            zk.run_timed([floor_prog, str(port)])   # a first connection, not counted
            for word in words:
                argv, env = zk.zerka_search(folder, word, args.zerka)
                client, floor = [], []
                lines = reads = 0
                for _ in range(args.rounds):
                    secs, out, _ = zk.run_timed([floor_prog, str(port)])
                    floor.append(secs)
                    reads = int(out)
                    secs, out, _ = zk.run_timed(argv, env)
                    client.append(secs)
                    lines = out.count(b"\n")
                print("  \"%s\": %d lines, %d album reads" % (word, lines, reads))
                print("    zerka --search      %s" % zk.ms(client))
                print("    floor (cli_bench)   %s" % zk.ms(floor))
                print("    ratio search/floor  %s" % zk.ratio(client, floor))
        print("\nload average at the end %s" % zk.load_average())
        return 0
    finally:
        zk.remove(tmp)


if __name__ == "__main__":
    sys.exit(main())
