"""Unsolicited server messages and the loss of the server."""

import subprocess
import threading
import time

import pytest

from conftest import ZERKA, write_cfg
from fakeserver import (ALBUM_READ, CHANGE_MODE, CLIENT_OPEN, GETTIME, PLIST_NOW, SERVER_DOWN, SERVER_NOTICE,
                        SKIP, PAUSE, RET_REQ, CANCEL, Msg, reply, simple_library)

LOST = "Zerka server is closing down - abort"
CD_WAITING = 0xBB
RET_FAILED = 0x68
CDW_DONE = 0x6F


def started(fake, term, **kw):
    """The interactive program, past its database load and idle."""
    fake.albums = simple_library(3)
    t = term(**kw)
    fake.wait_for(ALBUM_READ, pred=lambda m: m.album == 9019)
    t.settle(0.5)
    return t


def test_server_down_notice_ends_the_program_cleanly(fake, term):
    t = started(fake, term)
    fake.push(SERVER_DOWN)
    t.wait_for("Server is shutting down", row=12)
    assert t.wait_exit() == 0


@pytest.mark.parametrize("garbage", [
    b"",                                      # the connection simply closes
    b"zz 0000 0000 0000 0000 ",               # a malformed header
    b"38 0000 0000 0000 9000 " + b"x" * 10,   # a length above 0x8000
    b"38 0000 0000 0000 0040 half a text",    # half a message, then the end
    b"38 00",                                 # half a header, then the end
])
def test_lost_or_broken_server_ends_the_program(fake, term, garbage):
    t = started(fake, term)
    if garbage:
        fake.push_raw(garbage)
    time.sleep(0.2)
    fake.drop_connections()
    t.wait_for(LOST, row=12)
    assert t.wait_exit() == 1


def test_lost_server_during_a_reply_wait_in_command_line_mode(fake, root):
    fake.silent.add(CLIENT_OPEN)
    proc = subprocess.Popen([ZERKA, "--x"], env={"ZERKA": root}, stdout=subprocess.PIPE, stderr=subprocess.PIPE)
    fake.wait_for(CLIENT_OPEN)
    fake.drop_connections()
    out, err = proc.communicate(timeout=10)
    assert proc.returncode == 1
    assert err.decode() == LOST + "\n"


def test_now_playing_announcement_and_play_time(fake, term):
    t = started(fake, term)
    fake.push(PLIST_NOW, album=2, track=3, text=b"125 0 1")
    where = t.wait_for("Now Playing: Artist 2 - Song 2-3")
    assert where[0] == 12
    t.wait_for("02:0", row=23, col=74)
    assert t.is_reverse(23, 74)
    # It runs down once per idle second.
    first = t.at(23, 74, 5)
    time.sleep(2.2)
    t.pump()
    assert t.at(23, 74, 5) < first


def test_paused_play_time_does_not_run_down(fake, term):
    t = started(fake, term)
    fake.push(PLIST_NOW, album=2, track=3, text=b"100 1 0")
    t.wait_for("01:40", row=23, col=74)
    time.sleep(2.5)
    t.pump()
    assert t.at(23, 74, 5) == "01:40"
    fake.push(PAUSE)
    time.sleep(2.5)
    t.pump()
    assert t.at(23, 74, 5) < "01:40"


def test_skip_shows_eight_seconds_and_counts_down_to_zero(fake, term):
    t = started(fake, term)
    fake.push(SKIP)
    t.wait_for("00:0", row=23, col=74)
    assert t.at(23, 74, 5) in ("00:08", "00:07")
    t.wait_for("00:00", row=23, col=74, timeout=15)
    time.sleep(1.5)
    t.pump()
    assert t.at(23, 74, 5) == "00:00"   # never below zero


def test_announcement_needs_a_flag_an_album_and_time(fake, term):
    t = started(fake, term)
    fake.push(PLIST_NOW, album=0xFFFE, track=0, text=b"100 0 1")
    fake.push(PLIST_NOW, album=1, track=1, text=b"0 0 1")
    fake.push(PLIST_NOW, album=1, track=2, text=b"50 0 0")
    t.settle(1.0)
    assert t.find("Now Playing") is None


def test_server_notice_popup(fake, term):
    t = started(fake, term)
    fake.push(SERVER_NOTICE, album=0, text=b"Backup starts at midnight")
    t.wait_for("Backup starts at midnight", row=12)


def test_change_mode_pops_up_the_new_mode(fake, term):
    t = started(fake, term)
    fake.push(CHANGE_MODE, album=2, track=0)
    t.wait_for("Playing Mode changed to Jukebox", row=12)
    t.settle(2.5)
    fake.push(CHANGE_MODE, album=5, track=1, text=b"party")
    t.wait_for('Playing Mode changed to Playlist: "party"', row=12)


