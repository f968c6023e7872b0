"""A site file's records behind a server: names, limits, rights, states."""

import re

import pytest

from harness import detector, places
from harness.process import until

WIRE = "DC:S1:W01"  # channel 1 of slot 0
CHANNEL = "ZC16:00:001"

SITE = """
site: Drift chamber
crates: [{name: ZC16}]
access:
  users: {shift: [root], nobody: [somebody-else]}
  groups:
    OPERATE: {users: [shift]}
    EXPERT: {users: [nobody]}
    ALL: {users: [shift], fields: all}
defaults:
  access: {all: OPERATE, SVMax: EXPERT, RUp: ALL}
channels:
  - channels: 0:0-3
    name: DC:S1:W##
    description: "Wire ##"
    limits: {VMon: {high: [50, MINOR], hihi: [400, MAJOR]}}
    drive: {VSet: [0, 450]}
    states: {ramping-up: MINOR}
    archive: {VMon: monitor 1}
"""


@pytest.fixture(scope="module", name="served")
def served_by_one(shared):
    shared.the_crate = shared.reduced_crate()
    shared.the_crate.control("pause")
    detector.make(shared.sandbox, SITE)
    shared.the_ioc = shared.ioc(script=detector.script(shared.sandbox)).wait_running()
    shared.the_crate.wait(eventConnections=1)
    return shared


def severity(site, name):
    return site.clients.caget(f"{name}.SEVR")


def test_what_is_loaded_is_accepted_without_a_complaint(served):
    assert not re.findall("(?i)error|warning|fail|can't", served.the_ioc.stderr.text)


def test_a_channel_is_read_and_written_by_its_name_at_the_detector(served):
    assert served.clients.caput(f"{WIRE}:VSet", 123) == ""
    served.clients.wait_for_value(f"{WIRE}:VSet:RBV", "123")
    assert served.the_crate.get("VSet", 0, 1) == 123
    assert served.clients.caget(f"{CHANNEL}:VSet") == "123"
    assert served.clients.caget(f"{WIRE}:VMon.DESC") == "Wire 01 VMon"
    assert served.clients.pvget(f"{WIRE}:VSet") == "123"


def test_a_read_back_is_shown_as_its_set_point(served):
    for field in ("EGU", "PREC", "HOPR", "LOPR"):
        wanted = served.clients.caget(f"{CHANNEL}:VSet.{field}")
        assert served.clients.caget(f"{CHANNEL}:VSet:RBV.{field}") == wanted
    assert served.clients.caget(f"{CHANNEL}:VSet:RBV.EGU") == "Volt"
    assert served.clients.caget(f"{CHANNEL}:Pw:RBV") == "Off"


def test_the_servers_files_give_the_same_records_as_the_crates_description(served):
    done = detector.zantosite(served.sandbox, "make", detector.SITE, "--pvlist",
                              "/tmp/pvlist.txt", "--out", "/tmp/from-list")
    assert (done.returncode, done.stderr) == (0, "")
    assert records(served, "/tmp/from-list") == records(served, detector.MADE)


def records(site, folder):
    """In any order: the server lists a crate's properties in another one than the description."""
    text = site.sandbox.read(f"{folder}/site.db")
    return sorted(re.findall(r"^record\(.*?^}\n", text, re.DOTALL | re.MULTILINE))


def test_drive_limits_keep_a_set_point_in_its_range(served):
    served.clients.caput(f"{WIRE}:VSet", 1000)
    served.clients.wait_for_value(f"{WIRE}:VSet:RBV", "450")
    assert served.the_crate.get("VSet", 0, 1) == 450


@pytest.mark.parametrize("put", ["caput", "pvput"])
def test_a_put_without_the_right_is_refused_and_changes_nothing(served, put):
    before = served.the_crate.get("SVMax", 0, 2)
    for name in ("DC:S1:W02:SVMax", "ZC16:00:002:SVMax"):
        assert getattr(served.clients, put)(name, 17) != ""
        assert served.clients.caget(name) == str(before).removesuffix(".0")
    assert served.the_crate.get("SVMax", 0, 2) == before


@pytest.mark.parametrize("name", [
    "ZC16:02:Temp.HIHI",  # of a group that has no right
    "DC:S1:W02:VSet.DRVH",  # a right to values alone
    "DC:S1:W02:State.PROC",
    "ZC16:00:002:VSet:Sync",
    "ZC16:00:002:VSet:RBV",
    "ZC16:03:000:SVMax",  # no name in the site file, but the defaults hold
])
def test_what_no_group_gives_can_be_written_by_nobody(served, name):
    before = served.clients.caget(name)
    assert served.clients.caput(name, 17) != ""
    assert served.clients.caget(name) == before


def test_a_group_may_be_given_all_fields(served):
    assert served.clients.caput("DC:S1:W02:RUp.DRVH", 20) == ""
    assert served.clients.caget("DC:S1:W02:RUp.DRVH") == "20"
    assert served.clients.caput("DC:S1:W02:RUp.DRVH", 0) == ""


def shown(site, name, text):
    """Until the record has that text."""
    until(lambda: site.clients.caget(name) == text, f"{name} is {text}")


