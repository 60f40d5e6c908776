"""The browser: paging, the position indicator, finding, sorting, reversing,
totals, notes and the keys it handles itself, on search results and on the
console's list."""

import os
import re
import time

from browse_common import (Library, centred_col, ctrl, lib_line, list_line, one_artist_library, open_console, rows,
                           search, wait_current, wait_position, wait_rows)
from conftest import write_cfg
from fakeserver import ALBUM_READ, FAILED, PLIST_ADD_LOCAL, REFRESH, reply

HISTORY = 0x23
RET_CHECK = 0x6C
from term import KEY

ESC = KEY.ESC
HEADING = 'Artists containing "band"'


def long_library():
    """45 tracks by one artist over three albums; their titles sort as they are numbered."""
    lib = Library()
    n = 0
    for a in (1, 2, 3):
        tracks = []
        for _ in range(15):
            n += 1
            tracks.append(("The Band", "Song %02d" % n, "%02d:%02d" % (2 + n % 5, n)))
        lib.add(a, "The Band", "Album %d" % a, tracks)
    return lib


def line_of(lib, ordinal):
    """The list line of the ordinal-th of long_library's songs."""
    a = (ordinal - 1) // 15 + 1
    return lib_line(lib, a, (ordinal - 1) % 15 + 1)


def open_long(fake, term):
    lib = long_library()
    t = open_console(fake, term, lib)
    search(t, "band", heading=HEADING)
    wait_rows(t, [line_of(lib, i) for i in range(1, 21)])
    return lib, t


def assert_page(t, lib, top, current):
    wait_current(t, 2 + current - top)
    shown = min(20, 45 - top + 1)
    wait_rows(t, [line_of(lib, i) for i in range(top, top + shown)])
    wait_position(t, "%2d of 45" % current)


def test_paging_keys(fake, term):
    lib, t = open_long(fake, term)
    assert_page(t, lib, 1, 1)
    for _ in range(19):
        t.send(KEY.DOWN, pause=0.02)
    assert_page(t, lib, 1, 20)
    t.send(KEY.DOWN)                   # at the last row the page scrolls by one
    assert_page(t, lib, 2, 21)
    t.send(KEY.HOME)
    assert_page(t, lib, 2, 2)
    t.send(KEY.UP)                     # at the first row it scrolls back by one
    assert_page(t, lib, 1, 1)
    t.send(KEY.END)
    assert_page(t, lib, 1, 20)
    t.send(KEY.PGDN)
    assert_page(t, lib, 21, 21)
    t.send(KEY.PGDN)
    assert_page(t, lib, 41, 41)
    t.send(KEY.PGDN)                   # nothing more below: the last row
    assert_page(t, lib, 41, 45)
    t.send(KEY.DOWN)                   # nothing after the last element
    assert_page(t, lib, 41, 45)
    t.send(KEY.PGUP)
    assert_page(t, lib, 21, 21)
    t.send(KEY.F6)
    assert_page(t, lib, 1, 1)
    t.send(KEY.PGUP)
    assert_page(t, lib, 1, 1)
    t.send(KEY.F7)
    assert_page(t, lib, 41, 45)


def test_control_home_end_and_page_keys_go_to_the_first_and_last_element(fake, term):
    # The terminal's own codes for these keys reach the browser as its fixed codes.
    lib, t = open_long(fake, term)
    t.send(KEY.CTRL_END)
    assert_page(t, lib, 41, 45)
    t.send(KEY.CTRL_HOME)
    assert_page(t, lib, 1, 1)
    t.send(KEY.CTRL_PGDN)
    assert_page(t, lib, 41, 45)
    t.send(KEY.CTRL_PGUP)
    assert_page(t, lib, 1, 1)
    t.send(KEY.DOWN)
    t.send(KEY.CTRL_LEFT)              # no player: passed on, nothing moves
    t.send(KEY.CTRL_INS)               # a key that means nothing here
    assert_page(t, lib, 1, 2)


