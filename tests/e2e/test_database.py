"""Loading the album table at start-up."""

import re
import threading
import time

from conftest import reach_main_menu
from fakeserver import ALBUM_READ, GETTIME, NO_SUCH_ALBUM, album_text, reply, simple_library


def hold_reply(fake, album_no, release):
    """Makes the reply to ALBUM_READ of album_no wait until `release` is set."""
    default = fake.default_reply

    def handler(srv, conn, m):
        if m.album == album_no:
            release.wait(20)
        return default(conn, m)
    fake.handlers[ALBUM_READ] = handler


def test_load_asks_every_number_until_the_end_answer_and_shows_progress(fake, term):
    fake.albums = simple_library(7)
    del fake.albums[6]
    release = threading.Event()
    hold_reply(fake, 9000, release)
    t = term()
    try:
        t.wait_for("0007", row=15, col=47)
        assert t.at(15, 26, 20) == "Reading Database...."
        line = t.row(10)[10:]
        assert re.match(r"Zerka client V4\.02 Started \(standalone\) \d\d/\d\d/\d\d @ \d\d:\d\d:\d\d\s*$", line[:-1]), line
    finally:
        release.set()
    fake.wait_for(ALBUM_READ, pred=lambda m: m.album == 9019)
    asked = [m.album for m in fake.of_type(ALBUM_READ)]
    assert asked == [1, 2, 3, 4, 5, 6, 7, 8] + list(range(9000, 9020))
    assert fake.errors == []


def test_load_starts_with_the_server_time(fake, term):
    fake.albums = simple_library(1)
    t = term()
    fake.wait_for(ALBUM_READ, pred=lambda m: m.album == 9019)
    types = [m.type for m in fake.received[:3]]
    assert types == [0x70, GETTIME, ALBUM_READ]
    assert fake.of_type(GETTIME)[0].text == b"Time"
    t.kill()


def test_empty_database_stops_at_once(fake, term):
    fake.albums = {}
    t = term()
    fake.wait_for(ALBUM_READ, pred=lambda m: m.album == 9019)
    asked = [m.album for m in fake.of_type(ALBUM_READ)]
    assert asked == [1] + list(range(9000, 9020))
    t.kill()


def test_gap_answers_and_album_texts_of_every_shape_are_taken(fake, term):
    # A text without a final newline, an album of 99 tracks and an oversized text of 150 entries.
    fake.albums = {
        1: album_text("A", "B", [("A", "One", "01:00")])[:-1],
        2: album_text("C", "D", [("C", "T%d" % i, "01:00") for i in range(99)]),
        3: album_text("E", "F", [("E" * 60, "T%d" % i, "01:00") for i in range(150)]),
        9005: album_text("Reserved", "R", []),
    }
    t = term()
    fake.wait_for(ALBUM_READ, pred=lambda m: m.album == 9019)
    assert [m.album for m in fake.of_type(ALBUM_READ)][:5] == [1, 2, 3, 4, 9000]
    reach_main_menu(t)
    t.send("\x1b")
    t.wait_for("Are you sure you want to exit?")
    t.send("y")
    assert t.wait_exit() == 0
    assert fake.errors == []


def test_start_screen_shows_the_servers_time(fake, root, term):
    from conftest import write_cfg
    write_cfg(root, fake.port, mode="master")
    fake.time = 1700000000   # 14/11/23 22:13:20 UTC
    fake.albums = simple_library(1)
    release = threading.Event()
    hold_reply(fake, 9000, release)
    t = term(env={"TZ": "UTC"})
    try:
        t.wait_for("Zerka client V4.02 Started (master) 14/11/23 @ 22:13:20", row=10, col=10)
    finally:
        release.set()


def test_a_time_reply_that_is_no_clock_shows_the_local_time(fake, root, term):
    from conftest import write_cfg
    write_cfg(root, fake.port, mode="master")
    fake.handlers[GETTIME] = lambda srv, conn, m: reply(m, text=b"rubbish")
    fake.albums = simple_library(1)
    release = threading.Event()
    hold_reply(fake, 9000, release)
    t = term(env={"TZ": "UTC"})
    try:
        today = time.strftime("%d/%m/%y", time.gmtime())
        t.wait_for("Zerka client V4.02 Started (master) %s @ " % today, row=10, col=10)
    finally:
        release.set()
