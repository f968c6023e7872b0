"""The crate dies, hangs or comes back while the server builds, runs and ends."""

import signal
import time

import pytest

# Seconds: more than a call of the access library may take.
BOUNDED = 15

RECORD = "ZC16:00:000:VSet"


def timed(action, *args):
    begin = time.monotonic()
    result = action(*args)
    return result, time.monotonic() - begin


@pytest.fixture(name="running")
def _running(site):
    site.the_crate = site.reduced_crate()
    site.the_ioc = site.ioc("-D", "1").wait_running()
    site.the_crate.wait(eventConnections=1)
    assert site.clients.caput(RECORD, 321) == ""
    site.clients.wait_for_value(f"{RECORD}:RBV", "321")
    return site


def test_server_outlives_its_crate(running):
    mark = len(running.the_ioc.stdout.text)
    running.the_crate.kill()
    running.the_ioc.stdout.wait_for(r"^GetEventData error, update thread exits - "
                                    r"error code = \[-?\d+\]$", mark)
    assert running.clients.caget(f"{RECORD}:RBV") == "321"
    assert running.clients.pvget(f"{RECORD}:RBV") == "321"
    complaint, seconds = timed(running.clients.caput, RECORD, 5)
    assert complaint and seconds < BOUNDED
    complaint, seconds = timed(running.clients.pvput, RECORD, 6)
    assert complaint and seconds < BOUNDED
    assert running.clients.caget(f"{RECORD}:RBV") == "321"
    status, seconds = timed(running.the_ioc.stop)
    assert status == 0 and seconds < BOUNDED
    assert running.the_ioc.stdout.to_end().endswith("\nCrate disconnected\n")


def test_hanging_crate_delays_writes_only(running):
    running.the_crate.hang()
    put = running.sandbox.start("writer", running.clients.command("pvput", RECORD, "7"))
    put.stdout.wait_for("^Old")
    for _ in range(3):
        value, seconds = timed(running.clients.caget, "ZC16:03:000:ISet:RBV")
        assert value == "10" and seconds < 2
    assert put.status is None, "reads were to be made while the write hangs"
    assert put.wait(timeout=BOUNDED) is not None
    assert "Error" in put.stderr.text
    # The session is lost; what is asked for now fails without waiting.
    complaint, seconds = timed(running.clients.caput, RECORD, 8)
    assert complaint and seconds < 4
    assert running.clients.caget(f"{RECORD}:RBV") == "321"


def test_crate_that_answers_late_is_waited_for(running):
    running.the_crate.hang()
    put = running.sandbox.start("writer", running.clients.command("pvput", RECORD, "7"))
    put.stdout.wait_for("^Old")
    running.the_crate.release()
    assert put.wait() == 0
    assert running.the_crate.get("VSet", 0, 0) == 7


def test_crate_killed_while_the_tree_is_built(site):
    """What cannot be read any more is tried for ever or left out, as it falls."""
    crate = site.crate()
    ioc = site.ioc("-D", "1")
    crate.wait(call="VEXAHV_GetChParamProp", count=500)
    crate.kill()
    ioc.stdout.wait_for(r"^Error (?!getting \[Enum\]|creating)")
    status, seconds = timed(ioc.stop)
    assert status == 0 and seconds < BOUNDED


def test_crate_killed_while_its_refusals_are_retried(site):
    crate = site.crate()
    crate.fault("fail", operation="VEXAHV_GetChParamProp", code=5, count=0, after=100)
    ioc = site.ioc("-D", "1")
    line = r"^Error fetching \[\d+:\d+:[^]]+\] properties$"
    ioc.stdout.wait_for(line)
    crate.kill()
    crate.process.wait()
    ioc.stdout.wait_for(line, len(ioc.stdout.text))
    status, seconds = timed(ioc.stop)
    assert status == 0 and seconds < BOUNDED


def test_crate_killed_while_a_boards_refusals_are_retried(site):
    crate = site.crate()
    crate.fault("fail", operation="VEXAHV_GetBdParamProp", code=5, count=0)
    ioc = site.ioc("-D", "1")
    line = r"^Error fetching \[\d+:[^]]+\] properties$"
    ioc.stdout.wait_for(line)
    crate.kill()
    ioc.stdout.wait_for(line, len(ioc.stdout.text))
    status, seconds = timed(ioc.stop, signal.SIGINT)
    assert status == 0 and seconds < BOUNDED


def test_crate_killed_between_the_subscriptions(site):
    crate = site.reduced_crate()
    ioc = site.ioc()
    crate.wait(call="VEXAHV_SubscribeChannelParams", count=2)
    crate.kill()
    ioc.wait_running()
    assert site.clients.caget(RECORD) == "0"
    status, seconds = timed(ioc.stop)
    assert status == 0 and seconds < BOUNDED


def test_crate_killed_while_the_server_ends(running):
    running.the_crate.hang()
    running.the_ioc.send(signal.SIGTERM)
    running.the_ioc.stdout.wait_for("^Shutting down crate$")
    running.the_crate.kill()
    assert running.the_ioc.wait(timeout=BOUNDED) == 0


def test_new_server_serves_the_crate_that_came_back(running):
    """A server does not log in again by itself; a new one does, beside the old or after it."""
    running.the_crate.kill()
    assert running.the_ioc.stop() == 0
    crate = running.reduced_crate()
    running.ioc().wait_running()
    crate.wait(eventConnections=1)
    crate.set("VSet", 55, 0, 0)
    running.clients.wait_for_value(f"{RECORD}:RBV", "55")


FAILING = {
    "commands": ("VEXAHV_GetExecCommList", ["ZC16:Kill"]),
    "properties": ("VEXAHV_GetSysPropList", ["ZC16:ModelName"]),
    "one_property": ("VEXAHV_GetSysPropInfo", ["ZC16:ModelName"]),
    "first_boards_parameters": ("VEXAHV_GetBdParamInfo", ["ZC16:00:HVMax"]),
    "first_channels_parameters": ("VEXAHV_GetChParamInfo", [RECORD]),
}


@pytest.mark.parametrize("part", FAILING)
def test_part_that_cannot_be_read_is_left_out_and_the_rest_served(site, part):
    operation, missing = FAILING[part]
    crate = site.reduced_crate()
    crate.fault("fail", operation=operation, code=5)
    site.ioc().wait_running()
    database = site.sandbox.read("/tmp/ZANTO.db")
    for name in missing:
        assert f'"{name}")' not in database
    assert '"ZC16:15:000:VSet")' in database
    assert site.clients.caget("ZC16:15:000:VSet") == "0"
    assert site.clients.caget("ZC16:SwRelease" if part != "properties" else "ZC16:00:HVMax")


def test_refused_subscription_leaves_values_from_the_start(site):
    crate = site.reduced_crate()
    crate.fault("fail", operation="VEXAHV_SubscribeBoardParams", code=5)
    ioc = site.ioc("-D", "1").wait_running()
    assert "Error subscribing board [0] parameters: [BdStatus][HVMax]" in ioc.stdout.text
    crate.wait(eventConnections=1)
    crate.set("HVMax", 1, 0)
    crate.set("HVMax", 2, 2)
    site.clients.wait_for_value("ZC16:02:HVMax", "2")
    assert site.clients.caget("ZC16:00:HVMax") == "3000"
