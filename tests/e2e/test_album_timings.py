"""Track timings from the sizes of the media files, album after album."""

import os

from album_common import (ALBUM_WRITE, KEY, AlbumStore, album_text, entry_line, maintenance_row, quiet, start_maint,
                          wait_written, written)
from ui_common import centred

SECOND = 176400   # bytes of one second of 44.1 kHz 16-bit stereo


def media(root, album, track, size=None, folder=False):
    path = os.path.join(root, "Media", "%04d_%02d.wav" % (album, track))
    if folder:
        os.makedirs(path)
        return
    with open(path, "wb") as f:
        f.truncate(size)


def library():
    tracks = [("A", "T%d" % n, "0%d:0%d" % (n, n)) for n in range(1, 8)]
    return {1: album_text("Band", "Files", tracks, album_time="28:28"),
            2: album_text("Band", "Nothing", [("A", "X", "02:02"), ("A", "Y", "03:03")], album_time="05:05"),
            4: album_text("Band", "Last", [("A", "Z", "01:01")], album_time="01:01")}


def number_prompt(t, number):
    t.wait_for("Album No: %04d" % number, row=12, col=28)


def test_times_from_file_sizes_then_the_next_album_is_offered(term, fake, root):
    AlbumStore(fake, library())
    media(root, 1, 1, 44)                 # a header alone
    media(root, 1, 2, SECOND * 61)        # 61 seconds
    media(root, 1, 3, SECOND // 2)        # half a second rounds up
    # track 4 has no file
    media(root, 1, 5, folder=True)        # a folder in its place counts as no file
    media(root, 1, 6, 0)                  # empty
    media(root, 1, 7, 10)                 # shorter than a header
    t = start_maint(term, fake, root)
    maintenance_row(t, "Recalculate Track Timings For Album")
    number_prompt(t, 1)
    t.send("\r")
    n, got = wait_written(fake)
    assert n == 1
    # The total (header bytes included) in single precision: 10848654 / 176400 + 0.5 = 62.
    assert got == [("Band", "Files", entry_line("01:02")),
                   ("A", "T1", entry_line("00:00")),
                   ("A", "T2", entry_line("01:01")),
                   ("A", "T3", entry_line("00:01")),
                   ("A", "T4", entry_line("04:04")),
                   ("A", "T5", entry_line("05:05")),
                   ("A", "T6", entry_line("00:00")),
                   ("A", "T7", entry_line("00:00"))]
    t.wait_for("Continue?", row=18, col=10)
    t.send("y")
    number_prompt(t, 2)   # the next album in use
    t.send("\r")
    n, got = wait_written(fake, count=2)
    # No file at all: the tracks keep their times, the album gets 00:00.
    assert (n, got) == (2, [("Band", "Nothing", entry_line("00:00")), ("A", "X", entry_line("02:02")),
                            ("A", "Y", entry_line("03:03"))])
    t.wait_for("Continue?", row=18, col=10)
    t.send("y")
    number_prompt(t, 4)   # 3 is not in use
    t.send("\r")
    wait_written(fake, count=3)
    t.wait_for("Continue?", row=18, col=10)
    t.send("y")
    number_prompt(t, 4)   # the last album is offered again
    t.send(KEY.ESC)
    t.wait_for("Maintenance", row=0, col=centred("Maintenance"))


def test_answer_other_than_yes_ends_and_a_refused_number_moves_on(term, fake, root):
    AlbumStore(fake, library())
    t = start_maint(term, fake, root)
    maintenance_row(t, "Recalculate Track Timings For Album")
    number_prompt(t, 1)
    t.send("0003\r")
    t.wait_for("Invalid album No: 0003", row=12)
    number_prompt(t, 4)   # moved on from the refused number
    t.send("0002\r")
    wait_written(fake)
    t.wait_for("Continue?", row=18, col=10)
    before = quiet(t, fake, 0.2)
    t.send("n")
    t.wait_for("Maintenance", row=0, col=centred("Maintenance"))
    assert len([m for m in fake.received[before:] if m.type == ALBUM_WRITE]) == 0
    # The number kept for next time is the one offered, not the one typed over it.
    maintenance_row(t, "Recalculate Track Timings For Album")
    number_prompt(t, 4)
    t.send(KEY.ESC)
    t.wait_for("Maintenance", row=0, col=centred("Maintenance"))
    assert [n for n, _ in written(fake)] == [2]
