"""The album track list, the album and track detail screens, the album editor and album deletion."""

import calendar

from album_common import (ALBUM_DELETE, ALBUM_READ, ALBUM_WRITE, KEY, AlbumStore, album_number, album_text,
                          entry_line, maintenance_row, no_new_messages, popup_at, quiet, start_maint, wait_written,
                          written)
from browse_common import list_line, wait_position, wait_rows
from ui_common import centred

FOOTER = "add to playList  more by artist  duplicates  ^WAV check"


def stamp(year, month, day, hour=0, minute=0):
    return calendar.timegm((year, month, day, hour, minute, 0))


def library():
    return {
        1: album_text("Abba", "Gold", [("Abba", "Dancing Queen", "03:51"), ("Abba", "Waterloo", "02:42"),
                                       ("Abba", "Mamma Mia", "03:33")], album_time="10:07", cd_ident=0xABCD),
        2: album_text("Band", "Record", [("Band", "One", "03:00")]),
        4: album_text("Solo", "Alone", [("Solo", "Lonely", "04:00")]),
    }


def heading_at(t, text):
    t.wait_for(text, row=0, col=centred(text))


def open_tracklist(t, number):
    maintenance_row(t, "Album Tracklist")
    album_number(t, number)


# ----- Album Tracklist ---------------------------------------------------------------------------------

def test_tracklist_shows_the_album_and_moves_on_to_the_next_album_in_use(term, fake, root):
    AlbumStore(fake, library())
    t = start_maint(term, fake, root)
    maintenance_row(t, "Album Tracklist")
    t.wait_for("Album No: 0001", row=18, col=12)
    assert all(t.is_reverse(18, c) for c in range(22, 26))
    assert "Maintenance" not in t.row(0)   # the question is asked on a cleared screen
    t.send("\r")
    heading_at(t, "0001: Abba - Gold [10:07]")
    wait_rows(t, [list_line(1, 1, "Abba", "Dancing Queen", "03:51"), list_line(1, 2, "Abba", "Waterloo", "02:42"),
                  list_line(1, 3, "Abba", "Mamma Mia", "03:33")])
    wait_position(t, "1 of 3")
    assert t.at(23, 17, len(FOOTER)) == FOOTER
    t.send(KEY.ESC)
    t.wait_for("Album No: 0002", row=18, col=12)   # the next album
    t.send("\r")
    heading_at(t, "0002: Band - Record [03:00]")
    t.send(KEY.ESC)
    t.wait_for("Album No: 0004", row=18, col=12)   # 3 is not in use
    t.send("\r")
    heading_at(t, "0004: Solo - Alone [04:00]")
    t.send(KEY.ESC)
    t.wait_for("Album No: 0001", row=18, col=12)   # past the last album: the first again
    t.send(KEY.ESC)
    heading_at(t, "Maintenance")


def test_tracklist_refused_number_asks_again_from_album_1(term, fake, root):
    AlbumStore(fake, library())
    t = start_maint(term, fake, root)
    open_tracklist(t, 2)
    heading_at(t, "0002: Band - Record [03:00]")
    t.send(KEY.ESC)
    t.wait_for("Album No: 0004", row=18, col=12)
    t.send("0003\r")
    popup_at(t, "Invalid album No: 0003")
    t.wait_for("Album No: 0001", row=18, col=12, timeout=10)
    t.send("0004\r")
    heading_at(t, "0004: Solo - Alone [04:00]")


def test_tracklist_heading_cuts_artist_and_title_to_29(term, fake, root):
    long_artist = "An Artist Whose Name Goes On And On"
    long_title = "A Title That Is Much Too Long To Show"
    AlbumStore(fake, {1: album_text(long_artist, long_title, [("X", "Y", "01:00")])})
    t = start_maint(term, fake, root)
    open_tracklist(t, 1)
    heading_at(t, "0001: %s - %s [01:00]" % (long_artist[:29], long_title[:29]))


def test_a_on_an_empty_console_opens_the_album_tracklist(term, fake, root):
    from console_helpers import PlaylistServer
    PlaylistServer(fake, current=[])
    AlbumStore(fake, library())
    t = start_on_console(term, fake, root)
    t.send("a")
    t.wait_for("Album No: 0001", row=18, col=12)
    t.send("0004\r")
    heading_at(t, "0004: Solo - Alone [04:00]")
    t.send(KEY.ESC)
    t.wait_for("Album No: 0001", row=18, col=12)
    t.send(KEY.ESC)
    t.wait_for("Current Playlist (", row=0)


