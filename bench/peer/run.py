#!/usr/bin/python3
"""Side by side with MPD: the same 297,000 tracks (3000 albums x 99) in
zerkaserver and in a private MPD, and from one run the zerka/MPD ratios of

  (a) a selective artist search: `zerka --search --artist crew0411` against
      `mpc search artist crew0411` (297 hits each),
  (b) a search hitting a third of the library: "trio" (98,901 hits each),
  (c) server start to the first answered request (zerkaserver --root with the
      library; mpd with its database), the port polled with a greeting
      (CLIENT_OPEN) or `ping`,
  (d) the servers' peak memory (VmHWM after the searches) and the clients'
      (ru_maxrss).

Both sides must return the same hits (the sets of artist, title and album are
compared with each other and with the library). Searches and start-ups are
measured with the server and the client on one CPU, on two CPUs, and
unpinned: medians with min-max over --rounds fresh runs (default 9).

    python3 bench/peer/run.py [--rounds N] [--keep]

Installs Debian's mpd and mpc when missing (apt-get). The MPD is private: its
own configuration, database, music folder and state in a temporary folder,
bound to 127.0.0.1 on a free port, null audio output, no automatic update;
it is stopped by its process id. The system's MPD service is never touched.

The database is written directly in the format MPD itself writes: the script
first lets the installed mpd scan two tiny tagged WAV files and write its
database, takes the header from it and checks the song records' layout, then
writes the 297,000 songs the same way (gzip-compressed text). `mpc stats`
must then report 297000 songs.
"""

import argparse
import csv
import gzip
import os
import shutil
import socket
import struct
import subprocess
import sys
import time

sys.path.insert(0, os.path.join(os.path.dirname(os.path.abspath(__file__)), "..", "common"))
import zkbench as zk  # noqa: E402

MTIME = 1700000000


def ensure_mpd():
    if shutil.which("mpd") and shutil.which("mpc"):
        return
    print("installing mpd and mpc (apt-get)...", flush=True)
    env = dict(os.environ, DEBIAN_FRONTEND="noninteractive")
    subprocess.run(["apt-get", "install", "-y", "mpd", "mpc"], check=True, env=env, stdout=subprocess.DEVNULL)


# ----- a private MPD --------------------------------------------------------------------------

def write_config(folder, port):
    path = os.path.join(folder, "mpd.conf")
    with open(path, "w") as f:
        f.write('music_directory "%s"\n' % os.path.join(folder, "music"))
        f.write('db_file "%s"\n' % os.path.join(folder, "database"))
        f.write('state_file "%s"\n' % os.path.join(folder, "state"))
        f.write('log_file "%s"\n' % os.path.join(folder, "log"))
        f.write('pid_file "%s"\n' % os.path.join(folder, "pid"))
        f.write('bind_to_address "127.0.0.1"\nport "%d"\nauto_update "no"\nzeroconf_enabled "no"\n' % port)
        # A third of the library answered at once is ~17 MB of text; with the default limit
        # (8 MiB) mpd closes the connection part-way through it.
        f.write('max_output_buffer_size "131072"\n')
        f.write('audio_output {\n  type "null"\n  name "null"\n}\n')
    os.makedirs(os.path.join(folder, "music"), exist_ok=True)
    return path


def start_mpd(config):
    """Starts mpd in the foreground (its own child, stopped by pid)."""
    return subprocess.Popen(["mpd", "--no-daemon", config], stdin=subprocess.DEVNULL, stdout=subprocess.DEVNULL,
                            stderr=subprocess.DEVNULL)


def stop(proc):
    proc.terminate()
    try:
        proc.wait(timeout=15)
    except subprocess.TimeoutExpired:
        proc.kill()
        proc.wait()


def mpc(port, *args):
    return ["mpc", "-h", "127.0.0.1", "-p", str(port)] + list(args)


def mpd_answers(port):
    """True once mpd greets and answers `ping`."""
    try:
        with socket.create_connection(("127.0.0.1", port), timeout=5) as s:
            f = s.makefile("rwb")
            if not f.readline().startswith(b"OK MPD"):
                return False
            f.write(b"ping\n")
            f.flush()
            return f.readline() == b"OK\n"
    except OSError:
        return False


def zerka_answers(port):
    """True once zerkaserver answers the greeting."""
    try:
        with socket.create_connection(("127.0.0.1", port), timeout=5) as s:
            s.setsockopt(socket.IPPROTO_TCP, socket.TCP_NODELAY, 1)
            zk.request(s, 0, zk.CLIENT_OPEN, 1)
            return True
    except (OSError, RuntimeError):
        return False


def time_to_answer(start, answers, port, limit=60):
    """Starts a server and polls its port; (seconds to the first answered request, the process)."""
    t0 = time.perf_counter()
    proc = start()
    while not answers(port):
        if proc.poll() is not None or time.perf_counter() - t0 > limit:
            raise RuntimeError("the server did not answer")
        time.sleep(0.001)
    return time.perf_counter() - t0, proc


