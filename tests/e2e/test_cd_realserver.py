"""The CD flows end to end: the program in local mode, a real master and a real
local server that owns a disc image drive, on loopback. The discs are images
made here from generated samples, with XMCD files for their identifiers; the
test reads the servers back over connections of its own (albums, playlists,
notices) and compares the media files with the image bit for bit.

In local mode the program sets the clock from the master's time: it runs here
without the right to set it."""

import os
import shutil
import time

import pytest

from album_common import album_number
from browse_common import centred_col, list_line, maintenance_row, to_maintenance, wait_rows
from cdimage import Disc, eject_image, wav_header, write_freedb
from conftest import write_cfg
from fakeserver import ALBUM_DELETED, ALBUM_READ, ALBUM_WRITE, ALBUM_WRITTEN, PLIST_GET
from media_common import wait_no_popup, wait_popup
from realserver import RealServer
from term import KEY, Term
from test_cd_backup import Drive as StandInDrive
from test_cd_client import ZERKA, Setup
from test_album_screens import wait_detail
from test_duplicates import choose_report_row, open_report_menu
from test_server_cd import ALBUM_NEW, CDW_DONE, RET_FINAL, entries_of, next_notice
from ui_common import to_main_menu

ESC = KEY.ESC
DATABASE_FOOTER = "F10-bring online overwrite track ^W/^I check album/track"
REMINDER_COL = (80 - len("Please load CD number 0000")) // 2


def start_program(root, env=None):
    """The program on a root, without the right to set the clock; the playlist console shows first."""
    e = {"ZERKA": root, "TZ": "UTC"}
    e.update(env or {})
    t = Term(["/usr/bin/setpriv", "--bounding-set=-sys_time", ZERKA], e)
    t.wait_for("Current Playlist (", row=0, timeout=30)
    t.settle(0.5)
    return t


class Rig(Setup):
    """The two servers, the protocol connections `m` (master) and `l` (local), and the program in local
    mode on the local server's root; start() takes further zerka.cfg keys and environment variables."""

    def start(self, env=None, **cfg):
        keys = {"MASTER_ROOT": self.master.root}
        keys.update(cfg)
        write_cfg(self.local.root, self.master.port, mode="local", loopback="127.0.0.2", extra=keys)
        self.term = start_program(self.local.root, env)
        return self.term

    def media(self, album, track):
        return os.path.join(self.master.root, "Media", "%04d_%02d.wav" % (album, track))

    def master_album(self, n):
        return entries_of(self.m.request(ALBUM_READ, album=n).str)

    def local_album(self, n):
        return entries_of(self.l.request(ALBUM_READ, album=n).str)


@pytest.fixture
def rig():
    r = Rig()
    yield r
    r.close()


def wait_log(server, text, timeout=20):
    """Waits for a line of a server's log."""
    end = time.monotonic() + timeout
    while text not in server.log_text():
        assert time.monotonic() < end, "%r not in the log:\n%s" % (text, server.log_text()[-3000:])
        time.sleep(0.05)


def show_heading(t, heading, rebuilt=True, timeout=10):
    """The heading, centred; once the list was rebuilt the browser adds its order suffix ("; ")."""
    shown = heading + "; " if rebuilt else heading
    t.wait_for(shown.rstrip(), row=0, col=centred_col(shown), timeout=timeout)


def footer(t, text, timeout=10):
    t.wait_for(text, row=23, col=17, timeout=timeout)


def media_of(disc, track):
    return wav_header(len(disc.track_bytes(track))) + disc.track_bytes(track)


def wait_media(rig, disc, album, track, timeout=30):
    """Waits until the track's media file in the master's media folder holds the disc's samples."""
    path = rig.media(album, track)
    end = time.monotonic() + timeout
    while True:
        if os.path.exists(path):
            with open(path, "rb") as f:
                if f.read() == media_of(disc, track):
                    return
        assert time.monotonic() < end, "%s does not hold the samples of track %d" % (path, track)
        time.sleep(0.05)


def answer_cd_question(t, album=0, timeout=20):
    if album == 0:
        t.wait_for("An unknown album is loaded: Do you wish to edit it?", row=10, col=10, timeout=timeout)
    else:
        t.wait_for("Album %04d is loaded: Do you wish to view it?" % album, row=10, col=10, timeout=timeout)
    t.settle(0.2)
    t.send("y")