def test_find_with_wrap_and_not_found(fake, term):
    lib, t = open_long(fake, term)
    t.send(KEY.F3)
    t.wait_for("Find:", row=12, col=20)
    t.settle(0.2)
    t.send("song 3\r")                 # the first after the current one: Song 30
    assert_page(t, lib, 21, 30)
    t.send(KEY.F3)                     # the same text again: Song 31
    assert_page(t, lib, 21, 31)
    t.send(KEY.F2)                     # a new text
    t.wait_for("Find:", row=12, col=20)
    t.settle(0.2)
    t.send("SONG 05\r")                # before the current one: found after wrapping
    assert_page(t, lib, 1, 5)
    t.send(KEY.F2)
    t.wait_for("Find:", row=12, col=20)
    t.settle(0.2)
    t.send("nowhere\r")
    text = '"nowhere" not found'
    t.wait_for(text, row=12, col=centred_col(text))
    t.wait_gone(text)
    assert_page(t, lib, 1, 5)          # the position stays
    t.send(KEY.F2)
    t.wait_for("Find:", row=12, col=20)
    t.settle(0.2)
    t.send(ESC)                        # cancelled
    assert_page(t, lib, 1, 5)


def sort_library():
    lib = Library()
    lib.add(1, "Mix", "One", [
        ("Zed", "Alpha", "9:59", "-", 1, 0x300000005, 7),
        ("the Abc", "Charlie", "10:05", "-", 1, 0x2, -1),
        ("Abc", "Bravo", "03:00", "-", 1, 0x100000009, 3),
    ])
    lib.add(2, "Mix", "Two", [("Mid", "Able", "04:00", "-", 1, 0x1, 3)])
    return lib


def choose_sort(t, row):
    t.send(ctrl("R"))
    t.wait_for("Sort Menu", row=0)
    t.settle(0.2)
    for _ in range(row):
        t.send(KEY.DOWN, pause=0.02)
    t.settle(0.1)
    t.send("\r")


def test_every_order_from_the_sort_menu_and_back(fake, term):
    lib = sort_library()
    t = open_console(fake, term, lib)
    search(t, "", "a", heading='Titles containing "a"')
    original = [(2, 1), (1, 1), (1, 3), (1, 2)]     # Title Order as searched
    wait_rows(t, [lib_line(lib, a, n) for a, n in original])
    orders = [
        ("Numerical Order", [(1, 1), (1, 2), (1, 3), (2, 1)]),
        ("Artist Order", [(1, 3), (1, 2), (2, 1), (1, 1)]),          # "the Abc" is read as "Abc"; then by title
        ("Title Order", [(2, 1), (1, 1), (1, 3), (1, 2)]),
        ("Length of Track or Album Order", [(1, 3), (2, 1), (1, 2), (1, 1)]),   # "10:05" before "9:59"
        ("CD-ID or Time Played Order", [(2, 1), (1, 2), (1, 1), (1, 3)]),       # the low 32 bits
        ("No. of Plays Order", [(1, 2), (2, 1), (1, 3), (1, 1)]),       # ties as the list stood
        ("Original Order", original),
    ]
    for row, (label, want) in enumerate(orders):
        choose_sort(t, row)
        heading = 'Titles containing "a"; Sorted in %s' % label
        t.wait_for(heading, row=0, col=centred_col(heading))
        wait_rows(t, [lib_line(lib, a, n) for a, n in want])


def test_a_re_sort_keeps_the_current_element(fake, term):
    lib = sort_library()
    t = open_console(fake, term, lib)
    search(t, "", "a", heading='Titles containing "a"')
    t.send(KEY.DOWN)
    t.send(KEY.DOWN)
    wait_current(t, 4)                  # 1/3 "Bravo"
    choose_sort(t, 0)                   # Numerical Order: 1/3 is third
    t.wait_for("Sorted in Numerical Order", row=0)
    wait_current(t, 4)
    choose_sort(t, 1)                   # Artist Order: 1/3 is first
    t.wait_for("Sorted in Artist Order", row=0)
    wait_current(t, 2)
    wait_position(t, "1 of 4")


def test_quit_and_escape_leave_the_order_alone(fake, term):
    lib = sort_library()
    t = open_console(fake, term, lib)
    search(t, "", "a", heading='Titles containing "a"')
    choose_sort(t, 7)                   # Quit
    t.wait_for('Titles containing "a"', row=0, col=centred_col('Titles containing "a"'))
    t.send(ctrl("R"))
    t.wait_for("Sort Menu", row=0)
    t.settle(0.2)
    t.send(ESC)
    t.wait_for('Titles containing "a"', row=0, col=centred_col('Titles containing "a"'))
    wait_rows(t, [lib_line(lib, a, n) for a, n in [(2, 1), (1, 1), (1, 3), (1, 2)]])


