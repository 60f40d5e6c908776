"""Backing an album up on CD-R: the checks the client makes, the wait for a
blank disc (against a stand-in drive preloaded into the program, which answers
the disc-status request from a script), and the WRITE_CD request."""

import os

import pytest

from browse_common import Library, maintenance_row, to_maintenance
from conftest import BUILD
from fakeserver import reply
from term import KEY
from media_common import namespace_works, start_in_namespace, wait_popup
from ui_common import start

ESC = KEY.ESC
WRITE_CD = 0x6E
STANDIN = os.path.join(BUILD, "tests", "e2e", "libcdrom_standin.so")


def library(album_time="79:59"):
    lib = Library()
    lib.add(1, "Band", "Long Player", [("Band", "Side", "03:00")], time=album_time)
    lib.add(2, "Band", "Second", [("Band", "Other", "03:00")], time="80:01")
    return lib


class Drive:
    """The stand-in drive: its device path, its script of disc statuses and its log of answers."""

    def __init__(self, root, statuses):
        self.path = os.path.join(root, "sr0")
        self.script = os.path.join(root, "disc.script")
        self.log = os.path.join(root, "disc.log")
        with open(self.script, "w") as f:
            f.write("".join("%s\n" % s for s in statuses))

    def env(self):
        return {"LD_PRELOAD": STANDIN, "ZK_CDROM_PATH": self.path, "ZK_CDROM_SCRIPT": self.script,
                "ZK_CDROM_LOG": self.log}

    def answers(self):
        if not os.path.exists(self.log):
            return []
        with open(self.log) as f:
            return f.read().split()


def start_backup(term, fake, root, drive=None, lib=None, extra=None):
    fake.albums = (lib or library()).texts()
    cfg = {"MAX_CDR_LENGTH": "4800"}
    if drive is not None:
        cfg["CD_DRIVE"] = drive.path
    cfg.update(extra or {})
    t = start(term, fake, root, mode="master", extra=cfg, env=drive.env() if drive else None)
    to_maintenance(t)
    maintenance_row(t, "Back Up Album To CD")
    return t


def answer_album(t, number):
    t.wait_for("Album No. to back up:", row=18, col=12)
    assert t.at(18, 34, 4) == "0001"                # last_album 0 proposes album 1
    t.settle(0.2)
    t.send("%04d\r" % number)


def test_without_a_cd_writer_nothing_is_asked(fake, term, root):
    t = start_backup(term, fake, root)
    wait_popup(t, " Cannot make CD backup - no CD writer")
    t.send(" ")
    t.wait_for("Maintenance", row=0)
    assert fake.of_type(WRITE_CD) == []


def test_cancelled_album_prompt(fake, term, root):
    drive = Drive(root, [0])
    t = start_backup(term, fake, root, drive)
    t.wait_for("Album No. to back up:", row=18, col=12)
    t.send(ESC)
    t.wait_for("Maintenance", row=0)
    assert drive.answers() == []


def test_blank_disc_is_written_and_an_album_of_exactly_the_capacity_fits(fake, term, root):
    drive = Drive(root, [0])
    fake.handlers[WRITE_CD] = lambda srv, conn, m: reply(m, track=0)
    t = start_backup(term, fake, root, drive, lib=library("80:00"))
    answer_album(t, 1)
    m = fake.wait_for(WRITE_CD)
    assert (m.album, m.track, m.text) == (1, 0, b"")
    wait_popup(t, " Writing CD 0001 ")
    assert drive.answers() == ["0"]
    t.wait_for("Maintenance", row=0, timeout=10)


def test_an_album_longer_than_the_capacity_is_refused(fake, term, root):
    drive = Drive(root, [0])
    t = start_backup(term, fake, root, drive)
    answer_album(t, 2)
    wait_popup(t, " Total time (80:01) exceeds the CD-R capacity (80:00)")
    t.send(" ")
    t.wait_for("Maintenance", row=0)
    assert drive.answers() == [] and fake.of_type(WRITE_CD) == []


