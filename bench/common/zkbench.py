"""What the Python benchmarks share: the 297,000-track library, a zerkaserver
on a root holding it, a client folder pointing at it, placements of processes
on CPUs, fresh processes timed from start to end, and medians with min-max.

The library: 3000 albums of 99 tracks. Album n is by "Solo CrewGGGG" or, for
999 of them (n a multiple of 3 below 3000), by "Trio CrewGGGG", where GGGG is
(n - 1) // 3: so "crew0411" names exactly 3 albums (297 tracks) and "trio"
999 albums (98,901 tracks), searched case-blind as part of the artist.
"""

import ctypes
import os
import shutil
import socket
import subprocess
import tempfile
import time

HERE = os.path.dirname(os.path.abspath(__file__))
REPO = os.path.abspath(os.path.join(HERE, "..", ".."))
BUILD = os.environ.get("ZERKA_BUILD_DIR", os.path.join(REPO, "build"))

ALBUMS = 3000
TRACKS = 99
SELECTIVE = "crew0411"   # 3 albums, 297 tracks
THIRD = "trio"           # 999 albums, 98,901 tracks

ALBUM_WRITE = 0x11
ALBUM_READ = 0x10
CLIENT_OPEN = 0x70


def never_set_clock():
    """Takes the right to set the clock out of every process this one starts from now on
    (the benchmark clients run in master mode anyway, which never sets it)."""
    PR_CAPBSET_DROP = 24
    CAP_SYS_TIME = 25
    libc = ctypes.CDLL(None, use_errno=True)
    libc.prctl(PR_CAPBSET_DROP, CAP_SYS_TIME, 0, 0, 0)   # fails harmlessly without the right to drop it


# ----- the library ---------------------------------------------------------------------------

