"""The demo (scripts/demo-run.sh, which scripts/demo.sh runs after building) on temporary folders.

The demo's library and disc are made once for the module, as the script makes
them, and each test has a folder of its own with them (the media files linked,
not copied), so the script starts the servers and the program as on a second
run. Each test reads what the script prints, answers "Press Enter" and drives
the program in an 80x24 terminal.
"""

import os
import shutil
import signal
import subprocess
import tempfile
import time

import pytest

import pulse
from conftest import BUILD, REPO, ZERKASERVER
from term import KEY, Term
from ui_common import centred

DEMO_RUN = os.path.join(REPO, "scripts", "demo-run.sh")
DEMO = os.path.join(REPO, "scripts", "demo.sh")
PASSWORD_LINE = "The maintenance password is: demo"
KEY_LINES = ['  Ctrl-G  start the auto-DJ: a track plays and "Now Playing" pops up',
             '  s       search: type part of an artist (try "tramway"), Enter twice;',
             "          then a adds the highlighted track to the playlist, Esc goes back",
             "  F1      help: the keys of the screen you are on",
             "  Esc     leaves a screen; from the console it opens the main menu"]


@pytest.fixture(scope="module")
def made():
    """The demo's library and disc, made once as the script makes them."""
    d = tempfile.mkdtemp(prefix="zkm", dir="/tmp")
    subprocess.run([ZERKASERVER, "--make-demo", os.path.join(d, "demo-root")], check=True, capture_output=True,
                   timeout=120)
    subprocess.run([ZERKASERVER, "--make-demo-disc", os.path.join(d, "demo-disc"), os.path.join(d, "demo-root"),
                    os.path.join(d, "demo-local")], check=True, capture_output=True, timeout=60)
    yield d
    shutil.rmtree(d, ignore_errors=True)


def link_or_copy(src, dst):
    """Media files are only read: linked. Everything else (databases, playlists...) is copied."""
    if src.endswith(".wav"):
        os.link(src, dst)
    else:
        shutil.copy2(src, dst)


@pytest.fixture
def folder(made):
    """A demo folder of this test's own."""
    d = tempfile.mkdtemp(prefix="zkd", dir="/tmp")
    for name in ("demo-root", "demo-local", "demo-disc"):
        shutil.copytree(os.path.join(made, name), os.path.join(d, name), copy_function=link_or_copy)
    yield d
    shutil.rmtree(d, ignore_errors=True)


@pytest.fixture
def runs():
    started = []

    def start(folder, env=None):
        e = {"TZ": "UTC"}
        e.update(env or {})
        t = Term([DEMO_RUN, BUILD, folder], e)
        started.append(t)
        return t

    yield start
    for t in started:
        # The script, its servers and its program are one process group.
        if t.child.isalive():
            try:
                os.killpg(t.child.pid, signal.SIGTERM)
                time.sleep(0.5)
                os.killpg(t.child.pid, signal.SIGKILL)
            except OSError:
                pass
        t.kill()


def no_sound_env():
    """A sound server that never answers."""
    return {"PULSE_SERVER": "unix:/nonexistent/zerka-no-sound"}


def printed(t):
    """What the script printed before the program's screen, as lines."""
    return [line.rstrip() for line in t.text().split("\n")]


def master_log(folder):
    with open(os.path.join(folder, "demo-root", "zerkaserver.log"), encoding="latin-1") as f:
        return f.read()


def server_args(folder):
    """The command lines of the zerkaservers running on this folder's roots."""
    out = []
    for pid in os.listdir("/proc"):
        if not pid.isdigit():
            continue
        try:
            with open("/proc/%s/cmdline" % pid, "rb") as f:
                args = f.read().split(b"\0")
        except OSError:
            continue
        if args and args[0].endswith(b"zerkaserver") and b"--cd-helper" not in args \
                and folder.encode() in b" ".join(args):
            out.append([a.decode() for a in args if a])
    return out


def wait_for_no_servers(folder, timeout=20):
    end = time.time() + timeout
    while server_args(folder):
        if time.time() > end:
            raise AssertionError("servers still running: %r" % server_args(folder))
        time.sleep(0.1)


def leave_program(t):
    """From the console: Esc to the main menu, Esc, y; the script ends with the program.
    A "Now Playing" notice takes the key typed while it shows, so keys are typed again as needed."""
    end = time.time() + 60
    while t.child.isalive():
        if time.time() > end:
            raise AssertionError("the program goes on:\n" + t.text())
        t.send("y" if "Are you sure you want to exit?" in t.text() else KEY.ESC, pause=0.3)
        t.settle(0.5)
    assert t.wait_exit(20) == 0


