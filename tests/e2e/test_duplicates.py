"""Duplicate detection: one album's unique and duplicate tracks, exporting and
ripping the unique ones, the deletion offer, and the duplicates report."""

import os
import shutil
import signal
import struct

import pytest

from browse_common import Library, centred_col, list_line, to_maintenance, wait_rows
from fakeserver import FAILED, reply
from term import KEY
from media_common import created_mode, namespace_works, start_in_namespace, wait_popup
from ui_common import start

ESC = KEY.ESC
needs_namespace = pytest.mark.skipif(not namespace_works(), reason="needs root and a private mount namespace")
ALBUM_DELETE = 0x12

REPORT_ROWS = ["Album List", "Track List by Artist", "Track List by Title", "On Short-List", "Not on short-List",
               "Not on normal selection", "Off-line Tracks", "Unplayable List", "Duplicates report",
               "Reset Statistics", "Audit Playlists", "On-line Tracks Audit", "Find Monaural Tracks",
               "Check album for duplicates", "WAV file integrity check", "Show recent history"]


def library():
    lib = Library()
    lib.add(1, "The Who", "Hits", [
        ("The Who", "My Generation", "03:18"),
        ("The Who", "Substitute", "03:47"),
    ])
    lib.add(2, "Various", "Mix", [
        ("who", "MY GENERATION", "04:17"),       # 59 s longer: a copy for one album's check
        ("Abba", "Waterloo", "02:45"),
    ])
    lib.add(3, "Who", "Live", [
        ("THE WHO", "substitute", "04:17"),      # 30 s longer: a copy for the check, not for the report
        ("Thewho", "Substitute", "03:47"),       # "The" without a blank stays part of the name
    ])
    return lib


def open_report_menu(t):
    to_maintenance(t)
    t.send(KEY.DOWN)
    t.send(KEY.ENTER)
    t.wait_for("Report Generator", row=0, col=centred_col("Report Generator"))
    t.settle(0.2)


def choose_report_row(t, label):
    for _ in range(REPORT_ROWS.index(label)):
        t.send(KEY.DOWN)
    t.settle(0.2)
    t.send(KEY.ENTER)


def start_lib(term, fake, root, lib, extra=None):
    fake.albums = lib.texts()
    return start(term, fake, root, mode="master", extra=extra)


def check_album(t, number, again=False):
    """Report menu -> "Check album for duplicates" -> the album number typed over the one proposed.
    again: the menu's highlight is on that row already."""
    if again:
        t.send(KEY.ENTER)
    else:
        choose_report_row(t, "Check album for duplicates")
    t.wait_for("Next Album No:", row=12, col=28)
    t.settle(0.2)
    t.send("%04d\r" % number)


def wait_footer(t, text):
    t.wait_for(text, row=23, col=17)


def test_check_lists_unique_then_duplicates_and_offers_deletion(fake, term, root):
    lib = library()
    t = start_lib(term, fake, root, lib)
    open_report_menu(t)
    choose_report_row(t, "Check album for duplicates")
    t.wait_for("Next Album No:", row=12, col=28)
    assert t.at(12, 43, 4) == "0001"                 # last_album 0 proposes album 1
    assert all(t.is_reverse(12, c) for c in range(43, 47))
    t.send("\r")
    heading = "0001: The Who - Hits"
    t.wait_for(heading, row=0, col=centred_col(heading))
    wait_footer(t, "Unique tracks: 0 (Duplicate tracks: 2)  export Tracks")
    assert t.is_reverse(23, 17 + len("Unique tracks: 0 (Duplicate tracks: 2)  e"))
    assert t.row(2)[1:79].strip() == ""              # no unique track
    t.send(ESC)
    wait_footer(t, "Duplicate Tracks: 2")
    wait_rows(t, [list_line(2, 1, "who", "MY GENERATION", "04:17"), list_line(3, 1, "THE WHO", "substitute", "04:17")])
    t.send(ESC)
    # Every track exists elsewhere: the deletion is offered at once.
    t.wait_for("Do you wish to delete this album?", row=16, col=10)
    assert t.at(8, 3, 20) == "0001: The Who - Hits"
    t.send("n")
    # The walk goes on with the next album.
    t.wait_for("Next Album No:", row=12, col=28)
    t.wait_for("0002", row=12, col=43)
    t.send(ESC)
    t.wait_for("Report Generator", row=0)
    assert fake.of_type(ALBUM_DELETE) == []
    assert fake.errors == []


