"""Records of the server's own health, and read-backs that tell when they are stale."""

import contextlib
import glob
import re
import signal
import time
from pathlib import Path

import pytest

from harness import places
from harness.detector import lost
from harness.process import until

SITE = "/tmp/site"
SCRIPT = places.start_script("st-site.cmd")

RULES = """ASG(DEFAULT) { RULE(1, READ) RULE(1, WRITE) }
ASG(CLOSED) { RULE(1, READ) }
"""
STALE = """record({}, "{}") {{
    field(SDIS, {{state:"ZANTO:EventsLost"}})
    field(DISV, "1")
    field(DISS, "INVALID")
}}
"""
# The slots and channels of the reduced crate, and their read-backs by type.
CHANNELS = [(slot, channel) for slot, count in {0: 4, 2: 4, 3: 1}.items()
            for channel in range(count)]
LINKED = {"VSet:RBV": "ai", "VMon": "ai", "Status": "ai", "Pw:RBV": "bi", "Inputs": "mbbiDirect",
          "Comment:RBV": "stringin"}

LOST = "ZC16:Health:Lost"
DEADLINE = 11  # seconds for an end, one of them for a busy machine
# As camonitor and caget -a show them.
LOST_VALUE = "1 +STATE +MAJOR"
STALE_VALUE = r".*DISABLE +INVALID"
GOOD_VALUE = r"(?!.*INVALID).*"


def record(slot, channel, item):
    return f"ZC16:{slot:02d}:{channel:03d}:{item}"


def records_of_the_site():
    return "".join(STALE.format(kind, record(*place, item))
                   for place in CHANNELS for item, kind in LINKED.items())


def started(site, database, script=SCRIPT):
    """A crate and its server, with records of the site."""
    site.the_crate = site.reduced_crate()
    site.sandbox.path(SITE).mkdir()
    site.sandbox.path(f"{SITE}/site.acf").write_text(RULES)
    site.sandbox.path(f"{SITE}/site.db").write_text(database)
    site.the_ioc = site.ioc(script=script, env={"ZANTO_SITE": SITE}).wait_running()
    site.the_crate.wait(eventConnections=1)
    site.said = site.the_ioc.stdout.text + site.the_ioc.stderr.text
    return site


@pytest.fixture(scope="module", name="served")
def _served(shared):
    return started(shared, records_of_the_site() +
                   'record(ai, "ZC16:00:003:VMon") { alias("HALL:VMon") field(ASG, "CLOSED") }\n')


def shown(site, figure):
    return float(site.clients.caget(f"ZC16:Health:{figure}", "-n"))


def severity(site, name):
    return site.clients.caget(f"{name}.SEVR")


# ---- the script

def test_the_script_loads_all_without_a_complaint(served):
    assert not re.search("rror|arning|not found|failed", served.said), served.said
    assert served.clients.caget("HALL:VMon.NAME") == record(0, 3, "VMon")
    assert served.clients.caput(record(0, 3, "VMon.DESC"), "x") != ""


# ---- the connection

def test_lost_and_back(served):
    names = [record(2, 1, item) for item in LINKED]
    health = served.clients.camonitor(LOST)
    read_backs = served.clients.camonitor(*names)
    with lost(served):
        health.wait_for(LOST, LOST_VALUE)
        assert served.clients.caget(LOST) == "Lost"
        for name in names:
            read_backs.wait_for(name, STALE_VALUE)
            assert severity(served, name) == "INVALID"
        mark = {monitor: monitor.mark() for monitor in (health, read_backs)}
    health.wait_for(LOST, "0", mark[health])
    assert served.clients.caget(LOST) == "Connected"
    for name in names:
        read_backs.wait_for(name, GOOD_VALUE, mark[read_backs])
        until(lambda name=name: severity(served, name) == "NO_ALARM", f"{name} is good")


def severities(site, names):
    done = site.sandbox.run(site.clients.command("caget", "-t", *(f"{n}.SEVR" for n in names)))
    return set(done.stdout.split())


def all_are_stale_and_good_again(site):
    names = [record(*place, item) for place in CHANNELS for item in LINKED]
    with lost(site):
        until(lambda: severities(site, names) == {"INVALID"}, "all are stale")
    until(lambda: severities(site, names) == {"NO_ALARM"}, "all are good")