def start_on_console(term, fake, root):
    """The program on its console (it opens there), in master mode."""
    from conftest import write_cfg
    write_cfg(root, fake.port, mode="master")
    t = term(env={"TZ": "UTC"})
    t.wait_for("Current Playlist (", row=0, timeout=20)
    t.settle(0.3)
    return t


# ----- details -----------------------------------------------------------------------------------------

def details_library():
    return {1: album_text("Abba", "Gold", [
        # (artist, title, time, status, online, last_played, cd_ident, plays)
        ("Abba", "Dancing Queen", "03:51", "S", 1, stamp(2010, 1, 2, 3, 4), 0, 7),
        ("Abba", "Waterloo", "02:42", "N", 0, 0, stamp(2005, 3, 4, 5, 6), 0),
        ("Abba", "Mamma Mia", "03:33", "U", 1, 0, stamp(2000, 6, 1, 12, 30), 12),
        ("Abba", "Fernando", "04:14", "-", 1, stamp(1999, 12, 31), 0, 1),
    ], album_time="14:20", cd_ident=0x5F00ABCD)}


def detail_rows(t):
    return [t.row(r)[2:60].rstrip() for r in (3, 5, 7, 9, 11, 13, 15, 17)]


def wait_detail(t, want, timeout=5):
    import time
    end = time.time() + timeout
    while True:
        t.pump(0.05)
        if detail_rows(t) == want:
            return
        if time.time() > end:
            raise AssertionError("detail screen is not\n%s\n---\n%s" % ("\n".join(want), t.text()))


def test_details_of_tracks_and_of_the_album_with_paging(term, fake, root):
    AlbumStore(fake, details_library())
    t = start_maint(term, fake, root)
    open_tracklist(t, 1)
    heading_at(t, "0001: Abba - Gold [14:20]")
    t.send("i")
    heading_at(t, "0001: Abba - Gold [14:20]")
    wait_detail(t, ["Track No:   1", "Artist: Abba", "Title:  Dancing Queen", "Time:   03:51", "Status: Short List",
                    "Online? Y", "Last Played: 02/01/10 @ 03:04", "No. of Plays: 7"])
    assert t.at(15, 15, 16) == "02/01/10 @ 03:04"
    assert all(t.is_reverse(3, c) for c in range(12, 16))   # the number is edited in place
    t.send(KEY.PGDN)
    # Never played: the other time stamp is shown.
    wait_detail(t, ["Track No:   2", "Artist: Abba", "Title:  Waterloo", "Time:   02:42", "Status: Not Selected",
                    "Online? N", "Last Played: 04/03/05 @ 05:06", "No. of Plays: 0"])
    t.send(KEY.PGDN)
    # Never played, and the other stamp lies in 2000: nothing after the label.
    wait_detail(t, ["Track No:   3", "Artist: Abba", "Title:  Mamma Mia", "Time:   03:33", "Status: Unplayable",
                    "Online? Y", "Last Played:", "No. of Plays: 12"])
    t.send(KEY.PGDN)
    wait_detail(t, ["Track No:   4", "Artist: Abba", "Title:  Fernando", "Time:   04:14", "Status: Normal",
                    "Online? Y", "Last Played:", "No. of Plays: 1"])
    t.send(KEY.PGDN)   # not beyond the last track
    t.settle(0.3)
    assert detail_rows(t)[0] == "Track No:   4"
    for _ in range(4):
        t.send(KEY.PGUP)
    wait_detail(t, ["Album No: 0001", "Artist: Abba", "Title:  Gold", "Time:   14:20", "No. of Tracks: 4",
                    "CD Ident: 0x5F00ABCD", "", ""])
    t.send(KEY.PGUP)   # not before the album
    t.settle(0.3)
    assert detail_rows(t)[0] == "Album No: 0001"
    t.send("\r")   # the album number is taken as a track number
    wait_detail(t, ["Track No:   1", "Artist: Abba", "Title:  Dancing Queen", "Time:   03:51", "Status: Short List",
                    "Online? Y", "Last Played: 02/01/10 @ 03:04", "No. of Plays: 7"])
    t.send("3\r")   # typed before the shown number: "3  1"
    t.wait_for("Track No:   3", row=3, col=2)
    t.send("9\r")   # beyond the last track: the last
    t.wait_for("Track No:   4", row=3, col=2)
    t.send("-5\r")   # negative: the album
    t.wait_for("Album No: 0001", row=3, col=2)
    t.send(KEY.ESC)
    wait_rows(t, [list_line(1, n, "Abba", title, time_, status, online) for n, title, time_, status, online in (
        (1, "Dancing Queen", "03:51", "S", 1), (2, "Waterloo", "02:42", "N", 0), (3, "Mamma Mia", "03:33", "U", 1),
        (4, "Fernando", "04:14", "-", 1))])
    heading_at(t, "0001: Abba - Gold [14:20]")


