#!/usr/bin/python3
"""Times `zerka --search --artist X` against zerkaserver on loopback with a library
of 3000 albums, as a ratio to the floor of bare album-read round trips (cli_bench).

    bench/cli/run_cli_bench.py [--build DIR] [--zerka PROGRAM] [--albums N] [--tracks N] [--artist X] [--rounds N]
                               [--pin CPUS]

On a machine with few cores the result depends much on where the scheduler
puts a freshly started client relative to the server (the floor's long-lived
process tends to share the server's core, a new process often does not); --pin
runs the server, the floor and the client on the given CPUs (taskset list, e.g.
0 or 0,1) for a comparison with equal placement.

The library is written through the server's own ALBUM_WRITE requests, so the
benchmark does not depend on how the server stores it.
"""

import argparse
import os
import shutil
import socket
import subprocess
import sys
import tempfile

HERE = os.path.dirname(os.path.abspath(__file__))
REPO = os.path.abspath(os.path.join(HERE, "..", ".."))

ALBUM_WRITE = 0x11
CLIENT_OPEN = 0x70


def frame(type_, seq, album, track, text):
    return ("%2.2x %4.4x %4.4x %4.4x %4.4x " % (type_, seq, album, track, len(text))).encode() + text


def read_exact(sock, n):
    data = b""
    while len(data) < n:
        chunk = sock.recv(n - len(data))
        if not chunk:
            raise RuntimeError("the server went away")
        data += chunk
    return data


def request(sock, seq, type_, album, text=b""):
    """Sends one request and reads messages until its reply (by sequence); returns the next sequence."""
    sock.sendall(frame(type_, seq, album, 0, text))
    while True:
        head = read_exact(sock, 23)
        fields = head.split()
        rseq, length = int(fields[1], 16), int(fields[4], 16)
        if length:
            read_exact(sock, length)
        if int(fields[0], 16) == type_ and (rseq == seq or type_ == CLIENT_OPEN):
            return (rseq & 0xFF00) | ((rseq + 1) & 0xFF)


def album_text(n, tracks):
    lines = ["Bench Artist %04d" % n, "Bench Album Title %04d" % n, "45:30 - 6543210A 1 0012AB34 7"]
    for k in range(1, tracks + 1):
        lines += ["Bench Artist %04d" % n, "A Song Title Number %02d of %04d" % (k, n),
                  "03:%02d S 6543210A 1 0012AB34 %d" % (k, k)]
    return ("\n".join(lines) + "\n").encode()


def main():
    ap = argparse.ArgumentParser()
    ap.add_argument("--build", default=os.path.join(REPO, "build"))
    ap.add_argument("--zerka", default=None, help="the client to time (default: BUILD/zerka)")
    ap.add_argument("--albums", type=int, default=3000)
    ap.add_argument("--tracks", type=int, default=12)
    ap.add_argument("--artist", default="Bench Artist 1234")
    ap.add_argument("--rounds", type=int, default=7)
    ap.add_argument("--pin", default=None, help="CPU list for server, floor and client (taskset -c)")
    args = ap.parse_args()

    server_root = tempfile.mkdtemp(prefix="zkbs", dir="/tmp")
    client_root = tempfile.mkdtemp(prefix="zkbc", dir="/tmp")
    pin = ["/usr/bin/taskset", "-c", args.pin] if args.pin else []
    server = subprocess.Popen(pin + [os.path.join(args.build, "zerkaserver"), "--root", server_root, "--port", "0",
                               "--log", os.path.join(server_root, "server.log")],
                              stdout=subprocess.PIPE, text=True)
    try:
        line = server.stdout.readline()
        port = int(line.strip().rsplit(":", 1)[1])
        with socket.create_connection(("127.0.0.1", port)) as sock:
            sock.setsockopt(socket.IPPROTO_TCP, socket.TCP_NODELAY, 1)
            seq = request(sock, 0, CLIENT_OPEN, 1)
            for n in range(1, args.albums + 1):
                seq = request(sock, seq, ALBUM_WRITE, n, album_text(n, args.tracks))
        with open(os.path.join(client_root, "zerka.cfg"), "w") as f:
            for k, v in (("SERVER_NAME", "Bench"), ("SERVER_MODE", "master"), ("MASTER_SERVER", "127.0.0.1"),
                         ("MASTER_PORT", str(port)), ("MASTER_ROOT", server_root), ("LOOPBACK", "127.0.0.1"),
                         ("EXPORT_FOLDER", client_root), ("WAV_PATH", client_root), ("WAV_FOLDER", "Incoming")):
                f.write("%s %s\n" % (k, v))
        bench = os.path.join(args.build, "bench", "cli", "cli_bench")
        r = subprocess.run(pin + [bench, args.zerka or os.path.join(args.build, "zerka"), client_root, str(port), args.artist,
                            str(args.rounds)])
        return r.returncode
    finally:
        server.kill()
        server.wait()
        shutil.rmtree(server_root, ignore_errors=True)
        shutil.rmtree(client_root, ignore_errors=True)


if __name__ == "__main__":
    sys.exit(main())
