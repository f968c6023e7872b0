"""User and password from the file that ZANTO_CREDENTIALS names."""

import os
from pathlib import Path

import pytest

from harness import places
from harness.ioc import NAME, WAITING
from harness.sandbox import LOOPBACK

FILE = "/tmp/credentials"
TEXT = "# of the test\nuser=operator\n\npassword=pass word\n"
LOGIN = 'VEXAHV_InitSystem(2, 0, "127.0.0.1", "operator")'


def command(*options):
    return [places.program("zantoioc"), places.start_script(), "-c", f"{NAME}@{LOOPBACK}", *options]


def write(site, text=TEXT, mode=0o600):
    path = site.sandbox.path(FILE)
    path.write_text(text, encoding="utf-8")
    os.chmod(path, mode)


@pytest.fixture(name="closed", scope="module")
def _closed(shared):
    """Logs every login and refuses it."""
    shared.the_crate = shared.crate()
    shared.the_crate.fault("refuse-logins", count=1000000)
    return shared


def login(site, *options, file=FILE):
    """What the server printed, and the logins that the crate has seen."""
    site.the_crate.clear()
    done = site.sandbox.run(command(*options), env={"ZANTO_CREDENTIALS": file})
    assert (done.returncode, done.stderr) == (0, "")
    return done.stdout, site.the_crate.log()


REFUSED_LOGIN = (WAITING + f"Connecting to crate {NAME} at 127.0.0.1\n"
                 "Error connecting to 127.0.0.1. Shutting down.\n")


def test_logs_in_with_what_is_in_the_file(closed):
    write(closed)
    assert login(closed) == (REFUSED_LOGIN, [LOGIN])


@pytest.mark.parametrize("options, user", [
    (("-u", "me", "-p", "mine"), "me"), (("-u", "me"), "me"), (("-p", "mine"), "")])
def test_either_option_wins_over_the_file(closed, options, user):
    write(closed, "not even looked at", 0o666)
    assert login(closed, *options) == (REFUSED_LOGIN,
                                       [f'VEXAHV_InitSystem(2, 0, "127.0.0.1", "{user}")'])


def test_an_empty_name_is_none(closed):
    assert login(closed, file="") == (REFUSED_LOGIN, ['VEXAHV_InitSystem(2, 0, "127.0.0.1", "")'])


REFUSALS = {
    "others_can_read": (TEXT, 0o604, "others can read or write it (mode 0604, not 0600)"),
    "unknown_key": (TEXT + "passwort=secret\n", 0o600,
                    "line 5 is neither user= nor password="),
    "no_password": ("user=operator\n", 0o600, "no password="),
    "too_long": ("user=" + "u" * 255, 0o600, "line 1 has a value of more than 254 characters"),
}


@pytest.mark.parametrize("case", REFUSALS)
def test_a_file_that_is_refused_ends_the_server_before_it_knocks(closed, case):
    text, mode, complaint = REFUSALS[case]
    write(closed, text, mode)
    assert login(closed) == (f"Credentials file {FILE}: {complaint}. Shutting down.\n", [])


def test_a_file_that_is_missing_or_none(closed):
    assert login(closed, file="/tmp/nowhere")[0] == (
        "Credentials file /tmp/nowhere: No such file or directory. Shutting down.\n")
    assert login(closed, file="/tmp")[0] == (
        "Credentials file /tmp: not a regular file. Shutting down.\n")


def test_without_a_crate_the_file_is_not_looked_at(closed):
    done = closed.sandbox.run([places.program("zantoioc"), "st.cmd", "-v"],
                              env={"ZANTO_CREDENTIALS": "/tmp/nowhere"})
    assert done.stdout == "EPICS ioc VEXA ZANTO version 1.2.0\n"


def test_neither_arguments_nor_environment_show_the_password(site):
    crate = (places.top() / "crateSim/crates/small.yaml").read_text(encoding="utf-8")
    site.sandbox.path("/tmp/crate.yaml").write_text(
        crate.replace("{name: admin, password: admin}", "{name: operator, password: pass word}"),
        encoding="utf-8")
    site.crate("/tmp/crate.yaml")
    write(site)
    ioc = site.ioc(argv=command("-d"), env={"ZANTO_CREDENTIALS": FILE}).wait_running()
    shown = [Path(f"/proc/{ioc.pid}/{name}").read_bytes() for name in ("cmdline", "environ")]
    assert shown[0].endswith(b"\0-d\0")
    assert not any(word in text for text in shown for word in (b"operator", b"pass word"))
