"""The searches (the console's, the case-sensitive ones of the maintenance menu)
and the keys every track list shares."""

import os
import struct

from browse_common import (SEARCH_FOOTER, SEARCH_TITLE, Library, album_line, centred_col, ctrl, lib_line, list_line,
                           maintenance_row, open_console, rows, search, start_search, to_maintenance, wait_current,
                           wait_position, wait_rows)
from fakeserver import (ALBUM_READ, DONOTPLAY, FAILED, LINK_QUERY, NO_SELECT, OFFLINE, PLIST_ADD, SHORTLIST,
                        UNPLAYABLE, reply)
from term import KEY
from ui_common import to_main_menu

ESC = KEY.ESC


def small_library():
    lib = Library()
    lib.add(1, "The Who", "Hits", [
        ("The Who", "My Generation", "03:18"),
        ("The Who", "Substitute", "03:47", "S"),
        ("The Who", "Pinball Wizard", "03:01", "U"),
    ])
    lib.add(2, "Various", "Mix", [
        ("Abba", "Waterloo", "02:45"),
        ("who cares", "Anthem", "04:00", "N"),
        ("Zombies", "Time of the Season", "03:34", "-", 0),
        ("Abba", "Substitute", "03:00"),
    ])
    return lib


def test_search_by_artist_lists_hits_in_artist_order(fake, term):
    lib = small_library()
    t = open_console(fake, term, lib)
    start_search(t)
    assert t.at(12, 12, 8) == "Title:  "
    t.send("WHO\r")
    t.wait_for("Title:", row=12, col=12)
    t.send("\r")
    heading = 'Artists containing "WHO"'
    t.wait_for(heading, row=0, col=centred_col(heading))
    # "The Who" sorts as "who", before "who cares"; ties by title.
    wait_rows(t, [lib_line(lib, 1, 1), lib_line(lib, 1, 2), lib_line(lib, 2, 2)])
    wait_position(t, "1 of 3")
    assert t.at(23, 17, len(SEARCH_FOOTER)) == SEARCH_FOOTER
    assert t.is_reverse(23, 17) and not t.is_reverse(23, 18)          # ^add
    assert t.is_reverse(23, 35) and not t.is_reverse(23, 34)          # ^more
    assert t.at(2, 78, 2) == " \u2502"
    assert t.at(3, 78, 1) == "."                                       # short-listed
    assert t.at(4, 78, 1) == "^"                                       # not to be selected
    assert t.row(1)[0] == "\u250c" and t.row(22)[0] == "\u2514"


def test_search_by_title_lists_hits_in_title_order(fake, term):
    lib = small_library()
    t = open_console(fake, term, lib)
    start_search(t)
    assert all(t.is_reverse(10, c) for c in range(21, 71))   # the artist field as it is edited
    t.send("\r")
    t.wait_for("Title:", row=12, col=12)
    t.settle(0.3)
    # No artist given: its field is blanked while the title is asked for.
    assert t.at(10, 12, 60) == "Artist: " + " " * 52
    assert not any(t.is_reverse(10, c) for c in range(21, 71))
    t.send("sub\r")
    t.wait_for('Titles containing "sub"', row=0, col=centred_col('Titles containing "sub"'))
    # Equal titles sort by artist: "Abba" before "The Who" (read as "who").
    wait_rows(t, [lib_line(lib, 2, 4), lib_line(lib, 1, 2)])


def test_search_by_artist_and_title_needs_both(fake, term):
    lib = small_library()
    t = open_console(fake, term, lib)
    search(t, "abba", "sub", heading='Artists containing "abba" & Titles containing "sub"')
    wait_rows(t, [lib_line(lib, 2, 4)])
    wait_position(t, "1 of 1")


def test_nothing_found_says_so_and_asks_again(fake, term):
    t = open_console(fake, term, small_library())
    search(t, "nobody")
    t.wait_for("Sorry, nothing found", row=12, col=centred_col("Sorry, nothing found"))
    t.wait_for("Artist:", row=10, col=12, timeout=5)
    t.wait_for(SEARCH_TITLE, row=0)


