"""zerkaserver's CD drive on the wire: a master and a local server (the one
with the drive, a disc image) on loopback, and a protocol client that plays
the operator's client exactly as it behaves: it answers CD WAITING, reads the
disc as album 0 from the local server, loads freedb matches from "Local/" under
the local root and writes album 0 back, takes the disc into the database by
writing the album to both servers, sends CD_EJECT after viewing, RET_TRACK for
off-line tracks, CANCEL, WRITE_CD."""

import os
import shutil
import tempfile
import time

import pytest

from cdimage import Disc, eject_image, wav_header, write_freedb
from fakeserver import ALBUM_READ, ALBUM_WRITE, ALBUM_WRITTEN, CD_EJECT, GETTIME, RET_CHECK
from realserver import RealServer

ALBUM_NEW = 0x15
OFFLINE = 0x52
CANCEL = 0x45
RET_TRACK = 0x4E
RET_REQ = 0x61
CD_LOADED = 0x62
CANCELLED = 0x63
EXOCD = 0x64
RET_PROG = 0x65
RET_DONE = 0x66
RET_FINAL = 0x67
RET_FAILED = 0x68
KNOWN_CD = 0x69
WRITE_CD = 0x6E
CDW_DONE = 0x6F
SERVER_NOTICE = 0xA5
CD_WAITING = 0xBB

RETRIEVAL_NOTICES = (RET_REQ, CD_LOADED, CANCELLED, RET_PROG, RET_DONE, RET_FINAL, RET_FAILED)


# ----- album texts ----------------------------------------------------------------------------

def entries_of(text):
    """The entries of an album text: [artist, title, [time, status, last, online, ident, plays]]."""
    lines = text.split("\n")
    out = []
    for i in range(0, len(lines) - 2, 3):
        out.append([lines[i], lines[i + 1], lines[i + 2].split()])
    return out


def text_of(entries):
    return "".join("%s\n%s\n%s\n" % (a, t, " ".join(third)) for a, t, third in entries)


def apply_xmcd(entries, xmcd):
    """What the client's freedb reader makes of a match (DTITLE "artist / title", TTITLE in order)."""
    entries = [list(e) for e in entries]
    track = 1
    for line in xmcd.split("\n"):
        key, _, value = line.partition("=")
        if key == "DTITLE":
            artist, _, title = value.partition(" / ")
            entries[0][0], entries[0][1] = artist, title
        elif key.startswith("TTITLE") and track < len(entries):
            entries[track][0], entries[track][1] = entries[0][0], value
            track += 1
    return entries


# ----- the two servers ---------------------------------------------------------------------------