def test_the_demo_tour_without_a_sound_server(runs, folder):
    t = runs(folder, no_sound_env())
    t.wait_for("Press Enter to start the program.", timeout=30)
    lines = printed(t)
    i = lines.index("Sound is off: no PulseAudio server answered, so the demo runs silent.")
    assert lines[i + 1] == "  (pactl info: Connection failure: Connection refused)"
    assert PASSWORD_LINE in lines
    i = lines.index("Keys to try first, on the playlist console where the program opens:")
    assert lines[i + 1:i + 1 + len(KEY_LINES)] == KEY_LINES
    assert "PASSWORD demo\n" in open(os.path.join(folder, "demo-local", "zerka.cfg")).read()
    [master] = [a for a in server_args(folder) if "--cd-drive" not in a]
    assert master[master.index("--output") + 1] == "none"

    t.send("\r")
    t.wait_for("Current Playlist (Jukebox Mode)", row=0, timeout=30)
    # F1: the keys of the console.
    t.send(KEY.F1)
    t.wait_for("Zerka client V4.02 (local Mode) - Help Screen", row=0, col=16)
    assert t.at(5, 2, 26) == "s  Search for artist/title"
    assert t.at(2, 42, 26) == "^G  Go - start the auto-DJ"
    t.send(KEY.ESC)
    t.wait_for("Current Playlist (Jukebox Mode)", row=0)
    # s: the search, and an added track on the console.
    t.send("s")
    t.wait_for("Artist: ", row=10, col=12)
    t.send("tramway\r")
    t.wait_for("Title:  ", row=12, col=12)
    t.send("\r")
    t.wait_for('Artists containing "tramway"', row=0)
    t.send("a")
    t.wait_for("Added to Current Playlist", row=12)
    t.wait_gone("Added to Current Playlist")
    t.send(KEY.ESC)
    t.wait_for("Artist: ", row=10, col=12)
    t.send(KEY.ESC)
    t.wait_for("Current Playlist (Jukebox Mode)", row=0)
    t.wait_for(" - ", row=2, col=38)   # the added track, on the console at once
    assert t.at(2, 2, 25).startswith("00") and "Marigold Tramway" in t.row(2)
    # The maintenance menu asks for the printed password.
    t.send(KEY.ESC)
    t.wait_for("ZERKALIBRARY", row=0)
    t.settle(0.3)
    for _ in range(7):
        t.send(KEY.DOWN)
    t.settle(0.3)
    t.send("\r")
    t.wait_for("Password: ", row=12, col=27, timeout=20)
    t.send("demo\r")
    t.wait_for("Maintenance", row=0, col=centred("Maintenance"), timeout=20)
    t.send(KEY.ESC)
    t.wait_for("ZERKALIBRARY", row=0)
    t.send(KEY.HOME)
    t.settle(0.3)
    t.send(KEY.DOWN)   # Jukebox Mode: the console again
    t.settle(0.3)
    t.send("\r")
    t.wait_for("Current Playlist (Jukebox Mode)", row=0)
    # Ctrl-G: the auto-DJ starts with the added track and announces it; a track lasts long enough to work on.
    t.send(KEY.ctrl("g"))
    t.wait_for("Now Playing: Marigold Tramway - ", row=12, timeout=20)
    t.wait_gone("Now Playing: ")
    t.send(KEY.F1)
    t.wait_for("Help Screen", row=0)
    t.send(KEY.ESC)
    t.wait_for("Current Playlist (Jukebox Mode)", row=0)
    t.wait_for(":", row=23, col=76)   # the play time left, shown in the next idle second
    assert 20 <= int(t.at(23, 74, 2)) * 60 + int(t.at(23, 77, 2)) <= 42
    leave_program(t)
    wait_for_no_servers(folder)
    assert not os.path.exists(os.path.join(folder, "demo-root", ".demo-info"))


def test_with_a_sound_server_the_master_plays_through_it(runs, folder):
    with pulse.PulseServer() as pa:
        rec = pa.record()
        t = runs(folder, pa.env())
        t.wait_for("Press Enter to start the program.", timeout=30)
        assert "Sound is on: the server plays through pulseaudio." in printed(t)
        [master] = [a for a in server_args(folder) if "--cd-drive" not in a]
        assert master[master.index("--output") + 1] == "pulse"
        t.send("\r")
        t.wait_for("Current Playlist (Jukebox Mode)", row=0, timeout=30)
        t.send(KEY.ctrl("g"))
        rec.wait_for_sound(30)
        leave_program(t)
        wait_for_no_servers(folder)


