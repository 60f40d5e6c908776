"""Album import: plain-text track lists and freedb/XMCD files into an existing album."""

import os

from album_common import (ALBUM_WRITE, KEY, AlbumStore, album_number, album_text, entry_line, maintenance_row,
                          no_new_messages, popup_at, quiet, start_maint, wait_written, written)
from browse_common import list_line, wait_rows
from ui_common import centred

QUESTION = "Does the Artist appear first? [Y/N/ESC] "
REPLACE = "Are you sure you want to replace artist & title?"


def library():
    return {1: album_text("Old Artist", "Old Title", [("Old", "Old 1", "03:00"), ("Old", "Old 2", "03:10"),
                                                      ("Old", "Old 3", "03:20")], album_time="09:30")}


def write_file(root, name, data):
    with open(os.path.join(root, name), "wb") as f:
        f.write(data if isinstance(data, bytes) else data.encode("latin-1"))


def open_import(t, letter, number=1):
    """Opens the Imports sub-menu, chooses the row by its letter, and answers the album number."""
    maintenance_row(t, "Imports")
    t.wait_for("Imports", row=0, col=centred("Imports"))
    t.settle(0.2)
    t.send(letter)
    t.settle(0.2)
    t.send(KEY.ENTER)
    album_number(t, number)


def file_name(t, default, name=None):
    """Answers "Import Filename:" (row 18, column 12): the default, or another name typed over it."""
    t.wait_for("Import Filename: " + default, row=18, col=12)
    t.settle(0.2)
    if name is not None:
        t.send(KEY.DEL * len(default) + name)
    t.send("\r")


def replace_text(t, text):
    """Types over a prompt's default answer."""
    t.settle(0.2)
    t.send(KEY.DEL * 60 + text + "\r")


def answer_questions(t, first_line, artist_first, artist, title, sure="y"):
    t.wait_for(first_line, row=15, col=12)
    t.wait_for(QUESTION, row=18, col=12)
    t.send(artist_first)
    t.wait_for("Album Artist(s):", row=15, col=12)
    assert QUESTION not in t.text()   # asked on a cleared screen
    replace_text(t, artist)
    t.wait_for("Album Title:", row=17, col=12)
    replace_text(t, title)
    t.wait_for(REPLACE, row=19, col=12)
    t.send(sure)


def test_plain_import_names_the_tracks_and_stops_after_the_last(term, fake, root):
    AlbumStore(fake, library())
    write_file(root, "tracks.txt", "01. dancing queen - abba\n\n12 : 3.\n  \n02 waterloo: abba\r\n"
                                   "3. mamma mia / abba\n4. one too many - abba\n")
    t = start_maint(term, fake, root)
    open_import(t, "P")
    file_name(t, "tracks.txt")
    answer_questions(t, "dancing queen - abba", "n", "VARIOUS", "greatest hits")
    n, got = wait_written(fake)
    assert n == 1
    assert got == [("Various Artists", "Greatest Hits", entry_line("09:30")),
                   ("Abba", "Dancing Queen", entry_line("03:00")),
                   ("Abba", "Waterloo", entry_line("03:10")),
                   ("Abba", "Mamma Mia", entry_line("03:20"))]
    t.wait_for("Imports", row=0, col=centred("Imports"))


def test_plain_import_with_fewer_lines_leaves_the_other_tracks_and_the_artist_may_come_first(term, fake, root):
    AlbumStore(fake, library())
    write_file(root, "tracks.txt", "the band - the first song\nthe band - the second song")
    t = start_maint(term, fake, root)
    open_import(t, "P")
    file_name(t, "tracks.txt")
    answer_questions(t, "the band - the first song", "Y", "the band", "the album")
    n, got = wait_written(fake)
    assert got == [("The Band", "The Album", entry_line("09:30")),
                   ("The Band", "The First Song", entry_line("03:00")),
                   ("The Band", "The Second Song", entry_line("03:10")),
                   ("Old", "Old 3", entry_line("03:20"))]


def test_plain_import_stopped_at_a_question_asks_again_and_keeps_a_yes(term, fake, root):
    AlbumStore(fake, library())
    write_file(root, "tracks.txt", "abba - waterloo\n")
    t = start_maint(term, fake, root)
    open_import(t, "P")
    file_name(t, "tracks.txt")
    t.wait_for(QUESTION, row=18, col=12)
    t.send("y")
    t.wait_for("Album Artist(s): Old Artist", row=15, col=12)
    t.send(KEY.ESC)
    t.wait_for("Imports", row=0, col=centred("Imports"))
    before = quiet(t, fake)
    assert written(fake) == []
    # The next import asks again; the earlier yes still holds though this answer is no.
    maintenance_row_in_imports(t, "P")
    album_number(t, 1)
    file_name(t, "tracks.txt")
    answer_questions(t, "abba - waterloo", "n", "abba", "gold")
    n, got = wait_written(fake)
    assert got[1] == ("Abba", "Waterloo", entry_line("03:00"))
    assert got[0] == ("Abba", "Gold", entry_line("09:30"))
    assert len(fake.received) > before


