"""The maintenance password and the maintenance menu."""

from term import KEY
from ui_common import centred, choose_main, start, to_main_menu, wait_main_highlight

WRONG = "Sorry - Wrong Password"


def open_maintenance(t):
    choose_main(t, 7)


def wait_password(t):
    t.wait_for("Password: ", row=12, col=27)
    assert all(t.is_reverse(12, c) for c in range(37, 53))
    assert t.at(12, 37, 16) == " " * 16


def test_wrong_password(term, fake, root):
    t = start(term, fake, root, password="secret")
    open_maintenance(t)
    wait_password(t)
    t.send("secreT")
    t.wait_for("******", row=12, col=37)
    assert t.at(12, 43, 10) == " " * 10
    t.send("\r")
    t.wait_for(WRONG, row=12, col=centred(WRONG))
    t.wait_for("ZERKALIBRARY", row=0, col=34, timeout=5)
    wait_main_highlight(t, 7)


def test_correct_password_opens_maintenance(term, fake, root):
    t = start(term, fake, root, password="secret")
    open_maintenance(t)
    wait_password(t)
    t.send("secret\r")
    t.wait_for("Maintenance", row=0, col=centred("Maintenance"))
    t.wait_for("Album Tracklist", row=5)
    assert WRONG not in t.text()


def test_backspace_removes_the_last_character(term, fake, root):
    t = start(term, fake, root, password="secret")
    open_maintenance(t)
    wait_password(t)
    t.send("secrex")
    t.wait_for("******", row=12, col=37)
    t.send(KEY.BACKSPACE)
    t.send("\x08")
    t.settle()
    assert t.at(12, 37, 6) == "****  "
    assert t.is_reverse(12, 42)
    t.send("et\r")
    t.wait_for("Maintenance", row=0, col=centred("Maintenance"))


def test_escape_refuses_silently(term, fake, root):
    t = start(term, fake, root, password="secret")
    open_maintenance(t)
    wait_password(t)
    t.send("sec")
    t.send(KEY.ESC)
    t.wait_for("ZERKALIBRARY", row=0, col=34)
    t.settle(0.5)
    assert WRONG not in t.text()
    wait_main_highlight(t, 7)


def test_the_password_is_asked_again_after_leaving_maintenance(term, fake, root):
    t = start(term, fake, root, password="secret")
    open_maintenance(t)
    wait_password(t)
    t.send("secret\r")
    t.wait_for("Maintenance", row=0, col=centred("Maintenance"))
    t.send(KEY.ESC)
    t.wait_for("ZERKALIBRARY", row=0, col=34)
    wait_main_highlight(t, 7)
    t.send(KEY.ENTER)
    wait_password(t)


def test_fifteen_characters_can_match(term, fake, root):
    t = start(term, fake, root, password="abcdefghijklmno")
    open_maintenance(t)
    wait_password(t)
    t.send("abcdefghijklmno\r")
    t.wait_for("Maintenance", row=0, col=centred("Maintenance"))


def test_a_password_of_sixteen_characters_never_matches(term, fake, root):
    t = start(term, fake, root, password="abcdefghijklmnop")
    open_maintenance(t)
    wait_password(t)
    t.send("abcdefghijklmnop")   # the sixteenth character ends the entry and is dropped
    t.wait_for(WRONG, row=12, col=centred(WRONG))
    t.wait_for("ZERKALIBRARY", row=0, col=34)


def test_no_password_when_absent(term, fake, root):
    t = start(term, fake, root)
    open_maintenance(t)
    t.wait_for("Maintenance", row=0, col=centred("Maintenance"))
    assert "Password" not in t.text()


def test_no_password_when_it_begins_with_a_hash(term, fake, root):
    # "PASSWORD=#x": the value's first character "#" is part of the value.
    t = start(term, fake, root, password="=#x")
    open_maintenance(t)
    t.wait_for("Maintenance", row=0, col=centred("Maintenance"))
    assert "Password" not in t.text()


def test_no_password_when_the_key_is_commented_out(term, fake, root):
    t = start(term, fake, root, extra={"# PASSWORD": "secret"})
    open_maintenance(t)
    t.wait_for("Maintenance", row=0, col=centred("Maintenance"))
    assert "Password" not in t.text()


def test_no_password_when_it_is_empty(term, fake, root):
    t = start(term, fake, root, password="")
    open_maintenance(t)
    t.wait_for("Maintenance", row=0, col=centred("Maintenance"))
    assert "Password" not in t.text()
