"""The help page: from F1 in a menu and from the main menu's Help row."""

from term import KEY
from ui_common import BOTTOM_FRAME, MAIN_COL, MAIN_TOP, choose_main, start, wait_main_highlight

LEFT = ["u  Move up the playlist", "d  Move down the playlist", "t  Move to top of playlist",
        "x  Delete item from the playlist", "s  Search for artist/title", "a  Add item to the current playlist",
        "h  Display the history list", "i  Detailed track information", "e  Edit track information",
        "m  More tracks by this artist", "l  Show album tracklist", "p  Open offline playlist",
        "r  Randomize the current playlist", "c  Clear/replace the current playlist",
        "k  Keep (save) the current playlist", "f  Favourite - add to a playlist",
        "q  Initiate track-linking for this item", "w  Show server wall-time"]
RIGHT = ["ESC Escape to previous level", "^G  Go - start the auto-DJ", "^E  End - stop the auto-DJ",
         "^P  Pause/unpause play", "^F  Fade and skip current track", "^R  Re-sort the display",
         "^V  Reverse the sort order", "^S  Put track on shortlist", "^D  Remove track from shortlist",
         "^U  Put track on unplayable list", "^K  Kill the current retrieve", "^O  Force a track off-line",
         "^B  Re-boot the zerka server", "^X  Shut Down the zerka server", "^T  Totalize list items",
         "^N  Set to Not-to-be_selected", "^A  Toggle local audio stream", "^L  Play track locally/Stop play"]
KEYS_LEFT = ["F2/F3 Search for string/search again", "F4 Printing Menu", "F5 Refresh Screen"]
KEYS_RIGHT = ["F6/F7 Browse to first/last line", "F8 Apply operations to all items", "F9 Add album to database"]


def check_page(t, mode="standalone"):
    title = "Zerka client V4.02 (%s Mode) - Help Screen" % mode
    t.wait_for(title, row=0, col=16)
    assert all(t.is_bold(0, c) for c in range(16, 16 + len(title)))
    for i, text in enumerate(LEFT):
        assert t.at(1 + i, 2, len(text)) == text, i
    for i, text in enumerate(RIGHT):
        assert t.at(1 + i, 42, len(text)) == text, i
    for i, text in enumerate(KEYS_LEFT):
        assert t.at(20 + i, 2, len(text)) == text
    for i, text in enumerate(KEYS_RIGHT):
        assert t.at(20 + i, 42, len(text)) == text
    assert t.row(19)[1:79].strip() == ""
    assert t.row(23) == BOTTOM_FRAME


def test_f1_shows_the_help_page(term, fake, root):
    t = start(term, fake, root)
    t.send(KEY.DOWN)
    wait_main_highlight(t, 1)
    t.send(KEY.F1)
    check_page(t)
    t.send("x")
    t.wait_for("ZERKALIBRARY", row=0, col=34)
    wait_main_highlight(t, 1)
    assert t.at(MAIN_TOP, MAIN_COL, 12) == "Console Mode"
    assert "Help Screen" not in t.text()


def test_the_help_row(term, fake, root):
    t = start(term, fake, root, mode="master")
    choose_main(t, 9)
    check_page(t, "master")
    t.send(KEY.ESC)
    t.wait_for("ZERKALIBRARY", row=0, col=34)
    wait_main_highlight(t, 9)


def test_a_server_message_does_not_close_the_page(term, fake, root):
    t = start(term, fake, root)
    t.send(KEY.F1)
    check_page(t)
    fake.push(0x42)   # PAUSE: handled without a word
    t.settle(1.0)
    check_page(t)
    t.send(" ")
    t.wait_for("ZERKALIBRARY", row=0, col=34)


def test_f1_in_a_sub_menu_comes_back_to_it(term, fake, root):
    t = start(term, fake, root)
    choose_main(t, 6)
    t.wait_for("Local Audio", row=0)
    t.send(KEY.F1)
    check_page(t)
    t.send("q")
    t.wait_for("Local Audio", row=0, col=34)
    t.wait_for("Start local audio stream", row=11, col=27)