def test_an_invalid_album_number_is_refused(fake, term, root):
    drive = Drive(root, [0])
    t = start_backup(term, fake, root, drive)
    answer_album(t, 7)
    t.wait_for("Invalid album No: 0007")
    t.wait_for("Maintenance", row=0, timeout=10)
    assert drive.answers() == []


def test_a_pressed_cd_asks_for_a_writable_one(fake, term, root):
    drive = Drive(root, [100, 0])
    t = start_backup(term, fake, root, drive)
    answer_album(t, 1)
    t.wait_for("Place a writable CD in the drive and close the tray", row=16, col=12)
    t.wait_for("Press ENTER to continue, or ESC to abort", row=18, col=12)
    assert fake.of_type(WRITE_CD) == []
    t.send("\r")
    fake.wait_for(WRITE_CD)
    assert drive.answers() == ["100", "0"]


def test_no_disc_and_escape_abandons_the_backup(fake, term, root):
    drive = Drive(root, [1])
    t = start_backup(term, fake, root, drive)
    answer_album(t, 1)
    t.wait_for("Press ENTER to continue, or ESC to abort", row=18, col=12)
    t.send(ESC)
    t.wait_for("Maintenance", row=0)
    assert fake.of_type(WRITE_CD) == []
    assert drive.answers() == ["1"]


def test_an_open_tray_is_asked_again_at_once(fake, term, root):
    # 2: tray open, 3: drive not ready, 4: a disc the drive cannot tell more of.
    drive = Drive(root, [2, 2, 3, 4, 2, 0])
    t = start_backup(term, fake, root, drive)
    answer_album(t, 1)
    fake.wait_for(WRITE_CD)
    assert drive.answers() == ["2", "2", "3", "4", "2", "0"]
    assert "Place a writable CD" not in t.text()


def test_a_drive_that_cannot_answer_is_reported(fake, term, root):
    drive = Drive(root, ["E"])
    t = start_backup(term, fake, root, drive)
    answer_album(t, 1)
    wait_popup(t, " Cannot obtain disc status - Input/output error ")
    t.send(" ")
    t.wait_for("Maintenance", row=0)
    assert fake.of_type(WRITE_CD) == []


def test_a_drive_that_cannot_be_opened_is_reported(fake, term, root):
    t = start_backup(term, fake, root, extra={"CD_DRIVE": os.path.join(root, "nodrive")})
    answer_album(t, 1)
    wait_popup(t, " Cannot open CD drive - No such file or directory ")
    t.send(" ")
    t.wait_for("Maintenance", row=0)


@pytest.mark.parametrize("code,text", [
    (1, "CD drive is in use"),
    (2, "Cannot open TOC file"),
    (3, "Cannot write TOC file"),
    (4, "Cannot open dummy WAV file"),
    (9, "Album 0001: unknown CD writer result 9"),
])
def test_write_cd_refusals(fake, term, root, code, text):
    drive = Drive(root, [0])
    fake.handlers[WRITE_CD] = lambda srv, conn, m: reply(m, track=code)
    t = start_backup(term, fake, root, drive)
    answer_album(t, 1)
    wait_popup(t, " " + text)
    t.send(" ")
    t.wait_for("Maintenance", row=0)


@pytest.mark.skipif(not namespace_works(), reason="needs root and a private mount namespace")
def test_without_cdrdao_nothing_is_written(fake, term, root):
    drive = Drive(root, [0])
    # In a private mount namespace, a cdrdao that its owner cannot execute lies over the real one.
    bin_dir = os.path.join(root, "bin")
    os.makedirs(bin_dir)
    with open(os.path.join(bin_dir, "cdrdao"), "w") as f:
        f.write("#!/bin/sh\n")
    os.chmod(os.path.join(bin_dir, "cdrdao"), 0o644)
    fake.albums = library().texts()
    t = start_in_namespace(fake, root, bin_dir, extra={"CD_DRIVE": drive.path}, env=drive.env())
    try:
        to_maintenance(t)
        maintenance_row(t, "Back Up Album To CD")
        answer_album(t, 1)
        wait_popup(t, " cdrdao not found: is it installed?")
        t.send(" ")
        t.wait_for("Maintenance", row=0)
        assert fake.of_type(WRITE_CD) == [] and drive.answers() == []
    finally:
        t.kill()
