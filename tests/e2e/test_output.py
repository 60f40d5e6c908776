"""F4: the list being browsed written to a file in "Reports"."""

import os

from browse_common import Library, centred_col, maintenance_row, open_console, search, to_maintenance
from term import KEY
from ui_common import to_main_menu

MENU_TITLE = "Report Printing Menu"


def output_library():
    lib = Library()
    lib.add(2, "Mixed", "Bag", [
        ('The "Quoted" Band', 'Say "Hi"', "03:05", "-", 1, 0xABC),
        ("Plain Band", "Short-listed", "04:10", "S", 0, 0x1234567890),
        ("Plain Band", "Normal", "02:00", "-", 1, 0),
        ("Plain Band", "Unselected", "05:00", "N", 1, 7),
    ], time="14:15", cd_ident=0x99)
    return lib


def write_report(t, form_row, name):
    t.send(KEY.F4)
    t.wait_for(MENU_TITLE, row=0, col=centred_col(MENU_TITLE))
    t.settle(0.2)
    for _ in range(form_row):
        t.send(KEY.DOWN, pause=0.02)
    t.settle(0.2)
    t.send("\r")
    t.wait_for("Output Filename:", row=8, col=12)
    t.settle(0.2)
    t.send(name + "\r")


def read_report(root, name):
    with open(os.path.join(root, "Reports", name)) as f:
        return f.read()


def band_list(fake, term):
    t = open_console(fake, term, output_library())
    search(t, "band", heading='Artists containing "band"')
    return t


def wait_back(t, heading='Artists containing "band"'):
    t.wait_for(heading, row=0)
    t.settle(0.3)


def test_plain_text_listing(fake, term, root):
    t = band_list(fake, term)
    write_report(t, 0, "plain.txt")
    wait_back(t)
    # Artist Order: '"quoted" band' (its "The " dropped) sorts before "plain band".
    assert read_report(root, "plain.txt") == (
        'The "Quoted" Band - Say "Hi"\n'
        "Plain Band - Normal\nPlain Band - Short-listed\nPlain Band - Unselected\n")


def test_an_existing_file_is_replaced(fake, term, root):
    with open(os.path.join(root, "Reports", "plain.txt"), "w") as f:
        f.write("old contents that are longer than the new ones\n" * 10)
    t = band_list(fake, term)
    write_report(t, 0, "plain.txt")
    wait_back(t)
    assert read_report(root, "plain.txt").startswith('The "Quoted" Band - Say "Hi"\n')
    assert "old contents" not in read_report(root, "plain.txt")


def inlay_lines(timestamps):
    rows = [
        (0xABC, 1, 'The "Quoted" Band', 'Say "Hi"', "03:05", "."),
        (0, 3, "Plain Band", "Normal", "02:00", "."),
        (0x1234567890, 2, "Plain Band", "Short-listed", "04:10", "s"),   # off line and short-listed
        (7, 4, "Plain Band", "Unselected", "05:00", "N"),
    ]
    out = []
    for ident, track, artist, title, length, state in rows:
        stamp = "%8.8X " % ident if timestamps else ""
        out.append(stamp + "%04d/%02d %-29.29s - %-29.29s [%s] %s\n" % (2, track, artist, title, length, state))
    return out


def test_inlay_card_with_time_stamps(fake, term, root):
    t = band_list(fake, term)
    write_report(t, 1, "inlay.txt")
    t.wait_for("Do you want to include timestamps?", row=10, col=12)
    t.send("y")
    wait_back(t)
    heading = 'Artists containing "band"'
    assert read_report(root, "inlay.txt") == "\n\t%s\n" % heading + "-" * 84 + "\n\n" + "".join(inlay_lines(True))


def test_inlay_card_without_time_stamps_after_a_sort(fake, term, root):
    t = band_list(fake, term)
    t.send("\x12")
    t.wait_for("Sort Menu", row=0)
    t.settle(0.2)
    t.send("\r")                      # the first row: Numerical Order
    heading = 'Artists containing "band"; Sorted in Numerical Order'
    t.wait_for(heading, row=0)
    write_report(t, 1, "inlay.txt")
    t.wait_for("Do you want to include timestamps?", row=10, col=12)
    t.send("n")
    wait_back(t, heading)
    by_number = sorted(inlay_lines(False), key=lambda line: line[5:7])
    assert read_report(root, "inlay.txt") == "\n\t%s\n" % heading + "-" * 75 + "\n\n" + "".join(by_number)


def test_csv_file_with_and_without_index_numbers(fake, term, root):
    t = band_list(fake, term)
    write_report(t, 2, "list.csv")
    t.wait_for("Do you want to include index numbers?", row=10, col=12)
    t.send("y")
    wait_back(t)
    assert read_report(root, "list.csv") == (
        "\"0002/01\",\"The ''Quoted'' Band\",\"Say ''Hi''\"\n"
        '"0002/03","Plain Band","Normal"\n'
        '"0002/02","Plain Band","Short-listed"\n'
        '"0002/04","Plain Band","Unselected"\n')
    write_report(t, 2, "bare.csv")
    t.wait_for("Do you want to include index numbers?", row=10, col=12)
    t.send("n")
    wait_back(t)
    assert read_report(root, "bare.csv").splitlines()[0] == "\"The ''Quoted'' Band\",\"Say ''Hi''\""
    assert read_report(root, "bare.csv").splitlines()[1] == '"Plain Band","Normal"'


def test_a_file_that_cannot_be_opened(fake, term, root):
    t = band_list(fake, term)
    write_report(t, 0, "nodir/x.txt")
    text = "Problem opening file Reports/nodir/x.txt - No such file or directory"
    t.wait_for(text, row=12)
    assert t.find(text + " - ") is None          # the system's text is given once
    t.send(" ")
    wait_back(t)
    assert not os.path.exists(os.path.join(root, "Reports", "nodir"))


def test_escape_and_quit_write_nothing(fake, term, root):
    t = band_list(fake, term)
    t.send(KEY.F4)
    t.wait_for(MENU_TITLE, row=0)
    t.settle(0.2)
    t.send("Q")
    t.send("\r")
    wait_back(t)
    t.send(KEY.F4)
    t.wait_for(MENU_TITLE, row=0)
    t.settle(0.2)
    t.send("\r")
    t.wait_for("Output Filename:", row=8, col=12)
    t.settle(0.2)
    t.send(KEY.ESC)
    wait_back(t)
    assert os.listdir(os.path.join(root, "Reports")) == []


def test_plain_listing_of_a_list_with_albums(fake, term, root):
    t = open_console(fake, term, output_library())
    to_main_menu(t)
    to_maintenance(t)
    maintenance_row(t, "Global search (Case Sensitive)")
    t.wait_for("Search for:", row=12, col=16)
    t.settle(0.2)
    t.send("a\r")
    heading = 'All Occurrences Of String "a"'
    t.wait_for(heading, row=0)
    t.settle(0.3)
    write_report(t, 0, "albums.txt")
    wait_back(t, heading)
    # The album itself gives one line of its artist and title.
    assert read_report(root, "albums.txt") == (
        'The "Quoted" Band - Say "Hi"\n'
        "Mixed - Bag\nPlain Band - Normal\nPlain Band - Short-listed\nPlain Band - Unselected\n")
