"""Before there is a crate to talk to: the firmware is not up yet, or the login is refused."""

from harness.ioc import CONNECTING, WAITING

ATTEMPT = "Attempt to connect to firmware..\n"


def test_silent_wait_then_start(site):
    ioc = site.ioc()
    watched = site.ioc("-D", "1", name="watched")
    # The other one, started later, has failed to connect twice meanwhile.
    watched.stdout.wait_for(r"^error\nerror$")
    assert ioc.stdout.text == WAITING
    assert ioc.stderr.text == ""
    assert watched.stop() == 0
    crate = site.reduced_crate()
    ioc.wait_running()
    assert ioc.stdout.text.startswith(WAITING + CONNECTING + "SYSTEMNAME = ZC16\n")
    crate.wait(eventConnections=1)


def test_reported_attempts_then_start(site):
    ioc = site.ioc("-D", "1")
    ioc.stdout.wait_for(r"^error\nerror$")
    site.reduced_crate()
    found = ioc.stdout.wait_for(r"^Connecting to crate ")
    told = ioc.stdout.text[:found.start()]
    assert told.startswith(WAITING + ATTEMPT + "error\nerror\n")
    assert set(told[len(WAITING + ATTEMPT):].splitlines()) == {"error"}


def test_host_that_is_not_an_address_is_waited_for(site):
    site.reduced_crate()
    ioc = site.ioc("-D", "1", crate="ZC16@localhost")
    ioc.stdout.wait_for(r"^error\nerror$")
    assert "Connecting" not in ioc.stdout.text
    assert ioc.stop() == 0


def test_firmware_probe_is_not_a_login(site):
    crate = site.reduced_crate()
    crate.fault("refuse-logins", count=1)
    assert site.ioc().wait() == 0
    seen = crate.statistics(log=10)
    assert seen["sessionsAccepted"] == 2
    assert seen["log"] == ['VEXAHV_InitSystem(2, 0, "127.0.0.1", "admin")']


def refused(site, *options, **more):
    ioc = site.ioc(*options, **more)
    assert ioc.wait() == 0
    return ioc.stdout.to_end()


def test_wrong_password(site):
    crate = site.reduced_crate("--user", "admin", "--password", "right")
    for path in ("/tmp/ZANTO.db", "/tmp/pvlist.txt", "/tmp/lievnt.txt"):
        site.sandbox.path(path).write_text("from an earlier run\n")
    printed = refused(site, password="wrong")
    assert printed == WAITING + CONNECTING + "Error connecting to 127.0.0.1. Shutting down.\n"
    assert site.sandbox.read("/tmp/ZANTO.db") == ""
    assert site.sandbox.read("/tmp/pvlist.txt") == ""
    assert site.sandbox.read("/tmp/lievnt.txt") == "0\n"
    seen = crate.statistics()
    assert (seen["loginsRefused"], seen["sessions"]) == (1, 0)


def test_wrong_user_is_reported_at_level_1(site):
    site.reduced_crate()
    assert refused(site, "-D", "1", user="nobody") == (
        WAITING + ATTEMPT + CONNECTING
        + "Live insertion event flag reset into file [/tmp/lievnt.txt]\n"
        "\nError initializing mainframe\n"
        "Error connecting to 127.0.0.1. Shutting down.\n")


def test_crate_that_dies_between_probe_and_login(site):
    """Something else accepts the probe on the firmware's port and says nothing to the login."""
    listener = site.sandbox.start("listener", ["/usr/bin/python3", "-c", """
import socket
server = socket.create_server(("127.0.0.1", 3180))
print("ready", flush=True)
probe, _ = server.accept()
session, _ = server.accept()
session.close()
"""])
    listener.stdout.wait_for("^ready$")
    assert refused(site).endswith("Error connecting to 127.0.0.1. Shutting down.\n")