def tiny_wav(path, title, artist, album, track, seconds):
    def chunk(tag, data):
        return tag + struct.pack("<I", len(data)) + data + (b"\0" if len(data) % 2 else b"")

    def text(s):
        return s.encode() + b"\0"

    fmt = struct.pack("<HHIIHH", 1, 2, 44100, 44100 * 4, 4, 16)
    info = b"INFO" + chunk(b"INAM", text(title)) + chunk(b"IART", text(artist)) + chunk(b"IPRD", text(album)) + \
        chunk(b"ITRK", text(str(track)))
    body = b"WAVE" + chunk(b"fmt ", fmt) + chunk(b"data", b"\0" * (44100 * 4 * seconds)) + chunk(b"LIST", info)
    with open(path, "wb") as f:
        f.write(b"RIFF" + struct.pack("<I", len(body)) + body)


def learn_format(tmp):
    """Lets the installed mpd write a database of two tiny files; returns its header lines
    (info_begin to info_end) after checking the layout the big database is written in."""
    folder = os.path.join(tmp, "probe")
    os.makedirs(os.path.join(folder, "music", "0001"))
    for k in (1, 2):
        tiny_wav(os.path.join(folder, "music", "0001", "%02d.wav" % k), "Song %02d" % k, "Probe Artist", "Probe Album",
                 k, k)
    port = zk.free_port()
    config = write_config(folder, port)
    _, proc = time_to_answer(lambda: start_mpd(config), mpd_answers, port)
    try:
        subprocess.run(mpc(port, "update", "--wait"), check=True, stdout=subprocess.DEVNULL)
    finally:
        stop(proc)
    with gzip.open(os.path.join(folder, "database"), "rt") as f:
        lines = f.read().splitlines()
    header = lines[:lines.index("info_end") + 1]
    body = lines[len(header):]
    expected = ["directory: 0001", "mtime: *", "begin: 0001",
                "song_begin: 01.wav", "Time: 1.000000", "Title: Song 01", "Artist: Probe Artist",
                "Album: Probe Album", "Track: 1", "Format: 44100:16:2", "mtime: *", "song_end",
                "song_begin: 02.wav", "Time: 2.000000", "Title: Song 02", "Artist: Probe Artist",
                "Album: Probe Album", "Track: 2", "Format: 44100:16:2", "mtime: *", "song_end",
                "end: 0001"]
    same = len(body) == len(expected) and all(
        e == b or (e.endswith("*") and b.startswith(e[:-1])) for e, b in zip(expected, body))
    if header[:2] != ["info_begin", "format: 2"] or not same:
        raise RuntimeError("this mpd writes its database differently:\n" + "\n".join(lines))
    return header


def write_database(path, header):
    """The library as MPD's database: a folder per album, a song record per track."""
    out = header[:]
    for n in range(1, zk.ALBUMS + 1):
        d = "%04d" % n
        out += ["directory: " + d, "mtime: %d" % MTIME, "begin: " + d]
        for k in range(1, zk.TRACKS + 1):
            out += ["song_begin: %02d.wav" % k, "Time: %d.000000" % zk.track_seconds(k),
                    "Title: " + zk.track_title(n, k), "Artist: " + zk.artist(n), "Album: " + zk.album_title(n),
                    "Track: %d" % k, "Format: 44100:16:2", "mtime: %d" % MTIME, "song_end"]
        out.append("end: " + d)
    with gzip.open(path, "wt", compresslevel=1) as f:
        f.write("\n".join(out) + "\n")


# ----- hits -----------------------------------------------------------------------------------

def zerka_hits(out):
    hits = set()
    for row in csv.reader(out.decode().splitlines()):
        if len(row) >= 5:
            hits.add((row[1], row[2], row[4]))
    return hits


def mpc_hits(out):
    return {tuple(line.split("\t")) for line in out.decode().splitlines() if line}


# ----- the run --------------------------------------------------------------------------------