def test_every_read_back_is_stale_and_good_again(served):
    all_are_stale_and_good_again(served)


def test_records_without_a_link_are_served_as_before(served):
    name = "ZC16:Location:RBV"
    monitor = served.clients.camonitor(name)
    with lost(served):
        served.clients.wait_for_value(LOST, LOST_VALUE)
        assert severity(served, name) == "NO_ALARM"
    assert "INVALID" not in monitor.process.stdout.text


def test_quick_drops_end_connected(served):
    crate = served.the_crate
    for _ in range(5):
        crate.fault("drop-events")
        crate.wait(eventConnections=1)
    served.clients.wait_for_value(LOST, "0")
    names = [record(2, 2, item) for item in LINKED]
    until(lambda: severities(served, names) == {"NO_ALARM"}, "all are good")


def test_a_change_meanwhile_is_shown_when_it_is_back(served):
    name = record(2, 3, "VSet:RBV")
    monitor = served.clients.camonitor(name)
    with lost(served):
        monitor.wait_for(name, STALE_VALUE)
        served.the_crate.process.send(signal.SIGCONT)
        served.the_crate.set("VSet", 71, 2, 3)
    monitor.wait_for(name, "71")


# ---- a write that hangs

@contextlib.contextmanager
def write_under_way(site, channel, kind, **fields):
    """A set-point of slot 0 is written for a scope: a client's put whose call the fault strikes."""
    before = site.the_crate.faults_applied().get(kind, 0)
    site.the_crate.fault(kind, operation="any", **fields)
    put = site.sandbox.start("caput", site.clients.command("caput", record(0, channel, "VSet"), "6"))
    try:
        until(lambda: site.the_crate.faults_applied().get(kind, 0) > before, "the write")
        yield put
    finally:
        site.the_crate.control("clear-faults")
        put.wait()


# In a sandbox of its own: a write that hangs for long costs the session.
def test_a_write_that_hangs_leaves_others_alone(site):
    started(site, records_of_the_site())
    clients = site.clients
    name = record(2, 0, "Pw:RBV")
    others = [record(*place, item) for place in CHANNELS[1:] for item in LINKED]
    monitor = clients.camonitor(name)
    with write_under_way(site, 0, "hang", count=0) as put:
        # A link to a record would have tied all these to the one whose write hangs.
        assert severities(site, others) == {"NO_ALARM"}
        with lost(site):
            clients.wait_for_value(LOST, LOST_VALUE)
            monitor.wait_for(name, STALE_VALUE)
            assert put.status is None, "it hangs no longer"
            mark = monitor.mark()
        monitor.wait_for(name, GOOD_VALUE, mark)
    until(lambda: severities(site, [*others, record(0, 0, "VSet:RBV")]) == {"NO_ALARM"},
          "all are good")


def test_it_ends_in_order_while_a_write_hangs(site):
    started(site, records_of_the_site())
    with write_under_way(site, 0, "hang", count=0):
        begin = time.monotonic()
        assert site.the_ioc.stop() == 0
        assert time.monotonic() - begin < DEADLINE


# ---- figures

def grows(site, figure, cause):
    before = shown(site, figure)
    cause()
    until(lambda: shown(site, figure) > before, f"{figure} grows")


def test_events_and_rates(served):
    storm = {"rate": 200, "seconds": 4, "mix": {"numeric": 1}}
    grows(served, "Events", lambda: served.the_crate.control("storm", **storm))
    until(lambda: shown(served, "EventRate") > 100 and shown(served, "BatchRate") > 50, "rates")
    assert shown(served, "LastDelivery") <= 1
    assert shown(served, "Batches") > 0


def test_time_since_the_last_delivery(served):
    with lost(served):
        until(lambda: shown(served, "LastDelivery") >= 2, "time passes")
        assert shown(served, "EventRate") == 0
    until(lambda: shown(served, "LastDelivery") < 2, "a delivery")


def test_failed_calls(served):
    def fail():
        served.the_crate.fault("fail", operation="VEXAHV_SetChParam", code=9)
        assert served.clients.caput(record(0, 1, "VSet"), 5) != ""

    assert shown(served, "FailedCalls") == 0
    grows(served, "FailedCalls", fail)