def artist(n):
    return "%s Crew%04d" % ("Trio" if n % 3 == 0 and n < ALBUMS else "Solo", (n - 1) // 3)


def album_title(n):
    return "Album %04d" % n


def track_title(n, k):
    return "Song %02d of %04d" % (k, n)


def track_seconds(k):
    return 180 + k


def album_text(n):
    """The album as the server takes it in ALBUM_WRITE: three lines for the album, three per track."""
    lines = [artist(n), album_title(n), "45:30 - 6543210A 1 0012AB34 7"]
    for k in range(1, TRACKS + 1):
        s = track_seconds(k)
        lines += [artist(n), track_title(n, k), "%02d:%02d S 6543210A 1 0012AB34 %d" % (s // 60, s % 60, k)]
    return ("\n".join(lines) + "\n").encode()


def hits_of(word):
    """The (artist, title, album) of every track whose artist holds `word` (case-blind)."""
    return {(artist(n), track_title(n, k), album_title(n))
            for n in range(1, ALBUMS + 1) if word.lower() in artist(n).lower()
            for k in range(1, TRACKS + 1)}


# ----- the protocol, as far as the benchmarks need it ------------------------------------------

def frame(type_, seq, album, track, text=b""):
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
    """Sends one request and reads messages until its reply; returns (next sequence, reply album)."""
    sock.sendall(frame(type_, seq, album, 0, text))
    while True:
        fields = read_exact(sock, 23).split()
        rseq, ralbum, length = int(fields[1], 16), int(fields[2], 16), int(fields[4], 16)
        if length:
            read_exact(sock, length)
        if int(fields[0], 16) == type_ and (rseq == seq or type_ == CLIENT_OPEN):
            return (rseq & 0xFF00) | ((rseq + 1) & 0xFF), ralbum


# ----- placements -----------------------------------------------------------------------------

ALL_CPUS = frozenset(os.sched_getaffinity(0))

# (name, server CPUs, client CPUs)
PLACEMENTS = [
    ("one CPU (server and client on CPU 0)", {0}, {0}),
    ("two CPUs (server on CPU 0, client on CPU 1)", {0}, {1}),
    ("unpinned", set(ALL_CPUS), set(ALL_CPUS)),
]


def possible(placement):
    return placement[1] <= ALL_CPUS and placement[2] <= ALL_CPUS


def pin_process(pid, cpus):
    """Pins every thread of a running process."""
    for tid in os.listdir("/proc/%d/task" % pid):
        try:
            os.sched_setaffinity(int(tid), cpus)
        except OSError:
            pass


def pin_self(cpus):
    """Pins this process; the processes it starts from now on inherit the placement."""
    os.sched_setaffinity(0, cpus)


def load_average():
    with open("/proc/loadavg") as f:
        return " ".join(f.read().split()[:3])


# ----- fresh processes ------------------------------------------------------------------------

def run_timed(argv, env=None, stdin=subprocess.DEVNULL):
    """Runs a fresh process to its end: (seconds from start to end, its output, the peak resident set wait4
    reports, which includes this process's own: see peak_rss_kb)."""
    t0 = time.perf_counter()
    p = subprocess.Popen(argv, stdout=subprocess.PIPE, stdin=stdin, env=env)
    out = p.stdout.read()
    _, status, ru = os.wait4(p.pid, 0)
    secs = time.perf_counter() - t0
    p.returncode = os.waitstatus_to_exitcode(status)
    p.stdout.close()
    if p.returncode != 0:
        raise RuntimeError("%s ended with status %d" % (argv[0], p.returncode))
    return secs, out, ru.ru_maxrss


def peak_rss_kb(argv, env=None):
    """A program's own peak resident set in KiB (run under peak_rss, so that this
    process's size does not count: the peak carries over an exec from the parent)."""
    r = subprocess.run([os.path.join(BUILD, "bench", "common", "peak_rss")] + argv, env=env,
                       stdout=subprocess.DEVNULL, stderr=subprocess.PIPE, text=True, check=True)
    return int(r.stderr.strip().splitlines()[-1].split()[1])


def vm_hwm_kb(pid):
    """A running process's peak resident set (VmHWM) in KiB."""
    with open("/proc/%d/status" % pid) as f:
        for line in f:
            if line.startswith("VmHWM:"):
                return int(line.split()[1])
    return 0


def spread(values):
    """(median, min, max)."""
    v = sorted(values)
    n = len(v)
    med = v[n // 2] if n % 2 else (v[n // 2 - 1] + v[n // 2]) / 2
    return med, v[0], v[-1]


def ms(values):
    m, lo, hi = spread(values)
    return "%.1f ms (%.1f-%.1f)" % (m * 1000, lo * 1000, hi * 1000)


def ratio(a, b):
    """Run-by-run ratios of two series: median (min-max)."""
    m, lo, hi = spread([x / y for x, y in zip(a, b)])
    return "%.2f (%.2f-%.2f)" % (m, lo, hi)


# ----- zerkaserver and the client -------------------------------------------------------------

def each_placement(root, parent):
    """For each placement this machine allows: starts a server on the library
    `root` on the server's CPUs, moves this process (and so the clients it
    starts) to the client's, and yields (name, port, client folder); the
    server is stopped and the pinning undone after each."""
    for name, server_cpus, client_cpus in PLACEMENTS:
        if not possible((name, server_cpus, client_cpus)):
            print("\n%s: not possible on this machine" % name)
            continue
        pin_self(server_cpus)
        server, port = start_server(root)
        pin_self(client_cpus)
        try:
            yield name, port, make_client_folder(parent, root, port)
        finally:
            pin_self(ALL_CPUS)
            stop_server(server)


def free_port():
    with socket.socket() as s:
        s.bind(("127.0.0.1", 0))
        return s.getsockname()[1]


def start_server(root, port=0):
    """Starts zerkaserver on a root; (process, port). Placement: whatever this process has."""
    server = subprocess.Popen([os.path.join(BUILD, "zerkaserver"), "--root", root, "--port", str(port),
                               "--log", os.path.join(root, "server.log")], stdout=subprocess.PIPE, text=True)
    line = server.stdout.readline()
    if "listening on" not in line:
        server.kill()
        server.wait()
        raise RuntimeError("zerkaserver did not start: %r" % line)
    return server, int(line.strip().rsplit(":", 1)[1])


def stop_server(server):
    server.terminate()
    try:
        server.wait(timeout=15)
    except subprocess.TimeoutExpired:
        server.kill()
        server.wait()


def make_library_root(parent):
    """A zerkaserver root holding the library, written through the server's own ALBUM_WRITE requests."""
    root = os.path.join(parent, "server")
    os.mkdir(root)
    server, port = start_server(root)
    try:
        with socket.create_connection(("127.0.0.1", port)) as sock:
            sock.setsockopt(socket.IPPROTO_TCP, socket.TCP_NODELAY, 1)
            seq, _ = request(sock, 0, CLIENT_OPEN, 1)
            for n in range(1, ALBUMS + 1):
                seq, got = request(sock, seq, ALBUM_WRITE, n, album_text(n))
                if got != n:
                    raise RuntimeError("album %d was not stored" % n)
    finally:
        stop_server(server)
    return root


def make_client_folder(parent, server_root, port):
    """A client folder whose zerka.cfg points at the server in master mode (the client never sets the clock)."""
    folder = os.path.join(parent, "client")
    os.makedirs(folder, exist_ok=True)
    with open(os.path.join(folder, "zerka.cfg"), "w") as f:
        for k, v in (("SERVER_NAME", "Bench"), ("SERVER_MODE", "master"), ("MASTER_SERVER", "127.0.0.1"),
                     ("MASTER_PORT", str(port)), ("MASTER_ROOT", server_root), ("LOOPBACK", "127.0.0.1"),
                     ("EXPORT_FOLDER", folder), ("WAV_PATH", folder), ("WAV_FOLDER", "Incoming")):
            f.write("%s %s\n" % (k, v))
    return folder


def client_env(folder):
    env = dict(os.environ)
    env["ZERKA"] = folder
    return env


def zerka_search(folder, word, zerka=None):
    """The argument vector and environment of one `zerka --search --artist WORD`."""
    return [zerka or os.path.join(BUILD, "zerka"), "--search", "--artist", word], client_env(folder)


def temp_dir(prefix):
    return tempfile.mkdtemp(prefix=prefix, dir="/tmp")


def remove(path):
    shutil.rmtree(path, ignore_errors=True)
