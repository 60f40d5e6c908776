"""Text corrections of one album (the "Various Artists" format, transposing, capitalising) and of all albums."""

from album_common import (ALBUM_WRITE, KEY, AlbumStore, album_number, album_text, entries, entry_line,
                          maintenance_row, no_new_messages, quiet, start_maint, wait_written, written)
from browse_common import list_line, wait_rows
from ui_common import centred


def heading_at(t, text):
    t.wait_for(text, row=0, col=centred(text))


def various_library():
    return {1: album_text("", "Hits", [("", "Song A - Singer A", "03:00"), ("", "Song B /Singer B", "03:00"),
                                       ("", "Name: Work", "03:00"), ("", "Title-Artist", "03:00"),
                                       ("", "Plain", "03:00")], album_time="15:00")}


def test_various_format_moves_the_artists_out_of_the_titles(term, fake, root):
    AlbumStore(fake, various_library())
    t = start_maint(term, fake, root)
    maintenance_row(t, 'Correct "Various Artists" Format')
    album_number(t, 1)
    t.wait_for("Song A - Singer A", row=14, col=12)
    t.wait_for("Song B /Singer B", row=15, col=12)
    t.wait_for("Name: Work", row=16, col=12)
    t.wait_for("Does the artist (if any) appear first? [Y/N/ESC] ", row=18, col=12)
    t.send("y")   # the answer is not what decides: the title comes first
    n, got = wait_written(fake)
    assert n == 1
    assert got == [("Various Artists", "Hits", entry_line("15:00")),
                   ("Singer A", "Song A", entry_line("03:00")),
                   ("Singer B", "Song B", entry_line("03:00")),
                   ("Work", "Name", entry_line("03:00")),
                   ("Title-Artist", "Title-Artist", entry_line("03:00")),   # no separator: copied whole
                   ("", "Plain", entry_line("03:00"))]
    heading_at(t, "Maintenance")


def test_various_format_escape_writes_nothing(term, fake, root):
    AlbumStore(fake, various_library())
    t = start_maint(term, fake, root)
    maintenance_row(t, 'Correct "Various Artists" Format')
    album_number(t, 1)
    t.wait_for("Does the artist (if any) appear first? [Y/N/ESC] ", row=18, col=12)
    before = quiet(t, fake, 0.2)
    t.send(KEY.ESC)
    heading_at(t, "Maintenance")
    no_new_messages(fake, before, (ALBUM_WRITE,))


def test_transpose_exchanges_artists_and_titles(term, fake, root):
    AlbumStore(fake, {1: album_text("Various Artists", "Mix", [("Song A", "Singer A", "03:00"),
                                                                ("Song B", "Singer B", "04:00")])})
    t = start_maint(term, fake, root)
    maintenance_row(t, "Transpose Artist & Title")
    album_number(t, 1)
    t.wait_for("Song A - Singer A", row=16, col=12)
    t.wait_for("Transpose artist and title?", row=19, col=12)
    t.send("y")
    n, got = wait_written(fake)
    assert got == [("Various Artists", "Mix", entry_line("07:00")),
                   ("Singer A", "Song A", entry_line("03:00")),
                   ("Singer B", "Song B", entry_line("04:00"))]


def test_transpose_declined_keeps_the_various_artists_change_in_memory(term, fake, root):
    AlbumStore(fake, {1: album_text("", "Mix", [("Song A", "Singer A", "03:00")]),
                      2: album_text("VARIOUS ARTISTS", "Mix 2", [("Song B", "Singer B", "03:00")])})
    t = start_maint(term, fake, root)
    for number in (1, 2):
        maintenance_row(t, "Transpose Artist & Title")
        album_number(t, number)
        t.wait_for("Transpose artist and title?", row=19, col=12)
        t.send("n")
        heading_at(t, "Maintenance")
    t.settle(0.5)
    assert written(fake) == []
    maintenance_row(t, "Album Tracklist")
    album_number(t, 1)
    heading_at(t, "0001: Various Artists - Mix [03:00]")
    wait_rows(t, [list_line(1, 1, "Song A", "Singer A", "03:00")])
    t.send(KEY.ESC)
    t.wait_for("Album No: 0002", row=18, col=12)
    t.send("\r")
    heading_at(t, "0002: Various Artists - Mix 2 [03:00]")


