"""The operations sub-menu (F8) on a whole list, and the global edit."""

import os

from browse_common import (Library, centred_col, lib_line, maintenance_row, one_artist_library, open_console, search,
                           to_maintenance, wait_rows)
from console_helpers import PlaylistServer, start_console
from fakeserver import (ALBUM_READ, ALBUM_WRITE, DONOTPLAY, FAILED, NO_SELECT, OFFLINE, PLIST_ADD, PLIST_UPDATE,
                        SHORTLIST, reply)
from term import KEY
from ui_common import to_main_menu

EDIT_ARTIST = 0x21
EDIT_TITLE = 0x22
MENU_TITLE = "Apply operations to whole browser list"
ROWS = ["Add all tracks to the current playlist", "Put all tracks on a specified playlist",
        "Remove all tracks from normal Selection", "Put all tracks on the short-list",
        "Remove all tracks from the short-list", "Edit all artist strings", "Edit all title strings",
        "Force all tracks off-line"]


def operations(t, label):
    """F8, then the row with this label."""
    t.send(KEY.F8)
    t.wait_for(MENU_TITLE, row=0, col=centred_col(MENU_TITLE))
    t.settle(0.2)
    top, x0 = (24 - 8 + 1) // 2, 39 - 39 // 2
    assert t.at(top, x0, 38) == ROWS[0]
    for _ in range(ROWS.index(label)):
        t.send(KEY.DOWN, pause=0.02)
    t.settle(0.2)
    t.send("\r")


def three_tracks():
    lib = Library()
    lib.add(1, "Trio", "Three", [("Trio", "One", "03:00"), ("Trio", "Two", "03:10"), ("Trio", "Three", "03:20")])
    return lib


def test_add_all_to_the_current_playlist(fake, term):
    lib = three_tracks()
    t = open_console(fake, term, lib)
    search(t, "trio", heading='Artists containing "trio"')
    operations(t, ROWS[0])
    t.wait_for("This will add ALL 3 tracks on the selection", row=8, col=6)
    t.wait_for("to the current playlist", row=9, col=16)
    t.wait_for("Are you sure?", row=12, col=30)
    t.send("y")
    fake.wait_for(PLIST_ADD, count=3)
    adds = [(m.album, m.track, m.str) for m in fake.of_type(PLIST_ADD)]
    # In the list's order (Artist Order, then title).
    assert adds == [(1, 1, "current.lst"), (1, 3, "current.lst"), (1, 2, "current.lst")]
    t.wait_for('Artists containing "trio"', row=0)


def test_declining_sends_nothing(fake, term):
    t = open_console(fake, term, three_tracks())
    search(t, "trio", heading='Artists containing "trio"')
    operations(t, ROWS[0])
    t.wait_for("Are you sure?", row=12, col=30)
    t.send("n")
    t.wait_for('Artists containing "trio"', row=0)
    t.settle(0.3)
    assert fake.of_type(PLIST_ADD) == []


def many_library(count):
    """`count` tracks by "Many" (99 to an album) and one more by "Many More" titled "Other"."""
    lib = one_artist_library("Many", count)
    lib.add(len(lib.albums) + 1, "Many More", "Extra", [("Many More", "Other", "03:00")])
    return lib


def test_257_tracks_are_refused_for_the_current_playlist_and_256_accepted(fake, term):
    t = open_console(fake, term, many_library(256))
    search(t, "many", heading='Artists containing "many"')
    operations(t, ROWS[0])
    text = "A maximum of 256 tracks may be added to the current playlist."
    t.wait_for(text, row=8, col=6)
    t.wait_for("continue:", row=12)
    t.send(" ")
    t.wait_for('Artists containing "many"', row=0)
    assert fake.of_type(PLIST_ADD) == []
    t.send(KEY.ESC)
    t.wait_for("Artist:", row=10, col=12)   # the console asks for the next search
    t.settle(0.2)
    t.send("many\r")
    t.wait_for("Title:", row=12, col=12)
    t.settle(0.2)
    t.send("song\r")
    t.wait_for('Artists containing "many" & Titles containing "song"', row=0)
    t.settle(0.3)
    operations(t, ROWS[0])
    t.wait_for("This will add ALL 256 tracks on the selection", row=8, col=6)
    t.send("y")
    fake.wait_for(PLIST_ADD, count=256, timeout=60)


def selection_library():
    lib = Library()
    lib.add(1, "Hdr", "Hdr", [("Sel", "Zq plain", "03:00", "-"), ("Sel", "Zq short", "03:00", "S"),
                              ("Sel", "Zq unplayable", "03:00", "U"), ("Sel", "Zq unselected", "03:00", "N"),
                              ("Sel", "Zq offline", "03:00", "-", 0)])
    return lib