def test_ctrl_v_twice_gives_the_order_back(fake, term):
    lib = sort_library()
    t = open_console(fake, term, lib)
    search(t, "", "a", heading='Titles containing "a"')
    original = [(2, 1), (1, 1), (1, 3), (1, 2)]
    t.send(KEY.DOWN)
    t.send(ctrl("V"))
    heading = 'Titles containing "a"; Reverse '
    t.wait_for(heading.rstrip(), row=0, col=centred_col(heading))
    wait_rows(t, [lib_line(lib, a, n) for a, n in reversed(original)])
    wait_current(t, 4)                  # the same element, now third
    t.send(ctrl("V"))
    heading = 'Titles containing "a"; '
    t.wait_for(heading.rstrip(), row=0, col=centred_col(heading))
    wait_rows(t, [lib_line(lib, a, n) for a, n in original])
    wait_current(t, 3)
    # After a sort the reverse word goes into the sort description.
    choose_sort(t, 0)
    t.wait_for("Sorted in Numerical Order", row=0)
    t.send(ctrl("V"))
    heading = 'Titles containing "a"; Sorted in Reverse Numerical Order'
    t.wait_for(heading, row=0, col=centred_col(heading))
    wait_rows(t, [lib_line(lib, a, n) for a, n in [(2, 1), (1, 3), (1, 2), (1, 1)]])


def test_totals(fake, term):
    lib = Library()
    lib.add(1, "Tot", "Als", [("Tot", "One", "03:00"), ("Tot", "Two", "04:30", "-", 0), ("Tot", "Three", "05:00")])
    t = open_console(fake, term, lib)
    search(t, "tot", heading='Artists containing "tot"')
    t.send(ctrl("T"))
    t.wait_for("Total Tracks: 3    Total Time: 0 Days 0 Hours 12 Mins 30 secs", row=6, col=10)
    assert t.at(8, 10, 27) == "Average track Length: 04:10"
    assert t.at(10, 10, 19) == "Off-line Tracks: 1 "
    t.wait_for("Continue:", row=20, col=10)
    t.send(" ")
    t.wait_for('Artists containing "tot"', row=0)


def test_j_appends_a_note(fake, term, root):
    lib = Library()
    lib.add(4, "Noted", "Album", [("Noted", "Track One", "03:00"), ("Noted", "Track Two", "03:00")])
    with open(os.path.join(root, "Notes.txt"), "w") as f:
        f.write("earlier\n")
    t = open_console(fake, term, lib)
    search(t, "noted", heading='Artists containing "noted"')
    t.send(KEY.DOWN)
    t.send("j")
    t.wait_for("0004/02 Noted - Track Two", row=3, col=2)
    t.wait_for("Notes:", row=6, col=2)
    when = t.at(2, 2, 30).strip()
    assert re.match(r"\d\d/\d\d/\d\d @ \d\d:\d\d:\d\d$", when), when
    t.settle(0.2)
    t.send("first line   \r")
    t.send("\r")
    t.send("third line\r")
    t.send(ctrl("S"))
    t.wait_for('Artists containing "noted"', row=0)
    with open(os.path.join(root, "Notes.txt")) as f:
        text = f.read()
    assert text == "earlier\n" + "-" * 68 + "\n" + when + "\n0004/02 Noted - Track Two\n\nfirst line\nthird line\n\n"


def test_w_shows_the_time(fake, term):
    t = open_console(fake, term, long_library())
    search(t, "band", heading=HEADING)
    t.send("w")
    found = t.wait_for("Date/Time is now: ", row=12)
    assert re.match(r"\d\d/\d\d/\d\d @ \d\d:\d\d:\d\d", t.at(12, found[1] + 18, 20))


def test_an_empty_console_shows_an_empty_page_without_indicator(fake, term):
    t = open_console(fake, term, long_library(), current=[])
    t.settle(0.5)
    assert all(r.strip() == "" for r in rows(t, 20))
    assert t.at(23, 1, 10).strip() == ""


def test_a_is_not_passed_on_without_an_element(fake, term):
    # An empty offline playlist: its callback would add the missing element to
    # the current playlist, so 'a' must never reach it.
    from console_helpers import PlaylistServer, start_console
    PlaylistServer(fake, current=[(1, 1)], offline={"empty": []})
    t = start_console(fake, term)
    t.send("p")
    t.wait_for("Select Offline Playlist", row=0)
    t.settle(0.3)
    t.send("e")
    t.send(KEY.ENTER)
    t.wait_for("Playlist: empty", row=0)
    t.settle(0.3)
    adds = len(fake.of_type(PLIST_ADD_LOCAL))
    t.send("a")
    t.settle(0.8)
    assert len(fake.of_type(PLIST_ADD_LOCAL)) == adds
    assert "Added to" not in t.text() and "Already In" not in t.text()
    assert t.row(0).strip().startswith("Playlist: empty")