def maintenance_row_in_imports(t, letter):
    """Chooses a row of the Imports sub-menu (already open) by its letter."""
    t.settle(0.2)
    t.send(letter)
    t.settle(0.2)
    t.send(KEY.ENTER)


def test_plain_import_declined_keeps_the_new_names_in_memory_unwritten(term, fake, root):
    AlbumStore(fake, library())
    write_file(root, "tracks.txt", "song - singer\n")
    t = start_maint(term, fake, root)
    open_import(t, "P")
    file_name(t, "tracks.txt")
    answer_questions(t, "song - singer", "n", "new artist", "new title", sure="n")
    t.wait_for("Imports", row=0, col=centred("Imports"))
    before = quiet(t, fake)
    no_new_messages(fake, before, (ALBUM_WRITE,))
    assert written(fake) == []
    t.send(KEY.ESC)
    t.wait_for("Maintenance", row=0, col=centred("Maintenance"))
    maintenance_row(t, "Album Tracklist")
    album_number(t, 1)
    t.wait_for("0001: New Artist - New Title [09:30]", row=0, col=centred("0001: New Artist - New Title [09:30]"))
    wait_rows(t, [list_line(1, 1, "Old", "Old 1", "03:00"), list_line(1, 2, "Old", "Old 2", "03:10"),
                  list_line(1, 3, "Old", "Old 3", "03:20")])


def test_plain_import_long_lines_nul_bytes_and_latin1(term, fake, root):
    AlbumStore(fake, library())
    long_line = "x" * 300 + " - tail\n"   # read in pieces of 255 bytes: the rest names the next track
    write_file(root, "tracks.txt", b"caf\xe9 - bj\xf6rk\nbefore\x00after - lost\n" + long_line.encode())
    t = start_maint(term, fake, root)
    open_import(t, "P")
    file_name(t, "tracks.txt")
    answer_questions(t, "caf", "n", "a", "b")
    n, got = wait_written(fake)
    assert got[1] == ("Bjork", "Cafe", entry_line("03:00"))
    assert got[2] == ("Before", "Old 2", entry_line("03:10"))   # no separator: all of it is the artist
    assert got[3] == ("X" + "x" * 65, "Old 3", entry_line("03:20"))


def test_xmcd_import_fills_the_album_in_memory(term, fake, root):
    AlbumStore(fake, library())
    write_file(root, "cddbread.1", "# xmcd\n#\nDISCID=0a0b0c03\nDTITLE=Abba / Gold\nDYEAR=1992\n"
                                   "TTITLE0=Dancing Queen\nTTITLE1=Knowing Me, \nTTITLE1=Knowing You\n"
                                   "TTITLE2=Guest - Waterloo\nEXTD=\nPLAYORDER=\n")
    t = start_maint(term, fake, root)
    open_import(t, "X")
    file_name(t, "cddbread.1")
    t.wait_for("Imports", row=0, col=centred("Imports"))
    before = quiet(t, fake)
    no_new_messages(fake, before, (ALBUM_WRITE,))
    t.send(KEY.ESC)
    t.wait_for("Maintenance", row=0, col=centred("Maintenance"))
    maintenance_row(t, "Album Tracklist")
    album_number(t, 1)
    t.wait_for("0001: Abba - Gold [09:30]", row=0, col=centred("0001: Abba - Gold [09:30]"))
    wait_rows(t, [list_line(1, 1, "Abba", "Dancing Queen", "03:00"),
                  list_line(1, 2, "Abba", "Knowing Me, Knowing You", "03:10"),
                  list_line(1, 3, "Guest", "Waterloo", "03:20")])


def test_import_of_a_missing_file_or_a_folder_says_so(term, fake, root):
    AlbumStore(fake, library())
    t = start_maint(term, fake, root)
    open_import(t, "X")
    file_name(t, "cddbread.1", "nofile")
    text = ' Problem opening "nofile" - No such file or directory'
    popup_at(t, text)
    t.send(" ")
    t.wait_for("Imports", row=0, col=centred("Imports"))
    maintenance_row_in_imports(t, "P")
    album_number(t, 1)
    file_name(t, "tracks.txt", "Media")
    text = ' Problem opening "Media" - Is a directory'
    popup_at(t, text)
    t.send(" ")
    t.wait_for("Imports", row=0, col=centred("Imports"))
    assert written(fake) == []


def test_import_refused_album_and_escapes(term, fake, root):
    AlbumStore(fake, library())
    t = start_maint(term, fake, root)
    open_import(t, "P", number=5)
    popup_at(t, "Invalid album No: 0005")
    t.wait_for("Imports", row=0, col=centred("Imports"))
    maintenance_row_in_imports(t, "P")
    t.wait_for("Album No: 0001", row=18, col=12)
    t.send(KEY.ESC)
    t.wait_for("Imports", row=0, col=centred("Imports"))
    maintenance_row_in_imports(t, "P")
    album_number(t, 1)
    t.wait_for("Import Filename: tracks.txt", row=18, col=12)
    t.send(KEY.ESC)
    t.wait_for("Imports", row=0, col=centred("Imports"))
    assert written(fake) == []
