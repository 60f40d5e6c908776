"""The loaded CD's screen: its freedb matches, taking the CD into the
database, identifying it, bringing tracks on line, overwriting a track, and
the keys it shares with the track lists. The fake server plays both the
master and the local server (one connection, as in master mode)."""

import os

from browse_common import Library, centred_col, list_line, wait_rows
from fakeserver import album_text, reply
from media_common import wait_no_popup, wait_popup
from term import KEY
from ui_common import start

ESC = KEY.ESC
ALBUM_WRITE = 0x11
ALBUM_TEMP = 0x14
ALBUM_NEW = 0x15
PLIST_ADD = 0x31
RET_TRACK = 0x4E
OFFLINE = 0x52
EXOCD = 0x64
KNOWN_CD = 0x69
CD_EJECT = 0x6B
RET_CHECK = 0x6C
DATABASE_FOOTER = "F10-bring online overwrite track ^W/^I check album/track"


def cd_library():
    lib = Library()
    lib.add(1, "Artist 1", "Album 1", [("Artist 1", "Song 1", "03:00")], time="03:00")
    lib.add(4, "Known", "Record", [("Known", "First", "03:00"), ("Known", "Second", "04:00", "-", 0),
                                   ("Known", "Third", "02:00", "-", 0)], time="09:00", cd_ident=0x4444)
    texts = lib.texts()
    # The CD in the drive, in the temporary slot: read again when it is shown.
    texts[0] = album_text("", "Unknown Disc", [("", "Track 1", "03:00"), ("", "Track 2", "04:00")],
                          album_time="07:00", cd_ident=0xABCD1234)
    return texts


def freedb(root, number, text):
    os.makedirs(os.path.join(root, "Local"), exist_ok=True)
    with open(os.path.join(root, "Local", "freedbfile%d" % number), "w") as f:
        f.write(text)


def start_cd(term, fake, root):
    fake.albums = cd_library()
    return start(term, fake, root, mode="master")


def show_heading(t, heading, rebuilt=True):
    """The heading, centred; after the list was rebuilt the browser adds its order suffix ("; ")."""
    shown = heading + "; " if rebuilt else heading
    t.wait_for(shown.rstrip(), row=0, col=centred_col(shown))


def writes(fake, album_no):
    return [m for m in fake.of_type(ALBUM_WRITE) if m.album == album_no]


def write_lines(m):
    return m.text.decode("latin-1").split("\n")


def test_matches_are_stepped_through_with_wrapping(fake, term, root):
    freedb(root, 1, "# xmcd\nDTITLE=Band One / Record One\nTTITLE0=Song A\nTTITLE1=Song B\n")
    freedb(root, 2, "DTITLE=Band Two / Record Two\r\nTTITLE0=Tune A\r\nTTITLE1=Tune B\r\n")
    freedb(root, 3, "DTITLE=Solo Name /\nTTITLE0=Other - Song X\nTTITLE1=Song Y\n")
    t = start_cd(term, fake, root)
    fake.push(EXOCD, album=0, track=1003, text=b"abcd1234")
    show_heading(t, "0000: Band One - Record One [07:00]", rebuilt=False)
    t.wait_for("Match 1 of 3 ->next <-prev duplicates F9-Database", row=23, col=17)
    wait_rows(t, [list_line(0, 1, "Band One", "Song A", "03:00"), list_line(0, 2, "Band One", "Song B", "04:00")])
    # The match is sent to the local server.
    assert write_lines(writes(fake, 0)[-1])[:5] == ["Band One", "Record One", "07:00 - 00000000 1 ABCD1234 0",
                                                   "Band One", "Song A"]
    t.send("n")
    show_heading(t, "0000: Band Two - Record Two [07:00]")
    t.wait_for("Match 2 of 3 ->next <-prev duplicates F9-Database", row=23, col=17)
    wait_rows(t, [list_line(0, 1, "Band Two", "Tune A", "03:00"), list_line(0, 2, "Band Two", "Tune B", "04:00")])
    t.send("n")
    # A disc title that ends in " /" after a name: a compilation of that name.
    show_heading(t, "0000: Various Artists - Solo Name [07:00]")
    wait_rows(t, [list_line(0, 1, "Other", "Song X", "03:00"), list_line(0, 2, "Solo Name", "Song Y", "04:00")])
    t.send("n")
    show_heading(t, "0000: Band One - Record One [07:00]")
    t.wait_for("Match 1 of 3", row=23, col=17)
    t.send("p")
    show_heading(t, "0000: Various Artists - Solo Name [07:00]")
    t.wait_for("Match 3 of 3", row=23, col=17)
    t.send(KEY.LEFT)
    show_heading(t, "0000: Band Two - Record Two [07:00]")
    t.send(KEY.RIGHT)
    show_heading(t, "0000: Various Artists - Solo Name [07:00]")
    t.send(ESC)
    m = fake.wait_for(CD_EJECT)
    assert (m.album, m.track) == (0, 0)
    t.wait_for("Console Mode")
    assert len(writes(fake, 0)) == 7   # the first match and one per step
    assert fake.errors == []


