"""Album maintenance against the real zerkaserver: an edit, an import and a timing recalculation are
stored by the server and read back by other clients."""

import os

import pytest

from album_common import KEY, album_number, entries, maintenance_row
from browse_common import list_line, to_maintenance
from conftest import write_cfg
from fakeserver import ALBUM_READ
from realserver import RealServer
from ui_common import centred, to_main_menu

SECOND = 176400


@pytest.fixture
def server():
    """A zerkaserver on a demo root; the clients share that root, in master mode."""
    srv = RealServer(demo=True)
    write_cfg(srv.root, srv.port, mode="master")
    yield srv
    srv.stop()


def read_back(srv, album_no):
    """The album as another client reads it from the server."""
    c = srv.client()
    text = c.request(ALBUM_READ, album=album_no).text
    c.close()
    return entries(text)


def start(srv, term):
    t = term(zroot=srv.root, env={"TZ": "UTC"})
    to_main_menu(t, timeout=30)
    to_maintenance(t)
    return t


def heading_at(t, text):
    t.wait_for(text, row=0, col=centred(text))


def test_an_edit_is_read_back_by_other_clients(server, term):
    before = read_back(server, 1)
    other = start(server, term)
    t = start(server, term)
    maintenance_row(t, "Edit Album")
    album_number(t, 1)
    t.wait_for("Album No: 0001", row=3, col=2)
    t.send(KEY.PGDN)
    t.wait_for("Track No:    1", row=3, col=2)
    t.send(KEY.DOWN + KEY.DOWN + KEY.END + " (Remastered)")
    t.wait_for("Title:  Last Car to the Harbour (Remastered)", row=7, col=2)
    t.send(KEY.ESC)
    t.wait_for("Save changes?", row=10, col=30)
    t.send("y")
    heading_at(t, "Maintenance")
    after = read_back(server, 1)
    assert after[1][:2] == (before[1][0], "Last Car to the Harbour (Remastered)")
    assert after[0] == before[0] and after[2:] == before[2:]
    # The other program took the server's notice: its track list shows the new title.
    maintenance_row(other, "Album Tracklist")
    album_number(other, 1)
    artist, title, third = after[1]
    other.wait_for(list_line(1, 1, artist, title, third.split()[0]), row=2, col=2)


def test_a_plain_text_import_is_read_back(server, term):
    tracks = len(read_back(server, 2)) - 1
    with open(os.path.join(server.root, "tracks.txt"), "w") as f:
        for n in range(1, tracks + 1):
            f.write("%02d. imported song %d - the importers\n" % (n, n))
    t = start(server, term)
    maintenance_row(t, "Imports")
    heading_at(t, "Imports")
    t.settle(0.2)
    t.send("P")
    t.settle(0.2)
    t.send(KEY.ENTER)
    album_number(t, 2)
    t.wait_for("Import Filename: tracks.txt", row=18, col=12)
    t.send("\r")
    t.wait_for("Does the Artist appear first? [Y/N/ESC] ", row=18, col=12)
    t.send("n")
    t.wait_for("Album Artist(s):", row=15, col=12)
    t.settle(0.2)
    t.send(KEY.DEL * 60 + "the importers\r")
    t.wait_for("Album Title:", row=17, col=12)
    t.settle(0.2)
    t.send(KEY.DEL * 60 + "imported album\r")
    t.wait_for("Are you sure you want to replace artist & title?", row=19, col=12)
    t.send("y")
    heading_at(t, "Imports")
    got = read_back(server, 2)
    assert [e[:2] for e in got] == [("The Importers", "Imported Album")] + [
        ("The Importers", "Imported Song %d" % n) for n in range(1, tracks + 1)]


def test_a_timing_recalculation_is_read_back(server, term):
    before = read_back(server, 3)
    tracks = len(before) - 1
    sizes = [SECOND * (60 + n) + 44 for n in range(1, tracks + 1)]
    for n, size in enumerate(sizes, start=1):
        with open(os.path.join(server.root, "Media", "%04d_%02d.wav" % (3, n)), "r+b") as f:
            f.truncate(size)
    t = start(server, term)
    maintenance_row(t, "Recalculate Track Timings For Album")
    t.wait_for("Album No: 0001", row=12, col=28)
    t.send("0003\r")
    t.wait_for("Continue?", row=18, col=10)
    got = read_back(server, 3)
    total = sum(60 + n for n in range(1, tracks + 1))
    assert got[0][2].split()[0] == "%02d:%02d" % (total // 60, total % 60)
    for n in range(1, tracks + 1):
        assert got[n][2].split()[0] == "01:%02d" % n
        assert got[n][:2] == before[n][:2]
    t.send("n")
    heading_at(t, "Maintenance")


def test_a_deletion_is_seen_by_other_clients_and_its_late_reply_confuses_nothing(server, term):
    t = start(server, term)
    maintenance_row(t, "Delete Album")
    t.wait_for("Album No:", row=18, col=12)
    t.send("5\r")
    t.wait_for("Are you sure you wish to delete this album?", row=16, col=10)
    t.send("y")
    heading_at(t, "Maintenance")
    c = server.client()
    assert c.request(ALBUM_READ, album=5).album == 0xFFFE   # no such album
    c.close()
    # The requests after it are answered as their own.
    maintenance_row(t, "Album Tracklist")
    album_number(t, 4)
    first = read_back(server, 4)
    heading_at(t, "0004: %.29s - %.29s [%s]" % (first[0][0], first[0][1], first[0][2].split()[0]))
    t.send(KEY.ESC)
    t.wait_for("Album No: 0006", row=18, col=12)   # 5 is no longer in use