def test_details_keeps_the_other_stamp_as_last_played_which_the_editor_shows_from_2000(term, fake, root):
    AlbumStore(fake, details_library())
    t = start_maint(term, fake, root)
    open_tracklist(t, 1)
    heading_at(t, "0001: Abba - Gold [14:20]")
    t.send(KEY.DOWN)
    t.send(KEY.DOWN)
    t.send("i")
    t.wait_for("Title:  Mamma Mia", row=7, col=2)
    assert t.row(15)[2:78].rstrip() == "Last Played:"
    t.send(KEY.ESC)
    heading_at(t, "0001: Abba - Gold [14:20]")
    t.settle(0.3)
    t.send("e")
    t.wait_for("Track No:    3", row=3, col=2)
    # The stamp was copied into the database: the editor shows dates from 2000 on.
    t.wait_for("Last Played: 01/06/00 @ 12:30", row=13, col=2)
    t.send(KEY.ESC)
    heading_at(t, "0001: Abba - Gold [14:20]")
    assert written(fake) == []


# ----- edit_album --------------------------------------------------------------------------------------

def form_rows(t):
    return [t.row(r)[2:78].rstrip() for r in (3, 5, 7, 9, 11, 13, 15, 17)]


def wait_form(t, want, timeout=5):
    import time
    end = time.time() + timeout
    while True:
        t.pump(0.05)
        if form_rows(t) == want:
            return
        if time.time() > end:
            raise AssertionError("form is not\n%s\n---\n%s" % ("\n".join(want), t.text()))


def album_form(number, artist, title, time_):
    rows = ["Album No: %04d" % number, "Artist: " + artist, "Title:  " + title, "Time:   " + time_, "", "", "", ""]
    return [r.rstrip() for r in rows]


def track_form(number, artist, title, time_, status="-", played="", online="Y", plays=0):
    rows = ["Track No: %4d" % number, "Artist: " + artist, "Title:  " + title, "Time:   " + time_,
            "Status: " + status, "Last Played: " + played, "Online? " + online, "No. of Plays: %d" % plays]
    return [r.rstrip() for r in rows]


def open_editor(t, number):
    maintenance_row(t, "Edit Album")
    album_number(t, number)


def test_edit_a_various_album_becomes_various_artists_when_paging_to_a_track(term, fake, root):
    AlbumStore(fake, {1: album_text("various artists", "Hits", [("Singer A", "Song A", "03:00"),
                                                                ("Singer B", "Song B", "04:00")])})
    t = start_maint(term, fake, root)
    open_editor(t, 1)
    heading_at(t, "0001: various artists - Hits [07:00]")
    wait_form(t, album_form(1, "various artists", "Hits", "07:00"))
    t.send(KEY.PGDN)
    wait_form(t, track_form(1, "Singer A", "Song A", "03:00"))
    t.send(KEY.PGDN)
    t.send(KEY.PGDN)
    # A new track of a compilation inherits no artist.
    wait_form(t, track_form(3, "", "", "00:00", online="N"))
    t.send(KEY.PGUP)
    t.send(KEY.PGUP)
    t.send(KEY.PGUP)
    wait_form(t, album_form(1, "Various Artists", "Hits", "07:00"))
    t.send(KEY.ESC)
    heading_at(t, "Maintenance")   # nothing typed: no question, nothing written
    assert written(fake) == []
    # The album's new artist stays in memory.
    open_tracklist(t, 1)
    heading_at(t, "0001: Various Artists - Hits [07:00]")


def test_edit_paging_past_the_last_track_gives_a_track_with_the_album_artist(term, fake, root):
    AlbumStore(fake, library())
    t = start_maint(term, fake, root)
    open_editor(t, 1)
    wait_form(t, album_form(1, "Abba", "Gold", "10:07"))
    for _ in range(4):
        t.send(KEY.PGDN)
    wait_form(t, track_form(4, "Abba", "", "00:00", online="N"))
    # The cursor starts on the number; down twice to the title.
    t.send(KEY.DOWN)
    t.send(KEY.DOWN)
    t.send("Super Trouper")
    t.send(KEY.ESC)
    t.wait_for("Save changes?", row=10, col=30)
    assert "Abba" not in t.text()   # asked on a cleared screen
    t.send("y")
    n, got = wait_written(fake)
    assert n == 1
    assert got == [("Abba", "Gold", entry_line("10:07", cd_ident=0xABCD)),
                   ("Abba", "Dancing Queen", entry_line("03:51")),
                   ("Abba", "Waterloo", entry_line("02:42")),
                   ("Abba", "Mamma Mia", entry_line("03:33")),
                   ("Abba", "Super Trouper", entry_line("00:00", online=0))]
    heading_at(t, "Maintenance")