def main():
    ap = argparse.ArgumentParser()
    ap.add_argument("--rounds", type=int, default=9)
    ap.add_argument("--keep", action="store_true", help="keep the temporary folder")
    args = ap.parse_args()
    ensure_mpd()
    zk.never_set_clock()
    tmp = zk.temp_dir("zkpeer")
    ok = True
    try:
        print("learning mpd's database format...", flush=True)
        header = learn_format(tmp)
        mpd_dir = os.path.join(tmp, "mpd")
        os.makedirs(mpd_dir)
        mpd_port = zk.free_port()
        config = write_config(mpd_dir, mpd_port)
        write_database(os.path.join(mpd_dir, "database"), header)
        print("making the zerkaserver library (%d albums x %d tracks)..." % (zk.ALBUMS, zk.TRACKS), flush=True)
        root = zk.make_library_root(tmp)
        zk_port = zk.free_port()

        _, proc = time_to_answer(lambda: start_mpd(config), mpd_answers, mpd_port)
        stats = subprocess.run(mpc(mpd_port, "stats"), capture_output=True, text=True).stdout
        stop(proc)
        songs = [line.split()[-1] for line in stats.splitlines() if line.startswith("Songs:")]
        print("mpc stats: %s songs" % (songs[0] if songs else "?"))
        if songs != [str(zk.ALBUMS * zk.TRACKS)]:
            print("MPD DOES NOT HOLD THE LIBRARY:\n" + stats)
            return 1

        print("\nzerka / MPD, %d albums x %d tracks; %d fresh runs each; load average %s" %
              (zk.ALBUMS, zk.TRACKS, args.rounds, zk.load_average()))
        print("medians (min-max); ratios run by run")
        words = [(zk.SELECTIVE, "(a) selective search"), (zk.THIRD, "(b) a third of the library")]
        memory = {}
        for name, server_cpus, client_cpus in zk.PLACEMENTS:
            if not zk.possible((name, server_cpus, client_cpus)):
                print("\n%s: not possible on this machine" % name)
                continue
            print("\n%s" % name, flush=True)
            zk.pin_self(client_cpus)
            # (c) start to the first answered request: the servers on their CPUs, the poller on the client's.
            starts = {"zerka": [], "mpd": []}
            zk_start = [os.path.join(zk.BUILD, "zerkaserver"), "--root", root, "--port", str(zk_port),
                        "--log", os.path.join(root, "server.log")]
            for _ in range(args.rounds):
                for side, start, answers, port in (
                        ("zerka", lambda: subprocess.Popen(zk_start, stdout=subprocess.DEVNULL,
                                                           preexec_fn=lambda: os.sched_setaffinity(0, server_cpus)),
                         zerka_answers, zk_port),
                        ("mpd", lambda: subprocess.Popen(["mpd", "--no-daemon", config], stdin=subprocess.DEVNULL,
                                                         stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL,
                                                         preexec_fn=lambda: os.sched_setaffinity(0, server_cpus)),
                         mpd_answers, mpd_port)):
                    secs, proc = time_to_answer(start, answers, port)
                    starts[side].append(secs)
                    stop(proc)
            print("  (c) start to first answer  zerkaserver %s, mpd %s, ratio %s" %
                  (zk.ms(starts["zerka"]), zk.ms(starts["mpd"]), zk.ratio(starts["zerka"], starts["mpd"])))

            # (a), (b): both servers running, pinned alike.
            zk.pin_self(server_cpus)
            server, _ = zk.start_server(root, zk_port)
            _, mpd_proc = time_to_answer(lambda: start_mpd(config), mpd_answers, mpd_port)
            zk.pin_self(client_cpus)
            try:
                folder = zk.make_client_folder(tmp, root, zk_port)
                for word, label in words:
                    z_argv, z_env = zk.zerka_search(folder, word)
                    m_argv = mpc(mpd_port, "-f", "%artist%\t%title%\t%album%", "search", "artist", word)
                    zk.run_timed(z_argv, z_env)   # first runs, not counted
                    zk.run_timed(m_argv)
                    zt, mt = [], []
                    for _ in range(args.rounds):
                        secs, zout, _ = zk.run_timed(z_argv, z_env)
                        zt.append(secs)
                        secs, mout, _ = zk.run_timed(m_argv)
                        mt.append(secs)
                    zh, mh = zerka_hits(zout), mpc_hits(mout)
                    same = zh == mh == zk.hits_of(word)
                    ok = ok and same
                    print("  %s \"%s\": zerka %d hits, mpc %d hits, %s" %
                          (label, word, len(zh), len(mh), "the same" if same else "HITS DIFFER"))
                    print("      zerka --search %s, mpc search %s, ratio %s" % (zk.ms(zt), zk.ms(mt), zk.ratio(zt, mt)))
                    if "client " + word not in memory:
                        m_argv[0] = shutil.which("mpc")
                        memory["client " + word] = (zk.peak_rss_kb(z_argv, z_env), zk.peak_rss_kb(m_argv))
                memory.setdefault("server", (zk.vm_hwm_kb(server.pid), zk.vm_hwm_kb(mpd_proc.pid)))
            finally:
                zk.pin_self(zk.ALL_CPUS)
                zk.stop_server(server)
                stop(mpd_proc)
        print("\n(d) peak memory (the first placement; servers: VmHWM after the searches; clients: one search each)")
        for key, (z, m) in memory.items():
            print("  %-24s zerka %7.1f MB, MPD %7.1f MB, ratio %.2f" % (key, z / 1024, m / 1024, z / m))
        print("\nload average at the end %s" % zk.load_average())
        print("same hits on both sides" if ok else "THE HITS DIFFER")
        return 0 if ok else 1
    finally:
        if args.keep:
            print("kept", tmp)
        else:
            zk.remove(tmp)


if __name__ == "__main__":
    sys.exit(main())