class Drive:
    """A master, a local server with a disc image drive, a freedb folder, and the operator's two connections."""

    def __init__(self, extra=(), master_args=None):
        self.dir = tempfile.mkdtemp(prefix="zkd", dir="/tmp")
        self.cue = os.path.join(self.dir, "drive.cue")
        self.freedb = os.path.join(self.dir, "freedb")
        os.mkdir(self.freedb)
        self.master = RealServer()
        local_root = tempfile.mkdtemp(prefix="zkl", dir="/tmp")
        args = ["--listen", "127.0.0.2", "--cd-drive", self.cue, "--freedb", self.freedb, "--cd-simulate"]
        if master_args is None:
            args += ["--master", "127.0.0.1:%d" % self.master.port, "--master-root", self.master.root]
        self.local = RealServer(root=local_root, args=args + list(extra), port=self.master.port)
        self.m = self.master.client()
        self.l = self.local.client()

    def close(self):
        for c in (self.m, self.l):
            c.close()
        self.local.stop()
        self.master.stop()
        shutil.rmtree(self.dir, ignore_errors=True)

    # What the client does.
    def answer_cd_waiting(self, timeout=20):
        """Says "y" to the CD WAITING question; returns (question, the view notice EXOCD or KNOWN_CD)."""
        q = self.l.wait_notice(CD_WAITING, timeout=timeout)
        r = self.l.request(CD_WAITING, album=q.album, track=q.track)
        assert (r.album, r.track) == (q.album, q.track)
        view = self.l.wait_notice(EXOCD if q.album == 0 else KNOWN_CD, timeout=5)
        return q, view

    def read_local_album0(self):
        r = self.l.request(ALBUM_READ, album=0)
        assert r.album == 0
        return entries_of(r.str)

    def match_file(self, k):
        with open(os.path.join(self.local.root, "Local", "freedbfile%d" % k)) as f:
            return f.read()

    def take_into_database(self, entries):
        """F9: a new number from the master, the record copied there, every track off line, written to both."""
        n = self.m.request(ALBUM_NEW, album=1).album
        assert n != 0
        entries = [list(e) for e in entries]
        for e in entries[1:]:
            e[2][3] = "0"
        text = text_of(entries).encode("latin-1")
        assert self.m.request(ALBUM_WRITE, album=n, text=text).album == n
        assert self.l.request(ALBUM_WRITE, album=n, text=text).album == n
        return n

    def add_album(self, n, disc, artist="Fenwick Holloway", title="Tide Tables", online=()):
        """An album for a disc, on both servers, with the given tracks on line."""
        ident = "%08X" % disc.disc_id
        total = sum(disc.sectors) // 75
        lines = [artist, title, "%02d:%02d - 00000000 1 %s 0" % (total // 60, total % 60, ident)]
        for t, sectors in enumerate(disc.sectors, start=1):
            s = sectors // 75
            lines += [artist, "Song %d" % t, "%02d:%02d - 00000000 %d %s 0" % (s // 60, s % 60, 1 if t in online else 0,
                                                                                ident)]
        text = ("\n".join(lines) + "\n").encode()
        if n == 0:
            n = self.m.request(ALBUM_NEW, album=1).album
        assert self.m.request(ALBUM_WRITE, album=n, text=text).album == n
        assert self.l.request(ALBUM_WRITE, album=n, text=text).album == n
        return n

    def media(self, album, track):
        return os.path.join(self.master.root, "Media", "%04d_%02d.wav" % (album, track))

    def master_album(self, n):
        return entries_of(self.m.request(ALBUM_READ, album=n).str)

    def retrieval_notices(self, until, timeout=30):
        """Retrieval notices from the local server (progress notices without their percentages) up to one of
        type `until`."""
        got = []
        deadline = time.monotonic() + timeout
        while True:
            left = deadline - time.monotonic()
            assert left > 0, got
            m = next_notice(self.l, lambda m: m.type in RETRIEVAL_NOTICES, left)
            if m.type == RET_PROG and m.text:
                continue
            got.append((m.type, m.album, m.track))
            if m.type == until:
                return got


def next_notice(client, pred, timeout):
    """The next unsolicited message (kept aside or still to come) that matches pred."""
    for i, m in enumerate(client.notices):
        if pred(m):
            return client.notices.pop(i)
    deadline = time.monotonic() + timeout
    old = client.sock.gettimeout()
    try:
        while True:
            left = deadline - time.monotonic()
            assert left > 0, "no such notice"
            client.sock.settimeout(left)
            m = client.recv()
            if pred(m):
                return m
            client.notices.append(m)
    finally:
        client.sock.settimeout(old)


@pytest.fixture
def drive():
    d = Drive()
    yield d
    d.close()


@pytest.fixture
def slow_drive():
    """A drive that reads an image no faster than a real drive at playing speed."""
    d = Drive(extra=["--cd-speed", "1"])
    yield d
    d.close()


def still_serves(server):
    """Another client is answered."""
    c = server.client()
    try:
        assert abs(int(c.request(GETTIME, album=0, text=b"Time").str, 16) - time.time()) < 60
    finally:
        c.close()


# ----- identification ------------------------------------------------------------------------------

def test_unknown_disc_with_two_matches_is_taken_in_and_then_known(drive):
    disc = Disc([4.5, 5.0, 6.2], seed=11)
    misc = disc.xmcd("Fenwick Holloway", "Tide Tables", ["Neap", "Spring", "Slack Water"])
    rock = disc.xmcd("The Holloways", "Tide Tables (Live)", ["Neap (Live)", "Spring (Live)", "Slack (Live)"])
    write_freedb(drive.freedb, "rock", disc.disc_id, rock)
    write_freedb(drive.freedb, "misc", disc.disc_id, misc)
    write_freedb(drive.freedb, "jazz", disc.disc_id ^ 1, misc)      # another disc's: not a match
    disc.insert(drive.cue)
    q, view = drive.answer_cd_waiting()
    assert q.album == 0
    assert (view.album, view.track, view.str) == (0, 1002, disc.id_hex)
    # The disc as album 0: empty texts, the times of the TOC, its identifier, every track off line.
    entries = drive.read_local_album0()
    assert len(entries) == 4
    assert entries[0][:2] == ["", ""]
    assert entries[0][2] == ["00:15", "-", "00000000", "0", disc.id_hex, "0"]
    assert [e[2][0] for e in entries[1:]] == ["00:04", "00:05", "00:06"]
    assert all(e[:2] == ["", ""] and e[2][3] == "0" and e[2][4] == disc.id_hex for e in entries[1:])
    # The matches, categories in name order, where the client reads them.
    assert drive.match_file(1) == misc
    assert drive.match_file(2) == rock
    assert not os.path.exists(os.path.join(drive.local.root, "Local", "freedbfile3"))
    # Match 1 is loaded and written back to the local server, then match 2; album 0 keeps what was written.
    first = apply_xmcd(entries, drive.match_file(1))
    assert drive.l.request(ALBUM_WRITE, album=0, text=text_of(first).encode()).album == 0
    assert drive.read_local_album0() == first
    second = apply_xmcd(entries, drive.match_file(2))
    assert drive.l.request(ALBUM_WRITE, album=0, text=text_of(second).encode()).album == 0
    assert drive.read_local_album0()[0][:2] == ["The Holloways", "Tide Tables (Live)"]
    # F9: into the database as a new album, written to both servers; the view ends with CD_EJECT.
    n = drive.take_into_database(second)
    assert drive.master_album(n)[0][2][4] == disc.id_hex
    assert drive.l.request(CD_EJECT, album=n).album == n
    assert drive.l.request(ALBUM_READ, album=0).album == 0xFFFE     # the disc is out
    # Put in again: now it is that album.
    disc.insert(drive.cue)
    q2, view2 = drive.answer_cd_waiting()
    assert q2.album == n and q2.track == q.track + 1
    assert (view2.album, view2.track, view2.str) == (n, 2, disc.id_hex)
    # The local server's log tells what happened.
    log = drive.local.log_text()
    assert "CD %s in the drive: 3 tracks, 00:15, unknown, 2 freedb matches" % disc.id_hex in log
    assert "CD %s in the drive: 3 tracks, 00:15, album %04d, 2 freedb matches" % (disc.id_hex, n) in log


def test_a_stale_answer_to_cd_waiting_shows_nothing(drive):
    disc = Disc([4.0, 4.0], seed=3)
    disc.insert(drive.cue)
    q = drive.l.wait_notice(CD_WAITING, timeout=20)
    eject_image(drive.cue)
    # Once the disc is gone the question is stale: no view follows.
    deadline = time.monotonic() + 20
    while drive.l.request(ALBUM_READ, album=0).album != 0xFFFE:
        assert time.monotonic() < deadline
        time.sleep(0.05)
    assert drive.l.request(CD_WAITING, album=q.album, track=q.track).album == 0
    assert drive.l.request(CD_WAITING, album=0, track=q.track + 7).album == 0
    assert drive.l.request(CD_EJECT, album=0).album == 0


def test_without_a_freedb_folder_freedb_is_unavailable():
    d = Drive()
    try:
        shutil.rmtree(d.freedb)
        disc = Disc([4.0, 3.0], seed=4)
        disc.insert(d.cue)
        _, view = d.answer_cd_waiting()
        assert (view.album, view.track) == (0, 999)
    finally:
        d.close()


# ----- retrieval -------------------------------------------------------------------------------------

def test_bring_online_rips_bit_exact_and_marks_the_master(drive):
    disc = Disc([4.0, 5.3, 4.7], seed=21)
    n = drive.add_album(0, disc, online=(1,))
    disc.insert(drive.cue)
    q, view = drive.answer_cd_waiting()
    assert (q.album, view.type, view.album, view.track) == (n, KNOWN_CD, n, 0)
    # F10: a request per off-line track.
    for t in (2, 3):
        r = drive.l.request(RET_TRACK, album=n, track=t)
        assert (r.album, r.track) == (n, t)
    assert drive.retrieval_notices(until=RET_FINAL) == [
        (CD_LOADED, n, 2), (RET_PROG, n, 2), (RET_DONE, n, 2), (RET_PROG, n, 3), (RET_DONE, n, 3), (RET_FINAL, n, 0)]
    for t in (2, 3):
        with open(drive.media(n, t), "rb") as f:
            assert f.read() == wav_header(len(disc.track_bytes(t))) + disc.track_bytes(t)
    # The master marked both on line and told the operator's client.
    written = drive.m.wait_notice(ALBUM_WRITTEN, timeout=10, pred=lambda m: entries_of(m.str)[3][2][3] == "1")
    assert [e[2][3] for e in entries_of(written.str)[1:]] == ["1", "1", "1"]
    assert [e[2][3] for e in drive.master_album(n)[1:]] == ["1", "1", "1"]
    assert not [f for f in os.listdir(os.path.join(drive.master.root, "Media")) if f.startswith(".")]
    # The view ends: the disc goes out.
    assert drive.l.request(CD_EJECT, album=n).album == n
    assert drive.l.request(ALBUM_READ, album=0).album == 0xFFFE


def test_overwrite_track_with_ret_check(drive):
    disc = Disc([4.0, 4.4], seed=22)
    n = drive.add_album(0, disc, online=(1, 2))
    disc.insert(drive.cue)
    drive.answer_cd_waiting()
    # "o": off line at the master, the album written to both servers, then RET_CHECK to the local server.
    drive.m.request(OFFLINE, album=n, track=2)
    entries = drive.master_album(n)
    assert entries[2][2][3] == "0"
    drive.l.request(ALBUM_WRITE, album=n, text=text_of(entries).encode())
    r = drive.l.request(RET_CHECK, album=n, track=2)
    assert (r.album, r.track) == (n, 1)
    assert drive.retrieval_notices(until=RET_FINAL)[-2:] == [(RET_DONE, n, 2), (RET_FINAL, n, 0)]
    with open(drive.media(n, 2), "rb") as f:
        assert f.read()[44:] == disc.track_bytes(2)
    assert drive.master_album(n)[2][2][3] == "1"


def test_a_disc_not_in_the_drive_is_asked_for_until_it_comes(drive):
    disc = Disc([4.0, 4.2], seed=31)
    other = Disc([5.0, 5.0, 5.0], seed=32)
    n = drive.add_album(0, disc)
    r = drive.l.request(RET_TRACK, album=n, track=2)
    assert (r.album, r.track) == (n, 2)
    assert drive.retrieval_notices(until=RET_REQ) == [(RET_REQ, n, 2)]
    # Another disc is only announced; the request stands (it is not asked again).
    other.insert(drive.cue)
    q = drive.l.wait_notice(CD_WAITING, timeout=20)
    assert q.album == 0
    assert not [m for m in drive.l.notices if m.type in RETRIEVAL_NOTICES]
    assert not os.path.exists(drive.media(n, 2))
    # The right disc: taken for the retrieval at once, without a question.
    disc.insert(drive.cue)
    assert drive.retrieval_notices(until=RET_FINAL) == [
        (CD_LOADED, n, 2), (RET_PROG, n, 2), (RET_DONE, n, 2), (RET_FINAL, n, 0)]
    assert not [m for m in drive.l.notices if m.type == CD_WAITING]
    with open(drive.media(n, 2), "rb") as f:
        assert f.read()[44:] == disc.track_bytes(2)


def test_an_album_without_cd_ident_cannot_be_retrieved(drive):
    disc = Disc([4.0], seed=33)
    n = drive.add_album(0, disc)
    text = drive.m.request(ALBUM_READ, album=n).str.replace(disc.id_hex, "00000000")
    drive.l.request(ALBUM_WRITE, album=n, text=text.encode())
    drive.l.request(RET_TRACK, album=n, track=1)
    assert drive.retrieval_notices(until=RET_FAILED) == [(RET_FAILED, n, 1)]
    assert drive.l.request(RET_TRACK, album=n, track=0).album == 0xFFFF
    assert drive.l.request(RET_TRACK, album=0, track=1).album == 0xFFFF
    assert "Cannot retrieve album %04d track 01: the album has no CD ident here" % n in drive.local.log_text()


def test_cancel_a_retrieval_waiting_for_its_disc(drive):
    disc = Disc([4.0, 4.0], seed=41)
    n = drive.add_album(0, disc)
    drive.l.request(RET_TRACK, album=n, track=1)
    drive.l.request(RET_TRACK, album=n, track=2)
    assert drive.retrieval_notices(until=RET_REQ) == [(RET_REQ, n, 1)]
    r = drive.l.request(CANCEL, album=n)
    assert (r.album, r.track) == (n, 2)
    assert drive.retrieval_notices(until=CANCELLED) == [(CANCELLED, n, 0)]
    # The disc comes afterwards: nothing is ripped, it is simply announced.
    disc.insert(drive.cue)
    assert drive.l.wait_notice(CD_WAITING, timeout=20).album == n
    assert not os.path.exists(drive.media(n, 1))


def test_cancel_a_rip_in_progress(slow_drive):
    d = slow_drive
    disc = Disc([6.0, 4.0], seed=42)
    n = d.add_album(0, disc)
    disc.insert(d.cue)
    d.answer_cd_waiting()
    d.l.request(RET_TRACK, album=n, track=1)
    d.l.request(RET_TRACK, album=n, track=2)
    assert d.retrieval_notices(until=RET_PROG) == [(CD_LOADED, n, 1), (RET_PROG, n, 1)]
    d.l.wait_notice(RET_PROG, timeout=20, pred=lambda m: m.str == "10")
    r = d.l.request(CANCEL, album=n)
    assert (r.album, r.track) == (n, 2)
    assert d.retrieval_notices(until=RET_FINAL) == [(CANCELLED, n, 0), (RET_FINAL, n, 0)]
    assert not os.path.exists(d.media(n, 1))
    assert not [f for f in os.listdir(os.path.join(d.master.root, "Media"))]
    assert [e[2][3] for e in d.master_album(n)[1:]] == ["0", "0"]
    assert "Retrieval of album %04d track 01 cancelled" % n in d.local.log_text()


def test_eject_mid_rip_fails_the_track_and_asks_for_the_disc_again(slow_drive):
    d = slow_drive
    disc = Disc([6.0, 4.0], seed=43)
    n = d.add_album(0, disc)
    disc.insert(d.cue)
    d.answer_cd_waiting()
    d.l.request(RET_TRACK, album=n, track=1)
    d.l.request(RET_TRACK, album=n, track=2)
    d.l.wait_notice(RET_PROG, timeout=20, pred=lambda m: m.str == "10")
    # While the rip runs, the server answers everyone.
    still_serves(d.local)
    assert not os.path.exists(d.media(n, 1))
    eject_image(d.cue)
    assert d.retrieval_notices(until=RET_REQ) == [
        (CD_LOADED, n, 1), (RET_PROG, n, 1), (RET_FAILED, n, 1), (RET_FINAL, n, 0), (RET_REQ, n, 2)]
    assert not os.listdir(os.path.join(d.master.root, "Media"))
    assert "Cannot retrieve album %04d track 01: the CD was taken out" % n in d.local.log_text()


def test_a_replaced_disc_mid_rip_fails_the_track(slow_drive):
    d = slow_drive
    disc = Disc([6.0], seed=44)
    n = d.add_album(0, disc)
    disc.insert(d.cue)
    d.answer_cd_waiting()
    d.l.request(RET_TRACK, album=n, track=1)
    d.l.wait_notice(RET_PROG, timeout=20, pred=lambda m: m.str == "10")
    Disc([6.0, 2.0], seed=45).insert(d.cue)
    assert d.retrieval_notices(until=RET_FINAL)[-2:] == [(RET_FAILED, n, 1), (RET_FINAL, n, 0)]
    assert d.l.wait_notice(CD_WAITING, timeout=20).album == 0
    assert not os.listdir(os.path.join(d.master.root, "Media"))


def test_an_eject_during_retrievals_waits_for_them(slow_drive):
    d = slow_drive
    disc = Disc([3.0, 2.0], seed=46)
    n = d.add_album(0, disc)
    disc.insert(d.cue)
    d.answer_cd_waiting()
    d.l.request(RET_TRACK, album=n, track=1)
    d.l.request(RET_TRACK, album=n, track=2)
    d.l.wait_notice(RET_PROG, timeout=20, pred=lambda m: m.str == "10")
    # The client leaves the view and ejects: both tracks are still retrieved first.
    assert d.l.request(CD_EJECT, album=n).album == n
    assert d.retrieval_notices(until=RET_FINAL) == [
        (CD_LOADED, n, 1), (RET_PROG, n, 1), (RET_DONE, n, 1), (RET_PROG, n, 2), (RET_DONE, n, 2), (RET_FINAL, n, 0)]
    assert d.l.request(ALBUM_READ, album=0).album == 0xFFFE
    for t in (1, 2):
        with open(d.media(n, t), "rb") as f:
            assert f.read()[44:] == disc.track_bytes(t)


def test_a_drive_on_the_master_itself():
    """Without --master the server with the drive is the master: media into its own Media, notices to all."""
    folder = tempfile.mkdtemp(prefix="zkd", dir="/tmp")
    cue = os.path.join(folder, "drive.cue")
    srv = RealServer(args=["--cd-drive", cue])
    try:
        a, b = srv.client(), srv.client()
        disc = Disc([4.0, 4.0], seed=51)
        ident = disc.id_hex
        text = ("A\nB\n00:08 - 00000000 1 %s 0\nA\nOne\n00:04 - 00000000 0 %s 0\nA\nTwo\n00:04 - 00000000 1 %s 0\n"
                % (ident, ident, ident)).encode()
        n = a.request(ALBUM_NEW, album=1).album
        assert a.request(ALBUM_WRITE, album=n, text=text).album == n
        disc.insert(cue)
        assert b.wait_notice(CD_WAITING, timeout=20).album == n
        a.request(RET_TRACK, album=n, track=1)
        # b first hears of a's write, then of the track on line.
        assert entries_of(b.wait_notice(ALBUM_WRITTEN, timeout=20).str)[1][2][3] == "0"
        m = b.wait_notice(ALBUM_WRITTEN, timeout=20, pred=lambda m: m.album == n)
        assert entries_of(m.str)[1][2][3] == "1"
        assert a.wait_notice(RET_FINAL, timeout=20).album == n
        with open(os.path.join(srv.root, "Media", "%04d_01.wav" % n), "rb") as f:
            assert f.read()[44:] == disc.track_bytes(1)
        # Without freedb: unavailable.
        q = a.wait_notice(CD_WAITING, timeout=5)
        a.request(CD_WAITING, album=q.album, track=q.track)
        assert a.wait_notice(KNOWN_CD, timeout=5).track == 0
    finally:
        srv.stop()
        shutil.rmtree(folder, ignore_errors=True)


# ----- backups ---------------------------------------------------------------------------------------

def test_simulated_backup_writes_the_image_with_the_albums_disc_id(drive):
    disc = Disc([4.0, 5.0, 4.5], seed=61)
    n = drive.add_album(0, disc, online=(1, 2, 3))
    for t in (1, 2, 3):
        with open(drive.media(n, t), "wb") as f:
            f.write(wav_header(len(disc.track_bytes(t))) + disc.track_bytes(t))
    r = drive.l.request(WRITE_CD, album=n)
    assert (r.album, r.track) == (n, 0)
    # A second request while the first runs: the drive is in use.
    busy = drive.l.request(WRITE_CD, album=n)
    done = drive.l.wait_notice(CDW_DONE, timeout=60)
    assert (done.album, done.track, done.str) == (n, 0, disc.id_hex)
    assert busy.track == 1
    backup = os.path.join(drive.local.root, "Backup")
    with open(os.path.join(backup, "%04d.toc" % n)) as f:
        assert f.read() == "CD_DA\n" + "".join('\nTRACK AUDIO\nFILE "%s" 0\n' % drive.media(n, t) for t in (1, 2, 3))
    with open(os.path.join(backup, "%04d.bin" % n), "rb") as f:
        assert f.read() == b"".join(disc.tracks)
    assert "Backup of album %04d: CDW_DONE 0 (%s)" % (n, disc.id_hex) in drive.local.log_text()


def test_backup_refusals(drive):
    disc = Disc([4.0, 4.0], seed=62)
    n = drive.add_album(0, disc, online=(1, 2))
    with open(drive.media(n, 1), "wb") as f:
        f.write(wav_header(len(disc.track_bytes(1))) + disc.track_bytes(1))
    # Track 2 has no media file.
    assert drive.l.request(WRITE_CD, album=n).track == 4
    assert drive.l.request(WRITE_CD, album=2999).track == 4
    assert "Backup of album %04d refused: cannot open %s" % (n, drive.media(n, 2)) in drive.local.log_text()


def test_a_backup_of_an_image_drive_needs_simulation():
    folder = tempfile.mkdtemp(prefix="zkd", dir="/tmp")
    srv = RealServer(args=["--cd-drive", os.path.join(folder, "drive.cue")])
    try:
        c = srv.client()
        assert c.request(WRITE_CD, album=1).track == 1
        assert "cannot be written (--cd-simulate writes an image instead)" in srv.log_text()
    finally:
        srv.stop()
        shutil.rmtree(folder, ignore_errors=True)


# ----- bad input ---------------------------------------------------------------------------------------

def refused(d, why):
    """The operators are told the disc cannot be used, and the server goes on."""
    m = d.l.wait_notice(SERVER_NOTICE, timeout=20)
    assert m.album != 0
    assert m.str == "The CD in the drive cannot be used: " + why
    assert "The CD in the drive cannot be used: " + why in d.local.log_text()
    assert d.l.request(ALBUM_READ, album=0).album == 0xFFFE
    still_serves(d.local)
    assert d.local.alive()


BAD_DISCS = {
    "truncated_bin": lambda disc, cue: disc.write(cue, bin_bytes=b"".join(disc.tracks)[:-1000]),
    "bin_shorter_than_its_tracks": lambda disc, cue: disc.write(cue, bin_bytes=disc.tracks[0][:2352 * 100]),
    "cue_naming_a_missing_file": lambda disc, cue: disc.write(cue, cue_text=disc.cue_text("nothere.bin")),
    "data_track_first": lambda disc, cue: Disc([4.0, 4.0], seed=71, data_tracks=[1]).write(cue),
    "data_track_between": lambda disc, cue: Disc([4.0, 4.0, 4.0], seed=71, data_tracks=[2]).write(cue),
    "shorter_than_two_seconds": lambda disc, cue: Disc([1.9], seed=72).write(cue),
    "cue_of_wave_files": lambda disc, cue: disc.write(cue, cue_text='FILE "a.wav" WAVE\n  TRACK 01 AUDIO\n'
                                                                    '    INDEX 01 00:00:00\n'),
    "binary_cue": lambda disc, cue: disc.write(cue, cue_text="\0\1\2FILE"),
}

BAD_REASONS = {
    "truncated_bin": "the .bin is %d bytes, not whole sectors (truncated?)" % (2352 * 600 - 1000),
    "bin_shorter_than_its_tracks": "the disc ends before its last track (a truncated image?)",
    "cue_naming_a_missing_file": "the cue sheet names nothere.bin, which is missing",
    "data_track_first": "a data track (track 1) before audio tracks",
    "data_track_between": "a data track (track 2) before audio tracks",
    "shorter_than_two_seconds": "shorter than two seconds",
    "cue_of_wave_files": "a FILE of type \"WAVE\" (only BINARY images are read)",
    "binary_cue": "the cue sheet is not a text of at most 64 KB",
}


@pytest.mark.parametrize("case", sorted(BAD_DISCS))
def test_bad_images_are_refused_and_a_good_one_works_after(drive, case):
    disc = Disc([4.0, 4.0], seed=70)
    BAD_DISCS[case](disc, drive.cue)
    refused(drive, BAD_REASONS[case])
    good = Disc([4.0, 3.0], seed=73)
    good.insert(drive.cue)
    _, view = drive.answer_cd_waiting()
    assert view.str == good.id_hex


def test_a_trailing_data_track_is_left_out_of_the_album(drive):
    disc = Disc([4.0, 5.0, 6.0], seed=74, data_tracks=[3])
    disc.insert(drive.cue)
    _, view = drive.answer_cd_waiting()
    assert view.str == disc.id_hex          # the identifier counts every track
    entries = drive.read_local_album0()
    assert [e[2][0] for e in entries] == ["00:09", "00:04", "00:05"]


def test_ninety_nine_tracks(drive):
    disc = Disc(None, seed=75, sectors=[40] * 98 + [200])
    disc.insert(drive.cue)
    _, view = drive.answer_cd_waiting()
    assert view.str == disc.id_hex
    entries = drive.read_local_album0()
    assert len(entries) == 100
    assert entries[0][2][0] == "00:54"
    n = drive.add_album(0, disc)
    drive.l.request(RET_TRACK, album=n, track=99)
    assert drive.retrieval_notices(until=RET_FINAL)[-2:] == [(RET_DONE, n, 99), (RET_FINAL, n, 0)]
    with open(drive.media(n, 99), "rb") as f:
        assert f.read()[44:] == disc.track_bytes(99)


def test_bad_xmcd_files_are_not_offered(drive):
    disc = Disc([4.0, 4.0], seed=81)
    good = disc.xmcd("Ada Quill", "Paper Lanterns", ["One", "Two"])
    write_freedb(drive.freedb, "blues", disc.disc_id, "# xmcd\n" + "#" * 300000 + "\nDTITLE=A / B\n")
    write_freedb(drive.freedb, "classical", disc.disc_id, b"# xmcd\nDTITLE=A / B\0\1\2\n")
    write_freedb(drive.freedb, "country", disc.disc_id, "# xmcd\nTTITLE0=no disc title\n")
    write_freedb(drive.freedb, "data", disc.disc_id, "DTITLE=no signature\n")
    write_freedb(drive.freedb, "folk", disc.disc_id, "# xmcd\nDTITLE=A / " + "x" * 5000 + "\n")
    write_freedb(drive.freedb, "jazz", disc.disc_id, disc.xmcd("Other", "Disc", ["A", "B"], disc_id=0x12345678))
    write_freedb(drive.freedb, "misc", disc.disc_id, good)
    os.makedirs(os.path.join(drive.freedb, "newage", "%08x" % disc.disc_id))   # a folder, not a file
    disc.insert(drive.cue)
    _, view = drive.answer_cd_waiting()
    assert view.track == 1001
    assert drive.match_file(1) == good
    log = drive.local.log_text()
    for cat, why in [("blues", "too large (300021 bytes)"), ("classical", "binary (it holds NUL bytes)"),
                     ("country", "no DTITLE line"), ("data", "not an XMCD file"),
                     ("folk", "a line longer than 4095 bytes"),
                     ("jazz", "its DISCID lines do not list %08x" % disc.disc_id),
                     ("newage", "not a regular file")]:
        assert "freedb file %s/%s/%08x not offered: %s" % (drive.freedb, cat, disc.disc_id, why) in log, cat
    still_serves(drive.local)


def test_matches_of_an_earlier_disc_do_not_stay(drive):
    one = Disc([4.0, 4.0], seed=82)
    two = Disc([5.0, 4.0], seed=83)
    write_freedb(drive.freedb, "misc", one.disc_id, one.xmcd("A", "B", ["x", "y"]))
    write_freedb(drive.freedb, "rock", one.disc_id, one.xmcd("C", "D", ["x", "y"]))
    one.insert(drive.cue)
    drive.answer_cd_waiting()
    assert os.path.exists(os.path.join(drive.local.root, "Local", "freedbfile2"))
    two.insert(drive.cue)
    _, view = drive.answer_cd_waiting()
    assert view.track == 1000
    assert not [f for f in os.listdir(os.path.join(drive.local.root, "Local")) if f.startswith("freedbfile")]


# ----- the demo's disc ----------------------------------------------------------------------------------

def test_the_demo_disc_brings_its_off_line_tracks_on_line():
    """The demo's CD, as scripts/demo.sh sets it up: known to the local server, three tracks to bring on line."""
    from realserver import ZERKASERVER, make_demo_root
    import subprocess
    master_root = make_demo_root()
    folder = tempfile.mkdtemp(prefix="zkd", dir="/tmp")
    disc_dir, local_root = os.path.join(folder, "disc"), os.path.join(folder, "local")
    out = subprocess.run([ZERKASERVER, "--make-demo-disc", disc_dir, master_root, local_root],
                         capture_output=True, text=True, timeout=60)
    assert out.returncode == 0, out.stderr
    assert "(album 0014, Wren Adeyemi & the Lamplighters - Night Trains and Nocturnes)" in out.stdout
    master = RealServer(root=master_root)
    cue = os.path.join(local_root, "drive", "drive.cue")
    local = RealServer(root=local_root, port=master.port,
                       args=["--listen", "127.0.0.2", "--cd-drive", cue, "--freedb", os.path.join(disc_dir, "freedb"),
                             "--cd-simulate", "--master", "127.0.0.1:%d" % master.port, "--master-root", master_root])
    try:
        m, l = master.client(), local.client()
        entries = entries_of(m.request(ALBUM_READ, album=14).str)
        assert [e[2][3] for e in entries[1:]] == ["1", "1", "0", "0", "0"]
        ident = entries[0][2][4]
        for name in ("drive.bin", "drive.cue"):
            shutil.copy(os.path.join(disc_dir, name), os.path.join(local_root, "drive", name))
        q = l.wait_notice(CD_WAITING, timeout=20)
        assert q.album == 14
        l.request(CD_WAITING, album=q.album, track=q.track)
        view = l.wait_notice(KNOWN_CD, timeout=10)
        assert (view.album, view.track, view.str) == (14, 1, ident)
        for t in (3, 4, 5):
            l.request(RET_TRACK, album=14, track=t)
        assert l.wait_notice(RET_FINAL, timeout=60).album == 14
        assert [e[2][3] for e in entries_of(m.request(ALBUM_READ, album=14).str)[1:]] == ["1"] * 5
        for t in range(1, 6):
            assert os.path.getsize(os.path.join(master_root, "Media", "0014_%02d.wav" % t)) == \
                44 + 176400 * int(entries[t][2][0].split(":")[1])
        m.close()
        l.close()
    finally:
        local.stop()
        master.stop()
        shutil.rmtree(folder, ignore_errors=True)