def test_the_console_list_and_its_indicator(fake, term):
    lib = long_library()
    t = open_console(fake, term, lib, current=[(2, 3), (1, 1)])
    wait_rows(t, [lib_line(lib, 2, 3), lib_line(lib, 1, 1)])
    wait_position(t, "1 of 2")
    t.send(KEY.DOWN)
    wait_position(t, "2 of 2")


def test_f5_refreshes_and_a_refusal_says_so(fake, term):
    lib = long_library()
    t = open_console(fake, term, lib)
    search(t, "band", heading=HEADING)
    reads = len(fake.of_type(ALBUM_READ))
    t.send(KEY.F5)
    m = fake.wait_for(REFRESH)
    assert m.album == 1
    fake.wait_for(ALBUM_READ, count=reads + 4)
    t.wait_for(HEADING, row=0)
    wait_rows(t, [line_of(lib, i) for i in range(1, 21)])
    fake.handlers[REFRESH] = lambda srv, conn, m: reply(m, album=FAILED)
    t.send(KEY.F5)
    t.wait_for("Control message failed", row=12)


def test_line_formats_and_state_characters(fake, term):
    lib = Library()
    lib.add(7, "An Artist Whose Name Is Far Too Long", "A Title That Is Also Much Too Long For It", [
        ("An Artist Whose Name Is Far Too Long", "A Title That Is Also Much Too Long For It", "13:31", "S"),
        ("An Artist", "Normal", "03:00", "-"),
        ("An Artist", "Off", "03:00", "S", 0),
        ("An Artist", "Unselected", "03:00", "N"),
    ], time="22:31")
    t = open_console(fake, term, lib)
    search(t, "an artist", heading='Artists containing "an artist"')
    wait_rows(t, [
        "0007/02 An Artist                    - Normal                        [03:00] ",
        "0007/03 An Artist                    - Off                           [03:00]-",
        "0007/04 An Artist                    - Unselected                    [03:00]^",
        "0007/01 An Artist Whose Name Is Far  - A Title That Is Also Much Too [13:31].",
    ])


def test_escape_restores_heading_and_footer(fake, term):
    t = open_console(fake, term, long_library())
    console_footer = t.row(23)[17:]
    search(t, "band", heading=HEADING)
    t.send(ESC)
    t.wait_for("Artist:", row=10, col=12)     # the console asks for the next search
    t.settle(0.2)
    t.send(ESC)
    t.wait_for("Current Playlist (", row=0)
    t.settle(0.5)
    # The console's list is taken again after the key and rebuilt: its heading gets the place of
    # a sort description, empty while no sort was chosen.
    heading = "Current Playlist (Undefined Mode); "
    assert t.at(0, centred_col(heading), len(heading)) == heading
    assert t.row(23)[17:] == console_footer


def history_server(fake, entries):
    """Answers HISTORY with one entry a request, then the end (album field 0)."""
    served = []

    def history(srv, conn, m):
        if len(served) < len(entries):
            played, a, tr, artist, title, length = entries[len(served)]
            served.append(m)
            text = "%8.8X %04d/%02d %-28.28s - %-29.29s [%s]" % (played, a, tr, artist, title, length)
            return reply(m, text=text.encode())
        return reply(m, album=0)
    fake.handlers[HISTORY] = history