def test_check_of_an_album_with_unique_tracks_offers_no_deletion(fake, term, root):
    lib = library()
    t = start_lib(term, fake, root, lib)
    open_report_menu(t)
    check_album(t, 3)
    heading = "0003: Who - Live"
    t.wait_for(heading, row=0, col=centred_col(heading))
    wait_footer(t, "Unique tracks: 1 (Duplicate tracks: 1)  export Tracks")
    wait_rows(t, [list_line(3, 2, "Thewho", "Substitute", "03:47")])
    t.wait_for("1 of 1", row=23, col=1)
    t.send(ESC)
    wait_footer(t, "Duplicate Tracks: 1")
    wait_rows(t, [list_line(1, 2, "The Who", "Substitute", "03:47")])
    t.send(ESC)
    # No deletion question, and no album after 3 to walk on to.
    t.wait_for("Report Generator", row=0)
    assert "delete" not in t.text()


def test_deletion_is_sent_and_the_walk_goes_on_after_the_deleted_album(fake, term, root):
    lib = library()
    t = start_lib(term, fake, root, lib)
    open_report_menu(t)
    check_album(t, 1)
    t.wait_for("Unique tracks: 0", row=23)
    t.send(ESC)
    t.wait_for("Duplicate Tracks: 2", row=23)
    t.send(ESC)
    t.wait_for("Do you wish to delete this album?", row=16, col=10)
    t.send("y")
    m = fake.wait_for(ALBUM_DELETE)
    assert (m.album, m.track, m.text) == (1, 0, b"")
    t.wait_for("0002", row=12, col=43)
    t.send(ESC)
    t.wait_for("Report Generator", row=0)
    # Album 1 is gone from the client's table: checking it again is refused.
    check_album(t, 1, again=True)
    t.wait_for("Invalid album No: 0001")
    assert fake.errors == []


def test_a_refused_deletion_keeps_the_album(fake, term, root):
    lib = library()
    fake.handlers[ALBUM_DELETE] = lambda srv, conn, m: reply(m, album=FAILED)
    t = start_lib(term, fake, root, lib)
    open_report_menu(t)
    check_album(t, 1)
    t.wait_for("Unique tracks: 0", row=23)
    t.send(ESC)
    t.wait_for("Duplicate Tracks: 2", row=23)
    t.send(ESC)
    t.wait_for("Do you wish to delete this album?", row=16, col=10)
    t.send("y")
    wait_popup(t, " Cannot delete album: 1 ")
    t.send(" ")
    t.wait_for("0002", row=12, col=43)
    t.send("0001\r")
    t.wait_for("0001: The Who - Hits", row=0)


def test_d_in_a_list_checks_the_album(fake, term, root):
    from browse_common import maintenance_row
    lib = library()
    t = start_lib(term, fake, root, lib)
    to_maintenance(t)
    maintenance_row(t, "Artist/Title Search (Case Sensitive)")
    t.wait_for("Artist:", row=10, col=12)
    t.settle(0.2)
    t.send("Thewho\r")
    t.wait_for("Thewho", row=10, col=21)
    t.send("\r")
    t.wait_for('Artists containing "Thewho";', row=0)
    t.send("d")
    heading = "0003: Who - Live"
    t.wait_for(heading, row=0, col=centred_col(heading))
    t.wait_for("Unique tracks: 1 (Duplicate tracks: 1)  export Tracks", row=23, col=17)
    t.send(ESC)
    t.wait_for("Duplicate Tracks: 1", row=23, col=17)
    t.send(ESC)
    # A unique track stays: no deletion question. The list's d ends the search's one browser run.
    t.wait_for("Maintenance", row=0)
    assert "delete" not in t.text()