def test_change_mode_outside_the_mode_table_is_ignored(fake, term):
    t = started(fake, term)
    fake.push(CHANGE_MODE, album=99, track=0)
    fake.push(SERVER_NOTICE, album=0, text=b"still here")
    t.wait_for("still here")
    assert t.find("Playing Mode changed") is None


def test_failed_retrieve_popup(fake, term):
    t = started(fake, term)
    fake.push(RET_FAILED, album=12, track=3)
    t.wait_for("Cannot retrieve album 0012, track 3", row=12)


def test_retrieve_reminder_blinks_until_cancelled(fake, term):
    t = started(fake, term)
    text = "Please load CD number 0012"
    fake.push(RET_REQ, album=12, track=3)
    t.wait_for(text, row=22, col=(80 - len(text)) // 2)
    assert t.is_bold(22, (80 - len(text)) // 2)
    t.wait_gone(text, timeout=3)      # the blank phase of the next idle second
    t.wait_for(text, row=22, timeout=3)
    fake.push(CANCEL, album=12)
    time.sleep(2.5)
    t.pump()
    t.settle(1.2)
    later = t.row(22)
    time.sleep(1.2)
    t.pump()
    assert t.row(22) == later          # no longer blinking


def test_cd_waiting_question_sends_the_answer_back(fake, term):
    t = started(fake, term)
    fake.push(CD_WAITING, album=12, track=4)
    t.wait_for("Album 0012 is loaded: Do you wish to view it?", row=10, col=10)
    t.send("y")
    m = fake.wait_for(CD_WAITING)
    assert (m.album, m.track, m.text) == (12, 4, b"")


def test_unknown_cd_waiting_declined_sends_nothing(fake, term):
    t = started(fake, term)
    fake.push(CD_WAITING, album=0, track=0)
    t.wait_for("An unknown album is loaded: Do you wish to edit it?", row=10, col=10)
    t.send("n")
    t.settle(0.5)
    assert fake.of_type(CD_WAITING) == []


@pytest.mark.parametrize("code,text", [
    (0, "Album 0007 written to CD (ID 0000ABCD)"),
    (1, "Interprocess message failure"),
    (2, "CD drive in use for ripping"),
    (3, "Cannot obtain disc status"),
    (4, "Album 0007: no header info - possibly a simulated write"),
])
def test_cd_written_results(fake, term, code, text):
    t = started(fake, term)
    fake.push(CDW_DONE, album=7, track=code, text=b"abcd")
    t.wait_for(text, row=10, col=10)


def test_messages_during_a_reply_wait_are_handled_after_the_reply(fake, term):
    # While the reply to ALBUM_READ 2 is held, the server announces a notice;
    # the load goes on and the notice shows once the reply has been taken.
    fake.albums = simple_library(3)
    release = threading.Event()
    default = fake.default_reply

    def handler(srv, conn, m):
        if m.album == 2:
            conn.send(Msg(SERVER_NOTICE, seq=(m.seq + 0x100) & 0xFFFF, album=0, text=b"queued notice"))
            release.wait(10)
        return default(conn, m)
    fake.handlers[ALBUM_READ] = handler
    t = term()
    fake.wait_for(ALBUM_READ, pred=lambda m: m.album == 2)
    time.sleep(0.5)
    t.pump()
    assert t.find("queued notice") is None
    release.set()
    t.wait_for("queued notice")
    fake.wait_for(ALBUM_READ, pred=lambda m: m.album == 4)
    assert [m.album for m in fake.of_type(ALBUM_READ)][:4] == [1, 2, 3, 4]


def test_keys_typed_during_a_reply_come_back_last_typed_first(fake, term):
    # m, j and Esc typed while the reply to ALBUM_READ 2 is held: the console takes
    # Esc (the last typed) and leaves; the main menu then gets j (Jukebox) and m
    # (the next "m" row after Jukebox: Mixed Mode).
    from ui_common import wait_main_highlight
    fake.albums = simple_library(3)
    release = threading.Event()
    default = fake.default_reply

    def handler(srv, conn, m):
        if m.album == 2:
            release.wait(20)
        return default(conn, m)
    fake.handlers[ALBUM_READ] = handler
    t = term()
    fake.wait_for(ALBUM_READ, pred=lambda m: m.album == 2)
    t.send("m", pause=0.2)
    t.send("j", pause=0.2)
    t.send("\x1b", pause=1.5)
    release.set()
    t.wait_for("ZERKALIBRARY", row=0, timeout=15)
    wait_main_highlight(t, 3)


@pytest.fixture
def two_servers():
    from fakeserver import FakeServer
    master = FakeServer()
    local = FakeServer(port=master.port, host="127.0.0.2")
    master.albums = simple_library(3)
    yield master, local
    master.stop()
    local.stop()


def test_the_masters_message_is_taken_first(two_servers, root, term):
    import signal
    master, local = two_servers
    write_cfg(root, master.port, mode="local", loopback="127.0.0.2")
    t = term()
    master.wait_for(ALBUM_READ, pred=lambda m: m.album == 9019)
    t.settle(0.5)
    # Both messages wait in their sockets while the program is stopped; the one
    # handled last sets the play time.
    t.child.kill(signal.SIGSTOP)
    try:
        local.push(PLIST_NOW, album=1, track=1, text=b"200 1 0")
        master.push(PLIST_NOW, album=1, track=1, text=b"100 1 0")
        time.sleep(0.5)
    finally:
        t.child.kill(signal.SIGCONT)
    t.wait_for("03:20", row=23, col=74)


def test_a_message_on_the_other_connection_is_queued_whatever_its_sequence(two_servers, root, term):
    # While ALBUM_READ 2 waits on the master, the local server sends a notice
    # with the request's very sequence: it is not the reply, and shows after it.
    master, local = two_servers
    release = threading.Event()
    default = master.default_reply

    def handler(srv, conn, m):
        if m.album == 2:
            local.push(SERVER_NOTICE, seq=m.seq, album=0, text=b"notice from the local server")
            release.wait(20)
        return default(conn, m)
    master.handlers[ALBUM_READ] = handler
    write_cfg(root, master.port, mode="local", loopback="127.0.0.2")
    t = term()
    master.wait_for(ALBUM_READ, pred=lambda m: m.album == 2)
    time.sleep(0.5)
    t.pump()
    assert t.find("notice from the local server") is None
    assert [m.album for m in master.of_type(ALBUM_READ)] == [1, 2]
    release.set()
    t.wait_for("notice from the local server", row=12)
    master.wait_for(ALBUM_READ, pred=lambda m: m.album == 3)
    assert master.errors == [] and local.errors == []


@pytest.mark.parametrize("seq,shown", [(0x0700, [(5, 1)]), (0, [(2, 1), (2, 2), (3, 3)])])
def test_playlist_update_during_a_reply_wait_is_queued_for_the_handlers_own_test(fake, term, seq, shown):
    # An offline playlist is shown, so a key wait would drop the update; arriving
    # during the reply to PLIST_KEEP it is queued instead, and the handler then
    # takes it for the offline list only when its sequence field is non-zero.
    from console_helpers import track_line
    from fakeserver import PLIST_UPDATE, plist_text
    from test_offline_playlists import open_playlist
    PLIST_KEEP = 0x3C
    t, _ = open_playlist(fake, term)

    def on_keep(srv, conn, m):
        conn.send(Msg(PLIST_UPDATE, seq=seq, album=1, track=0, text=plist_text([(5, 1)])))
        time.sleep(0.3)
        return reply(m)
    fake.handlers[PLIST_KEEP] = on_keep
    t.send("k")
    t.wait_for("Save Current Playlist As:", row=12, col=10)
    t.send("kept\r")
    fake.wait_for(PLIST_KEEP)
    t.settle(1.0)
    for i, (a, tr) in enumerate(shown):
        assert t.at(2 + i, 2, 77) == track_line(a, tr)
    assert t.at(2 + len(shown), 2, 7) == "       "


LONG_ARTIST = "ABCDEFGHIJKLMNOPQRSTUVWXYZ0123456789"   # 36 characters
LONG_TITLE = "abcdefghijklmnopqrstuvwxyz-0123456789"   # 37 characters


def console_with(fake, term, current):
    from console_helpers import PlaylistServer, start_console
    from fakeserver import album_text
    PlaylistServer(fake, current=current)
    library = simple_library(3)
    library[4] = album_text(LONG_ARTIST, LONG_TITLE, [("Solo", "One", "02:00"), ("Solo", "Two", "03:00")])
    return start_console(fake, term, library=library)


def test_album_written_and_deleted_notices_change_the_table(fake, term):
    from console_helpers import track_line
    from fakeserver import ALBUM_DELETED, ALBUM_WRITTEN, album_text
    t = console_with(fake, term, [(1, 1), (2, 2)])
    t.wait_for(track_line(1, 1), row=2, col=2)
    fake.push(ALBUM_WRITTEN, album=1, text=album_text("New Band", "New Record", [("New Band", "Changed", "04:10")]))
    t.wait_for("0001/01 %-28.28s - %-29.29s [04:10]" % ("New Band", "Changed"), row=2, col=2)
    fake.push(ALBUM_DELETED, album=2)
    t.wait_for("0002/02 %-28.28s - %-29.29s []" % ("", ""), row=3, col=2)
    assert t.at(2, 2, 20) == "0001/01 New Band    "


@pytest.mark.parametrize("track,footer", [
    (999, "Freedb Unavailable F9-Database F10-Identify"),
    (1000, "No freedb Matches F9-Database F10-Identify"),
    (1001, "1 Match Duplicates F9-Database"),
    (1003, "Match 1 of 3 ->next <-prev duplicates F9-Database"),
])
def test_an_unknown_cd_is_shown_with_the_freedb_footer_then_ejected(fake, term, track, footer):
    from console_helpers import track_line
    t = console_with(fake, term, [(1, 1)])
    reads = len(fake.of_type(ALBUM_READ))
    fake.push(0x64, album=4, track=track, text=b"1234abcd")
    if track > 1000:
        # With matches the first is loaded: this root has no match file, so the album keeps what it had.
        t.wait_for('Problem opening "Local/freedbfile1" - No such file or directory', row=12)
        t.send(" ")
    heading = "0004: %s - %s [05:00]" % (LONG_ARTIST[:29], LONG_TITLE[:29])
    t.wait_for(heading, row=0, col=(80 - len(heading)) // 2)
    t.wait_for(footer, row=23)
    t.wait_for("0004/01 Solo", row=2, col=2)
    t.wait_for("0004/02 Solo", row=3, col=2)
    # The album was read again from the local server's connection (here the master's).
    assert [m.album for m in fake.of_type(ALBUM_READ)][reads:] == [4]
    t.send("\x1b")
    m = fake.wait_for(0x6B)
    assert (m.album, m.track, m.text) == (4, 0, b"")
    t.wait_for("Current Playlist (", row=0)
    t.wait_for(track_line(1, 1), row=2, col=2)


def test_a_known_cd_cuts_the_artist_one_shorter_and_shows_its_own_footer(fake, term):
    t = console_with(fake, term, [(1, 1)])
    reads = len(fake.of_type(ALBUM_READ))
    fake.push(0x69, album=4, track=2)
    heading = "0004: %s - %s [05:00]" % (LONG_ARTIST[:28], LONG_TITLE[:29])
    t.wait_for(heading, row=0, col=(80 - len(heading)) // 2)
    t.wait_for("F10-bring online overwrite track ^W/^I check album/track", row=23)
    t.wait_for("0004/02 Solo", row=3, col=2)
    assert len(fake.of_type(ALBUM_READ)) == reads   # nothing is read again for a known CD
    t.send("\x1b")
    m = fake.wait_for(0x6B)
    assert (m.album, m.track, m.text) == (4, 0, b"")
    t.wait_for("Current Playlist (", row=0)


def test_retrieval_state_follows_the_servers_notices(fake, term):
    t = started(fake, term)
    col = (80 - len("Please load CD number 0012")) // 2

    def reminder_shows(number, seconds=3.0):
        text = "Please load CD number %04d" % number
        end = time.time() + seconds
        while time.time() < end:
            t.pump(0.05)
            if t.at(22, col, len(text)) == text:
                return True
        return False

    fake.push(RET_REQ, album=12, track=3)
    assert reminder_shows(12)
    fake.push(0x62, album=12)                 # CD_LOADED: that CD is in, another is being handled
    time.sleep(1.2)
    assert not reminder_shows(12)
    fake.push(RET_REQ, album=13, track=1)     # ignored while the other CD is handled
    assert not reminder_shows(13)
    fake.push(0x67)                           # RET_FINAL
    fake.push(RET_REQ, album=13, track=1)
    assert reminder_shows(13)
    fake.push(0x65, album=99)                 # RET_PROG of another album changes nothing
    time.sleep(1.2)
    assert reminder_shows(13)
    fake.push(0x63, album=13)                 # CANCELLED
    time.sleep(1.2)
    assert not reminder_shows(13)
    fake.push(RET_REQ, album=14, track=1)
    assert reminder_shows(14)
    fake.push(0x65, album=14)                 # RET_PROG of that album ends the reminder too
    time.sleep(1.2)
    assert not reminder_shows(14)


def test_server_notice_with_an_album_field_is_an_error_that_waits_for_a_key(fake, term):
    t = started(fake, term)
    fake.push(SERVER_NOTICE, album=1, text=b"Disk is full")
    t.wait_for(" Disk is full ", row=12)
    # Only the server's text: no leftover system error of this program is added to it.
    assert t.row(12).strip(" \u2502") == "Disk is full"
    time.sleep(3)
    t.pump()
    assert t.find("Disk is full") is not None
    t.send(" ")
    t.wait_gone("Disk is full")