def test_escape_or_nothing_given_goes_back_to_the_console(fake, term):
    t = open_console(fake, term, small_library())
    start_search(t)
    t.send(ESC)
    t.wait_for("Current Playlist (", row=0)
    search(t, "", "")
    t.wait_for("Current Playlist (", row=0)
    start_search(t)
    t.send("x\r")
    t.wait_for("Title:", row=12, col=12)
    t.settle(0.2)
    t.send(ESC)
    t.wait_for("Current Playlist (", row=0)


def test_unplayable_tracks_are_not_found(fake, term):
    lib = small_library()
    t = open_console(fake, term, lib)
    search(t, "", "pinball")
    t.wait_for("Sorry, nothing found", row=12)


def like_library():
    lib = Library()
    lib.add(1, "X", "One", [("The Kinks", "Lola", "04:00", "-", 0), ("Kinks", "Waterloo Sunset", "03:15")])
    lib.add(2, "Y", "Two", [("the kinks", "LOLA", "04:29", "-", 1), ("Kinks", "Lola", "04:59", "-", 1)])
    return lib


def test_s_folds_like_tracks_keeping_the_online_copy(fake, term):
    lib = like_library()
    t = open_console(fake, term, lib)
    search(t, "kinks", heading='Artists containing "kinks"')
    # 1/1 (off line) and 2/1 (on line, 29 s longer) are one song: 2/1 takes its place; 2/2 is 30 s from 2/1.
    wait_rows(t, [lib_line(lib, 2, 1), lib_line(lib, 2, 2), lib_line(lib, 1, 2)])
    wait_position(t, "1 of 3")


def test_z_keeps_every_copy(fake, term):
    lib = like_library()
    t = open_console(fake, term, lib)
    search(t, "kinks", key="z", heading='Artists containing "kinks"')
    wait_rows(t, [lib_line(lib, 1, 1), lib_line(lib, 2, 1), lib_line(lib, 2, 2), lib_line(lib, 1, 2)])
    assert t.at(2, 78, 1) == "-"   # the off-line copy


def test_case_sensitive_search_takes_exact_text_and_marks_its_heading(fake, term, root):
    lib = small_library()
    t = open_console(fake, term, lib)
    to_main_menu(t)
    to_maintenance(t)
    maintenance_row(t, "Artist/Title Search (Case Sensitive)")
    t.wait_for(SEARCH_TITLE, row=0)
    t.wait_for("Artist:", row=10, col=12)
    assert t.at(12, 12, 8) == "Title:  "
    t.settle(0.2)
    t.send("Who\r")
    t.wait_for("Who", row=10, col=21)
    t.send("\r")
    heading = 'Artists containing "Who";'
    t.wait_for(heading, row=0, col=centred_col(heading))
    # Exact case: "who cares" is not a hit; the unplayable track is left out.
    wait_rows(t, [lib_line(lib, 1, 1), lib_line(lib, 1, 2)])
    footer = "^R re-sort  ^V reverse sort-order   tracklist"
    assert t.at(23, 17, len(footer)) == footer
    assert t.is_reverse(23, 17) and not t.is_reverse(23, 18)
    # The sort description takes the ';' as its place.
    t.send(ctrl("R"))
    t.wait_for("Sort Menu", row=0)
    t.send("T")
    t.send("\r")
    heading = 'Artists containing "Who"; Sorted in Title Order'
    t.wait_for(heading, row=0, col=centred_col(heading))
    wait_rows(t, [lib_line(lib, 1, 1), lib_line(lib, 1, 2)])
    t.send(ESC)
    t.wait_for("Maintenance", row=0)


def test_case_sensitive_search_with_nothing_given_goes_back(fake, term):
    t = open_console(fake, term, small_library())
    to_main_menu(t)
    to_maintenance(t)
    maintenance_row(t, "Artist/Title Search (Case Sensitive)")
    t.wait_for("Artist:", row=10, col=12)
    t.settle(0.2)
    t.send("\r")
    t.settle(0.2)
    t.send("\r")
    t.wait_for("Maintenance", row=0)