def test_with_one_match_next_and_previous_do_nothing(fake, term, root):
    freedb(root, 1, "DTITLE=Band One / Record One\nTTITLE0=Song A\nTTITLE0=, continued\n")
    t = start_cd(term, fake, root)
    fake.push(EXOCD, album=0, track=1001, text=b"abcd1234")
    show_heading(t, "0000: Band One - Record One [07:00]", rebuilt=False)
    t.wait_for("1 Match Duplicates F9-Database", row=23, col=17)
    # Two lines of one key make one title.
    wait_rows(t, [list_line(0, 1, "Band One", "Song A, continued", "03:00"), list_line(0, 2, "", "Track 2", "04:00")])
    for key in ("n", "p", KEY.LEFT, KEY.RIGHT):
        t.send(key)
    t.settle(0.5)
    t.wait_for("1 Match Duplicates F9-Database", row=23, col=17)
    assert len(writes(fake, 0)) == 1
    t.send(ESC)
    fake.wait_for(CD_EJECT)


def test_f9_takes_the_cd_into_the_database(fake, term, root):
    fake.handlers[ALBUM_NEW] = lambda srv, conn, m: reply(m, album=7)
    t = start_cd(term, fake, root)
    fake.push(EXOCD, album=0, track=1000, text=b"abcd1234")
    show_heading(t, "0000:  - Unknown Disc [07:00]", rebuilt=False)
    t.wait_for("No freedb Matches F9-Database F10-Identify", row=23, col=17)
    t.send(KEY.F9)
    m = fake.wait_for(ALBUM_NEW)
    assert (m.album, m.track, m.text) == (1, 0, b"")
    t.wait_for("Add this CD to the database as CD 0007?", row=12, col=10)
    t.send("y")
    w = fake.wait_for(ALBUM_WRITE, pred=lambda m: m.album == 7)
    assert write_lines(w) == ["", "Unknown Disc", "07:00 - 00000000 0 ABCD1234 0",
                              "", "Track 1", "03:00 - 00000000 0 00000000 0",
                              "", "Track 2", "04:00 - 00000000 0 00000000 0", ""]
    show_heading(t, "0007:  - Unknown Disc [07:00]")
    t.wait_for(DATABASE_FOOTER, row=23, col=17)
    wait_rows(t, [list_line(7, 1, "", "Track 1", "03:00", online=0), list_line(7, 2, "", "Track 2", "04:00", online=0)])
    t.send(ESC)
    m = fake.wait_for(CD_EJECT)
    assert m.album == 7


def test_declined_and_refused_numbers_leave_the_cd_as_it_was(fake, term, root):
    numbers = [7, 0]
    fake.handlers[ALBUM_NEW] = lambda srv, conn, m: reply(m, album=numbers.pop(0))
    t = start_cd(term, fake, root)
    fake.push(EXOCD, album=0, track=999, text=b"abcd1234")
    t.wait_for("Freedb Unavailable F9-Database F10-Identify", row=23, col=17)
    t.send(KEY.F9)
    t.wait_for("Add this CD to the database as CD 0007?", row=12, col=10)
    t.send("n")
    show_heading(t, "0000:  - Unknown Disc [07:00]")
    t.send(KEY.F9)
    wait_popup(t, " All available database slots are full")
    t.send(" ")
    show_heading(t, "0000:  - Unknown Disc [07:00]")
    assert writes(fake, 7) == [] and writes(fake, 0) == []
    t.send(ESC)
    assert fake.wait_for(CD_EJECT).album == 0


def test_f10_identifies_the_cd_as_an_album(fake, term, root):
    t = start_cd(term, fake, root)
    fake.push(EXOCD, album=0, track=1000, text=b"abcd1234")
    t.wait_for("No freedb Matches F9-Database F10-Identify", row=23, col=17)
    t.send(KEY.F10)
    t.wait_for("Identify this CD as album No:", row=8, col=12)
    t.settle(0.2)
    t.send("1\r")
    t.wait_for("0001: Artist 1 - Album 1 [03:00]", row=10, col=10)
    t.wait_for("Is this the correct album?", row=16, col=10)
    t.send("y")
    w = fake.wait_for(ALBUM_WRITE, pred=lambda m: m.album == 1)
    assert write_lines(w)[2] == "03:00 - 00000000 1 ABCD1234 0"
    # Now a CD of the database: its own footer.
    t.wait_for(DATABASE_FOOTER, row=23, col=17)
    t.send(KEY.F10)
    wait_popup(t, "All tracks on album 0 are online")
    wait_no_popup(t)
    t.send(ESC)
    fake.wait_for(CD_EJECT)


