"""The program in local mode with a real master and a real local server that
owns a disc image drive: the CD question, the loaded-CD view, the "Please load
CD number" reminder, a failed retrieval and a backup's result, as the operator
sees them. (The keys of the loaded-CD view itself, F9, F10 and the match
stepping, are tested at the message level in test_server_cd.py.)

In local mode the program sets the clock from the master's time: it runs here
without the right to set it."""

import os
import shutil
import tempfile

import pytest

from cdimage import Disc, eject_image, wav_header, write_freedb
from conftest import make_root, write_cfg
from fakeserver import ALBUM_READ
from realserver import RealServer
from term import Term
from test_server_cd import (CANCEL, CDW_DONE, RET_DONE, RET_FINAL, RET_TRACK, WRITE_CD, entries_of, next_notice)

ZERKA = os.path.join(os.environ.get("ZERKA_BUILD_DIR", os.path.join(os.path.dirname(__file__), "..", "..", "build")),
                     "zerka")


class Setup:
    """Master, local server with a drive, and the program in local mode on the local server's root."""

    def __init__(self):
        self.dir = tempfile.mkdtemp(prefix="zkd", dir="/tmp")
        self.cue = os.path.join(self.dir, "drive.cue")
        self.freedb = os.path.join(self.dir, "freedb")
        os.mkdir(self.freedb)
        self.master = RealServer()
        self.local = RealServer(root=make_root(), port=self.master.port,
                                args=["--listen", "127.0.0.2", "--cd-drive", self.cue, "--freedb", self.freedb,
                                      "--cd-simulate", "--master", "127.0.0.1:%d" % self.master.port,
                                      "--master-root", self.master.root])
        write_cfg(self.local.root, self.master.port, mode="local", loopback="127.0.0.2",
                  extra={"MASTER_ROOT": self.master.root})
        self.m = self.master.client()
        self.l = self.local.client()
        self.term = None

    def add_album(self, disc, online=()):
        ident = disc.id_hex
        total = sum(disc.sectors) // 75
        lines = ["Fenwick Holloway", "Tide Tables", "%02d:%02d - 00000000 1 %s 0" % (total // 60, total % 60, ident)]
        for t, sectors in enumerate(disc.sectors, start=1):
            lines += ["Fenwick Holloway", "Song %d" % t,
                      "00:%02d - 00000000 %d %s 0" % (sectors // 75, 1 if t in online else 0, ident)]
        text = ("\n".join(lines) + "\n").encode()
        n = self.m.request(0x15, album=1).album
        assert self.m.request(0x11, album=n, text=text).album == n
        assert self.l.request(0x11, album=n, text=text).album == n
        return n

    def start(self):
        # Without CAP_SYS_TIME the program's /bin/date cannot change this machine's clock.
        self.term = Term(["/usr/bin/setpriv", "--bounding-set=-sys_time", ZERKA], {"ZERKA": self.local.root, "TZ": "UTC"})
        self.term.wait_for("Current Playlist (", row=0, timeout=30)
        self.term.settle(0.5)
        return self.term

    def close(self):
        if self.term is not None:
            self.term.kill()
        for c in (self.m, self.l):
            c.close()
        self.local.stop()
        self.master.stop()
        shutil.rmtree(self.dir, ignore_errors=True)


@pytest.fixture
def setup():
    s = Setup()
    yield s
    s.close()


def test_an_unknown_disc_is_asked_about_and_shown_from_the_local_server(setup):
    disc = Disc([4.0, 5.0, 6.0], seed=101)
    write_freedb(setup.freedb, "misc", disc.disc_id, disc.xmcd("Ada Quill", "Paper Lanterns", ["A", "B", "C"]))
    t = setup.start()
    disc.insert(setup.cue)
    t.wait_for("An unknown album is loaded: Do you wish to edit it?", row=10, col=10, timeout=20)
    t.send("y")
    # The view: album 0 from the local server with its one freedb match loaded,
    # the times from the disc.
    t.wait_for("0000: Ada Quill - Paper Lanterns [00:15]", row=0, timeout=10)
    t.wait_for("1 Match Duplicates F9-Database", timeout=10)
    for row, (title, time_text) in enumerate((("A", "00:04"), ("B", "00:05"), ("C", "00:06")), start=2):
        assert t.row(row).startswith("│ 0000/%02d Ada Quill" % (row - 1)), t.text()
        assert "- %-29s [%s]" % (title, time_text) in t.row(row), t.text()
    t.send("\x1b", pause=0.5)
    # Leaving the view ejects the disc.
    t.wait_gone("0000: Ada Quill - Paper Lanterns [00:15]", timeout=10)
    for _ in range(100):
        if "CD %s ejected" % disc.id_hex in setup.local.log_text():
            break
        t.settle(0.1)
    assert "CD %s ejected" % disc.id_hex in setup.local.log_text()
    assert setup.l.request(ALBUM_READ, album=0).album == 0xFFFE


def test_a_known_disc_is_offered_as_its_album(setup):
    disc = Disc([4.0, 5.0], seed=102)
    n = setup.add_album(disc)
    t = setup.start()
    disc.insert(setup.cue)
    t.wait_for("Album %04d is loaded: Do you wish to view it?" % n, row=10, col=10, timeout=20)
    t.send("y")
    t.wait_for("%04d: Fenwick Holloway - Tide Tables [00:09]" % n, timeout=10)
    t.wait_for("F10-bring online", timeout=5)
    t.send("\x1b", pause=0.5)
    t.wait_gone("F10-bring online", timeout=10)


def test_the_reminder_shows_until_the_disc_comes(setup):
    disc = Disc([4.0, 4.0], seed=103)
    n = setup.add_album(disc)
    t = setup.start()
    # Another connection asks for a track (as the view's keys do): every client is told which disc to load.
    setup.l.request(RET_TRACK, album=n, track=2)
    t.wait_for("Please load CD number %04d" % n, row=22, timeout=10)
    assert t.find("Please load CD number %04d" % n) == (22, (80 - 25) // 2)
    disc.insert(setup.cue)
    assert next_notice(setup.l, lambda m: m.type == RET_FINAL, 30).album == n
    t.wait_gone("Please load CD number", timeout=10)
    with open(os.path.join(setup.master.root, "Media", "%04d_02.wav" % n), "rb") as f:
        assert f.read() == wav_header(len(disc.track_bytes(2))) + disc.track_bytes(2)
    # The program heard from the master that the track is on line.
    assert entries_of(setup.m.request(ALBUM_READ, album=n).str)[2][2][3] == "1"
    # The disc was used for the retrieval: no question about it.
    assert t.find("is loaded: Do you wish") is None


def test_a_cancel_ends_the_reminder(setup):
    disc = Disc([4.0], seed=104)
    n = setup.add_album(disc)
    t = setup.start()
    setup.l.request(RET_TRACK, album=n, track=1)
    t.wait_for("Please load CD number %04d" % n, row=22, timeout=10)
    setup.l.request(CANCEL, album=n)
    t.wait_gone("Please load CD number", timeout=10)
    t.settle(2.5)
    assert t.find("Please load CD number") is None


def test_a_failed_retrieval_is_reported(setup):
    disc = Disc([4.0], seed=105)
    n = setup.add_album(disc)
    setup.l.request(0x11, album=n, text=setup.m.request(ALBUM_READ, album=n).str.replace(disc.id_hex, "00000000")
                    .encode())
    t = setup.start()
    setup.l.request(RET_TRACK, album=n, track=1)
    t.wait_for("Cannot retrieve album %04d, track 1" % n, timeout=10)


def test_a_backups_result_is_shown(setup):
    disc = Disc([4.0, 4.5], seed=106)
    n = setup.add_album(disc, online=(1, 2))
    for tr in (1, 2):
        with open(os.path.join(setup.master.root, "Media", "%04d_%02d.wav" % (n, tr)), "wb") as f:
            f.write(wav_header(len(disc.track_bytes(tr))) + disc.track_bytes(tr))
    t = setup.start()
    assert setup.l.request(WRITE_CD, album=n).track == 0
    t.wait_for("Album %04d written to CD (ID %s)" % (n, disc.id_hex), row=10, col=10, timeout=60)
    assert next_notice(setup.l, lambda m: m.type == CDW_DONE, 5).track == 0
    t.send("\r")
    t.wait_gone("written to CD", timeout=10)
    eject_image(setup.cue)