def test_a_second_demo_on_the_same_folder_says_where_the_first_is(runs, folder):
    first = runs(folder, no_sound_env())
    first.wait_for("Press Enter to start the program.", timeout=30)
    with open(os.path.join(folder, "demo-root", ".demo-info")) as f:
        port = dict(line.strip().split("=", 1) for line in f)["port"]
    local = os.path.join(folder, "demo-local")
    client = ("ZERKA=%s setpriv --bounding-set=-sys_time %s/zerka" % (local, BUILD) if os.getuid() == 0
              else "ZERKA=%s %s/zerka" % (local, BUILD))
    # demo.sh must say it before building: a cmake that fails tells otherwise.
    fake_bin = tempfile.mkdtemp(prefix="zkb", dir="/tmp")
    with open(os.path.join(fake_bin, "cmake"), "w") as f:
        f.write("#!/bin/sh\nexit 99\n")
    os.chmod(os.path.join(fake_bin, "cmake"), 0o755)
    env = dict(os.environ, PATH=fake_bin + ":" + os.environ["PATH"], **no_sound_env())
    for argv in ([DEMO_RUN, BUILD, folder], [DEMO_RUN, "--check", folder], [DEMO, folder]):
        out = subprocess.run(argv, capture_output=True, text=True, timeout=60, env=env)
        assert out.returncode == 1, argv
        lines = out.stdout.split("\n")
        assert lines[0] == "A demo is already running on %s (process %s; its master server listens" % (
            folder, first.child.pid)
        assert lines[1] == "on 127.0.0.1:%s, its log is %s/demo-root/zerkaserver.log)." % (port, folder)
        assert "    " + client in lines
        assert "Building" not in out.stdout   # demo.sh says it before building anything
    shutil.rmtree(fake_bin)
    # One master server, one local server: nothing was started twice.
    assert len(server_args(folder)) == 2
    assert master_log(folder).count("Listening on") == 1
    # The first demo goes on: its program starts and ends as usual.
    first.send("\r")
    first.wait_for("Current Playlist (Jukebox Mode)", row=0, timeout=30)
    leave_program(first)
    wait_for_no_servers(folder)
    out = subprocess.run([DEMO_RUN, "--check", folder], capture_output=True, text=True, timeout=30)
    assert (out.returncode, out.stdout) == (0, "")


def test_a_second_program_joins_the_running_demo(runs, folder):
    first = runs(folder, no_sound_env())
    first.wait_for("Press Enter to start the program.", timeout=30)
    first.send("\r")
    first.wait_for("Current Playlist (Jukebox Mode)", row=0, timeout=30)
    env = {"ZERKA": os.path.join(folder, "demo-local"), "TZ": "UTC"}
    argv = [os.path.join(BUILD, "zerka")]
    if os.getuid() == 0:
        argv = ["setpriv", "--bounding-set=-sys_time"] + argv
    second = Term(argv, env)
    try:
        second.wait_for("Current Playlist (Jukebox Mode)", row=0, timeout=30)
        leave_program(second)
    finally:
        second.kill()
    leave_program(first)
    wait_for_no_servers(folder)


def test_servers_an_earlier_demo_left_running_keep_the_folder(folder):
    # An earlier demo's script was killed before it could stop its servers: one still runs on the root.
    root = os.path.join(folder, "demo-root")
    left = subprocess.Popen([ZERKASERVER, "--root", root, "--port", "0", "--log", os.path.join(root, "left.log")],
                            stdout=subprocess.PIPE, text=True)
    try:
        assert left.stdout.readline().startswith("zerkaserver listening on ")
        with open(os.path.join(root, ".demo-info"), "w") as f:
            f.write("port=1\npid=1\nbuild=%s\nservers=%d 999999999\n" % (BUILD, left.pid))
        for argv in ([DEMO_RUN, BUILD, folder], [DEMO_RUN, "--check", folder]):
            out = subprocess.run(argv, capture_output=True, text=True, timeout=60, env=dict(os.environ, **no_sound_env()))
            assert out.returncode == 1
            assert out.stdout == ("An earlier demo on %s left its servers running (process %d),\n"
                                  "although its program has ended. Stop them, then start the demo again:\n"
                                  "    kill %d\n" % (folder, left.pid, left.pid))
        assert [a[0] for a in server_args(folder)] == [ZERKASERVER]   # nothing started beside it
    finally:
        left.terminate()
        left.wait(timeout=20)
    out = subprocess.run([DEMO_RUN, "--check", folder], capture_output=True, text=True, timeout=30)
    assert (out.returncode, out.stdout) == (0, "")