def global_search(t, text):
    to_main_menu(t)
    to_maintenance(t)
    maintenance_row(t, "Global search (Case Sensitive)")
    t.wait_for("Search for:", row=12, col=16)
    t.settle(0.2)
    t.send(text + "\r")
    heading = 'All Occurrences Of String "%s"' % text
    t.wait_for(heading, row=0, col=centred_col(heading))
    t.settle(0.3)


def test_selection_operations_leave_unplayable_tracks_alone(fake, term):
    t = open_console(fake, term, selection_library())
    global_search(t, "Zq")
    # Artist then title: offline(5), plain(1), short(2), unplayable(3), unselected(4).
    operations(t, ROWS[3])
    t.wait_for("This will add ALL 5 items to the short-list.", row=8, col=16)
    t.wait_for("Are you sure?", row=10, col=30)
    t.send("y")
    fake.wait_for(SHORTLIST, count=3)
    t.wait_for("All Occurrences", row=0)
    assert [(m.album, m.track) for m in fake.of_type(SHORTLIST)] == [(1, 5), (1, 1), (1, 4)]

    operations(t, ROWS[4])
    t.wait_for("This will remove ALL 5 items from the short-list.", row=8, col=16)
    t.wait_for("Are you sure?", row=10, col=30)
    t.send("y")
    fake.wait_for(DONOTPLAY)
    t.wait_for("All Occurrences", row=0)
    assert [(m.album, m.track) for m in fake.of_type(DONOTPLAY)] == [(1, 2)]

    fake.handlers[NO_SELECT] = lambda srv, conn, m: reply(m, album=FAILED if m.track == 1 else m.album)
    operations(t, ROWS[2])
    t.wait_for("This will remove ALL 5 items in the list from the normal selection.", row=8, col=6)
    t.wait_for("Are you sure?", row=10, col=30)
    t.send("y")
    t.wait_for("Send message failed", row=12)   # a refusal is reported and the rest still done
    t.send(" ")
    fake.wait_for(NO_SELECT, count=3)
    t.wait_for("All Occurrences", row=0)
    assert [(m.album, m.track) for m in fake.of_type(NO_SELECT)] == [(1, 5), (1, 1), (1, 2)]


def test_force_offline_skips_offline_tracks_and_writes_each_album_back(fake, term):
    t = open_console(fake, term, selection_library())
    global_search(t, "Zq")
    operations(t, ROWS[7])
    t.wait_for("This will force ALL 5 items off-line.", row=8, col=20)
    t.wait_for("Are you sure?", row=10, col=30)
    t.send("y")
    fake.wait_for(ALBUM_WRITE, count=4)
    t.wait_for("All Occurrences", row=0)
    assert [(m.album, m.track) for m in fake.of_type(OFFLINE)] == [(1, 1), (1, 2), (1, 3), (1, 4)]
    last = fake.of_type(ALBUM_WRITE)[-1]
    assert last.album == 1
    lines = last.str.split("\n")
    # Every track's third line now says off line ("time status last online ...").
    assert [lines[3 * n + 2].split()[3] for n in range(1, 6)] == ["0"] * 5
    # The list shows them off line.
    wait_rows(t, ["0001/%02d %-28.28s - %-29.29s [03:00]-" % (n, "Sel", title)
                  for n, title in [(5, "Zq offline"), (1, "Zq plain"), (2, "Zq short"), (3, "Zq unplayable"),
                                   (4, "Zq unselected")]])


def test_global_edit_sends_old_and_new_and_reloads(fake, term):
    lib = three_tracks()
    t = open_console(fake, term, lib)
    search(t, "trio", heading='Artists containing "trio"')
    operations(t, ROWS[5])
    t.wait_for("String  to replace:", row=8, col=6)
    t.settle(0.2)
    t.send("\r")
    text = "String to be replaced may not be blank"
    t.wait_for(text, row=12, col=centred_col(text))
    t.wait_gone(text)
    t.wait_for("String  to replace:", row=8, col=6)
    t.send("Trio")
    t.wait_for("Trio", row=8, col=26)
    assert t.is_reverse(8, 26)
    t.send("\r")
    t.wait_for("Replacement string:", row=10, col=6)
    t.send("The Trio\r")
    t.wait_for('This will replace all occurrences of "Trio"', row=14, col=6)
    t.wait_for('with "The Trio" in all 3 artist fields.', row=15, col=6)
    t.wait_for("Are you sure?", row=18, col=6)
    reads = len(fake.of_type(ALBUM_READ))
    t.send("y")
    fake.wait_for(PLIST_UPDATE)
    edits = fake.of_type(EDIT_ARTIST)
    assert [(m.album, m.track, m.str) for m in edits] == [(1, 1, "Trio~The Trio"), (1, 3, "Trio~The Trio"),
                                                         (1, 2, "Trio~The Trio")]
    # Each request is followed by a fresh read of its album.
    types = [m.type for m in fake.received if m.type in (EDIT_ARTIST, ALBUM_READ)]
    assert types[-6:] == [EDIT_ARTIST, ALBUM_READ] * 3
    assert len(fake.of_type(ALBUM_READ)) == reads + 3
    assert fake.of_type(PLIST_UPDATE)[-1].str == "current.lst"