def test_alarm_limits_act_with_their_severities(served):
    crate, voltage = served.the_crate, "DC:S1:W00:VMon"
    monitor = served.clients.camonitor(voltage)
    crate.set("VSet", 60, 0, 0)
    crate.set("Pw", 1, 0, 0)
    step(served, 100)
    monitor.wait_for(voltage, "60 +HIGH +MINOR")
    assert severity(served, "ZC16:00:000:VMon") == "MINOR"
    crate.set("VSet", 410, 0, 0)
    step(served, 100)
    monitor.wait_for(voltage, "410 +HIHI +MAJOR")
    crate.set("Pw", 0, 0, 0)
    step(served, 200)
    shown(served, f"{voltage}.SEVR", "NO_ALARM")


def step(site, seconds):
    site.the_crate.control("step", seconds=seconds)


def test_state_through_ramp_trip_and_clear(served):
    crate, state = served.the_crate, "DC:S1:W03:State"
    monitor = served.clients.camonitor(state)
    assert served.clients.caget(state) == "Off"
    mark = monitor.mark()
    crate.set("VSet", 100, 0, 3)
    crate.set("Pw", 1, 0, 3)
    step(served, 0.1)
    monitor.wait_for(state, "2 +STATE +MINOR", mark)
    shown(served, "ZC16:00:ChannelsRamping", "1")
    shown(served, "ZC16:ChannelsOn", "1")
    shown(served, "ZC16:WorstSeverity", "MINOR")
    step(served, 100)
    monitor.wait_for(state, "1", mark)
    shown(served, "ZC16:00:ChannelsRamping", "0")
    crate.control("trip", slot=0, channel=3)
    step(served, 0.1)
    monitor.wait_for(state, "7 +STATE +MAJOR", mark)
    shown(served, "ZC16:00:ChannelsTripped", "1")
    shown(served, "ZC16:00:WorstSeverity", "MAJOR")
    assert severity(served, "ZC16:WorstSeverity") == "MAJOR"
    shown(served, "ZC16:02:ChannelsTripped", "0")
    shown(served, "ZC16:02:WorstSeverity", "NO_ALARM")
    step(served, 100)
    crate.set("ClrTrip", 1, 0, 3)
    step(served, 0.1)
    monitor.wait_for(state, "0", mark)
    shown(served, "ZC16:ChannelsTripped", "0")
    shown(served, "ZC16:WorstSeverity", "NO_ALARM")


def test_a_first_site_file_is_made_and_served_as_it_is(site):
    """As somebody does it who has a server and no site file yet."""
    site.the_crate = site.reduced_crate()
    ioc = site.ioc().wait_running()
    done = detector.zantosite(site.sandbox, "new", "--pvlist", "/tmp/pvlist.txt")
    assert (done.returncode, done.stderr) == (0, "")
    site.sandbox.path(detector.SITE).write_text(done.stdout, encoding="utf-8")
    for command in (["check"], ["make", "--out", detector.MADE]):
        done = detector.zantosite(site.sandbox, *command, detector.SITE,
                                  "--pvlist", "/tmp/pvlist.txt")
        assert (done.returncode, done.stderr) == (0, "")
    assert ioc.stop() == 0
    ioc = site.ioc(script=places.start_script("st-site.cmd"),
                   env={"ZANTO_SITE": detector.MADE}).wait_running()
    site.the_crate.wait(eventConnections=1)
    assert "rror" not in ioc.stderr.text
    shown(site, "ZC16:00:000:State", "Off")
    shown(site, "ZC16:Health:Lost", "Connected")


STALE = """
site: Drift chamber
stale: INVALID
crates: [{name: ZC16}]
channels:
  - {channels: 0:0-3, name: DC:S1:W##}
"""
READ_BACKS = [f"{WIRE}:VMon", f"{WIRE}:VSet:RBV", f"{WIRE}:State", "ZC16:00:WorstSeverity",
              "ZC16:ChannelsOn", "ZC16:02:Temp", "ZC16:ModelName"]


def test_read_backs_and_states_are_invalid_while_the_connection_is_lost(site):
    site.the_crate = site.reduced_crate()
    site.the_crate.control("pause")
    detector.make(site.sandbox, STALE)
    ioc = site.ioc(script=places.start_script("st-site.cmd"),
                   env={"ZANTO_SITE": detector.MADE}).wait_running()
    site.the_crate.wait(eventConnections=1)
    assert "rror" not in ioc.stderr.text
    for name in READ_BACKS:
        shown(site, f"{name}.SEVR", "NO_ALARM")
    monitor = site.clients.camonitor(*READ_BACKS)
    with detector.lost(site):
        for name in READ_BACKS:
            monitor.wait_for(name, ".*INVALID")
        shown(site, "ZC16:WorstSeverity", "INVALID")
        mark = monitor.mark()
    for name in READ_BACKS:
        monitor.wait_for(name, "(?!.*INVALID).*", mark)
        shown(site, f"{name}.SEVR", "NO_ALARM")
    # What changes after that is seen as ever.
    site.the_crate.control("trip", slot=0, channel=1)
    site.the_crate.control("step", seconds=0.1)
    shown(site, f"{WIRE}:State", "Tripped")
    shown(site, "ZC16:ChannelsTripped", "1")
