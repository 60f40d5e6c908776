"""Drives the real program in an 80x24 pseudo-terminal and reads its screen.

    t = Term([ZERKA], env)
    t.wait_for("ZERKALIBRARY", row=0)
    t.send(KEY.ESC)
    assert t.row(20).startswith(...)
"""

import curses
import os
import sys
import time

import pexpect
import pyte

TERM_NAME = "xterm"


class _Keys:
    """Key strings as the terminal description says the terminal sends them."""

    def __init__(self):
        curses.setupterm(TERM_NAME, sys.__stderr__.fileno())

        def cap(name):
            s = curses.tigetstr(name)
            return s.decode("latin-1") if s else None

        self.UP = cap("kcuu1")
        self.DOWN = cap("kcud1")
        self.LEFT = cap("kcub1")
        self.RIGHT = cap("kcuf1")
        self.HOME = cap("khome")
        self.END = cap("kend")
        self.PGDN = cap("knp")
        self.PGUP = cap("kpp")
        self.DEL = cap("kdch1")
        self.INS = cap("kich1")
        self.BACKSPACE = cap("kbs")
        self.KP_ENTER = cap("kent")
        self.CTRL_LEFT = cap("kLFT5")
        self.CTRL_RIGHT = cap("kRIT5")
        self.CTRL_HOME = cap("kHOM5")
        self.CTRL_END = cap("kEND5")
        self.CTRL_PGUP = cap("kPRV5")
        self.CTRL_PGDN = cap("kNXT5")
        self.CTRL_INS = cap("kIC5")
        for n in range(1, 13):
            setattr(self, "F%d" % n, cap("kf%d" % n))
        self.ESC = "\x1b"
        self.ENTER = "\r"
        self.TAB = "\t"

    @staticmethod
    def ctrl(letter):
        return chr(ord(letter.upper()) - 64)


KEY = _Keys()


class _Screen(pyte.Screen):
    """pyte's screen plus the "repeat the last character" sequence (CSI n b) that curses uses for lines."""

    last_char = " "

    def draw(self, data):
        if data:
            self.last_char = data[-1]
        super().draw(data)

    def repeat_last(self, count=1, *args, **kwargs):
        super().draw(self.last_char * max(1, count))


class _Stream(pyte.ByteStream):
    csi = dict(pyte.ByteStream.csi, b="repeat_last")


class Term:
    def __init__(self, argv, env, rows=24, cols=80, cwd=None):
        self.rows = rows
        self.cols = cols
        self.screen = _Screen(cols, rows)
        self.stream = _Stream(self.screen)
        # The program writes ASCII; without UTF-8 mode pyte honours the line-drawing character set.
        self.stream.use_utf8 = False
        full_env = dict(os.environ)
        full_env.update(env)
        full_env["TERM"] = TERM_NAME
        full_env.setdefault("LANG", "C.UTF-8")
        self.child = pexpect.spawn(argv[0], argv[1:], env=full_env, dimensions=(rows, cols), cwd=cwd)
        self.raw = b""

    # ----- reading ---------------------------------------------------------------------
    def pump(self, timeout=0.05):
        """Feeds whatever the program wrote into the screen model."""
        end = time.time() + timeout
        while True:
            try:
                data = self.child.read_nonblocking(65536, timeout=max(0.0, end - time.time()))
            except pexpect.TIMEOUT:
                return
            except pexpect.EOF:
                return
            self.raw += data
            self.stream.feed(data)
            if time.time() >= end:
                return

    def text(self):
        return "\n".join(self.screen.display)

    def row(self, n):
        return self.screen.display[n]

    def at(self, row, col, length):
        return self.screen.display[row][col:col + length]

    def find(self, text):
        """(row, col) of the first place text appears on the screen, or None."""
        for r, line in enumerate(self.screen.display):
            c = line.find(text)
            if c >= 0:
                return r, c
        return None

    def wait_for(self, text, timeout=10, row=None, col=None):
        """Waits until text shows (at a row, or at row and column); returns its (row, col)."""
        end = time.time() + timeout
        while True:
            self.pump(0.05)
            if row is None:
                where = self.find(text)
                if where and (col is None or where[1] == col):
                    return where
            else:
                line = self.screen.display[row]
                c = line.find(text) if col is None else (col if line[col:col + len(text)] == text else -1)
                if c >= 0:
                    return row, c
            if time.time() > end:
                raise AssertionError("%r not on screen%s:\n%s" % (
                    text, "" if row is None else " at row %d" % row, self.text()))

    def wait_gone(self, text, timeout=10):
        end = time.time() + timeout
        while True:
            self.pump(0.05)
            if self.find(text) is None:
                return
            if time.time() > end:
                raise AssertionError("%r still on screen:\n%s" % (text, self.text()))

    def settle(self, quiet=0.3, timeout=5):
        """Waits until the program has written nothing for `quiet` seconds."""
        end = time.time() + timeout
        last = len(self.raw)
        quiet_since = time.time()
        while time.time() < end:
            self.pump(0.05)
            if len(self.raw) != last:
                last = len(self.raw)
                quiet_since = time.time()
            elif time.time() - quiet_since >= quiet:
                return

    def is_reverse(self, row, col):
        return self.screen.buffer[row][col].reverse

    def is_bold(self, row, col):
        return self.screen.buffer[row][col].bold

    # ----- writing ---------------------------------------------------------------------
    def send(self, keys, pause=0.05):
        self.child.send(keys)
        time.sleep(pause)
        self.pump(0.05)

    def resize(self, rows, cols):
        self.rows, self.cols = rows, cols
        self.screen.resize(rows, cols)
        self.child.setwinsize(rows, cols)

    # ----- ending ----------------------------------------------------------------------
    def wait_exit(self, timeout=10):
        """Waits for the program to end; returns its exit status."""
        end = time.time() + timeout
        while self.child.isalive():
            self.pump(0.05)
            if time.time() > end:
                raise AssertionError("program still running:\n%s" % self.text())
        self.pump(0.05)
        self.child.close()
        return self.child.exitstatus if self.child.exitstatus is not None else -self.child.signalstatus

    def kill(self):
        if self.child.isalive():
            self.child.kill(9)
        try:
            self.child.close(force=True)
        except Exception:
            pass