def test_global_search_lists_albums_and_unplayable_tracks(fake, term):
    lib = Library()
    lib.add(1, "Queen", "Greatest Hits", [("Queen", "Hits Rhapsody", "05:55", "U"), ("Queen", "Hits Back", "03:00")],
            time="58:00")
    lib.add(2, "Various", "hits", [("Abba", "SOS", "03:20")])
    t = open_console(fake, term, lib)
    to_main_menu(t)
    to_maintenance(t)
    maintenance_row(t, "Global search (Case Sensitive)")
    t.wait_for("Enter String To Search For", row=0)
    t.wait_for("Search for:", row=12, col=16)
    t.settle(0.2)
    t.send("Hits\r")
    heading = 'All Occurrences Of String "Hits"'
    t.wait_for(heading, row=0, col=centred_col(heading))
    # Artist Order: the album (track 0) and its tracks by Queen, the unplayable one too; "hits" in
    # lower case is not a hit.
    wait_rows(t, [album_line(1, "Queen", "Greatest Hits", "58:00", 2), lib_line(lib, 1, 2), lib_line(lib, 1, 1)])
    assert t.at(4, 78, 1) == "x"
    t.send(ESC)
    t.wait_for("Maintenance", row=0)


def test_global_search_escape(fake, term):
    t = open_console(fake, term, small_library())
    to_main_menu(t)
    to_maintenance(t)
    maintenance_row(t, "Global search (Case Sensitive)")
    t.wait_for("Search for:", row=12, col=16)
    t.settle(0.2)
    t.send(ESC)
    t.wait_for("Maintenance", row=0)


def test_album_track_list_starts_on_the_track_and_l_leaves_it(fake, term):
    lib = small_library()
    t = open_console(fake, term, lib)
    search(t, "abba", heading='Artists containing "abba"')
    wait_rows(t, [lib_line(lib, 2, 4), lib_line(lib, 2, 1)])
    t.send("l")
    heading = "0002: Various - Mix [%s]" % "13:19"
    t.wait_for(heading, row=0, col=centred_col(heading))
    wait_rows(t, [lib_line(lib, 2, n) for n in range(1, 5)])
    wait_current(t, 5)   # track 4, the element's own
    footer = "add to PlayList    more by this artist   ^WAV Check"
    assert t.at(23, 17, len(footer)) == footer
    wait_position(t, "4 of 4")
    t.send("l")   # on an album's own list, l leaves it
    t.wait_for('Artists containing "abba"', row=0)
    wait_rows(t, [lib_line(lib, 2, 4), lib_line(lib, 2, 1)])


def test_more_by_this_artist_finds_similar_names_but_not_the_own_track(fake, term):
    lib = Library()
    lib.add(1, "The Beatles", "Help!", [("The Beatles", "Help!", "02:18"), ("The Beatles", "Yesterday", "02:05")])
    lib.add(2, "Various", "Mix", [("Beatles", "Anna", "02:57"), ("BEATLE", "Girl", "02:33"),
                                  ("the beatless", "Zed", "02:00"), ("Stones", "Angie", "04:31")])
    t = open_console(fake, term, lib)
    search(t, "", "help", heading='Titles containing "help"')
    t.send("m")
    heading = "More tracks by The Beatles"
    t.wait_for(heading, row=0, col=centred_col(heading))
    # Title Order; "BEATLE" (13 of 14 alike: 92.3) and "the beatless" are alike, "Stones" is not.
    wait_rows(t, [lib_line(lib, 2, 1), lib_line(lib, 2, 2), lib_line(lib, 1, 2), lib_line(lib, 2, 3)])
    footer = "add to PlayList     Album-Tracklist"
    assert t.at(23, 17, len(footer)) == footer
    t.send(ESC)
    t.wait_for('Titles containing "help"', row=0)