def test_values_that_come_during_a_write_are_counted(served):
    def change_during_a_write():
        with write_under_way(served, 2, "delay", milliseconds=1000):
            served.the_crate.set("VSet", 77, 0, 2)

    grows(served, "HeldValues", change_during_a_write)


# The figure is up to a second old: read once, it may lack what an earlier test left connected.
def test_clients_are_counted(served):
    figure = "ZC16:Health:Clients"
    shows = served.clients.camonitor(figure)
    others = served.sandbox.running("camonitor")
    shows.wait_for(figure, others)
    mark = shows.mark()
    monitors = [served.clients.camonitor(LOST) for _ in range(3)]
    shows.wait_for(figure, others + 3, mark)
    mark = shows.mark()
    for monitor in monitors:
        monitor.close()
    shows.wait_for(figure, others, mark)


def test_scan_requests_are_counted(served):
    grows(served, "ScansDeferred", lambda: served.the_crate.control(
        "storm", rate=20000, seconds=2, mix={"numeric": 1}))
    assert shown(served, "ScansRefused") == 0


def test_what_does_not_change(served):
    database = served.sandbox.read("/tmp/ZANTO.db") + (
        places.top() / "db/ZANTOhealth.db").read_text(encoding="utf-8")
    assert shown(served, "Records") == len(re.findall(r"^ *record\(", database, re.MULTILINE))
    start = served.clients.caget("ZC16:Health:StartTime")
    begin = time.mktime(time.strptime(start[:19], "%Y-%m-%dT%H:%M:%S"))
    assert 0 <= time.time() - begin < 600
    assert re.fullmatch(r"[+-]\d\d:\d\d", start[19:])


def test_units_and_descriptions(served):
    units = {"LastDelivery": "s", "EventRate": "1/s", "BatchRate": "1/s", "Events": "events",
             "Clients": "clients"}
    for figure, unit in units.items():
        assert served.clients.caget(f"ZC16:Health:{figure}.EGU") == unit
        assert served.clients.caget(f"ZC16:Health:{figure}.DESC") != ""


def test_live_insertion(served):
    inserted = "ZC16:Health:Inserted"
    monitor = served.clients.camonitor(inserted)
    assert severity(served, inserted) == "NO_ALARM"
    served.the_crate.control("remove", slot=3)
    served.the_crate.control("insert", slot=3)
    monitor.wait_for(inserted, "1 +STATE +MINOR")


# ---- variants

def test_where_only_changed_records_are_scanned_all_are_stale_and_good_again(site):
    text = Path(SCRIPT).read_text(encoding="utf-8")
    assert "\n#var ZANTOScanChangedOnly 1\n" in text
    site.sandbox.path("/tmp/st.cmd").write_text(text.replace("#var ", "var "))
    all_are_stale_and_good_again(started(site, records_of_the_site(), "/tmp/st.cmd"))


def test_the_state_is_kept_without_records_of_the_health(site):
    text = Path(SCRIPT).read_text(encoding="utf-8")
    without = re.sub(r"^dbLoadRecords.*ZANTOhealth.*\n", "", text, flags=re.MULTILINE)
    assert without != text
    site.sandbox.path("/tmp/st.cmd").write_text(without)
    started(site, records_of_the_site(), "/tmp/st.cmd")
    name = record(2, 1, "VSet:RBV")
    monitor = site.clients.camonitor(name)
    site.the_crate.fault("drop-events")
    monitor.wait_for(name, STALE_VALUE)
    until(lambda: severity(site, name) == "NO_ALARM", "it is good again")


def threads(ioc):
    return {Path(path).read_text(encoding="ascii").strip()
            for path in glob.glob(f"/proc/{ioc.pid}/task/*/comm")}


def test_a_server_without_any_of_it_has_no_thread_for_it(site, served):
    assert "ZANTOHealth" in threads(served.the_ioc)
    ioc = started(site, "", places.start_script("st-large.cmd")).the_ioc
    assert "ZANTOHealth" not in threads(ioc)
    assert not site.clients.exists(LOST)