def test_correction_of_a_refused_album_waits_for_a_key(term, fake, root):
    AlbumStore(fake, various_library())
    t = start_maint(term, fake, root)
    maintenance_row(t, "Transpose Artist & Title")
    album_number(t, 7)
    t.wait_for("Invalid album No: 0007", row=12)
    t.wait_for("Invalid Album No.", row=18, col=12, timeout=10)
    t.settle(0.5)
    assert "Invalid Album No." in t.row(18)   # it stays until a key
    t.send(" ")
    heading_at(t, "Maintenance")
    maintenance_row(t, "Capitalize Artist & Title")
    t.wait_for("Album No: 0001", row=18, col=12)   # a refused number is not kept
    t.send(KEY.ESC)
    heading_at(t, "Maintenance")
    assert written(fake) == []


def caps_library():
    return {1: album_text("THE BEATLES", "the [live] album", [("THE BEATLES", "rock-n-roll {remix}", "03:00"),
                                                              ("mcCartney", "mr. blue sky", "03:00")],
                          album_time="06:00"),
            2: album_text("Band", "", [("band", "lower", "03:00")], album_time="03:00"),
            4: album_text("solo", "alone", [("solo", "one", "01:00")])}


def test_capitalize_artist_and_title(term, fake, root):
    AlbumStore(fake, caps_library())
    t = start_maint(term, fake, root)
    maintenance_row(t, "Capitalize Artist & Title")
    album_number(t, 1)
    n, got = wait_written(fake)
    assert got == [("THE BEATLES", "The (Live) Album", entry_line("06:00")),
                   ("THE BEATLES", "Rock-n-roll (Remix)", entry_line("03:00")),
                   ("McCartney", "Mr. Blue Sky", entry_line("03:00"))]
    heading_at(t, "Maintenance")


def test_capitalize_lower_case_first(term, fake, root):
    AlbumStore(fake, caps_library())
    t = start_maint(term, fake, root)
    maintenance_row(t, "Capitalize (Lower-case First)")
    album_number(t, 1)
    n, got = wait_written(fake)
    assert got == [("The Beatles", "The (Live) Album", entry_line("06:00")),
                   ("The Beatles", "Rock-n-roll (Remix)", entry_line("03:00")),
                   ("Mccartney", "Mr. Blue Sky", entry_line("03:00"))]


def test_capitalize_an_album_without_a_title_changes_nothing_but_writes(term, fake, root):
    AlbumStore(fake, caps_library())
    t = start_maint(term, fake, root)
    maintenance_row(t, "Capitalize (Lower-case First)")
    album_number(t, 2)
    m = fake.wait_for(ALBUM_WRITE)
    assert (m.album, m.text) == (2, b"")   # an album whose title is empty has no entries to send


def test_capitalize_all_writes_every_album_in_use(term, fake, root):
    AlbumStore(fake, caps_library())
    t = start_maint(term, fake, root)
    maintenance_row(t, "Capitalize ALL Artists & Titles")
    fake.wait_for(ALBUM_WRITE, count=3)
    heading_at(t, "Maintenance")
    got = written(fake)
    assert [n for n, _ in got] == [1, 2, 4]
    assert got[0][1] == [("THE BEATLES", "The (Live) Album", entry_line("06:00")),
                         ("THE BEATLES", "Rock-n-roll (Remix)", entry_line("03:00")),
                         ("McCartney", "Mr. Blue Sky", entry_line("03:00"))]
    assert got[1][1] == []   # the album without a title
    assert got[2][1] == [("Solo", "Alone", entry_line("01:00")), ("Solo", "One", entry_line("01:00"))]
    assert entries(fake.albums[4]) == got[2][1]


def test_capitalize_all_shows_please_wait(term, fake, root):
    import threading
    AlbumStore(fake, caps_library())
    gate = threading.Event()
    store = fake.handlers[ALBUM_WRITE]

    def slow_write(srv, conn, m):
        gate.wait(10)
        return store(srv, conn, m)

    fake.handlers[ALBUM_WRITE] = slow_write
    t = start_maint(term, fake, root)
    maintenance_row(t, "Capitalize ALL Artists & Titles")
    t.wait_for("Please Wait ....", row=12, col=28)
    assert "Maintenance" not in t.row(0)
    gate.set()
    heading_at(t, "Maintenance")