def test_shortlist_keys_confirm_and_send(fake, term):
    lib = small_library()
    t = open_console(fake, term, lib)
    search(t, "who", heading='Artists containing "who"')
    t.send(ctrl("S"))
    t.wait_for("0001/01: The Who - My Generation", row=8, col=10)
    t.wait_for("Add this track to the shortlist?", row=16, col=10)
    t.send("y")
    m = fake.wait_for(SHORTLIST)
    assert (m.album, m.track) == (1, 1)
    t.wait_for('Artists containing "who"', row=0)
    t.send(KEY.DOWN)
    wait_current(t, 3)
    t.send(ctrl("S"))
    t.wait_for("Track is already on the shortlist", row=12)
    t.wait_gone("Track is already on the shortlist")
    t.send(ctrl("D"))
    t.wait_for("Remove this track from the shortlist?", row=16, col=10)
    t.send("y")
    m = fake.wait_for(DONOTPLAY)
    assert (m.album, m.track) == (1, 2)
    t.send(KEY.UP)
    wait_current(t, 2)
    t.send(ctrl("D"))
    t.wait_for("Track is not on the shortlist", row=12)


def test_selection_keys_and_a_refusal(fake, term):
    lib = small_library()
    t = open_console(fake, term, lib)
    search(t, "who", heading='Artists containing "who"')
    t.send(KEY.DOWN)
    t.send(KEY.DOWN)
    wait_current(t, 4)   # 2/2 "who cares", letter N
    t.send(ctrl("N"))
    t.wait_for("Track is already set to 'Do not select'", row=12)
    t.wait_gone("Track is already set to 'Do not select'")
    t.send(KEY.UP)
    wait_current(t, 3)
    t.send(ctrl("N"))
    t.wait_for("Remove this track from the normal selection?", row=16, col=10)
    t.send("y")
    m = fake.wait_for(NO_SELECT)
    assert (m.album, m.track) == (1, 2)
    fake.handlers[UNPLAYABLE] = lambda srv, conn, m: reply(m, album=FAILED)
    t.send(ctrl("U"))
    t.wait_for("Are you sure you wish to add this track to the unplayable list?", row=16, col=10)
    t.send("y")
    t.wait_for("Send message failed", row=12)
    t.send(" ")
    t.wait_for('Artists containing "who"', row=0)
    t.send(ctrl("U"))
    t.wait_for("Are you sure", row=16, col=10)
    t.send("n")   # declined: nothing sent
    t.wait_for('Artists containing "who"', row=0)
    assert len(fake.of_type(UNPLAYABLE)) == 1


def test_offline_key_sends_offline_and_restarts_the_play_time(fake, term):
    lib = small_library()
    t = open_console(fake, term, lib)
    search(t, "abba", heading='Artists containing "abba"')
    t.send(ctrl("O"))
    t.wait_for("Are you sure you wish to offline this track?", row=16, col=10)
    t.send("y")
    m = fake.wait_for(OFFLINE)
    assert (m.album, m.track) == (2, 4)
    t.wait_for("00:0", row=23, col=74)


def test_a_adds_to_the_current_playlist_and_b_adds_the_whole_album(fake, term):
    lib = small_library()
    t = open_console(fake, term, lib)
    search(t, "abba", heading='Artists containing "abba"')
    t.send("a")
    m = fake.wait_for(PLIST_ADD)
    assert (m.album, m.track, m.str) == (2, 4, "current.lst")
    t.wait_for("Abba - Substitute:  Added to Current Playlist", row=12)
    t.wait_gone("Added to Current Playlist")
    t.send("b")
    t.wait_for("Do you really want to add ALL tracks on Album 0002", row=10, col=6)
    t.wait_for('to the playlist "current.lst"?', row=12, col=6)
    t.send("y")
    fake.wait_for(PLIST_ADD, count=5)
    adds = [(m.album, m.track, m.str) for m in fake.of_type(PLIST_ADD)[1:]]
    assert adds == [(2, 1, "current.lst"), (2, 2, "current.lst"), (2, 3, "current.lst"), (2, 4, "current.lst")]