def test_a_history_list_shows_when_played_and_sorts_by_it(fake, term):
    lib = Library()
    lib.add(1, "Hist", "Ory", [("Hist", "Alpha", "03:00", "S"), ("Hist", "Beta", "03:00", "-", 0),
                               ("Hist", "Gamma", "03:00")])
    base = 1700000000   # 14/11/23 22:13:20 UTC
    # Played out of time order: the history file's order is kept until a sort.
    history_server(fake, [(base + 60, 1, 2, "Hist", "Beta", "03:00"), (base, 1, 1, "Hist", "Alpha", "03:00"),
                          (base + 120, 1, 3, "Hist", "Gamma", "03:00")])
    t = open_console(fake, term, lib, env={"TZ": "UTC"})
    t.send("h")
    t.wait_for("Playlist History", row=0)
    # The selection letter and the on-line flag come from the album table.
    wait_rows(t, [lib_line(lib, 1, 2), lib_line(lib, 1, 1), lib_line(lib, 1, 3)])
    wait_current(t, 4)                  # the most recent entry of the file
    wait_position(t, "3 of 3. Played: 14/11/23 @ 22:15:20")
    t.send(ctrl("R"))
    t.wait_for("Sort Menu", row=0)
    t.settle(0.2)
    t.send("C")                          # "CD-ID or Time Played Order": by the time played
    t.send("\r")
    t.wait_for("Playlist History; Sorted in CD-ID or Time Played Order", row=0)
    wait_rows(t, [lib_line(lib, 1, 1), lib_line(lib, 1, 2), lib_line(lib, 1, 3)])
    wait_position(t, "3 of 3. Played: 14/11/23 @ 22:15:20")
    t.send(KEY.UP)
    t.send(KEY.UP)
    wait_position(t, "1 of 3. Played: 14/11/23 @ 22:13:20")
    t.send(ctrl("T"))
    t.wait_for("Total Tracks: 3", row=6, col=10)
    assert t.at(10, 10, 30).strip() == ""   # no off-line count in a history list
    t.send(" ")
    t.wait_for("Playlist History", row=0)
    t.send(KEY.ESC)
    t.wait_for("Current Playlist (", row=0)


def test_keys_that_reach_other_screens(fake, term):
    t = open_console(fake, term, long_library())
    search(t, "band", heading=HEADING)
    t.send(ctrl("Q"))                    # retrieval check to the local server (here the master)
    m = fake.wait_for(RET_CHECK)
    assert (m.album, m.track) == (0, 0)
    t.send(ctrl("H"))
    t.wait_for("Available History Files", row=0)
    t.settle(0.2)
    t.send(KEY.ESC)
    t.wait_for(HEADING, row=0)
    t.send(KEY.F1)
    t.settle(0.5)
    assert HEADING not in t.row(0)
    t.send(" ")
    t.wait_for(HEADING, row=0)
    wait_rows(t, [line_of(long_library(), i) for i in range(1, 21)])


def test_ctrl_l_on_the_master_machine(fake, term, root):
    write_cfg(root, fake.port, mode="master")
    t = open_console(fake, term, long_library())
    search(t, "band", heading=HEADING)
    t.send(ctrl("L"))
    t.wait_for("Local audio stream not available on Master server", row=12)
    t.wait_gone("Local audio stream not available on Master server")
    t.send(ctrl("A"))                    # the audio stream, toggled: not on the master either
    t.wait_for("Local audio stream not available on Master server", row=12)
    t.wait_gone("Local audio stream not available on Master server")
    wait_rows(t, [line_of(long_library(), i) for i in range(1, 21)])


def test_a_sort_after_ctrl_v_starts_from_the_list_as_shown(fake, term):
    # The list is rebuilt from the one on the screen: equal play counts keep the reversed order.
    lib = sort_library()
    t = open_console(fake, term, lib)
    search(t, "", "a", heading='Titles containing "a"')
    t.send(ctrl("V"))
    t.wait_for('Titles containing "a"; Reverse', row=0)
    wait_rows(t, [lib_line(lib, a, n) for a, n in [(1, 2), (1, 3), (1, 1), (2, 1)]])
    choose_sort(t, 5)                   # No. of Plays Order: 1/3 and 2/1 both played 3 times
    heading = 'Titles containing "a"; Sorted in No. of Plays Order'
    t.wait_for(heading, row=0, col=centred_col(heading))
    wait_rows(t, [lib_line(lib, a, n) for a, n in [(1, 2), (1, 3), (2, 1), (1, 1)]])


def test_f3_with_an_empty_find_text_finds_nothing(fake, term):
    lib, t = open_long(fake, term)
    t.send(KEY.DOWN)
    t.send(KEY.F3)
    t.wait_for("Find:", row=12, col=20)
    t.settle(0.2)
    t.send("\r")
    text = '"" not found'
    t.wait_for(text, row=12, col=centred_col(text))
    t.wait_gone(text)
    assert_page(t, lib, 1, 2)


def counts_shown(raw, start):
    """The values the field at row 12, column 46 took, in turn, while "Please Wait...." was shown
    and raw[start:] was written."""
    from term import _Screen, _Stream
    screen = _Screen(80, 24)
    stream = _Stream(screen)
    stream.use_utf8 = False
    stream.feed(raw[:start])
    seen = []
    for i in range(start, len(raw)):
        stream.feed(raw[i:i + 1])
        if screen.display[12][30:45] != "Please Wait....":
            continue
        field = screen.display[12][46:50]
        if field.strip().isdigit() and (not seen or seen[-1] != int(field)):
            seen.append(int(field))
    return seen