def test_identify_with_an_invalid_number_copies_nothing(fake, term, root):
    t = start_cd(term, fake, root)
    fake.push(EXOCD, album=0, track=1000, text=b"abcd1234")
    t.wait_for("No freedb Matches", row=23, col=17)
    t.send(KEY.F10)
    t.wait_for("Identify this CD as album No:", row=8, col=12)
    t.settle(0.2)
    t.send("9001\r")
    t.wait_for("Invalid album No: 9001")
    wait_no_popup(t)
    t.wait_for("No freedb Matches F9-Database F10-Identify", row=23, col=17, timeout=10)
    assert fake.of_type(ALBUM_WRITE) == []
    t.send(ESC)
    fake.wait_for(CD_EJECT)


def test_known_cd_brings_off_line_tracks_back_and_overwrites_a_track(fake, term, root):
    t = start_cd(term, fake, root)
    fake.push(KNOWN_CD, album=4, track=0)
    show_heading(t, "0004: Known - Record [09:00]", rebuilt=False)
    t.wait_for(DATABASE_FOOTER, row=23, col=17)
    t.send(KEY.F10)
    wait_popup(t, "2 tracks are to be retrieved on album 0004")
    assert [(m.album, m.track, m.text) for m in fake.of_type(RET_TRACK)] == [(4, 2, b""), (4, 3, b"")]
    wait_no_popup(t)
    t.send("o")
    m = fake.wait_for(OFFLINE)
    assert (m.album, m.track) == (4, 1)
    wait_popup(t, "Album 0004 Track 01 added to playlist for retrieval")
    wait_no_popup(t)
    assert fake.wait_for(RET_CHECK).album == 4
    assert (fake.of_type(PLIST_ADD)[-1].album, fake.of_type(PLIST_ADD)[-1].track) == (4, 1)
    w = writes(fake, 4)[-1]
    assert write_lines(w)[5] == "03:00 - 00000000 0 00000000 0"
    wait_rows(t, [list_line(4, 1, "Known", "First", "03:00", online=0),
                  list_line(4, 2, "Known", "Second", "04:00", online=0),
                  list_line(4, 3, "Known", "Third", "02:00", online=0)], timeout=10)
    t.send(ESC)
    assert fake.wait_for(CD_EJECT).album == 4


def test_a_on_the_unknown_cd_takes_a_reserved_number_and_retrieves_the_track(fake, term, root):
    fake.handlers[ALBUM_TEMP] = lambda srv, conn, m: reply(m, album=9003)
    t = start_cd(term, fake, root)
    fake.push(EXOCD, album=0, track=1000, text=b"abcd1234")
    t.wait_for("No freedb Matches", row=23, col=17)
    t.send(KEY.DOWN)
    t.send("a")
    m = fake.wait_for(ALBUM_TEMP)
    assert (m.album, m.text) == (1, b"")
    fake.wait_for(ALBUM_WRITE, pred=lambda m: m.album == 9003)
    r = fake.wait_for(RET_TRACK)
    assert (r.album, r.track) == (9003, 2)
    p = fake.wait_for(PLIST_ADD)
    assert (p.album, p.track) == (9003, 2)
    show_heading(t, "9003:  - Unknown Disc [07:00]")
    t.send(ESC)
    assert fake.wait_for(CD_EJECT).album == 9003


def test_d_checks_the_cd_for_duplicates(fake, term, root):
    t = start_cd(term, fake, root)
    fake.push(KNOWN_CD, album=4, track=0)
    show_heading(t, "0004: Known - Record [09:00]", rebuilt=False)
    t.send("d")
    show_heading(t, "0004: Known - Record", rebuilt=False)
    t.wait_for("Unique tracks: 3 (Duplicate tracks: 0)  export Tracks", row=23, col=17)
    t.send(ESC)
    t.wait_for("Duplicate Tracks: 0", row=23, col=17)
    t.send(ESC)
    show_heading(t, "0004: Known - Record [09:00]")
    t.wait_for(DATABASE_FOOTER, row=23, col=17)
    t.send(ESC)
    assert fake.wait_for(CD_EJECT).album == 4


def test_a_missing_match_file_is_reported(fake, term, root):
    # A file of one disc title: the title is handled last, as track 1's, and its artist becomes the album's.
    freedb(root, 1, "DTITLE=Band One / Record One\n")
    t = start_cd(term, fake, root)
    fake.push(EXOCD, album=0, track=1002, text=b"abcd1234")
    show_heading(t, "0000: Band One - Unknown Disc [07:00]", rebuilt=False)
    wait_rows(t, [list_line(0, 1, "Band One", "Record One", "03:00"), list_line(0, 2, "", "Track 2", "04:00")])
    t.send("n")
    wait_popup(t, ' Problem opening "Local/freedbfile2" - No such file or directory')
    t.send(" ")
    t.wait_for("Match 2 of 2", row=23, col=17)
    show_heading(t, "0000: Band One - Unknown Disc [07:00]")
    t.send(ESC)
    fake.wait_for(CD_EJECT)