def test_edit_album_time_00_00_is_summed_when_saved(term, fake, root):
    AlbumStore(fake, {1: album_text("Abba", "Gold", [("Abba", "A", "03:10"), ("Abba", "B", "04:20"),
                                                     ("Abba", "C", "02:45")], album_time="00:00")})
    t = start_maint(term, fake, root)
    open_editor(t, 1)
    wait_form(t, album_form(1, "Abba", "Gold", "00:00"))
    t.send(KEY.DOWN)
    t.send(KEY.DOWN)
    t.send(KEY.END)
    t.send(" Hits")
    t.send(KEY.ESC)
    t.wait_for("Save changes?", row=10, col=30)
    t.send("y")
    n, got = wait_written(fake)
    # 10:15 and half a second for each of the three tracks, rounded down (the walk ends at 4).
    assert got[0] == ("Abba", "Gold Hits", entry_line("10:17"))
    assert len(got) == 4


def test_edit_album_time_other_than_00_00_is_kept(term, fake, root):
    AlbumStore(fake, {1: album_text("Abba", "Gold", [("Abba", "A", "03:10")], album_time="45:00")})
    t = start_maint(term, fake, root)
    open_editor(t, 1)
    wait_form(t, album_form(1, "Abba", "Gold", "45:00"))
    t.send(KEY.PGDN)
    wait_form(t, track_form(1, "Abba", "A", "03:10"))
    t.send(KEY.DOWN)
    t.send(KEY.DOWN)
    t.send(KEY.END)
    t.send("X")
    t.send(KEY.PGUP)
    wait_form(t, album_form(1, "Abba", "Gold", "45:00"))
    t.send(KEY.ESC)
    t.wait_for("Save changes?", row=10, col=30)
    t.send("y")
    n, got = wait_written(fake)
    assert got == [("Abba", "Gold", entry_line("45:00")), ("Abba", "AX", entry_line("03:10"))]


def test_edit_blank_album_time_is_summed(term, fake, root):
    AlbumStore(fake, {1: album_text("Abba", "Gold", [("Abba", "A", "00:59"), ("Abba", "B", "00:59")],
                                    album_time="12:34")})
    t = start_maint(term, fake, root)
    open_editor(t, 1)
    wait_form(t, album_form(1, "Abba", "Gold", "12:34"))
    t.send(KEY.DOWN)
    t.send(KEY.DOWN)
    t.send(KEY.DOWN)
    t.send(KEY.DEL * 5)   # the time emptied
    t.send(KEY.ESC)
    t.wait_for("Save changes?", row=10, col=30)
    t.send("y")
    n, got = wait_written(fake)
    assert got[0] == ("Abba", "Gold", entry_line("01:59"))   # 118 s and 3 / 2


def test_edit_save_no_reloads_the_album_and_writes_nothing(term, fake, root):
    AlbumStore(fake, library())
    t = start_maint(term, fake, root)
    open_editor(t, 1)
    wait_form(t, album_form(1, "Abba", "Gold", "10:07"))
    t.send(KEY.DOWN)
    t.send(KEY.DOWN)
    t.send("New ")
    t.wait_for("Title:  New Gold", row=7, col=2)
    reads_before = len([m for m in fake.of_type(ALBUM_READ) if m.album == 1])
    t.send(KEY.ESC)
    t.wait_for("Save changes?", row=10, col=30)
    t.send("n")
    fake.wait_for(ALBUM_READ, count=reads_before + 1, pred=lambda m: m.album == 1)
    heading_at(t, "Maintenance")
    assert written(fake) == []
    open_tracklist(t, 1)
    heading_at(t, "0001: Abba - Gold [10:07]")


def test_edit_from_the_list_starts_on_the_track_and_saves_with_ctrl_s(term, fake, root):
    AlbumStore(fake, library())
    t = start_maint(term, fake, root)
    open_tracklist(t, 1)
    heading_at(t, "0001: Abba - Gold [10:07]")
    t.send(KEY.DOWN)
    t.send("e")
    wait_form(t, track_form(2, "Abba", "Waterloo", "02:42"))
    heading_at(t, "0001: Abba - Gold [10:07]")
    t.send(KEY.DOWN)
    t.send(KEY.DOWN)
    t.send(KEY.END)
    t.send("!")
    t.send(KEY.ctrl("S"))
    t.wait_for("Save changes?", row=10, col=30)
    t.send("y")
    n, got = wait_written(fake)
    assert got[2] == ("Abba", "Waterloo!", entry_line("02:42"))
    # Back on the list, with its heading and footer.
    wait_rows(t, [list_line(1, 1, "Abba", "Dancing Queen", "03:51"), list_line(1, 2, "Abba", "Waterloo!", "02:42"),
                  list_line(1, 3, "Abba", "Mamma Mia", "03:33")])
    heading_at(t, "0001: Abba - Gold [10:07]")
    assert t.at(23, 17, len(FOOTER)) == FOOTER


