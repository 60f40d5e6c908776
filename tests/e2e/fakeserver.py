"""A scriptable jukebox server for end-to-end tests.

It speaks the wire format strictly: every frame a client sends is checked
(a malformed header or a length above 0x8000 is recorded in `errors`), every
message is recorded in `received`, replies come from a table of handlers keyed
by message type, and unsolicited messages can be pushed at any time.

    srv = FakeServer()
    srv.albums[1] = album_text("Artist", "Title", [("Artist", "Song", "03:10")])
    srv.handlers[0x43] = lambda srv, conn, m: reply(m, album=0xFFFF)   # refuse SKIP
    ...
    srv.wait_for(0x43)
"""

import socket
import sys
import threading
import time

# Message types used by the tests (the full table lives in the program).
ALBUM_READ = 0x10
ALBUM_WRITE = 0x11
ALBUM_DELETED = 0x13
REFRESH = 0x16
ALBUM_WRITTEN = 0x17
HISTORY = 0x23
DIRLIST = 0x24
GETTIME = 0x25
DELETE = 0x27
PLIST_ADD = 0x31
PLIST_DELETE = 0x32
PLIST_ADD_LOCAL = 0x33
PLIST_UP = 0x34
PLIST_DOWN = 0x35
PLIST_NEXT = 0x36
PLIST_SHUFFLE = 0x37
PLIST_UPDATE = 0x38
PLIST_NOW = 0x39
PLIST_APPEND = 0x3B
PLIST_KEEP = 0x3C
PLIST_CLEAR = 0x3D
PLIST_GET = 0x3E
PLIST_READ = 0x3F
GO = 0x41
PAUSE = 0x42
SKIP = 0x43
STOP = 0x44
CANCEL = 0x45
UNPLAYABLE = 0x51
OFFLINE = 0x52
SHORTLIST = 0x53
DONOTPLAY = 0x54
NO_SELECT = 0x56
LINK_TRACK = 0x57
LINK_QUERY = 0x58
RET_REQ = 0x61
CD_EJECT = 0x6B
RET_CHECK = 0x6C
AUDIO = 0x6D
CLIENT_OPEN = 0x70
REBOOT = 0xA1
SHUTDOWN = 0xA2
STOP_SERVICE = 0xA3
SERVER_DOWN = 0xA4
SERVER_NOTICE = 0xA5
CONSOLE = 0xB1
GET_MODE = 0xB7
CHANGE_MODE = 0xB8
SET_PLIST = 0xB9
GET_PLIST = 0xBA

NO_SUCH_ALBUM = 0xFFFE
PAST_THE_END = 0xFFFD
FAILED = 0xFFFF

HEADER_LEN = 23
TEXT_MAX = 0x8000


class Msg:
    """One message as received or to be sent."""

    def __init__(self, type, seq=0, album=0, track=0, text=b"", conn=None):
        self.type = type
        self.seq = seq
        self.album = album
        self.track = track
        self.text = text if isinstance(text, bytes) else text.encode("latin-1")
        self.conn = conn

    @property
    def str(self):
        return self.text.decode("latin-1")

    def encode(self):
        head = "%2.2x %4.4x %4.4x %4.4x %4.4x " % (self.type, self.seq, self.album, self.track, len(self.text))
        return head.encode("ascii") + self.text

    def __repr__(self):
        return "Msg(0x%02x seq=%04x album=%d track=%d text=%r)" % (
            self.type, self.seq, self.album, self.track, self.text[:60])


def reply(m, type=None, album=None, track=None, text=None, seq=None):
    """A reply to m: the same fields unless given."""
    return Msg(m.type if type is None else type,
               m.seq if seq is None else seq,
               m.album if album is None else album,
               m.track if track is None else track,
               b"" if text is None else text)