def media_wav(root, album, track, payload):
    path = os.path.join(root, "Media", "%04d_%02d.wav" % (album, track))
    with open(path, "wb") as f:
        f.write(b"RIFF" + struct.pack("<I", 36 + len(payload)) + b"WAVEfmt " + b"\0" * 20 + b"data" +
                struct.pack("<I", len(payload)) + payload)
    with open(path, "rb") as f:
        return f.read()


def test_export_copies_unique_tracks_under_their_names(fake, term, root):
    lib = Library()
    lib.add(4, "Odd", "Names", [
        ("O'Neil \"$HOME\"; ls", "Side  A", "03:00"),
        ("AC/DC", "Back", "03:00"),
        ("Plain", "Missing", "03:00"),
        ("Plain", "Song", "03:00"),
    ])
    lib.add(5, "Other", "Copy", [("Plain", "Song", "03:30")])
    first = media_wav(root, 4, 1, bytes(range(256)) * 5 + b"tail")
    media_wav(root, 4, 2, b"x" * 10)
    t = start_lib(term, fake, root, lib)
    open_report_menu(t)
    check_album(t, 4)
    t.wait_for("Unique tracks: 3 (Duplicate tracks: 1)  export Tracks", row=23, col=17)
    t.send("x")
    export = os.path.join(root, "Export")
    question = 'Export 3 unique tracks from this album to "%s"?' % export
    t.wait_for(question, row=8, col=6)
    t.wait_for("Are you sure?", row=10, col=30)
    t.send("y")
    wait_popup(t, ' Cannot open destination WAV file: "%s/AC/DC - Back.wav" - Invalid argument' % export)
    t.send(" ")
    wait_popup(t, ' Cannot open source WAV file: "Media/0004_03.wav" - No such file or directory')
    t.send(" ")
    # Exported: no duplicate list; the deletion is offered.
    t.wait_for("Do you wish to delete this album?", row=16, col=10)
    assert t.at(8, 3, 17) == "0004: Odd - Names"
    t.send("n")
    t.wait_for("0005", row=12, col=43)
    t.send(ESC)
    t.wait_for("Report Generator", row=0)
    assert sorted(os.listdir(export)) == ["O'Neil \"$HOME\"; ls - Side  A.wav"]
    name = os.path.join(export, "O'Neil \"$HOME\"; ls - Side  A.wav")
    with open(name, "rb") as f:
        assert f.read() == first
    assert os.stat(name).st_mode & 0o777 == created_mode()


def test_export_into_a_missing_folder_says_so(fake, term, root):
    lib = Library()
    lib.add(4, "Solo", "One", [("Solo", "Song", "03:00")])
    media_wav(root, 4, 1, b"abc")
    missing = os.path.join(root, "NoSuchFolder")
    t = start_lib(term, fake, root, lib, extra={"EXPORT_FOLDER": missing})
    open_report_menu(t)
    check_album(t, 4)
    t.wait_for("Unique tracks: 1", row=23)
    t.send("x")
    t.wait_for("Are you sure?", row=10, col=30)
    t.send("y")
    wait_popup(t, ' Cannot open destination WAV file: "%s/Solo - Song.wav" - No such file or directory' % missing)
    t.send(" ")
    t.wait_for("Do you wish to delete this album?", row=16, col=10)
    t.send("n")
    t.wait_for("Report Generator", row=0)
    assert not os.path.exists(missing)


@needs_namespace
def test_export_into_a_read_only_folder_says_so(fake, term, root):
    lib = Library()
    lib.add(4, "Solo", "One", [("Solo", "Song", "03:00")])
    media_wav(root, 4, 1, b"abc")
    export = os.path.join(root, "Export")
    fake.albums = lib.texts()
    t = start_in_namespace(fake, root, read_only=[export])
    try:
        open_report_menu(t)
        check_album(t, 4)
        t.wait_for("Unique tracks: 1", row=23)
        t.send("x")
        t.wait_for("Are you sure?", row=10, col=30)
        t.send("y")
        wait_popup(t, ' Cannot open destination WAV file: "%s/Solo - Song.wav" - Read-only file system' % export)
        t.send(" ")
        t.wait_for("Do you wish to delete this album?", row=16, col=10)
        t.send("n")
        t.wait_for("Report Generator", row=0)
        assert os.listdir(export) == []
    finally:
        t.kill()


