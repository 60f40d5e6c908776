"""The shutdown and re-boot menu in master, local and standalone modes."""

import time

from fakeserver import REBOOT, SHUTDOWN, STOP_SERVICE, reply
from term import KEY
from ui_common import BOTTOM_FRAME, centred, choose_main, highlighted, start, wait_main_highlight

HEADING = "Shutdown/Re-boot Menu"
ROWS = ["Exit Client Zerka Program", "Stop Zerka Service", "Re-boot Local Machine", "Shutdown Local Machine",
        "Re-boot Master Server", "Shutdown Master Server", "Return To Main Menu"]
TOP, X0, WIDTH = 9, 27, 25   # 7 rows of at most 25 characters
NOT_RUNNING = "Local server is not running"
DENIED = "Permission denied - console is active"
CLOSING = "Program will now close"


def open_menu(t):
    choose_main(t, 8)
    t.wait_for(HEADING, row=0, col=centred(HEADING))
    wait_row(t, 0)


def wait_row(t, index, timeout=5):
    end = time.time() + timeout
    while not highlighted(t, TOP + index, X0, WIDTH):
        t.pump(0.05)
        if time.time() > end:
            raise AssertionError("row %d not highlighted:\n%s" % (index, t.text()))


def choose(t, index):
    for _ in range(index):
        t.send(KEY.DOWN)
    wait_row(t, index)
    t.send(KEY.ENTER)


def question(t, text, col):
    t.wait_for(text, row=12, col=col)
    assert HEADING not in t.text()   # asked on a clean, framed screen
    assert t.row(23) == BOTTOM_FRAME


def requests(fake):
    return [m for m in fake.received if m.type in (REBOOT, SHUTDOWN, STOP_SERVICE)]


def test_the_menu(term, fake, root):
    t = start(term, fake, root)
    open_menu(t)
    for i, label in enumerate(ROWS):
        assert t.at(TOP + i, X0, WIDTH) == label.ljust(WIDTH)
    assert t.row(23) == BOTTOM_FRAME
    t.send("s")
    wait_row(t, 1)
    t.send("s")
    wait_row(t, 3)
    t.send("r")
    wait_row(t, 4)
    t.send("r")
    wait_row(t, 6)
    t.send(KEY.ENTER)   # Return To Main Menu
    t.wait_for("ZERKALIBRARY", row=0, col=34)
    wait_main_highlight(t, 8)


def test_standalone_local_actions_need_a_local_server(term, fake, root):
    t = start(term, fake, root, password="secret")
    open_menu(t)
    for row in (1, 2, 3):
        choose(t, row)
        t.wait_for(NOT_RUNNING, row=12, col=centred(NOT_RUNNING))
        t.wait_gone(NOT_RUNNING)
        t.wait_for(HEADING, row=0)
        wait_row(t, row)
        t.send(KEY.HOME)
        wait_row(t, 0)
    assert "Password" not in t.text()
    assert requests(fake) == []


def test_exit_asks_no_password_and_no_question(term, fake, root):
    t = start(term, fake, root, password="secret")
    open_menu(t)
    t.send(KEY.ENTER)
    assert t.wait_exit() == 0
    assert requests(fake) == []


def test_master_local_rows_say_the_local_server_is_not_running(term, fake, root):
    t = start(term, fake, root, mode="master", password="secret")
    open_menu(t)
    for row in (2, 3):
        choose(t, row)
        t.wait_for(NOT_RUNNING, row=12, col=centred(NOT_RUNNING))
        t.wait_gone(NOT_RUNNING)
        t.wait_for(HEADING, row=0)
        wait_row(t, row)
        t.send(KEY.HOME)
        wait_row(t, 0)
    assert "Password" not in t.text()   # refused before the password is asked
    assert requests(fake) == []


def test_declining_clears_the_password(term, fake, root):
    t = start(term, fake, root, mode="master", password="secret")
    open_menu(t)
    choose(t, 4)
    t.wait_for("Password: ", row=12, col=27)
    t.send("secret\r")
    question(t, "This will re-boot the MASTER zerka server. Are you sure?", 14)
    t.send("n")
    t.wait_for(HEADING, row=0, col=centred(HEADING))
    wait_row(t, 4)
    t.send(KEY.ENTER)
    t.wait_for("Password: ", row=12, col=27)   # asked again: the "n" took the password back
    t.send(KEY.ESC)
    t.wait_for(HEADING, row=0, col=centred(HEADING))
    assert requests(fake) == []