def test_detail_keys_open_the_track_details_and_e_the_editor(fake, term):
    t = open_console(fake, term, small_library())
    search(t, "abba", heading='Artists containing "abba"')
    t.send(KEY.DOWN)   # 0002/01 Abba - Waterloo, after Substitute
    for key in ("i", "\r", "\n", KEY.KP_ENTER):
        t.send(key)
        t.wait_for("0002: Various - Mix [13:19]", row=0)
        t.wait_for("Track No:   1", row=3, col=2)
        t.wait_for("Title:  Waterloo", row=7, col=2)
        t.send(KEY.ESC)
        t.wait_for('Artists containing "abba"', row=0)
        t.wait_gone("Track No:")
    t.send("e")
    t.wait_for("Track No:    1", row=3, col=2)
    t.wait_for("Title:  Waterloo", row=7, col=2)
    t.wait_for("Online? Y", row=15, col=2)
    t.send(KEY.ESC)
    t.wait_for('Artists containing "abba"', row=0)
    t.wait_gone("Track No:")


def test_d_checks_the_album_for_duplicates_and_comes_back(fake, term):
    t = open_console(fake, term, small_library())
    search(t, "abba", heading='Artists containing "abba"')
    t.send("d")
    heading = "0002: Various - Mix"
    t.wait_for(heading, row=0, col=centred_col(heading))
    t.wait_for("Unique tracks: 4 (Duplicate tracks: 0)  export Tracks", row=23, col=17)
    t.send(ESC)
    t.wait_for("Duplicate Tracks: 0", row=23, col=17)
    t.send(ESC)
    # The check ends the list's browser with d; the console's search shows its results again.
    t.wait_for('Artists containing "abba"', row=0)


def test_v_asks_for_the_tracks_chain(fake, term):
    t = open_console(fake, term, small_library())
    search(t, "abba", heading='Artists containing "abba"')
    t.send(KEY.DOWN)
    t.send("v")
    m = fake.wait_for(LINK_QUERY)
    assert (m.album, m.track) == (2, 1)


def wav(path, samples, riff=b"RIFF"):
    data = b"".join(struct.pack("<h", s) for s in samples)
    head = riff + struct.pack("<I", 36 + len(data)) + b"WAVEfmt " + struct.pack("<IHHIIHH", 16, 1, 2, 44100, 176400, 4,
                                                                                 16)
    head += b"data" + struct.pack("<I", len(data))
    with open(path, "wb") as f:
        f.write(head + data)


def wav_library():
    lib = Library()
    lib.add(1, "Checker", "WAVs", [("Checker", "Good", "00:01"), ("Checker", "Held", "00:01"),
                                   ("Checker", "Fake", "00:01"), ("Checker", "Short", "00:01"),
                                   ("Checker", "Missing", "00:01"), ("Checker", "Gone", "00:01", "-", 0)])
    return lib


def make_wavs(root):
    media = os.path.join(root, "Media")
    wav(os.path.join(media, "0001_01.wav"), [0, 0] * 2000)
    wav(os.path.join(media, "0001_02.wav"), [7000, 10] * 2000)
    wav(os.path.join(media, "0001_03.wav"), [1, 2] * 100, riff=b"RIFX")
    with open(os.path.join(media, "0001_04.wav"), "wb") as f:
        f.write(b"RIFF1234")


def test_tab_checks_one_tracks_file(fake, term, root):
    make_wavs(root)
    t = open_console(fake, term, wav_library())
    search(t, "checker", heading='Artists containing "checker"')
    results = {
        "Fake": "Not a WAV file",
        "Gone": "Track is off-line",
        "Good": "  OK ",
        "Held": "Glitch at Sample:     1002 ( 0: 0.022721)",
        "Missing": "Cannot open: No such file or directory",
        "Short": "Cannot read header",
    }
    numbers = {"Good": 1, "Held": 2, "Fake": 3, "Short": 4, "Missing": 5, "Gone": 6}
    for i, title in enumerate(sorted(results)):
        t.send(KEY.TAB)
        t.wait_for("Checking track: Media/0001_%02d.wav:" % numbers[title], row=10, col=6)
        t.wait_for(results[title], row=12, col=6)
        assert t.at(12, 6, len(results[title]) + 1) == results[title] + " "
        t.wait_for("Continue:", row=20, col=6)
        t.send(" ")
        t.wait_for('Artists containing "checker"', row=0)
        t.send(KEY.DOWN)
        t.settle(0.2)