def test_edit_ctrl_s_from_the_menu_leaves_the_maintenance_menu(term, fake, root):
    AlbumStore(fake, library())
    t = start_maint(term, fake, root)
    open_editor(t, 2)
    wait_form(t, album_form(2, "Band", "Record", "03:00"))
    t.send(KEY.ctrl("S"))   # nothing changed: no question
    t.wait_for("ZERKALIBRARY", row=0, col=34)
    assert written(fake) == []


def test_edit_paging_down_from_the_last_possible_track_stops_without_saving(term, fake, root):
    tracks = [("Band", "Song %02d" % n, "03:00") for n in range(1, 100)]
    AlbumStore(fake, {1: album_text("Band", "Many", tracks, album_time="59:00")})
    t = start_maint(term, fake, root)
    open_tracklist(t, 1)
    heading_at(t, "0001: Band - Many [59:00]")
    t.send(KEY.F7)
    wait_position(t, "99 of 99")
    t.send("e")
    wait_form(t, track_form(99, "Band", "Song 99", "03:00"))
    t.send(KEY.DOWN)
    t.send(KEY.DOWN)
    t.send("X")
    t.wait_for("Title:  XSong 99", row=7, col=2)
    before = len(fake.received)
    t.send(KEY.PGDN)
    popup_at(t, "Maximum No. of tracks exceeded: 100")
    t.send(" ")
    heading_at(t, "0001: Band - Many [59:00]")
    wait_position(t, "99 of 99")
    no_new_messages(fake, before, (ALBUM_WRITE, ALBUM_READ))
    assert "Save changes?" not in t.text()


def test_edit_refused_number_and_escape(term, fake, root):
    AlbumStore(fake, library())
    t = start_maint(term, fake, root)
    open_editor(t, 3)
    popup_at(t, "Invalid album No: 0003")
    heading_at(t, "Maintenance")
    maintenance_row(t, "Edit Album")
    t.wait_for("Album No: 0001", row=18, col=12)
    t.send(KEY.ESC)
    heading_at(t, "Maintenance")


# ----- delete_album ------------------------------------------------------------------------------------

def test_delete_asks_shows_and_sends_album_delete(term, fake, root):
    AlbumStore(fake, library())
    t = start_maint(term, fake, root)
    maintenance_row(t, "Delete Album")
    t.wait_for("Album No:", row=18, col=12)
    assert all(t.is_reverse(18, c) for c in range(22, 27)) and not t.is_reverse(18, 27)   # five wide, empty
    assert t.at(18, 22, 5) == "     "
    t.send("2\r")
    t.wait_for("0002: Band - Record [03:00]", row=10, col=10)
    t.wait_for("Are you sure you wish to delete this album?", row=16, col=10)
    before = quiet(t, fake, 0.2)
    t.send("n")
    heading_at(t, "Maintenance")
    no_new_messages(fake, before, (ALBUM_DELETE,))
    maintenance_row(t, "Delete Album")
    t.wait_for("Album No:", row=18, col=12)
    t.send("2\r")
    t.wait_for("Are you sure you wish to delete this album?", row=16, col=10)
    t.send("y")
    m = fake.wait_for(ALBUM_DELETE)
    assert (m.album, m.track, m.text) == (2, 0, b"")
    heading_at(t, "Maintenance")
    # The record is gone from memory: the track list refuses it.
    maintenance_row(t, "Album Tracklist")
    album_number(t, 2)
    popup_at(t, "Invalid album No: 0002")


def test_delete_escape_and_refused_number(term, fake, root):
    AlbumStore(fake, library())
    t = start_maint(term, fake, root)
    maintenance_row(t, "Delete Album")
    t.wait_for("Album No:", row=18, col=12)
    t.send(KEY.ESC)
    heading_at(t, "Maintenance")
    maintenance_row(t, "Delete Album")
    t.wait_for("Album No:", row=18, col=12)
    t.send("3\r")
    popup_at(t, "Invalid album No: 0003")
    heading_at(t, "Maintenance")
    assert fake.of_type(ALBUM_DELETE) == []
