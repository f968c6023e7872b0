"""What the server does on every EPICS base, over Channel Access alone: tools/check-bases runs this
file with the programs and clients of older bases too."""

import pytest

from harness import detector, places
from harness.shutdown import BY_SIGTERM, ends, logged_out_once, printed, running
from harness.process import until

STORM = {"numeric": 6, "status": 1, "on-off": 1, "integer": 1, "text": 1, "property": 1}
# What a base says that is asked for more scans than its callback queue takes,
QUEUE_FULL = "ring buffer full"
# which has room for 2000: a small one shows sooner what piles up.
SMALL_QUEUE = 60

EXTERNAL_TRIP = "64" # bit of the status


def record(channel, item):
    return f"ZC16:00:{channel:03d}:{item}"


# Item, what is put, and what crate and read-back show then.
SET_POINTS = {
    "numeric": ("VSet", "123.5", 123.5, r"123\.5"),
    "on_off": ("POn", "Enabled", 1, "1"),
    "bits": ("TripExt", "32769", 32769, "32769"),
}


@pytest.mark.parametrize("kind", SET_POINTS)
def test_set_point_and_read_back(live, kind):
    item, value, at_crate, shown = SET_POINTS[kind]
    monitor = live.clients.camonitor(record(1, f"{item}:RBV"))
    assert live.clients.caput(record(1, item), value) == ""
    assert live.the_crate.get(item, 0, 1) == at_crate
    monitor.wait_for(record(1, f"{item}:RBV"), shown)
    assert live.clients.caget(record(1, item), "-n") == value.replace("Enabled", "1")


def test_bits_follow_value_and_value_follows_bits(live):
    name = record(5, "TripExt")
    assert live.clients.caput(name, 5) == ""
    assert live.clients.caput(f"{name}.B1", 1) == ""
    assert live.the_crate.get("TripExt", 0, 5) == 7
    # What changed at the crate is in the set-point when the next bit is put.
    monitor = live.clients.camonitor(f"{name}:Sync")
    live.the_crate.set("TripExt", 256, 0, 5)
    monitor.wait_for(f"{name}:Sync", "256")
    assert live.clients.caput(f"{name}.B0", 1) == ""
    assert live.the_crate.get("TripExt", 0, 5) == 257


@pytest.mark.parametrize("kind", ["numeric", "bits"])
def test_set_point_after_one_that_failed(live, kind):
    item, value, at_crate, _ = SET_POINTS[kind]
    live.the_crate.fault("fail", operation="VEXAHV_SetChParam", code=9)
    assert live.clients.caput(record(6, item), value) != ""
    assert live.the_crate.get(item, 0, 6) != at_crate
    assert live.clients.caput(record(6, item), value) == ""
    assert live.the_crate.get(item, 0, 6) == at_crate


CHANGES = {
    "numeric": ("VSet", 250.5, "VSet:RBV", r"250\.5"),
    "on_off": ("POn", 1, "POn:RBV", "1"),
    "bits": ("Inputs", 40961, "Inputs", "40961"),
    "text": ("Comment", "kept dry", "Comment:RBV", "kept dry"),
}


@pytest.mark.parametrize("kind", CHANGES)
def test_event(live, kind):
    item, value, name, shown = CHANGES[kind]
    monitor = live.clients.camonitor(record(2, name))
    live.the_crate.set(item, value, 0, 2)
    monitor.wait_for(record(2, name), shown)


def test_trip(live):
    status, power = record(3, "Status"), record(3, "Pw:RBV")
    monitor = live.clients.camonitor(status, power)
    assert live.clients.caput(record(3, "VSet"), 10) == ""
    assert live.clients.caput(record(3, "Pw"), "On") == ""
    monitor.wait_for(power, "1")
    mark = monitor.mark()
    live.the_crate.control("trip", slot=0, channel=3, external=True)
    monitor.wait_for(power, "0", mark)
    monitor.wait_for(status, EXTERNAL_TRIP, mark)
    cause = live.the_crate.get("LastTrip", 0, 3)
    until(lambda: live.clients.caget(record(3, "LastTrip")) == cause != "", "the cause")


# ---- scans

@pytest.fixture(name="small")
def _small(site):
    """A server with small callback queues, its crate and a client that watches it."""
    site.sandbox.path("/tmp/small.cmd").write_text(
        f"callbackSetQueueSize({SMALL_QUEUE})\n< {places.start_script()}\n", encoding="utf-8")
    site.the_crate = site.crate()
    site.the_ioc = site.ioc(script="/tmp/small.cmd").wait_running()
    site.the_crate.wait(eventConnections=1)
    return site


def storms(site):
    return site.the_crate.statistics()["storm"]["running"]