def test_declined_export_shows_the_duplicates_and_offers_no_deletion(fake, term, root):
    lib = Library()
    lib.add(4, "Solo", "One", [("Solo", "Song", "03:00"), ("Solo", "Copy", "03:00")])
    lib.add(5, "Solo", "Two", [("Solo", "Copy", "02:59")])
    t = start_lib(term, fake, root, lib)
    open_report_menu(t)
    check_album(t, 4)
    t.wait_for("Unique tracks: 1 (Duplicate tracks: 1)", row=23)
    t.send("x")
    t.wait_for("Are you sure?", row=10, col=30)
    t.send("n")
    t.wait_for("Duplicate Tracks: 1", row=23, col=17)
    wait_rows(t, [list_line(5, 1, "Solo", "Copy", "02:59")])
    t.send(ESC)
    t.wait_for("Next Album No:", row=12, col=28)
    t.wait_for("0005", row=12, col=43)
    t.send(ESC)
    t.wait_for("Report Generator", row=0)
    assert os.listdir(os.path.join(root, "Export")) == []


# ----- the report ------------------------------------------------------------------------------------

def report_library():
    lib = Library()
    lib.add(1, "A", "First", [("X", "One", "03:00"), ("Y", "Two", "03:00"), ("Z", "Three", "03:00")])
    lib.add(2, "B", "Second", [("x", "ONE", "03:29"), ("The Y", "two", "02:31"), ("W", "Four", "03:00")])
    lib.add(3, "C", "Third", [("X", "One", "03:30"), ("Y", "Two", "03:59")])
    return lib


def run_report(t, target):
    choose_report_row(t, "Duplicates report")
    t.wait_for("Enter Target Number of Unique Tracks:", row=18, col=12)
    t.settle(0.2)
    t.send("%s\r" % target)


def test_report_offers_albums_from_the_top_with_retention_and_rising_target(fake, term, root):
    t = start_lib(term, fake, root, report_library())
    open_report_menu(t)
    run_report(t, "0")
    # Marks (29 s): 1/1, 2/1 (3:00-3:29), 3/1 (3:29-3:30); 1/2, 2/2 (3:00-2:31); 3/2 (3:59) is 59 s off.
    # Album 3 has one unique track, albums 1 and 2 one each: none with zero.
    t.wait_for("All albums have at least 0 unique track. Continue search?", row=18, col=10)
    assert t.at(8, 15, 44) == "Searching for albums with zero unique tracks"
    assert t.at(10, 30, 15) == "Please Wait...."
    title = "Search for Duplicated Albums"
    assert t.at(0, centred_col(title), len(title)) == title
    t.send("y")
    # Target 1: the highest album with one unique track is 3.
    heading = "0003: C - Third"
    t.wait_for(heading, row=0, col=centred_col(heading))
    t.wait_for("Unique tracks: 0 (Duplicate tracks: 2)", row=23, col=17)   # the album check's 59 s window
    t.send(ESC)
    t.wait_for("Duplicate Tracks: 2", row=23, col=17)
    t.send(ESC)
    t.wait_for("Do you wish to delete this album?", row=16, col=10)
    t.send("n")
    t.wait_for("Set retention flag for this album and continue?", row=14, col=20)
    t.send("y")
    # Album 3 is retained: album 2 comes next.
    heading = "0002: B - Second"
    t.wait_for(heading, row=0, col=centred_col(heading))
    t.send(ESC)
    t.wait_for("Duplicate Tracks:", row=23, col=17)
    t.send(ESC)
    t.wait_for("Do you wish to delete this album?", row=16, col=10)
    t.send("y")
    fake.wait_for(ALBUM_DELETE, pred=lambda m: m.album == 2)
    t.wait_for("Search for another duplicated album?", row=18, col=20)
    t.send("n")
    # The report's list: every track left, in artist order.
    t.wait_for("re-sort  ^V reverse sort-order   tracklist", row=23)
    t.wait_for("1 of 5", row=23, col=1)
    t.send(ESC)
    t.wait_for("Report Generator", row=0)
    # A retention flag lasts one report only: album 3 is offered again.
    t.send(KEY.ENTER)
    t.wait_for("Enter Target Number of Unique Tracks:", row=18, col=12)
    t.settle(0.2)
    t.send("1\r")
    heading = "0003: C - Third"
    t.wait_for(heading, row=0, col=centred_col(heading))
    assert fake.errors == []


