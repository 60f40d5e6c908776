"""Playing modes: the console's heading, the mode requests, Console mode's lock and
the playlist chooser of the Playlist and Play-Mixed modes."""

import time

import pytest

from conftest import write_cfg
from console_helpers import (CONSOLE, CURRENT, GET_MODE, GET_PLIST, MODE_NAMES, SET_PLIST, PlaylistServer, centred,
                             count_of, heading_of, start_console)
from fakeserver import PLIST_GET, reply
from term import KEY

MODE_ROWS = {1: "Console Mode", 2: "Jukebox Mode", 3: "Random Mode", 4: "Mixed Mode", 5: "Playlist Mode",
             6: "Play-Mixed Mode"}


def expected_heading(mode, selection="favourites"):
    if mode in (5, 6):
        return '%s mode: selecting from "%s" playlist' % (MODE_NAMES[mode], selection)
    return "Current Playlist (%s Mode)" % MODE_NAMES[mode]


def to_main_menu(t):
    t.send(KEY.ESC)
    t.wait_for("ZERKALIBRARY", row=0)
    t.settle(0.3)


def choose_mode(t, mode):
    """Chooses a mode row of the main menu (rows 0..5 are modes 1..6)."""
    t.send(KEY.HOME)
    for _ in range(mode - 1):
        t.send(KEY.DOWN)
    t.send(KEY.ENTER)


@pytest.mark.parametrize("mode", range(7))
def test_the_console_opens_first_in_the_servers_mode(fake, term, mode):
    PlaylistServer(fake, current=[(1, 1)])
    t = start_console(fake, term, mode=mode)
    assert heading_of(t).startswith(expected_heading(mode))
    # Opening in the undefined mode asks the server and changes nothing.
    assert [m.type for m in fake.received if 0xB1 <= m.type <= 0xB6] == []
    assert count_of(fake, GET_MODE) == 1
    get = fake.of_type(PLIST_GET)[0]
    assert (get.album, get.str) == (1, CURRENT)


@pytest.mark.parametrize("mode", [2, 3, 4])
def test_a_mode_row_sends_the_mode_when_the_server_differs(fake, term, mode):
    PlaylistServer(fake, current=[(1, 1)])
    t = start_console(fake, term, mode=0 if mode != 2 else 3)
    to_main_menu(t)
    modes_before = count_of(fake, GET_MODE)
    choose_mode(t, mode)
    m = fake.wait_for(0xB0 + mode)
    assert (m.album, m.track) == (1, 0)
    assert count_of(fake, GET_MODE) == modes_before + 1
    t.wait_for(expected_heading(mode), row=0)


def test_a_mode_row_sends_nothing_when_the_server_is_already_in_it(fake, term):
    PlaylistServer(fake, current=[(1, 1)])
    t = start_console(fake, term, mode=4)
    to_main_menu(t)
    choose_mode(t, 4)
    fake.wait_for(GET_MODE, count=2)
    t.wait_for(expected_heading(4), row=0)
    time.sleep(0.3)
    assert count_of(fake, 0xB4) == 0


def test_console_mode_needs_the_password(fake, term, root):
    write_cfg(root, fake.port, password="sesame")
    PlaylistServer(fake, current=[(1, 1)])
    t = start_console(fake, term, mode=2)
    to_main_menu(t)
    choose_mode(t, 1)
    t.wait_for("Password: ", row=12, col=27)
    t.send("sesame\r")
    m = fake.wait_for(CONSOLE)
    assert (m.album, m.track) == (1, 0)
    t.wait_for(expected_heading(1), row=0)


def test_console_mode_with_a_wrong_password_stays_in_the_menu(fake, term, root):
    write_cfg(root, fake.port, password="sesame")
    PlaylistServer(fake, current=[(1, 1)])
    t = start_console(fake, term, mode=2)
    to_main_menu(t)
    choose_mode(t, 1)
    t.wait_for("Password: ", row=12, col=27)
    t.send("wrong\r")
    t.wait_for("Sorry - Wrong Password")
    t.wait_for("ZERKALIBRARY", row=0)
    assert count_of(fake, CONSOLE) == 0


