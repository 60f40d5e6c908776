"""The shutdown and re-boot menu against the real zerkaserver: what the server accepts and refuses."""

import os
import stat
import tempfile

import pytest

from conftest import write_cfg
from console_helpers import CONSOLE
from realserver import RealServer
from term import KEY
from test_shutdown import CLOSING, DENIED, HEADING, choose, open_menu, question, wait_row
from ui_common import centred, to_main_menu

PASSWORD = "secret"


@pytest.fixture
def scripts():
    """A temporary folder for a harmless stand-in for the machine's re-boot and power-off commands."""
    d = tempfile.mkdtemp(prefix="zkp", dir="/tmp")
    yield d
    for f in os.listdir(d):
        os.unlink(os.path.join(d, f))
    os.rmdir(d)


def stand_in(folder, name):
    """A script that writes its arguments to folder/name.ran; returns its path."""
    path = os.path.join(folder, name)
    with open(path, "w") as f:
        f.write('#!/bin/sh\necho "$@" > "%s.ran"\n' % path)
    os.chmod(path, stat.S_IRWXU)
    return path


def serve(args=()):
    srv = RealServer(demo=True, args=list(args))
    write_cfg(srv.root, srv.port, mode="master", password=PASSWORD)
    return srv


def menu(srv, term):
    t = term(zroot=srv.root, env={"TZ": "UTC"})
    to_main_menu(t)
    open_menu(t)
    return t


def confirm(t, row, questions):
    """Chooses a row (from the top), gives the password and answers every question with y."""
    t.send(KEY.HOME)
    wait_row(t, 0)
    choose(t, row)
    t.wait_for("Password: ", row=12, col=27)
    t.send(PASSWORD + "\r")
    for text, col in questions:
        question(t, text, col)
        t.send("y")


REBOOT_Q = [("This will re-boot the MASTER zerka server. Are you sure?", 14)]
SHUTDOWN_Q = [("This will shut down the MASTER zerka server. Are you sure?", 14),
              ("This will SHUTDOWN the MASTER zerka server. Are you REALLY sure?", 10)]
STOP_Q = [("This will stop the MASTER zerka service. Are you sure?", 14)]


def test_stopping_the_service_is_accepted_when_no_console_is_logged_in(term):
    srv = serve()
    try:
        t = menu(srv, term)
        confirm(t, 1, STOP_Q)
        t.wait_for(CLOSING, row=12, col=centred(CLOSING))
        assert t.wait_exit() == 0
        assert srv.proc.wait(timeout=10) == 0
        assert "Service stop requested by connection" in srv.log_text()
    finally:
        srv.stop()


def test_a_console_logged_in_elsewhere_holds_the_service_and_the_machine(term, scripts):
    reboot = stand_in(scripts, "reboot")
    srv = serve(["--reboot-command", reboot])
    holder = srv.client()
    try:
        assert holder.request(CONSOLE).album == 1
        t = menu(srv, term)
        for row, questions in ((1, STOP_Q), (4, REBOOT_Q)):
            confirm(t, row, questions)
            t.wait_for(DENIED, row=12, col=centred(DENIED))
            t.wait_for(HEADING, row=0)
        assert srv.alive() and t.child.isalive()
        assert not os.path.exists(reboot + ".ran")
        assert "Refused STOP_SERVICE from connection" in srv.log_text()
        assert "a console is logged in" in srv.log_text()
    finally:
        holder.close()
        srv.stop()


def test_the_machine_is_left_alone_without_a_command(term):
    srv = serve()
    try:
        t = menu(srv, term)
        confirm(t, 4, REBOOT_Q)
        t.wait_for(DENIED, row=12, col=centred(DENIED))
        t.wait_for(HEADING, row=0)
        confirm(t, 5, SHUTDOWN_Q)
        t.wait_for(DENIED, row=12, col=centred(DENIED))
        t.wait_for(HEADING, row=0)
        assert srv.alive()
        assert "started without a command for it" in srv.log_text()
    finally:
        srv.stop()


@pytest.mark.parametrize("row, option, questions", [(4, "--reboot-command", REBOOT_Q),
                                                    (5, "--poweroff-command", SHUTDOWN_Q)])
def test_the_named_command_runs_after_a_clean_stop(term, scripts, row, option, questions):
    command = stand_in(scripts, "power")
    srv = serve([option, command + " --now please"])
    try:
        t = menu(srv, term)
        confirm(t, row, questions)
        t.wait_for(CLOSING, row=12, col=centred(CLOSING))
        assert t.wait_exit() == 0
        assert srv.proc.wait(timeout=10) == 0
        with open(command + ".ran") as f:
            assert f.read() == "--now please\n"
        log = srv.log_text()
        assert log.index("Server stopped") < log.index("Running %s --now please" % command)
    finally:
        srv.stop()


def test_a_command_that_cannot_run_is_refused_at_start_up(scripts):
    import subprocess
    from realserver import ZERKASERVER
    for value, reason in (("reboot", "absolute path"), (os.path.join(scripts, "missing"), "cannot run")):
        out = subprocess.run([ZERKASERVER, "--root", scripts, "--port", "0", "--reboot-command", value],
                             capture_output=True, text=True, timeout=30)
        assert out.returncode == 2
        assert reason in out.stderr
