"""Disc images for the CD drive tests: NAME.cue with NAME.bin beside it (what
the drive reads), made from generated samples, with their freedb identifier
worked out here independently of the server, and XMCD files for them.

    disc = Disc([5.0, 6.2, 4.1], seed=7)       # track lengths in seconds
    disc.insert("/tmp/x/drive.cue")            # the drive now holds it
    eject_image("/tmp/x/drive.cue")            # and now not
    disc.disc_id, disc.track_bytes(2), disc.xmcd("Artist", "Title", [...])
"""

import os
import random
import struct

SECTOR = 2352          # bytes of one audio sector
RATE = 75              # sectors per second
LEAD_IN = 150          # the two seconds before track 1


def cddb_disc_id(lbas, leadout):
    """The freedb identifier of a table of contents (track start sectors, lead-out)."""
    def digits(n):
        return sum(int(c) for c in str(n))
    n = sum(digits((lba + LEAD_IN) // RATE) for lba in lbas)
    length = (leadout + LEAD_IN) // RATE - (lbas[0] + LEAD_IN) // RATE
    return ((n % 255) << 24) | (length << 8) | len(lbas)


def msf(sector):
    return "%02d:%02d:%02d" % (sector // (60 * RATE), sector // RATE % 60, sector % RATE)


def wav_header(data_bytes):
    """The canonical 44-byte header of 16-bit stereo 44.1 kHz samples."""
    return (b"RIFF" + struct.pack("<I", 36 + data_bytes) + b"WAVEfmt " +
            struct.pack("<IHHIIHH", 16, 1, 2, 44100, 176400, 4, 16) + b"data" + struct.pack("<I", data_bytes))


class Disc:
    """An audio disc of whole-sector tracks with deterministic samples."""

    def __init__(self, seconds, seed=1, data_tracks=(), sectors=None):
        self.sectors = sectors if sectors is not None else [int(round(s * RATE)) for s in seconds]
        self.data_tracks = set(data_tracks)     # track numbers written as MODE1/2352
        rng = random.Random(seed)
        self.tracks = []
        for n in self.sectors:
            # Noise with a little structure: every sample differs, so a shifted or swapped rip cannot pass.
            self.tracks.append(rng.randbytes(n * SECTOR))
        self.lbas = []
        at = 0
        for n in self.sectors:
            self.lbas.append(at)
            at += n
        self.leadout = at
        self.disc_id = cddb_disc_id(self.lbas, self.leadout)

    @property
    def id_hex(self):
        return "%08X" % self.disc_id

    def track_bytes(self, track):
        return self.tracks[track - 1]

    def cue_text(self, bin_name):
        out = 'FILE "%s" BINARY\n' % bin_name
        for i, lba in enumerate(self.lbas, start=1):
            mode = "MODE1/2352" if i in self.data_tracks else "AUDIO"
            out += "  TRACK %02d %s\n    INDEX 01 %s\n" % (i, mode, msf(lba))
        return out

    def write(self, cue_path, bin_bytes=None, cue_text=None):
        """Writes the image under its final names at once (samples first, then the cue sheet)."""
        base = cue_path[:-4]
        folder = os.path.dirname(cue_path)
        tmp_bin = os.path.join(folder, ".incoming.bin")
        tmp_cue = os.path.join(folder, ".incoming.cue")
        with open(tmp_bin, "wb") as f:
            f.write(b"".join(self.tracks) if bin_bytes is None else bin_bytes)
        with open(tmp_cue, "w") as f:
            f.write(self.cue_text(os.path.basename(base) + ".bin") if cue_text is None else cue_text)
        os.rename(tmp_bin, base + ".bin")
        os.rename(tmp_cue, cue_path)

    insert = write

    def xmcd(self, artist, title, track_titles, disc_id=None):
        """An XMCD file for the disc."""
        lines = ["# xmcd", "#", "# Track frame offsets:"]
        lines += ["#\t%d" % (lba + LEAD_IN) for lba in self.lbas]
        lines += ["#", "# Disc length: %d seconds" % ((self.leadout + LEAD_IN) // RATE), "#",
                  "DISCID=%08x" % (self.disc_id if disc_id is None else disc_id),
                  "DTITLE=%s / %s" % (artist, title), "DYEAR=", "DGENRE="]
        lines += ["TTITLE%d=%s" % (i, t) for i, t in enumerate(track_titles)]
        lines += ["EXTD="] + ["EXTT%d=" % i for i in range(len(track_titles))] + ["PLAYORDER="]
        return "\n".join(lines) + "\n"


def eject_image(cue_path):
    """Takes the disc out: the image's files go."""
    for p in (cue_path, cue_path[:-4] + ".bin"):
        try:
            os.unlink(p)
        except FileNotFoundError:
            pass


def write_freedb(freedb_dir, category, disc_id, text):
    """Puts an XMCD file into a freedb folder."""
    os.makedirs(os.path.join(freedb_dir, category), exist_ok=True)
    path = os.path.join(freedb_dir, category, "%08x" % disc_id)
    with open(path, "w" if isinstance(text, str) else "wb") as f:
        f.write(text)
    return path