def test_report_target_prompt_cancelled(fake, term, root):
    t = start_lib(term, fake, root, report_library())
    open_report_menu(t)
    choose_report_row(t, "Duplicates report")
    t.wait_for("Enter Target Number of Unique Tracks:", row=18, col=12)
    t.send(ESC)
    t.wait_for("Report Generator", row=0)


def test_report_declined_retention_ends_with_the_list(fake, term, root):
    t = start_lib(term, fake, root, report_library())
    open_report_menu(t)
    run_report(t, "1")
    t.wait_for("0003: C - Third", row=0)
    t.send(ESC)
    t.wait_for("Duplicate Tracks:", row=23, col=17)
    t.send(ESC)
    t.wait_for("Do you wish to delete this album?", row=16, col=10)
    t.send("n")
    t.wait_for("Set retention flag for this album and continue?", row=14, col=20)
    t.send("n")
    t.wait_for("^V reverse sort-order", row=23)
    t.send(ESC)
    t.wait_for("Report Generator", row=0)
    assert fake.of_type(ALBUM_DELETE) == []


def test_an_interrupt_ends_the_report_without_its_list(fake, term, root):
    t = start_lib(term, fake, root, report_library())
    open_report_menu(t)
    run_report(t, "0")
    t.wait_for("All albums have at least 0 unique track. Continue search?", row=18, col=10)
    t.child.kill(signal.SIGINT)   # the report takes the interrupt: its next pass stops after one album
    t.settle(0.3)
    t.send("y")
    t.wait_for("Report Generator", row=0)
    assert "re-sort" not in t.text()
    assert "Are you sure you want to exit?" not in t.text()


# ----- ripping ------------------------------------------------------------------------------------------

