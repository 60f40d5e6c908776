#!/usr/bin/python3
"""The client's side of a one-shot search: wall time, CPU time and minor page
faults of fresh `zerka --search --artist WORD` processes against zerkaserver
holding 3000 albums of 99 tracks (297,000 tracks).

    bench/client_load/run_client_load.py [--build DIR] [--zerka PROGRAM ...] [--albums N] [--tracks N]
                                         [--rounds N] [--placement same|apart|free ...]
                                         [--server PROGRAM] [--word WORD ...] [--library DIR]

The library is the one the peer benchmark uses: album n is by "Solo CrewGGGG"
or, for 999 of them (n a multiple of 3 below 3000), by "Trio CrewGGGG", where
GGGG is (n - 1) // 3: so "crew0411" names 3 albums (297 tracks) and "trio" 999
albums (98,901 tracks). Placements: `same` runs server and client on CPU 0,
`apart` the server on CPU 0 and the client on CPU 1, `free` leaves both to the
scheduler. For each program, placement and word it reports the median and the
min-max over the rounds of the wall time, the client's user+system CPU time
(from wait4) and its minor page faults, and checks that every program printed
the same bytes.
"""

import argparse
import hashlib
import os
import shutil
import socket
import subprocess
import sys
import tempfile
import time

HERE = os.path.dirname(os.path.abspath(__file__))
REPO = os.path.abspath(os.path.join(HERE, "..", ".."))
sys.path.insert(0, os.path.join(HERE, "..", "common"))
import zkbench as zk  # noqa: E402

PLACEMENTS = {"same": ("0", "0"), "apart": ("0", "1"), "free": (None, None)}