def test_console_already_in_use(fake, term):
    PlaylistServer(fake, current=[(1, 1)])
    fake.handlers[CONSOLE] = lambda srv, conn, m: reply(m, album=0)
    t = start_console(fake, term, mode=3)
    to_main_menu(t)
    gets = count_of(fake, GET_MODE)
    choose_mode(t, 1)
    t.wait_for("Console already in use", row=12)
    # No mode change: the console opens in the server's own mode.
    t.wait_for(expected_heading(3), row=0)
    assert count_of(fake, GET_MODE) == gets + 1
    assert count_of(fake, CONSOLE) == 1


class Selection:
    """SET_PLIST / GET_PLIST of the fake server: what the Playlist modes select from."""

    def __init__(self, fake, refuse_set=None, refuse_mode=None):
        self.fake = fake
        self.refuse_set = refuse_set
        self.refuse_mode = refuse_mode
        fake.handlers[SET_PLIST] = self.on_set

    def on_set(self, srv, conn, m):
        if m.album == 0:
            if self.refuse_set:
                return reply(m, album=0)
            self.fake.selection_playlist = m.text
            return reply(m)
        if self.refuse_mode is not None:
            return reply(m, album=0, track=self.refuse_mode)
        self.fake.mode = m.album
        return reply(m)


def open_chooser(fake, term, mode=5, **kw):
    PlaylistServer(fake, current=[(1, 1)], offline={"party": [(2, 1)], "chill": [(3, 1)]})
    sel = Selection(fake, **kw)
    t = start_console(fake, term, mode=2)
    to_main_menu(t)
    choose_mode(t, mode)
    t.wait_for("Choose Playlist to use for selection", row=0)
    t.settle(0.3)
    return t, sel


def test_the_playlist_chooser_never_offers_the_current_playlist(fake, term):
    t, _ = open_chooser(fake, term)
    screen = t.text()
    assert "chill" in screen and "party" in screen and "Quit" in screen
    assert CURRENT not in screen
    d = [m for m in fake.received if m.type == 0x24][-1]
    assert (d.album, d.track, d.str) == (0, 0, "PlayLists")


@pytest.mark.parametrize("mode", [5, 6])
def test_choosing_a_selection_playlist(fake, term, mode):
    t, _ = open_chooser(fake, term, mode=mode)
    t.send("p")   # "party" by its first letter
    t.send(KEY.ENTER)
    t.wait_for(expected_heading(mode, "party"), row=0)
    sets = fake.of_type(SET_PLIST)
    assert [(m.album, m.track, m.str) for m in sets] == [(0, 0, "party"), (mode, 1, "party")]
    # The chooser's request comes first, then the selection is read back and the mode set.
    types = [m.type for m in fake.received if m.type in (SET_PLIST, GET_PLIST)]
    assert types[-4:] == [SET_PLIST, GET_PLIST, SET_PLIST, GET_PLIST]


def test_quit_in_the_chooser_goes_back_without_a_change(fake, term):
    t, _ = open_chooser(fake, term)
    t.send("q")
    t.send(KEY.ENTER)
    t.wait_for("ZERKALIBRARY", row=0)
    assert count_of(fake, SET_PLIST) == 0


@pytest.mark.parametrize("track,text", [(1, "Playlist change not allowed - Console logged in"),
                                        (0, "Problem opening playlist")])
def test_a_refused_selection_mode(fake, term, track, text):
    t, _ = open_chooser(fake, term, refuse_mode=track)
    t.send("c")
    t.send(KEY.ENTER)
    t.wait_for(text, row=12)
    t.wait_for("ZERKALIBRARY", row=0)


def test_a_refused_playlist_change(fake, term):
    t, _ = open_chooser(fake, term, refuse_set=True)
    t.send("c")
    t.send(KEY.ENTER)
    t.wait_for("Playlist change not permitted", row=12)


def test_local_mode_sends_the_mode_to_the_local_server_too(fake, term, root):
    write_cfg(root, fake.port, mode="local")
    PlaylistServer(fake, current=[(1, 1)])
    t = start_console(fake, term, mode=3)
    fake.wait_connections(2)
    to_main_menu(t)
    choose_mode(t, 2)
    t.wait_for(expected_heading(2), row=0)
    sent = fake.of_type(0xB2)
    assert len(sent) == 2
    assert {m.conn.index for m in sent} == {0, 1}


def test_the_heading_is_centred(fake, term):
    PlaylistServer(fake, current=[(1, 1)])
    t = start_console(fake, term, mode=2)
    heading = t.row(0).strip()
    centred(t, heading)