def cd_image(folder, tracks):
    """A CD image (.cue and .bin, raw 16-bit stereo at 44.1 kHz) of the given PCM byte strings."""
    sector = 2352
    data = b""
    cue = 'FILE "image.bin" BINARY\n'
    for i, pcm in enumerate(tracks, 1):
        assert len(pcm) % sector == 0
        frames = len(data) // sector
        cue += "  TRACK %02d AUDIO\n    INDEX 01 %02d:%02d:%02d\n" % (i, frames // 4500, frames // 75 % 60, frames % 75)
        data += pcm
    with open(os.path.join(folder, "image.bin"), "wb") as f:
        f.write(data)
    with open(os.path.join(folder, "image.cue"), "w") as f:
        f.write(cue)
    return os.path.join(folder, "image.cue")


def paranoia_wrapper(folder, body):
    """A folder holding /usr/bin/cdparanoia for a private mount namespace: it logs its arguments, then runs body."""
    bin_dir = os.path.join(folder, "bin")
    os.makedirs(bin_dir)
    log = os.path.join(folder, "args.log")
    with open(os.path.join(bin_dir, "cdparanoia"), "w") as f:
        f.write('#!/bin/sh\nfor a in "$@"; do printf "%%s\\n" "$a"; done > %s.tmp\nmv %s.tmp %s\n%s\n'
                % (log, log, log, body))
    os.chmod(os.path.join(bin_dir, "cdparanoia"), 0o755)
    return bin_dir, log



def start_with_paranoia(fake, root, lib, bin_dir, paranoia):
    fake.albums = lib.texts()
    return start_in_namespace(fake, root, bin_dir, extra={"PARANOIA": paranoia})


@needs_namespace
@pytest.mark.skipif(shutil.which("cd-paranoia") is None, reason="needs cd-paranoia")
def test_rip_reads_the_unique_tracks_from_the_disc_bit_for_bit(fake, term, root):
    import random
    rng = random.Random(7)
    sector_frames = 588
    tracks = [struct.pack("<%dh" % (2 * sector_frames * 75 * n), *[rng.randint(-32768, 32767)
                                                                     for _ in range(2 * sector_frames * 75 * n)])
              for n in (2, 1, 2)]
    cue = cd_image(root, tracks)
    bin_dir, log = paranoia_wrapper(root, 'exec /usr/bin/cd-paranoia "$@"')
    lib = Library()
    lib.add(9000, "Loaded", "Disc", [
        ("Known", "Copy", "00:02"),
        ("It's \"$HOME\"; x", "Side  B", "00:01"),
        ("Solo", "Third", "00:02"),
    ])
    lib.add(1, "Known", "Album", [("Known", "Copy", "00:02")])
    # -c: the image holds little-endian samples (paranoia would otherwise guess the byte order from them).
    t = start_with_paranoia(fake, root, lib, bin_dir, "-d %s -c -w" % cue)
    try:
        open_report_menu(t)
        check_album(t, 9000)
        t.wait_for("Unique tracks: 2 (Duplicate tracks: 1)  export Tracks", row=23, col=17)
        t.send("x")
        export = os.path.join(root, "Export")
        t.wait_for('Rip 2 unique tracks from this CD to "%s"?' % export, row=8, col=6)
        t.wait_for("Are you sure?", row=10, col=30)
        t.send("y")
        # Ripped, not exported: the duplicates follow; no deletion is offered for the disc.
        t.wait_for("Duplicate Tracks: 1", row=23, col=17, timeout=60)
        names = sorted(os.listdir(export))
        assert names == ["It's \"$HOME\"; x - Side  B.wav", "Solo - Third.wav"]
        for name, pcm in ((names[0], tracks[1]), (names[1], tracks[2])):
            with open(os.path.join(export, name), "rb") as f:
                wav = f.read()
            assert wav[:4] == b"RIFF" and wav[44:] == pcm
        with open(log) as f:
            assert f.read().split("\n")[:-1] == ["-q", "-d", cue, "-c", "-w", "3", os.path.join(export, "Solo - Third.wav")]
        t.send(ESC)
        t.wait_for("Report Generator", row=0)   # no album after 9000 within max_album to walk on to
    finally:
        t.kill()


@needs_namespace
def test_a_rip_that_outlasts_twice_the_track_is_a_bad_track(fake, term, root):
    # Each rip takes three seconds: twice the first track's one second is exceeded, the second's ten are not.
    bin_dir, log = paranoia_wrapper(root, "sleep 3")
    lib = Library()
    lib.add(9000, "Loaded", "Disc", [("Solo", "Short", "00:01"), ("Solo", "Long", "00:10")])
    t = start_with_paranoia(fake, root, lib, bin_dir, "")
    try:
        open_report_menu(t)
        check_album(t, 9000)
        t.wait_for("Unique tracks: 2 (Duplicate tracks: 0)", row=23, col=17)
        t.send("x")
        t.wait_for("Are you sure?", row=10, col=30)
        t.send("y")
        t.wait_for('Ripping "Solo - Short"', row=8, col=6)
        # The next track is ripped all the same; the bad one is named while it runs.
        t.wait_for('Ripping "Solo - Long"', row=8, col=6, timeout=20)
        t.wait_for("Bad Track - rip time exceeded", row=10, col=6)
        t.wait_for("Duplicate Tracks: 0", row=23, col=17, timeout=20)
        with open(log) as f:
            assert f.read().split("\n")[:-1] == ["-q", "2", os.path.join(root, "Export", "Solo - Long.wav")]
    finally:
        t.kill()