def parse_header(head):
    """Strictly parses 23 header bytes; returns (type, seq, album, track, length) or raises ValueError."""
    if len(head) != HEADER_LEN:
        raise ValueError("short header %r" % head)
    fields = ((0, 2), (3, 4), (8, 4), (13, 4), (18, 4))
    values = []
    for off, width in fields:
        part = head[off:off + width]
        if not all(c in b"0123456789abcdef" for c in part):
            raise ValueError("bad field %r in header %r" % (part, head))
        if head[off + width:off + width + 1] != b" ":
            raise ValueError("missing blank in header %r" % head)
        values.append(int(part, 16))
    if values[4] > TEXT_MAX:
        raise ValueError("length above 0x8000 in header %r" % head)
    return tuple(values)


def album_text(artist, title, tracks, album_time=None, status="-", last_played=0, online=1, cd_ident=0, plays=0):
    """The album text of an album: entry 0 and one entry per track.

    tracks: list of tuples (artist, title, time[, status[, online[, last_played[, cd_ident[, plays]]]]]).
    """
    if album_time is None:
        secs = 0
        for t in tracks:
            mm, ss = t[2].split(":")
            secs += int(mm) * 60 + int(ss)
        album_time = "%02d:%02d" % (secs // 60 % 100, secs % 60)
    lines = [artist, title, "%s %s %8.8X %d %8.8X %d" % (album_time, status, last_played, online, cd_ident, plays)]
    for t in tracks:
        t = list(t) + [None] * 8
        tstatus = t[3] or "-"
        tonline = 1 if t[4] is None else t[4]
        tlast = t[5] or 0
        tident = t[6] or 0
        tplays = t[7] or 0
        lines += [t[0], t[1], "%s %s %8.8X %d %8.8X %d" % (t[2], tstatus, tlast, tonline, tident, tplays)]
    return ("\n".join(lines) + "\n").encode("latin-1")


def simple_library(count=5, tracks=3):
    """count albums of `tracks` tracks each, numbered from 1, with predictable texts."""
    lib = {}
    for n in range(1, count + 1):
        lib[n] = album_text("Artist %d" % n, "Album %d" % n,
                            [("Artist %d" % n, "Song %d-%d" % (n, t), "03:%02d" % t) for t in range(1, tracks + 1)])
    return lib


def plist_text(pairs):
    """A playlist transfer text: one "%04d %02d " record per album/track pair."""
    return "".join("%04d %02d " % p for p in pairs).encode("ascii")


class Connection:
    def __init__(self, server, sock, index):
        self.server = server
        self.sock = sock
        self.index = index
        self.lock = threading.Lock()
        self.closed = False

    def send(self, data):
        if isinstance(data, Msg):
            data = data.encode()
        with self.lock:
            try:
                self.sock.sendall(data)
            except OSError:
                self.closed = True

    def close(self):
        self.closed = True
        try:
            self.sock.shutdown(socket.SHUT_RDWR)
        except OSError:
            pass
        self.sock.close()


class FakeServer:
    def __init__(self, port=0, host="127.0.0.1"):
        self.listener = socket.socket(socket.AF_INET, socket.SOCK_STREAM)
        self.listener.setsockopt(socket.SOL_SOCKET, socket.SO_REUSEADDR, 1)
        self.listener.bind((host, port))
        self.listener.listen(16)
        self.port = self.listener.getsockname()[1]
        self.received = []          # every message, in arrival order, across connections
        self.errors = []            # framing errors seen
        self.connections = []
        self.albums = {}            # album number -> album text (bytes)
        self.time = None            # GETTIME answer (seconds); None = the real time
        self.mode = 0               # GET_MODE answer
        self.selection_playlist = b"favourites"
        self.playlist = []          # current playlist: (album, track) pairs
        self.handlers = {}          # type -> fn(server, conn, msg) -> Msg | bytes | list | None
        self.silent = set()         # types that get no reply at all
        self.cond = threading.Condition()
        self.running = True
        self.thread = threading.Thread(target=self._accept_loop, daemon=True)
        self.thread.start()

    # ----- default answers -----------------------------------------------------------
    def default_reply(self, conn, m):
        if m.type == ALBUM_READ:
            if m.album in self.albums:
                return reply(m, text=self.albums[m.album])
            regular = [n for n in self.albums if 1 <= n <= 3000]
            if m.album <= 3000 and regular and m.album < max(regular):
                return reply(m, album=NO_SUCH_ALBUM)
            if m.album <= 3000:
                return reply(m, album=PAST_THE_END)
            return reply(m, album=NO_SUCH_ALBUM)
        if m.type == GETTIME:
            t = int(time.time()) if self.time is None else self.time
            return reply(m, text=("%x" % t).encode())
        if m.type == GET_MODE:
            return reply(m, album=self.mode)
        if m.type == GET_PLIST:
            return reply(m, text=self.selection_playlist)
        if m.type in (PLIST_GET, PLIST_READ):
            return reply(m, text=plist_text(self.playlist))
        return reply(m)

    # ----- plumbing --------------------------------------------------------------------
    def _accept_loop(self):
        while self.running:
            try:
                sock, _ = self.listener.accept()
            except OSError:
                return
            sock.setsockopt(socket.IPPROTO_TCP, socket.TCP_NODELAY, 1)
            conn = Connection(self, sock, len(self.connections))
            with self.cond:
                self.connections.append(conn)
                self.cond.notify_all()
            threading.Thread(target=self._serve, args=(conn,), daemon=True).start()

    def _read_exact(self, conn, n):
        data = b""
        while len(data) < n:
            try:
                chunk = conn.sock.recv(n - len(data))
            except OSError:
                return None
            if not chunk:
                return None
            data += chunk
        return data

    def _serve(self, conn):
        while self.running and not conn.closed:
            head = self._read_exact(conn, HEADER_LEN)
            if head is None:
                break
            try:
                type_, seq, album, track, length = parse_header(head)
            except ValueError as e:
                with self.cond:
                    self.errors.append(str(e))
                    self.cond.notify_all()
                break
            text = self._read_exact(conn, length) if length else b""
            if text is None:
                with self.cond:
                    self.errors.append("connection closed inside a text")
                break
            m = Msg(type_, seq, album, track, text, conn)
            with self.cond:
                self.received.append(m)
                self.cond.notify_all()
            if type_ in self.silent:
                continue
            handler = self.handlers.get(type_)
            out = handler(self, conn, m) if handler else self.default_reply(conn, m)
            if out is None:
                continue
            for item in (out if isinstance(out, list) else [out]):
                conn.send(item)
        conn.closed = True

    # ----- test helpers ----------------------------------------------------------------
    def wait_connections(self, n, timeout=10):
        with self.cond:
            if not self.cond.wait_for(lambda: len(self.connections) >= n, timeout):
                raise AssertionError("expected %d connections, have %d" % (n, len(self.connections)))

    def wait_for(self, type_, timeout=10, count=1, pred=None):
        """Waits until `count` messages of type_ (matching pred) have arrived; returns the last one."""
        def matching():
            return [m for m in self.received if m.type == type_ and (pred is None or pred(m))]
        with self.cond:
            if not self.cond.wait_for(lambda: len(matching()) >= count, timeout):
                raise AssertionError("no message 0x%02x (have %r)" % (type_, self.received[-10:]))
            return matching()[count - 1]

    def of_type(self, type_):
        with self.cond:
            return [m for m in self.received if m.type == type_]

    def push(self, type_, album=0, track=0, text=b"", seq=0, conn=None):
        """Sends an unsolicited message on conn (default: the first connection)."""
        target = conn if conn is not None else self.connections[0]
        target.send(Msg(type_, seq, album, track, text))

    def push_raw(self, data, conn=None):
        (conn if conn is not None else self.connections[0]).send(data)

    def drop_connections(self):
        for c in list(self.connections):
            c.close()

    def stop(self):
        self.running = False
        try:
            self.listener.close()
        except OSError:
            pass
        self.drop_connections()


if __name__ == "__main__":
    # Serves a small invented library until killed; prints the port on the first line.
    srv = FakeServer(int(sys.argv[1]) if len(sys.argv) > 1 else 0)
    srv.albums = simple_library(12, 10)
    print(srv.port, flush=True)
    while True:
        time.sleep(3600)