TIDE = ("Fenwick Holloway", "Tide Tables", ["Neap", "Spring", "Slack Water"])
LIVE = ("The Holloways", "Tide Tables (Live)", ["Neap (Live)", "Spring (Live)", "Slack (Live)"])


def test_an_unknown_disc_is_matched_taken_in_and_known_when_put_in_again(rig):
    disc = Disc([4.5, 5.0, 6.2], seed=201)
    write_freedb(rig.freedb, "misc", disc.disc_id, disc.xmcd(*TIDE))
    write_freedb(rig.freedb, "rock", disc.disc_id, disc.xmcd(*LIVE))
    t = rig.start()
    disc.insert(rig.cue)
    answer_cd_question(t)
    # Match 1 (the categories in name order) is loaded into the view and sent to the local server.
    show_heading(t, "0000: Fenwick Holloway - Tide Tables [00:15]", rebuilt=False)
    footer(t, "Match 1 of 2 ->next <-prev duplicates F9-Database")
    times = ["00:04", "00:05", "00:06"]
    wait_rows(t, [list_line(0, i, "Fenwick Holloway", title, times[i - 1], online=0)
                  for i, title in enumerate(TIDE[2], start=1)])
    assert rig.local_album(0)[0][:2] == ["Fenwick Holloway", "Tide Tables"]
    # Next, next again (round to 1), previous (round to 2).
    t.send("n")
    show_heading(t, "0000: The Holloways - Tide Tables (Live) [00:15]")
    footer(t, "Match 2 of 2 ->next <-prev duplicates F9-Database")
    t.send("n")
    show_heading(t, "0000: Fenwick Holloway - Tide Tables [00:15]")
    footer(t, "Match 1 of 2")
    t.send(KEY.LEFT)
    show_heading(t, "0000: The Holloways - Tide Tables (Live) [00:15]")
    footer(t, "Match 2 of 2")
    wait_rows(t, [list_line(0, i, "The Holloways", title, times[i - 1], online=0)
                  for i, title in enumerate(LIVE[2], start=1)])
    assert rig.local_album(0)[1][:2] == ["The Holloways", "Neap (Live)"]
    # F9: a new number from the master, asked about, the album written to both servers.
    t.send(KEY.F9)
    # The master's database is empty: the next number is 0001.
    n = 1
    t.wait_for("Add this CD to the database as CD 0001?", row=12, col=10)
    t.send("y")
    show_heading(t, "%04d: The Holloways - Tide Tables (Live) [00:15]" % n)
    footer(t, DATABASE_FOOTER)
    wait_rows(t, [list_line(n, i, "The Holloways", title, times[i - 1], online=0)
                  for i, title in enumerate(LIVE[2], start=1)])
    # Another client of the master hears of it; both servers hold it, every track off line, with the disc's ident.
    written = rig.m.wait_notice(ALBUM_WRITTEN, timeout=10, pred=lambda m: m.album == n)
    for entries in (entries_of(written.str), rig.master_album(n), rig.local_album(n)):
        assert [e[:2] for e in entries] == [["The Holloways", "Tide Tables (Live)"]] + \
            [["The Holloways", title] for title in LIVE[2]]
        assert [e[2][0] for e in entries] == ["00:15"] + times
        assert [e[2][3] for e in entries[1:]] == ["0", "0", "0"]
        assert entries[0][2][4] == disc.id_hex
    # Leaving the view ejects the disc.
    t.send(ESC)
    t.wait_gone("Tide Tables (Live)", timeout=10)
    wait_log(rig.local, "CD %s ejected" % disc.id_hex)
    assert rig.l.request(ALBUM_READ, album=0).album == 0xFFFE
    t.wait_for("Current Playlist (", row=0)
    # Put in again: the database knows it now.
    disc.insert(rig.cue)
    answer_cd_question(t, n)
    show_heading(t, "%04d: The Holloways - Tide Tables (Live) [00:15]" % n, rebuilt=False)
    footer(t, DATABASE_FOOTER)
    wait_rows(t, [list_line(n, i, "The Holloways", title, times[i - 1], online=0)
                  for i, title in enumerate(LIVE[2], start=1)])
    t.send(ESC)
    t.wait_for("Current Playlist (", row=0)
    assert "CD %s in the drive: 3 tracks, 00:15, album %04d, 2 freedb matches" % (disc.id_hex, n) in \
        rig.local.log_text()


# ----- a known disc: bringing tracks on line ------------------------------------------------------

