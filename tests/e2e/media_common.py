"""Helpers of the CD and media tests: pop-up texts, and running the program in a
private mount namespace where a folder of stand-in programs lies over /usr/bin."""

import os
import shutil
import subprocess
import time

from conftest import ZERKA, write_cfg
from term import Term
from ui_common import to_main_menu


def popup_text(t):
    """The text of the pop-up on the screen, its lines joined with blanks (each line break dropped a blank)."""
    rows = t.text().split("\n")
    for r in range(2, len(rows)):
        left = rows[r].find("\u250c", 1)
        if left < 0:
            continue
        right = rows[r].find("\u2510", left)
        lines = []
        for row in rows[r + 1:]:
            if row[left] == "\u2514":
                return " ".join(lines)
            piece = row[left + 1:right].strip()
            if piece:
                lines.append(piece)
    return None


def wait_popup(t, text, timeout=10):
    """Waits for a pop-up of exactly this text (pop-ups centre each line, so outer blanks do not show)."""
    end = time.monotonic() + timeout
    while popup_text(t) != text.strip():
        if time.monotonic() > end:
            raise AssertionError("no pop-up %r:\n%s" % (text, t.text()))
        t.pump(0.05)


def wait_no_popup(t, timeout=10):
    """Waits until no pop-up shows (a pop-up that goes by itself takes the next key otherwise)."""
    end = time.monotonic() + timeout
    while popup_text(t) is not None:
        if time.monotonic() > end:
            raise AssertionError("a pop-up stays:\n%s" % t.text())
        t.pump(0.05)


def namespace_works():
    if os.geteuid() != 0 or shutil.which("unshare") is None:
        return False
    r = subprocess.run(["unshare", "--mount", "sh", "-c",
                        "mount -t overlay overlay -o lowerdir=/tmp:/usr/bin /usr/bin"], capture_output=True)
    return r.returncode == 0



def start_in_namespace(fake, root, bin_dir=None, extra=None, env=None, read_only=()):
    """The program in a private mount namespace, at the main menu: bin_dir (when given) lies over
    /usr/bin, and the folders in read_only are mounted read-only. Only this process and its children
    see the changes; the caller kills it."""
    write_cfg(root, fake.port, mode="master", extra=extra)
    steps = []
    if bin_dir is not None:
        steps.append("mount -t overlay overlay -o lowerdir=%s:/usr/bin /usr/bin" % bin_dir)
    for folder in read_only:
        steps.append("mount --bind %s %s && mount -o remount,ro,bind %s" % (folder, folder, folder))
    steps.append("exec %s" % ZERKA)
    script = " && ".join(steps)
    e = {"ZERKA": root, "TZ": "UTC"}
    e.update(env or {})
    t = Term(["/usr/bin/unshare", "--mount", "/bin/sh", "-c", script], e)
    to_main_menu(t)
    return t


def created_mode():
    """The permissions of a file created with 0777 under this process's umask (which the program inherits)."""
    mask = os.umask(0)
    os.umask(mask)
    return 0o777 & ~mask