def test_title_edit_with_an_empty_replacement(fake, term):
    t = open_console(fake, term, three_tracks())
    search(t, "trio", "two", heading='Artists containing "trio" & Titles containing "two"')
    operations(t, ROWS[6])
    t.wait_for("String  to replace:", row=8, col=6)
    t.settle(0.2)
    t.send("w\r")
    t.wait_for("Replacement string:", row=10, col=6)
    t.settle(0.2)
    t.send("\r")
    t.wait_for('with "" in all 1 title fields.', row=15, col=6)
    t.send("y")
    m = fake.wait_for(EDIT_TITLE)
    assert (m.album, m.track, m.str) == (1, 2, "w~")


def test_escape_ends_the_global_edit(fake, term):
    t = open_console(fake, term, three_tracks())
    search(t, "trio", heading='Artists containing "trio"')
    operations(t, ROWS[5])
    t.wait_for("String  to replace:", row=8, col=6)
    t.settle(0.2)
    t.send("abc")
    t.send(KEY.ESC)
    t.wait_for('Artists containing "trio"', row=0)
    assert fake.of_type(EDIT_ARTIST) == []


def choose_playlist(t, name):
    t.wait_for("Select Playlist to which to add these tracks", row=0)
    t.settle(0.3)
    where = t.find(name)
    assert where is not None, t.text()
    t.send(name[0])
    t.settle(0.2)
    t.send("\r")


def test_put_all_tracks_on_a_named_playlist(fake, term, root):
    PlaylistServer(fake, offline={"party": []})
    lib = Library()
    lib.add(3, "Dup", "Two", [("Dup", "Song", "03:00", "-", 1, 0x1234), ("Dup", "Another", "10:05", "-", 1, 0x5)])
    t = start_console(fake, term, library=lib.texts())
    search(t, "dup", heading='Artists containing "dup"')
    operations(t, ROWS[1])
    choose_playlist(t, "party")
    t.wait_for("This will add ALL 2 tracks on the selection", row=8, col=6)
    t.wait_for('to the playlist "party"', row=9, col=16)
    t.wait_for("Are you sure?", row=12, col=30)
    t.send("y")
    t.wait_for('Artists containing "dup"', row=0)
    with open(os.path.join(root, "PlayLists", "party")) as f:
        text = f.read()
    assert text == ("%8.8X %04d/%02d %-28.28s - %-29.29s [%s]\n" % (5, 3, 2, "Dup", "Another", "10:05") +
                    "%8.8X %04d/%02d %-28.28s - %-29.29s [%s]\n" % (0x1234, 3, 1, "Dup", "Song", "03:00"))


def test_a_playlist_file_that_cannot_be_opened(fake, term, root):
    PlaylistServer(fake, offline={"party": []})
    os.rmdir(os.path.join(root, "PlayLists"))
    t = start_console(fake, term, library=three_tracks().texts())
    search(t, "trio", heading='Artists containing "trio"')
    operations(t, ROWS[1])
    choose_playlist(t, "party")
    t.wait_for("Are you sure?", row=12, col=30)
    t.send("y")
    text = "Cannot open party for append - No such file or directory"
    t.wait_for(text, row=12, col=centred_col(text))


def test_more_than_8192_tracks_get_a_note_and_all_are_written(fake, term, root):
    PlaylistServer(fake, offline={"big": []})
    lib = many_library(9000)
    t = start_console(fake, term, library=lib.texts())
    search(t, "many", "song", heading='Artists containing "many" & Titles containing "song"')
    operations(t, ROWS[1])
    choose_playlist(t, "big")
    t.wait_for("NOTE: only the first 8192 items will be added to the playlist.", row=8, col=6)
    t.send("y")
    t.wait_for('Artists containing "many"', row=0, timeout=20)
    with open(os.path.join(root, "PlayLists", "big")) as f:
        lines = f.read().splitlines()
    assert len(lines) == 9000
    assert lines[0][9:] == "0001/01 Many                         - Song 0001                     [03:00]"
    assert lines[-1][9:17] == "0091/90 "
