"""Shared pieces of the report generator's end-to-end tests: reaching its rows,
reading zerka.log, and making media files."""

import math
import os
import re
import struct
import time

from browse_common import to_maintenance
from term import KEY
from ui_common import start

REPORT_ROWS = ["Album List", "Track List by Artist", "Track List by Title", "On Short-List", "Not on short-List",
               "Not on normal selection", "Off-line Tracks", "Unplayable List", "Duplicates report",
               "Reset Statistics", "Audit Playlists", "On-line Tracks Audit", "Find Monaural Tracks",
               "Check album for duplicates", "WAV file integrity check", "Show recent history"]
REPORT_TOP = (24 - 16 + 1) // 2      # 16 rows, one column
REPORT_X0 = 39 - 26 // 2             # longest label "Check album for duplicates"
REPORT_FOOTER_TRACKS = "^R re-sort  ^V reverse sort-order   tracklist"
REPORT_FOOTER_ALBUMS = "^R re-sort  ^V reverse sort-order   duplicates"

STAMP = re.compile(rb"^\d\d/\d\d/\d\d \d\d:\d\d:\d\d ")


def centred_col(text):
    return (80 - len(text)) // 2


def start_at_reports(term, fake, root, lib=None, mode="master", extra=None):
    """Starts the program on a root (with a library for the fake server) and opens the Report Generator menu."""
    if lib is not None:
        fake.albums = lib.texts() if hasattr(lib, "texts") else lib
    t = start(term, fake, root, mode=mode, extra=extra, env={"ZERKA": root})
    to_maintenance(t)
    t.send(KEY.DOWN)
    t.send(KEY.ENTER)
    t.wait_for("Report Generator", row=0, col=centred_col("Report Generator"))
    t.wait_for(REPORT_ROWS[-1], row=REPORT_TOP + 15, col=REPORT_X0)
    t.settle(0.2)
    return t


def report_highlight(t):
    hits = [i for i in range(16) if all(t.is_reverse(REPORT_TOP + i, REPORT_X0 + c) for c in range(26))]
    return hits[0] if len(hits) == 1 else None


def choose_report(t, label):
    """Moves the highlight to a row of the report menu and chooses it."""
    index = REPORT_ROWS.index(label)
    end = time.time() + 10
    while report_highlight(t) != index:
        here = report_highlight(t)
        t.send(KEY.DOWN if here is None or here < index else KEY.UP, pause=0.02)
        if time.time() > end:
            raise AssertionError("cannot reach %r:\n%s" % (label, t.text()))
    t.send(KEY.ENTER)


def back_at_reports(t, timeout=10):
    t.wait_for("Report Generator", row=0, col=centred_col("Report Generator"), timeout=timeout)


def log_lines(root):
    """The lines of zerka.log without their time stamps (a line without a stamp is kept as it is)."""
    path = os.path.join(root, "zerka.log")
    if not os.path.exists(path):
        return []
    with open(path, "rb") as f:
        data = f.read()
    return [STAMP.sub(b"", line).decode("latin-1") for line in data.split(b"\n")]


def wait_log(root, text, timeout=15):
    """Waits until a line of zerka.log (without its stamp) equals text; returns all lines."""
    end = time.time() + timeout
    while True:
        lines = log_lines(root)
        if text in lines:
            return lines
        if time.time() > end:
            raise AssertionError("no log line %r in:\n%s" % (text, "\n".join(lines)))
        time.sleep(0.05)


def wav_head(data_size, riff=b"RIFF"):
    """A 44-byte header with the data size at byte 40 (signed)."""
    return riff + b"\0" * 36 + struct.pack("<i", data_size)


def wav(frames, riff=b"RIFF", data_size=None):
    """A WAV file of (left, right) frames, or of frame bytes as they stand."""
    body = frames if isinstance(frames, bytes) else b"".join(struct.pack("<hh", l, r) for l, r in frames)
    return wav_head(len(body) if data_size is None else data_size, riff) + body


def tone(seconds, right="same"):
    """Frame bytes of a 441 Hz tone on the left; on the right the same ("same"),
    the tone in opposite phase ("opposite"), a 630 Hz tone ("other") or silence ("silent")."""
    period = []
    for i in range(700):   # a whole number of periods of both tones
        left = int(9000 * math.sin(i * 2 * math.pi * 441 / 44100))
        other = int(9000 * math.sin(i * 2 * math.pi * 630 / 44100))
        r = {"same": left, "opposite": -left, "other": other, "silent": 0}[right]
        period.append(struct.pack("<hh", left, r))
    block = b"".join(period)
    frames = int(seconds * 44100)
    return (block * (frames // 700 + 1))[:frames * 4]


def put_media(root, album, track, data):
    path = os.path.join(root, "Media", "%04d_%02d.wav" % (album, track))
    with open(path, "wb") as f:
        f.write(data)
    return path