def test_master_stop_service_stops_the_master(term, fake, root):
    t = start(term, fake, root, mode="master")
    open_menu(t)
    choose(t, 1)
    question(t, "This will stop the MASTER zerka service. Are you sure?", 14)
    t.send("y")
    t.wait_for(CLOSING, row=12, col=centred(CLOSING))
    assert t.wait_exit() == 0
    (m,) = requests(fake)
    assert (m.type, m.album, m.track, m.text) == (STOP_SERVICE, 1, 0, b"")
    assert m.conn is fake.connections[0]
    assert fake.errors == []


def test_a_refusal_clears_the_password(term, fake, root):
    fake.handlers[STOP_SERVICE] = lambda srv, conn, m: reply(m, album=0)
    t = start(term, fake, root, mode="master", password="secret")
    open_menu(t)
    choose(t, 1)
    t.wait_for("Password: ", row=12, col=27)
    t.send("secret\r")
    question(t, "This will stop the MASTER zerka service. Are you sure?", 14)
    t.send("y")
    t.wait_for(DENIED, row=12, col=centred(DENIED))
    t.wait_for(HEADING, row=0, col=centred(HEADING))
    wait_row(t, 1)
    assert t.child.isalive()
    assert len(requests(fake)) == 1
    t.send(KEY.ENTER)
    t.wait_for("Password: ", row=12, col=27)   # asked again
    t.send(KEY.ESC)
    t.wait_for(HEADING, row=0, col=centred(HEADING))
    assert len(requests(fake)) == 1


def test_declining_sends_nothing(term, fake, root):
    t = start(term, fake, root)
    open_menu(t)
    choose(t, 4)
    question(t, "This will re-boot the MASTER zerka server. Are you sure?", 14)
    t.send("n")
    t.wait_for(HEADING, row=0, col=centred(HEADING))
    wait_row(t, 4)
    t.send(KEY.DOWN)
    wait_row(t, 5)
    t.send(KEY.ENTER)
    question(t, "This will shut down the MASTER zerka server. Are you sure?", 14)
    t.send("y")
    question(t, "This will SHUTDOWN the MASTER zerka server. Are you REALLY sure?", 10)
    t.send("n")
    t.wait_for(HEADING, row=0, col=centred(HEADING))
    assert requests(fake) == []


def test_shutting_down_the_master_needs_two_confirmations(term, fake, root):
    t = start(term, fake, root)
    open_menu(t)
    choose(t, 5)
    question(t, "This will shut down the MASTER zerka server. Are you sure?", 14)
    t.send("y")
    question(t, "This will SHUTDOWN the MASTER zerka server. Are you REALLY sure?", 10)
    t.send("y")
    t.wait_for(CLOSING, row=12, col=centred(CLOSING))
    assert t.wait_exit() == 0
    (m,) = requests(fake)
    assert (m.type, m.album, m.track) == (SHUTDOWN, 1, 0)
    assert m.conn is fake.connections[0]


def test_local_mode_uses_the_local_server_for_local_actions(term, fake, root):
    fake.handlers[REBOOT] = lambda srv, conn, m: reply(m, album=0)
    fake.handlers[SHUTDOWN] = lambda srv, conn, m: reply(m, album=0)
    t = start(term, fake, root, mode="local")
    assert len(fake.connections) == 2
    master, local = fake.connections
    open_menu(t)

    choose(t, 2)
    question(t, "This will re-boot your local server. Are you sure?", 14)
    t.send("y")
    t.wait_for(DENIED, row=12, col=centred(DENIED))
    t.wait_for(HEADING, row=0)
    wait_row(t, 2)

    t.send(KEY.DOWN)
    wait_row(t, 3)
    t.send(KEY.ENTER)
    question(t, "This will shut down your local server. Are you sure?", 14)
    t.send("y")
    question(t, "This will SHUTDOWN your local server. Are you REALLY sure?", 10)
    t.send("y")
    t.wait_for(DENIED, row=12, col=centred(DENIED))
    t.wait_for(HEADING, row=0)
    wait_row(t, 3)

    t.send(KEY.DOWN)
    wait_row(t, 4)
    t.send(KEY.ENTER)
    question(t, "This will re-boot the MASTER zerka server. Are you sure?", 14)
    t.send("y")
    t.wait_for(DENIED, row=12, col=centred(DENIED))
    t.wait_for(HEADING, row=0)

    t.send(KEY.HOME)
    t.send(KEY.DOWN)
    wait_row(t, 1)
    t.send(KEY.ENTER)
    question(t, "This will stop the local Zerka service. Are you sure?", 14)
    t.send("y")
    t.wait_for(CLOSING, row=12, col=centred(CLOSING))
    assert t.wait_exit() == 0

    sent = [(m.type, m.conn) for m in requests(fake)]
    assert sent == [(REBOOT, local), (SHUTDOWN, local), (REBOOT, master), (STOP_SERVICE, local)]
    assert fake.errors == []