def artist(n, albums):
    return "%s Crew%04d" % ("Trio" if n % 3 == 0 and n < albums else "Solo", (n - 1) // 3)


def album_text(n, albums, tracks):
    lines = [artist(n, albums), "Album %04d" % n, "45:30 - 6543210A 1 0012AB34 7"]
    for k in range(1, tracks + 1):
        s = 180 + k
        lines += [artist(n, albums), "Song %02d of %04d" % (k, n), "%02d:%02d S 6543210A 1 0012AB34 %d" % (s // 60, s % 60, k)]
    return ("\n".join(lines) + "\n").encode()


def start_server(program, root, cpu):
    pin = ["/usr/bin/taskset", "-c", cpu] if cpu else []
    server = subprocess.Popen(pin + [program, "--root", root, "--port", "0",
                                     "--log", os.path.join(root, "server.log")], stdout=subprocess.PIPE, text=True)
    line = server.stdout.readline()
    return server, int(line.strip().rsplit(":", 1)[1])


def run_client(zerka, client_root, word, cpu):
    """One fresh client: (wall seconds, cpu seconds, minor faults, output digest)."""
    pin = ["/usr/bin/taskset", "-c", cpu] if cpu else []
    env = dict(os.environ, ZERKA=client_root)
    start = time.perf_counter()
    proc = subprocess.Popen(pin + [zerka, "--search", "--artist", word], stdout=subprocess.PIPE, env=env)
    out = proc.stdout.read()
    _, status, ru = os.wait4(proc.pid, 0)
    wall = time.perf_counter() - start
    proc.returncode = status
    if status != 0:
        raise RuntimeError("zerka ended with status %d" % status)
    return wall, ru.ru_utime + ru.ru_stime, ru.ru_minflt, hashlib.sha256(out).hexdigest(), out.count(b"\n")


def summary(values, scale, fmt):
    v = sorted(values)
    return (fmt % (v[len(v) // 2] * scale)) + " (" + (fmt % (v[0] * scale)) + "-" + (fmt % (v[-1] * scale)) + ")"


def main():
    ap = argparse.ArgumentParser()
    ap.add_argument("--build", default=os.path.join(REPO, "build"))
    ap.add_argument("--zerka", action="append", help="a client to time (repeatable; default BUILD/zerka)")
    ap.add_argument("--server", default=None, help="the server to run (default BUILD/zerkaserver)")
    ap.add_argument("--albums", type=int, default=3000)
    ap.add_argument("--tracks", type=int, default=99)
    ap.add_argument("--rounds", type=int, default=9)
    ap.add_argument("--placement", action="append", choices=sorted(PLACEMENTS))
    ap.add_argument("--word", action="append", help="artist words to search (default crew0411 and trio)")
    ap.add_argument("--library", help="server root to keep the library in and reuse (default: a temporary one)")
    args = ap.parse_args()
    server_program = args.server or os.path.join(args.build, "zerkaserver")
    programs = args.zerka or [os.path.join(args.build, "zerka")]
    placements = args.placement or ["same", "apart", "free"]
    words = args.word or ["crew0411", "trio"]

    reuse = args.library is not None and os.path.exists(os.path.join(args.library, "ready"))
    server_root = args.library or tempfile.mkdtemp(prefix="zkcl", dir="/tmp")
    client_root = tempfile.mkdtemp(prefix="zkcc", dir="/tmp")
    try:
        # The library is written once; each placement restarts the server on it.
        if not reuse:
            os.makedirs(server_root, exist_ok=True)
            server, port = start_server(server_program, server_root, None)
            with socket.create_connection(("127.0.0.1", port)) as sock:
                sock.setsockopt(socket.IPPROTO_TCP, socket.TCP_NODELAY, 1)
                seq, _ = zk.request(sock, 0, zk.CLIENT_OPEN, 1)
                for n in range(1, args.albums + 1):
                    seq, _ = zk.request(sock, seq, zk.ALBUM_WRITE, n, album_text(n, args.albums, args.tracks))
            server.kill()
            server.wait()
            open(os.path.join(server_root, "ready"), "w").close()
        print("library: %d albums x %d tracks; %d rounds per row" % (args.albums, args.tracks, args.rounds))
        print("%-6s %-8s %-28s %-22s %-22s %-22s %s" % ("place", "word", "program", "wall ms", "cpu ms", "minflt", "lines"))
        digests = {}
        for place in placements:
            server_cpu, client_cpu = PLACEMENTS[place]
            server, port = start_server(server_program, server_root, server_cpu)
            try:
                with open(os.path.join(client_root, "zerka.cfg"), "w") as f:
                    for k, v in (("SERVER_NAME", "Bench"), ("SERVER_MODE", "master"), ("MASTER_SERVER", "127.0.0.1"),
                                 ("MASTER_PORT", str(port)), ("MASTER_ROOT", server_root), ("LOOPBACK", "127.0.0.1"),
                                 ("EXPORT_FOLDER", client_root), ("WAV_PATH", client_root), ("WAV_FOLDER", "Incoming")):
                        f.write("%s %s\n" % (k, v))
                for word in words:
                    results = {p: [] for p in programs}
                    for _ in range(args.rounds):   # programs interleaved, so that load changes hit all alike
                        for p in programs:
                            results[p].append(run_client(p, client_root, word, client_cpu))
                    for p in programs:
                        r = results[p]
                        for x in r:
                            if digests.setdefault(word, x[3]) != x[3]:
                                print("OUTPUT DIFFERS: %s %s" % (p, word))
                                return 1
                        print("%-6s %-8s %-28s %-22s %-22s %-22s %d" % (
                            place, word, os.path.basename(os.path.dirname(p)) + "/" + os.path.basename(p),
                            summary([x[0] for x in r], 1000, "%.1f"), summary([x[1] for x in r], 1000, "%.1f"),
                            summary([x[2] for x in r], 1, "%d"), r[0][4]))
                        sys.stdout.flush()
            finally:
                server.kill()
                server.wait()
        return 0
    finally:
        if args.library is None:
            shutil.rmtree(server_root, ignore_errors=True)
        shutil.rmtree(client_root, ignore_errors=True)


if __name__ == "__main__":
    sys.exit(main())
