"""A new album from a folder of WAV files: the folder, the length rule, the
new number, the album's texts, the copies into the media folder, the album
written, and the backup offer."""

import os
import shutil

from browse_common import Library, centred_col, maintenance_row, to_maintenance
from fakeserver import reply
from media_common import created_mode, wait_popup
from term import KEY
from test_cd_backup import STANDIN, WRITE_CD, Drive
from ui_common import start

ESC = KEY.ESC
ALBUM_WRITE = 0x11
ALBUM_NEW = 0x15
SECOND = 176400


def wav(path, seconds, fill=b"\x01\x02"):
    """A file of exactly `seconds` seconds by the length rule (every byte counts)."""
    size = int(seconds * SECOND)
    data = (fill * (size // len(fill) + 1))[:size]
    with open(path, "wb") as f:
        f.write(data)
    return data


def folder(root, name="Incoming"):
    path = os.path.join(root, "Wav", name)
    os.makedirs(path)
    return path


def start_import(term, fake, root, new_number=7, extra=None, env=None):
    lib = Library()
    lib.add(1, "Some", "Album", [("Some", "Song", "03:00")])
    fake.albums = lib.texts()
    fake.handlers[ALBUM_NEW] = lambda srv, conn, m: reply(m, album=new_number)
    cfg = {"WAV_PATH": os.path.join(root, "Wav") + "/", "MAX_CDR_LENGTH": "10"}
    cfg.update(extra or {})
    t = start(term, fake, root, mode="master", extra=cfg, env=env)
    to_maintenance(t)
    maintenance_row(t, "Imports")
    t.wait_for("Imports", row=0, col=centred_col("Imports"))
    t.settle(0.2)
    t.send(KEY.ENTER)
    return t


def answer_folder(t, root, name=None):
    wav_path = os.path.join(root, "Wav") + "/"
    t.wait_for("Location of WAV Folder:", row=16, col=10)
    t.wait_for(wav_path, row=18, col=10)
    col = 10 + len(wav_path) + 1
    assert t.at(18, col, 40) == "Incoming".ljust(40)        # WAV_FOLDER proposed
    assert all(t.is_reverse(18, c) for c in range(col, col + 40))
    t.settle(0.2)
    if name is not None:
        t.send(KEY.DEL * 8 + name)
    t.send("\r")


def album_lines(text):
    return text.decode("latin-1").split("\n")


def test_a_folder_becomes_an_album(fake, term, root):
    src = folder(root)
    one = wav(os.path.join(src, "01 - the band - first song.wav"), 2)
    two = wav(os.path.join(src, "02 - It's \"$HOME\"; here.wav"), 3, b"\x07")
    three = wav(os.path.join(src, "03 - [live] end: take two.wav"), 1.5, b"\x09\x08")
    wav(os.path.join(src, "04 - Upper.WAV"), 1)
    os.makedirs(os.path.join(src, "05 - folder.wav"))
    with open(os.path.join(src, "notes.txt"), "w") as f:
        f.write("not audio\n")
    wav(os.path.join(src, ".hidden.wav"), 1)
    os.symlink(os.path.join(src, "nowhere"), os.path.join(src, "06 - dangling.wav"))
    os.mkfifo(os.path.join(src, "07 - pipe.wav"))
    t = start_import(term, fake, root)
    answer_folder(t, root)
    t.wait_for("3 files 00:06 total time", row=16, col=10)
    t.wait_for("Continue?", row=18, col=10)
    t.send("y")
    m = fake.wait_for(ALBUM_NEW)
    assert (m.album, m.track, m.text) == (1, 0, b"")
    t.wait_for("Album Artist(s):", row=15, col=12)
    assert t.at(15, 29, 50) == "Various Artists".ljust(50)
    t.settle(0.2)
    t.send("\r")
    t.wait_for("Album Title:", row=17, col=12)
    assert t.at(17, 25, 50) == "Incoming".ljust(50)
    t.settle(0.2)
    t.send(KEY.DEL * 8 + "my (first) [album]\r")
    t.wait_for("Album 0007 created", row=11, col=23)
    t.wait_for("No CD writer available - cannot make backup", row=13, col=23)
    w = fake.wait_for(ALBUM_WRITE)
    assert w.album == 7
    assert album_lines(w.text) == [
        "Various Artists", "My (First) (Album)", "00:06 - 00000000 0 00000000 0",
        "The Band", "First Song", "00:02 - 00000000 1 00000000 0",
        "", "It's \"$HOME\"; Here", "00:03 - 00000000 1 00000000 0",
        "(Live) End", "Take Two", "00:01 - 00000000 1 00000000 0",
        "",
    ]
    media = os.path.join(root, "Media")
    for n, data in ((1, one), (2, two), (3, three)):
        with open(os.path.join(media, "0007_%02d.wav" % n), "rb") as f:
            assert f.read() == data
        assert os.stat(os.path.join(media, "0007_%02d.wav" % n)).st_mode & 0o777 == created_mode()
    assert sorted(os.listdir(media)) == ["0007_01.wav", "0007_02.wav", "0007_03.wav"]
    t.send(" ")
    t.wait_for("Imports", row=0)
    assert fake.errors == []


def test_names_without_a_leading_01_keep_their_numbers(fake, term, root):
    src = folder(root)
    wav(os.path.join(src, "1 one.wav"), 1)
    wav(os.path.join(src, "2 two.wav"), 1)
    t = start_import(term, fake, root)
    answer_folder(t, root)
    t.wait_for("2 files 00:02 total time", row=16, col=10)
    t.send("y")
    t.wait_for("Album Artist(s):", row=15, col=12)
    t.settle(0.2)
    t.send("\r")
    t.wait_for("Album Title:", row=17, col=12)
    t.settle(0.2)
    t.send("\r")
    w = fake.wait_for(ALBUM_WRITE)
    lines = album_lines(w.text)
    assert lines[1] == "Incoming"
    assert (lines[3], lines[4], lines[6], lines[7]) == ("", "1 One", "", "2 Two")


def test_a_folder_of_exactly_the_capacity_is_taken_one_second_more_is_not(fake, term, root):
    src = folder(root)
    wav(os.path.join(src, "a.wav"), 6)
    wav(os.path.join(src, "b.wav"), 4)
    src2 = folder(root, "Longer")
    wav(os.path.join(src2, "a.wav"), 6)
    wav(os.path.join(src2, "b.wav"), 5)
    t = start_import(term, fake, root)
    answer_folder(t, root, "Longer")
    wait_popup(t, " Total time (00:11) exceeds the CD-R capacity (00:10); revise file list or increase "
                  "MAX_CDR_LENGTH in zerka.cfg")
    t.send(" ")
    t.wait_for("Imports", row=0)
    assert fake.of_type(ALBUM_NEW) == []
    t.send(KEY.ENTER)
    answer_folder(t, root)
    t.wait_for("2 files 00:10 total time", row=16, col=10)
    t.send("n")
    t.wait_for("Imports", row=0)
    assert fake.of_type(ALBUM_NEW) == []


def test_a_folder_without_wav_files_makes_an_album_without_tracks(fake, term, root):
    src = folder(root)
    wav(os.path.join(src, "LOUD.WAV"), 1)
    t = start_import(term, fake, root)
    answer_folder(t, root)
    t.wait_for("0 files 00:00 total time", row=16, col=10)
    t.send("y")
    t.wait_for("Album Artist(s):", row=15, col=12)
    t.settle(0.2)
    t.send("Solo\r")
    t.wait_for("Album Title:", row=17, col=12)
    t.settle(0.2)
    t.send("\r")
    t.wait_for("Album 0007 created", row=11, col=23)
    w = fake.wait_for(ALBUM_WRITE)
    assert album_lines(w.text)[:3] == ["SoloVarious Artists", "Incoming", "00:00 - 00000000 0 00000000 0"]
    assert len(album_lines(w.text)) == 4


def test_a_missing_folder_is_reported(fake, term, root):
    t = start_import(term, fake, root)
    answer_folder(t, root, "Nowhere")
    wait_popup(t, ' Cannot open WAV folder "%s/Wav/Nowhere" - No such file or directory ' % root)
    t.send(" ")
    t.wait_for("Imports", row=0)


def test_folder_prompt_cancelled(fake, term, root):
    t = start_import(term, fake, root)
    t.wait_for("Location of WAV Folder:", row=16, col=10)
    t.settle(0.2)
    t.send(ESC)
    t.wait_for("Imports", row=0)


def test_no_free_number_is_reported(fake, term, root):
    src = folder(root)
    wav(os.path.join(src, "a.wav"), 1)
    t = start_import(term, fake, root, new_number=0)
    answer_folder(t, root)
    t.wait_for("Continue?", row=18, col=10)
    t.send("y")
    wait_popup(t, " All available database slots are full")
    t.send(" ")
    t.wait_for("Imports", row=0)
    assert fake.of_type(ALBUM_WRITE) == []


def test_a_copy_that_fails_ends_without_writing_the_album(fake, term, root):
    src = folder(root)
    wav(os.path.join(src, "01 a.wav"), 1)
    wav(os.path.join(src, "02 b.wav"), 1)
    shutil.rmtree(os.path.join(root, "Media"))
    t = start_import(term, fake, root)
    answer_folder(t, root)
    t.wait_for("Continue?", row=18, col=10)
    t.send("y")
    t.wait_for("Album Artist(s):", row=15, col=12)
    t.settle(0.2)
    t.send("\r")
    t.wait_for("Album Title:", row=17, col=12)
    t.settle(0.2)
    t.send("\r")
    wait_popup(t, ' Cannot open destination WAV file: "%s/Media/0007_01.wav" - No such file or directory' % root)
    t.send(" ")
    t.wait_for("Imports", row=0)
    assert fake.of_type(ALBUM_WRITE) == []


def test_too_many_files_for_an_album_are_refused(fake, term, root):
    src = folder(root)
    for n in range(100):
        wav(os.path.join(src, "%03d.wav" % n), 0.01)
    t = start_import(term, fake, root)
    answer_folder(t, root)
    wait_popup(t, " 100 WAV files: an album holds at most 99 tracks")
    t.send(" ")
    t.wait_for("Imports", row=0)
    assert fake.of_type(ALBUM_NEW) == []


def test_with_a_cd_writer_a_backup_is_offered(fake, term, root):
    src = folder(root)
    wav(os.path.join(src, "01 a.wav"), 1)
    drive = Drive(root, [0])
    fake.handlers[WRITE_CD] = lambda srv, conn, m: reply(m, track=0)
    t = start_import(term, fake, root, extra={"CD_DRIVE": drive.path}, env=drive.env())
    assert os.path.exists(STANDIN)
    answer_folder(t, root)
    t.wait_for("Continue?", row=18, col=10)
    t.send("y")
    t.wait_for("Album Artist(s):", row=15, col=12)
    t.settle(0.2)
    t.send("\r")
    t.wait_for("Album Title:", row=17, col=12)
    t.settle(0.2)
    t.send("\r")
    t.wait_for("Album 0007 created", row=11, col=23)
    t.wait_for("Do you wish to write a backup CD?", row=13, col=23)
    t.send("y")
    m = fake.wait_for(WRITE_CD)
    assert m.album == 7
    wait_popup(t, " Writing CD 0007 ")