def test_ctrl_w_checks_the_whole_album(fake, term, root):
    make_wavs(root)
    t = open_console(fake, term, wav_library())
    search(t, "checker", heading='Artists containing "checker"')
    t.send(ctrl("W"))
    t.wait_for("Checking 6 tracks on album 0001:", row=2, col=10)
    t.wait_for("5 errors found: Continue:", row=20, col=10, timeout=10)
    # The good track's line was used again by the next track; the faults stay, one a row.
    assert t.at(4, 10, 18) == "Media/0001_02.wav:"
    assert t.at(4, 28, 45).rstrip() == "Glitch at Sample:     1002 ( 0: 0.022721)"
    assert t.at(5, 28, 20).rstrip() == "Not a WAV file"
    assert t.at(6, 28, 20).rstrip() == "Cannot read header"
    assert t.at(7, 28, 40).rstrip() == "Cannot open: No such file or directory"
    assert t.at(8, 28, 20).rstrip() == "Track is off-line"
    assert t.at(9, 10, 30).strip() == ""
    t.send(" ")
    t.wait_for('Artists containing "checker"', row=0)


def test_ctrl_w_on_a_good_album(fake, term, root):
    lib = Library()
    lib.add(1, "Fine", "Album", [("Fine", "One", "00:01"), ("Fine", "Two", "00:01")])
    for n in (1, 2):
        wav(os.path.join(root, "Media", "0001_%02d.wav" % n), [300, -300] * 500)
    t = open_console(fake, term, lib)
    search(t, "fine", heading='Artists containing "fine"')
    t.send(ctrl("W"))
    t.wait_for("Checking 2 tracks on album 0001:", row=2, col=10)
    t.wait_for("All Tracks OK: Continue:", row=20, col=10, timeout=10)
    assert t.at(4, 10, 40).strip() == ""
    t.send(" ")
    t.wait_for('Artists containing "fine"', row=0)


def test_the_playlist_and_selection_keys_are_only_for_albums_1_to_8999(fake, term):
    # A play-history list may name a reserved album (9000 up); its tracks take none of these keys.
    lib = Library()
    lib.add(1, "Low", "One", [("Low", "Song", "03:00")])
    lib.add(9000, "High", "Reserved", [("High", "Tune", "03:00")])
    entries = [(0x65000000, 9000, 1, "High", "Tune", "03:00"), (0x65000060, 1, 1, "Low", "Song", "03:00")]
    served = []

    def history(srv, conn, m):
        if len(served) < len(entries):
            played, a, tr, artist, title, length = entries[len(served)]
            served.append(m)
            text = "%8.8X %04d/%02d %-28.28s - %-29.29s [%s]" % (played, a, tr, artist, title, length)
            return reply(m, text=text.encode())
        return reply(m, album=0)
    fake.handlers[0x23] = history
    t = open_console(fake, term, lib)
    t.send("h")
    t.wait_for("Playlist History", row=0)
    wait_rows(t, [lib_line(lib, 9000, 1), lib_line(lib, 1, 1)])
    wait_current(t, 3)
    t.send(KEY.UP)
    wait_current(t, 2)                  # 9000/01
    for key in ("a", "b", ctrl("S"), ctrl("U"), ctrl("N"), ctrl("O")):
        t.send(key)
        t.settle(0.4)
        assert t.row(0).strip().startswith("Playlist History"), t.text()
        assert t.find("Are you sure") is None and t.find("Added to") is None and t.find("ALL tracks") is None
        assert t.find("0001/01:") is None and t.find("9000/01:") is None, t.text()
    assert fake.of_type(PLIST_ADD) == [] and fake.of_type(SHORTLIST) == [] and fake.of_type(OFFLINE) == []
    t.send(KEY.DOWN)
    wait_current(t, 3)                  # 0001/01 takes them
    t.send(ctrl("S"))
    t.wait_for("0001/01: Low - Song", row=8, col=10)
    t.wait_for("Add this track to the shortlist?", row=16, col=10)
    t.send("y")
    m = fake.wait_for(SHORTLIST)
    assert (m.album, m.track) == (1, 1)