def test_a_long_list_shows_a_running_count_while_it_is_rebuilt(fake, term):
    lib = one_artist_library("Lots", 1001)
    t = open_console(fake, term, lib)
    search(t, "lots", heading='Artists containing "lots"')
    wait_position(t, "   1 of 1001")
    start = len(t.raw)
    t.send(ctrl("V"))
    t.wait_for('Artists containing "lots"; Reverse', row=0, timeout=20)
    wait_position(t, "1001 of 1001")
    t.settle(0.3)
    seen = iter(counts_shown(t.raw, start))
    # One count an element, from the first to the last (the screen passes through
    # part-written counts in between, which do not matter).
    missing = [n for n in range(1, 1002) if n not in seen]
    assert missing == [], missing[:10]


def test_a_key_on_the_loaded_cd_screen_takes_its_list_again(fake, term):
    # The loaded CD's own service may replace its list; the browser shows the list
    # as it stands after every key it passes on, rebuilt (hence the sort place).
    EXOCD = 0x64
    CD_EJECT = 0x6B
    lib = Library()
    lib.add(12, "Loaded", "Disc", [("Loaded", "First", "03:00"), ("Loaded", "Second", "04:00")], time="07:00")
    t = open_console(fake, term, lib)
    fake.push(EXOCD, album=12, track=1000, text=b"1234abcd")
    heading = "0012: Loaded - Disc [07:00]"
    t.wait_for(heading, row=0, col=centred_col(heading))
    wait_rows(t, [lib_line(lib, 12, 1), lib_line(lib, 12, 2)])
    t.send(KEY.DOWN)
    t.send("z")
    heading = "0012: Loaded - Disc [07:00]; "
    t.wait_for(heading.rstrip(), row=0, col=centred_col(heading))
    wait_rows(t, [lib_line(lib, 12, 1), lib_line(lib, 12, 2)])
    wait_current(t, 3)
    t.send(ESC)
    m = fake.wait_for(CD_EJECT)
    assert m.album == 12
    t.wait_for("Current Playlist (", row=0)


def test_console_keys_are_passed_on_only_in_the_initial_order(fake, term):
    lib = long_library()
    t = open_console(fake, term, lib, current=[(2, 3), (1, 1)])
    wait_rows(t, [lib_line(lib, 2, 3), lib_line(lib, 1, 1)])
    t.send(ctrl("V"))                   # reversed, still the initial order: keys reach the console
    t.wait_for("Current Playlist (Undefined Mode); Reverse", row=0)
    wait_rows(t, [lib_line(lib, 1, 1), lib_line(lib, 2, 3)])
    t.send("s")
    t.wait_for("Enter Artist and/or Title To Search For", row=0)
    t.settle(0.2)
    t.send(ESC)
    t.wait_for("Current Playlist (", row=0)
    choose_sort(t, 0)                   # Numerical Order: the console's keys are ignored now
    t.wait_for("Current Playlist (Undefined Mode); Sorted in Numerical Order", row=0)
    wait_rows(t, [lib_line(lib, 1, 1), lib_line(lib, 2, 3)])
    t.send("s")
    t.settle(0.5)
    assert t.row(0).strip() == "Current Playlist (Undefined Mode); Sorted in Numerical Order"
    choose_sort(t, 6)                   # Original Order is a sort too
    t.wait_for("Current Playlist (Undefined Mode); Sorted in Original Order", row=0)
    wait_rows(t, [lib_line(lib, 2, 3), lib_line(lib, 1, 1)])
    t.send("s")
    t.settle(0.5)
    assert t.row(0).strip() == "Current Playlist (Undefined Mode); Sorted in Original Order"


def test_a_notes_file_that_cannot_be_opened_is_reported(fake, term, root):
    os.mkdir(os.path.join(root, "Notes.txt"))
    t = open_console(fake, term, long_library())
    search(t, "band", heading=HEADING)
    t.send("j")
    text = "Cannot open note file - Is a directory"
    t.wait_for(text, row=12, col=centred_col(" " + text + " ") + 1)
    t.send(" ")
    t.wait_gone(text)
    t.wait_for(HEADING, row=0)
    wait_rows(t, [line_of(long_library(), i) for i in range(1, 21)])