def shows_the_truth(site):
    """The last of what the storm told, and what changes behind it, with no scan refused."""
    site.the_crate.set("RUp", 33, 0, 4)
    for item, name in (("VMon", "VMon"), ("Comment", "Comment:RBV"), ("RUp", "RUp:RBV")):
        wanted = str(site.the_crate.get(item, 0, 4))
        until(lambda name=name, wanted=wanted:
              site.clients.caget(record(4, name)) in (wanted, wanted.removesuffix(".0")),
              f"{name} is {wanted}")
    site.the_ioc.stop()
    said = site.the_ioc.stdout.to_end() + site.the_ioc.stderr.to_end()
    assert QUEUE_FULL not in said, said[-4000:]


def test_storm_does_not_fill_the_callback_queue(small):
    small.the_crate.control("storm", rate=20000, seconds=3, mix=STORM)
    assert storms(small)
    until(lambda: not storms(small), "the end of the storm")
    assert small.the_crate.statistics()["storm"]["sent"] > 1000
    shows_the_truth(small)


def test_storm_behind_a_write_that_hangs_does_not_fill_it_either(small):
    assert small.clients.caput(record(4, "VSet"), 5) == ""
    small.the_crate.hang()
    put = small.sandbox.start("caput", [*small.clients.command("caput", record(4, "VSet"), "6")])
    put.stdout.wait_for("^Old")
    small.the_crate.control("storm", rate=1000, seconds=4, mix=STORM)
    until(lambda: not storms(small), "the end of the storm")
    small.the_crate.release()
    assert put.wait() == 0
    shows_the_truth(small)


# ---- health

# What a read-back's SDIS asks: from base 7 on a state, which leaves its lock set alone.
LOST = '{state:"ZANTO:EventsLost"}' if places.has_pvaccess() else '"ZC16:Health:Lost"'


def test_read_back_is_stale_while_the_event_connection_is_lost(site):
    site.sandbox.path("/tmp/site.acf").write_text("ASG(DEFAULT) { RULE(1, WRITE) }\n")
    site.sandbox.path("/tmp/site.db").write_text(
        f'record(ai, "{record(1, "VMon")}") {{ field(SDIS, {LOST}) field(DISS, "INVALID") }}\n')
    crate = site.reduced_crate()
    site.ioc(script=places.start_script("st-site.cmd"), env={"ZANTO_SITE": "/tmp"}).wait_running()
    monitor = site.clients.camonitor("ZC16:Health:Lost", record(1, "VMon"))
    monitor.wait_for("ZC16:Health:Lost", "0")
    mark = monitor.mark()
    crate.fault("drop-events")
    monitor.wait_for("ZC16:Health:Lost", "1 +STATE +MAJOR", mark)
    monitor.wait_for(record(1, "VMon"), ".* DISABLE +INVALID", mark)
    until(lambda: site.clients.caget("ZC16:Health:Lost") == "Connected", "it is back")
    until(lambda: site.clients.caget(record(1, "VMon.SEVR")) == "NO_ALARM", "it is good again")
    assert float(site.clients.caget("ZC16:Health:Events")) > 0
    assert site.clients.caget("ZC16:Health:StartTime").startswith("20")


# ---- the end

def test_orderly_end(site):
    crate, ioc = running(site, "-D", "2")
    ends(ioc)
    logged_out_once(crate)
    assert printed(ioc, ioc.mark) == BY_SIGTERM


SITE = """
site: Chamber
crates: [{name: ZC16}]
access: {groups: {OPERATE: {fields: values}}}
channels:
  - {channels: 0:0-3, name: "W##", limits: {VMon: {high: 50}}, drive: {VSet: [0, 450]},
     access: {VSet: OPERATE}}
"""


def test_a_sites_names_limits_rights_and_states(site):
    site.the_crate = site.reduced_crate()
    site.the_crate.control("pause")
    detector.make(site.sandbox, SITE, "--older-base")
    ioc = site.ioc(script=detector.script(site.sandbox)).wait_running()
    site.the_crate.wait(eventConnections=1)
    assert "rror" not in ioc.stderr.text
    assert site.clients.caput("W01:VSet", 1000) == ""
    until(lambda: site.the_crate.get("VSet", 0, 1) == 450, "the drive limit is set")
    # Not every base's client says that it was refused.
    before = site.the_crate.get("SVMax", 0, 1)
    site.clients.caput("W01:SVMax", 100)
    assert site.the_crate.get("SVMax", 0, 1) == before != 100
    site.the_crate.set("Pw", 1, 0, 1)
    site.the_crate.control("step", seconds=100)
    until(lambda: site.clients.caget("W01:State") == "On", "the channel is on")
    until(lambda: site.clients.caget("ZC16:ChannelsOn") == "1", "it is counted")
    assert site.clients.caget("W01:VMon.SEVR") == "MINOR"
    site.the_crate.control("trip", slot=0, channel=1)
    site.the_crate.control("step", seconds=0.1)
    until(lambda: site.clients.caget("ZC16:00:WorstSeverity") == "MAJOR", "the trip is known")