def known_disc(rig, seconds, seed, online=(), stale=()):
    """A disc and its album on both servers ("Fenwick Holloway - Tide Tables", "Song N"): the tracks in
    `online` on line with their media, those in `stale` on line with a media file of other samples."""
    disc = Disc(seconds, seed=seed)
    n = rig.add_album(disc, online=tuple(online) + tuple(stale))
    for tr in online:
        with open(rig.media(n, tr), "wb") as f:
            f.write(media_of(disc, tr))
    for tr in stale:
        with open(rig.media(n, tr), "wb") as f:
            f.write(wav_header(4000) + b"\x55" * 4000)
    return disc, n


def track_rows(n, disc, online):
    return [list_line(n, tr, "Fenwick Holloway", "Song %d" % tr, "00:%02d" % (sectors // 75), online=online[tr - 1])
            for tr, sectors in enumerate(disc.sectors, start=1)]


def view_known(rig, t, disc, n, heading_time):
    disc.insert(rig.cue)
    answer_cd_question(t, n)
    show_heading(t, "%04d: Fenwick Holloway - Tide Tables [%s]" % (n, heading_time), rebuilt=False)
    footer(t, DATABASE_FOOTER)


def test_a_track_put_off_line_is_brought_on_line_with_f10(rig):
    rig.add_album(Disc([6.0], seed=210))    # album 1: the CD's album is not the first
    disc, n = known_disc(rig, [4.0, 5.0, 4.5], 211, online=(1, 3), stale=(2,))
    assert n == 2
    t = rig.start()
    view_known(rig, t, disc, n, "00:13")
    wait_rows(t, track_rows(n, disc, [1, 1, 1]))
    # Ctrl-O on track 2 (the list's keys): off line at the master, which tells every client.
    t.send(KEY.DOWN)
    t.send(KEY.ctrl("o"))
    t.wait_for("Are you sure you wish to offline this track?", row=16, col=10)
    assert t.at(8, 10, 40) == ("%04d/02: Fenwick Holloway - Song 2" % n).ljust(40)
    t.send("y")
    assert entries_of(rig.m.wait_notice(ALBUM_WRITTEN, timeout=10, pred=lambda m: m.album == n).str)[2][2][3] == "0"
    wait_rows(t, track_rows(n, disc, [1, 0, 1]))
    # F10: the off-line track is asked for; the local server rips it from the disc in the drive.
    t.send(KEY.F10)
    wait_popup(t, "1 track is to be retrieved on album %04d" % n)
    assert next_notice(rig.l, lambda m: m.type == RET_FINAL, 30).album == n
    wait_media(rig, disc, n, 2)
    assert [e[2][3] for e in rig.master_album(n)[1:]] == ["1", "1", "1"]
    # The program heard from the master that the track is on line again.
    wait_no_popup(t)
    wait_rows(t, track_rows(n, disc, [1, 1, 1]), timeout=10)
    assert t.find("Please load CD number") is None
    t.send(KEY.F10)
    wait_popup(t, "All tracks on album %d are online" % n)
    wait_no_popup(t)
    t.send(ESC)
    t.wait_for("Current Playlist (", row=0)
    wait_log(rig.local, "CD %s ejected" % disc.id_hex)
    # The CD's album is the last album now: the next screen that asks for a number proposes it.
    to_main_menu(t)
    open_report_menu(t)
    choose_report_row(t, "Check album for duplicates")
    t.wait_for("Next Album No:", row=12, col=28)
    t.wait_for("%04d" % n, row=12, col=43)
    t.send(ESC)
    t.wait_for("Report Generator", row=0)


def current_playlist(rig):
    """The master's current playlist, as (album, track) pairs."""
    text = rig.m.request(PLIST_GET, album=1, text=b"current.lst").str
    return [tuple(int(x) for x in text[i:i + 8].split()) for i in range(0, len(text), 8)]


def test_a_retrieves_a_track_into_the_playlist_and_o_overwrites_one(rig):
    disc, n = known_disc(rig, [4.0, 4.4, 5.2], 212, online=(2,), stale=(3,))
    t = rig.start()
    view_known(rig, t, disc, n, "00:13")
    wait_rows(t, track_rows(n, disc, [0, 1, 1]))
    # a on track 1: the local server rips it, and it goes into the master's current playlist.
    t.send("a")
    wait_popup(t, "Fenwick Holloway - Song 1:  Added to Current Playlist")
    assert next_notice(rig.l, lambda m: m.type == RET_FINAL, 30).album == n
    wait_media(rig, disc, n, 1)
    assert current_playlist(rig) == [(n, 1)]
    wait_no_popup(t)
    wait_rows(t, track_rows(n, disc, [1, 1, 1]), timeout=10)
    # o on track 3: off line at the master, into the current playlist, the album written to both
    # servers, and the local server checks the album for off-line tracks: it rips 3 over its stale file.
    t.send(KEY.DOWN)
    t.send(KEY.DOWN)
    t.send("o")
    wait_popup(t, "Album %04d Track 03 added to playlist for retrieval" % n)
    wait_log(rig.local, "Retrieval check of album %04d: 1 off-line tracks" % n)
    assert next_notice(rig.l, lambda m: m.type == RET_FINAL, 30).album == n
    wait_media(rig, disc, n, 3)
    assert current_playlist(rig) == [(n, 1), (n, 3)]
    wait_no_popup(t)
    wait_rows(t, track_rows(n, disc, [1, 1, 1]), timeout=10)
    assert [e[2][3] for e in rig.master_album(n)[1:]] == ["1", "1", "1"]
    assert [e[2][3] for e in rig.local_album(n)[1:]] == ["1", "1", "1"]
    # Nothing is left to be asked for.
    t.settle(2.5)
    assert t.find("Please load CD number") is None
    t.send(ESC)
    t.wait_for("Current Playlist (", row=0)


# ----- a disc that is not in the drive ---------------------------------------------------------------

def ask_for_a_disc_not_in_the_drive(rig, t, disc, n, blinks=True):
    """The album's view is open when its disc is taken out; F10 then asks for its off-line tracks, and
    the program reminds the operator which disc to load."""
    view_known(rig, t, disc, n, "00:08")
    eject_image(rig.cue)
    wait_log(rig.local, "CD %s taken out" % disc.id_hex)
    t.send(KEY.F10)
    wait_popup(t, "2 tracks are to be retrieved on album %04d" % n)
    t.wait_for("Please load CD number %04d" % n, row=22, col=REMINDER_COL, timeout=10)
    assert t.is_bold(22, REMINDER_COL)
    if blinks:
        # The same width of blanks every other idle second.
        t.wait_gone("Please load CD number", timeout=5)
        assert t.at(22, REMINDER_COL, 26) == " " * 26
        t.wait_for("Please load CD number %04d" % n, row=22, col=REMINDER_COL, timeout=5)
    # Leaving the view: nothing to eject, the reminder stays.
    wait_no_popup(t)
    t.send(ESC)
    t.wait_for("Current Playlist (", row=0)
    t.wait_for("Please load CD number %04d" % n, row=22, col=REMINDER_COL, timeout=10)


def test_the_reminder_shows_until_the_disc_is_put_in(rig):
    disc, n = known_disc(rig, [4.0, 4.2], 221)
    t = rig.start()
    ask_for_a_disc_not_in_the_drive(rig, t, disc, n)
    assert not os.path.exists(rig.media(n, 1))
    disc.insert(rig.cue)
    assert next_notice(rig.l, lambda m: m.type == RET_FINAL, 30).album == n
    wait_media(rig, disc, n, 1)
    wait_media(rig, disc, n, 2)
    t.settle(2.5)
    assert t.find("Please load CD number") is None
    # The disc was taken for the retrieval: no question about it.
    assert t.find("is loaded: Do you wish") is None
    assert [e[2][3] for e in rig.master_album(n)[1:]] == ["1", "1"]


def test_ctrl_k_on_the_console_cancels_the_retrieval(rig):
    disc, n = known_disc(rig, [4.0, 4.2], 222)
    t = rig.start(CD_DRIVE=rig.cue)
    ask_for_a_disc_not_in_the_drive(rig, t, disc, n, blinks=False)
    t.send(KEY.ctrl("k"))
    t.wait_for("Are you sure you want to cancel the current retrieve?", row=12, col=14)
    t.send("y")
    wait_log(rig.local, "Retrievals of album %04d cancelled: 2 tracks" % n)
    t.settle(2.5)
    assert t.find("Please load CD number") is None
    # The disc comes afterwards: nothing is ripped, it is offered for viewing.
    disc.insert(rig.cue)
    answer_cd_question(t, n)
    footer(t, DATABASE_FOOTER)
    assert not os.path.exists(rig.media(n, 1)) and not os.path.exists(rig.media(n, 2))
    t.send(ESC)
    t.wait_for("Current Playlist (", row=0)
    # With nothing to retrieve, Ctrl-K only says so.
    t.send(KEY.ctrl("k"))
    wait_popup(t, "There are no outstanding retrieves")


# ----- a backup --------------------------------------------------------------------------------------

def test_a_simulated_backup_is_written_and_its_result_shown(rig):
    disc, n = known_disc(rig, [4.0, 5.0, 4.5], 231, online=(1, 2, 3))
    # The program's drive is a stand-in that reports a blank disc; the local server writes an image.
    drive = StandInDrive(rig.local.root, [0])
    t = rig.start(env=drive.env(), CD_DRIVE=drive.path, MAX_CDR_LENGTH="4800")
    to_main_menu(t)
    to_maintenance(t)
    maintenance_row(t, "Back Up Album To CD")
    t.wait_for("Album No. to back up:", row=18, col=12)
    t.settle(0.2)
    t.send("%04d\r" % n)
    wait_popup(t, " Writing CD %04d " % n)
    t.wait_for("Album %04d written to CD (ID %s)" % (n, disc.id_hex), row=10, col=10, timeout=60)
    assert drive.answers() == ["0"]
    done = next_notice(rig.l, lambda m: m.type == CDW_DONE, 10)
    assert (done.album, done.track, done.str) == (n, 0, disc.id_hex)
    with open(os.path.join(rig.local.root, "Backup", "%04d.bin" % n), "rb") as f:
        assert f.read() == b"".join(disc.tracks)
    t.send("\r")
    t.wait_gone("written to CD", timeout=10)


# ----- identifying an unknown disc --------------------------------------------------------------------

def test_f10_identifies_the_disc_as_an_album_in_the_program_only(rig):
    disc = Disc([4.0, 4.0], seed=241)
    n = rig.add_album(disc)
    # The database's album has no CD ident yet.
    text = rig.m.request(ALBUM_READ, album=n).str.replace(disc.id_hex, "00000000").encode()
    rig.m.request(ALBUM_WRITE, album=n, text=text)
    rig.l.request(ALBUM_WRITE, album=n, text=text)
    t = rig.start()
    disc.insert(rig.cue)
    answer_cd_question(t)
    show_heading(t, "0000:  -  [00:08]", rebuilt=False)
    footer(t, "No freedb Matches F9-Database F10-Identify")
    t.send(KEY.F10)
    t.wait_for("Identify this CD as album No:", row=8, col=12)
    t.settle(0.2)
    t.send("%d\r" % n)
    t.wait_for("%04d: Fenwick Holloway - Tide Tables [00:08]" % n, row=10, col=10)
    t.wait_for("Is this the correct album?", row=16, col=10)
    t.send("y")
    # The screen is cleared and drawn again as a CD of the database.
    show_heading(t, "0000:  -  [00:08]")
    footer(t, DATABASE_FOOTER)
    assert t.find("Is this the correct album?") is None
    # Nothing is sent to either server: the album keeps its ident there.
    t.send(ESC)
    t.wait_for("Current Playlist (", row=0)
    wait_log(rig.local, "CD %s ejected" % disc.id_hex)
    assert [m for m in rig.m.notices if m.type == ALBUM_WRITTEN] == []
    assert rig.master_album(n)[0][2][4] == "00000000"
    assert rig.local_album(n)[0][2][4] == "00000000"
    # The program's own table has it: the album's detail screen shows the disc's identifier.
    to_main_menu(t)
    to_maintenance(t)
    maintenance_row(t, "Album Tracklist")
    album_number(t, n)
    show_heading(t, "%04d: Fenwick Holloway - Tide Tables [00:08]" % n, rebuilt=False)
    t.send("i")
    wait_detail(t, ["Track No:   1", "Artist: Fenwick Holloway", "Title:  Song 1", "Time:   00:04", "Status: Normal",
                    "Online? N", "Last Played:", "No. of Plays: 0"])
    t.send(KEY.PGUP)
    wait_detail(t, ["Album No: %04d" % n, "Artist: Fenwick Holloway", "Title:  Tide Tables", "Time:   00:08",
                    "No. of Tracks: 2", "CD Ident: 0x%s" % disc.id_hex, "", ""])


# ----- duplicates ---------------------------------------------------------------------------------------

def test_d_finds_the_disc_all_duplicates_and_deletes_its_album(rig):
    # An album of the same tracks, a little longer, from another disc.
    older = Disc([7.0, 9.0], seed=251)
    first = rig.add_album(older)
    assert older.disc_id != Disc([4.1, 5.1], seed=252).disc_id
    disc, n = known_disc(rig, [4.1, 5.1], 252)
    t = rig.start()
    view_known(rig, t, disc, n, "00:09")
    t.send("d")
    heading = "%04d: Fenwick Holloway - Tide Tables" % n
    t.wait_for(heading, row=0, col=centred_col(heading))
    footer(t, "Unique tracks: 0 (Duplicate tracks: 2)  export Tracks")
    t.send(ESC)
    footer(t, "Duplicate Tracks: 2")
    wait_rows(t, [list_line(first, 1, "Fenwick Holloway", "Song 1", "00:07", online=0),
                  list_line(first, 2, "Fenwick Holloway", "Song 2", "00:09", online=0)])
    t.send(ESC)
    t.wait_for("Do you wish to delete this album?", row=16, col=10)
    assert t.at(8, 3, 40) == heading.ljust(40)
    t.send("y")
    # The master deletes it and tells its other clients.
    assert rig.m.wait_notice(ALBUM_DELETED, timeout=10).album == n
    assert rig.m.request(ALBUM_READ, album=n).album == 0xFFFD      # it was the last album
    assert rig.m.request(ALBUM_READ, album=first).album == first
    # The CD's list went with its album: the view ends, and the disc goes out.
    t.wait_for("Current Playlist (", row=0)
    wait_log(rig.local, "CD %s ejected" % disc.id_hex)


# ----- a new album from a folder of WAV files, against the real master -------------------------------

def test_a_wav_folder_becomes_an_album_at_the_master():
    master = RealServer()
    t = None
    other = master.client()
    try:
        # The program runs on the master's own machine, with the master's root as its own.
        root = master.root
        folder = os.path.join(root, "Wav", "Harbour Lights")
        os.makedirs(folder)
        one = Disc([2.0], seed=261).track_bytes(1)
        two = Disc([3.0], seed=262).track_bytes(1)
        files = {"01 - Pilot Boat.wav": wav_header(len(one)) + one, "02 - Low Water.wav": wav_header(len(two)) + two}
        for name, data in files.items():
            with open(os.path.join(folder, name), "wb") as f:
                f.write(data)
        write_cfg(root, master.port, mode="master",
                  extra={"WAV_PATH": os.path.join(root, "Wav") + "/", "WAV_FOLDER": "Harbour Lights"})
        t = start_program(root)
        to_main_menu(t)
        to_maintenance(t)
        maintenance_row(t, "Imports")
        t.wait_for("Imports", row=0, col=centred_col("Imports"))
        t.settle(0.2)
        t.send(KEY.ENTER)
        t.wait_for("Location of WAV Folder:", row=16, col=10)
        t.settle(0.2)
        t.send("\r")
        t.wait_for("2 files 00:05 total time", row=16, col=10)
        t.wait_for("Continue?", row=18, col=10)
        t.send("y")
        # ALBUM_NEW has reached the master: the number is held for the program, the next client gets the next.
        t.wait_for("Album Artist(s):", row=15, col=12)
        assert other.request(ALBUM_NEW, album=1).album == 2
        t.settle(0.2)
        t.send(KEY.DEL * 15 + "harbour lights band\r")
        t.wait_for("Album Title:", row=17, col=12)
        assert t.at(17, 25, 50) == "Harbour Lights".ljust(50)
        t.settle(0.2)
        t.send("\r")
        t.wait_for("Album 0001 created", row=11, col=23)
        t.wait_for("No CD writer available - cannot make backup", row=13, col=23)
        # ALBUM_WRITE: the master stores it and tells its other clients.
        written = other.wait_notice(ALBUM_WRITTEN, timeout=10, pred=lambda m: m.album == 1)
        want = [["Harbour Lights Band", "Harbour Lights", ["00:05", "-", "00000000", "0", "00000000", "0"]],
                ["", "Pilot Boat", ["00:02", "-", "00000000", "1", "00000000", "0"]],
                ["", "Low Water", ["00:03", "-", "00000000", "1", "00000000", "0"]]]
        assert entries_of(written.str) == want
        assert entries_of(other.request(ALBUM_READ, album=1).str) == want
        for track, data in ((1, files["01 - Pilot Boat.wav"]), (2, files["02 - Low Water.wav"])):
            with open(os.path.join(root, "Media", "0001_%02d.wav" % track), "rb") as f:
                assert f.read() == data
        t.send(" ")
        t.wait_for("Imports", row=0)
    finally:
        if t is not None:
            t.kill()
        other.close()
        master.stop()
        shutil.rmtree(master.root, ignore_errors=True)
