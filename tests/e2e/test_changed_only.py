"""Events that process only the records that show what changed: an option for large crates."""

import re

import pytest

from harness import places
from harness.process import until

LARGE = places.start_script("st-large.cmd")
CHANGED, NEIGHBOUR = "ZC16:00:000:VSet:RBV", "ZC16:00:001:VSet:RBV"
SWITCH = "ZANTOScanChangedOnly"

ZANTO = (f'dbLoadDatabase("{places.top()}/dbd/ZANTO.dbd")\n'
         "ZANTO_registerRecordDeviceDriver(pdbbase)\n")
LOAD = f'dbLoadDatabase("{places.top()}/dbd/ZANTOextra.dbd")\n'
REGISTER = "ZANTOextra_registerRecordDeviceDriver(pdbbase)\n"
VAR = f"var {SWITCH} 1\n"
RUN = 'dbLoadRecords("/tmp/ZANTO.db")\niocInit()\n'


def served(site, shell=False, **more):
    """A crate in which nothing changes by itself, and its server."""
    site.the_crate = site.reduced_crate()
    site.the_crate.control("pause")
    site.the_ioc = site.ioc(shell=shell, **more).wait_running()
    site.the_crate.wait(eventConnections=1)
    return site


def stamp(site, name):
    done = site.sandbox.run(site.clients.command("caget", "-a", "-g", "9", "-F", "|", name))
    assert done.returncode == 0, done.stderr
    return done.stdout.split("|")[1]


def report(site, value):
    """Changes the set-point of channel 0 at the front panel; the crate reports it at once."""
    site.the_crate.set("VSet", value, 0, 0)
    site.the_crate.control("step", seconds=1e-6)


def time_stamp_stays(site, value):
    """Whether the record of the other channel keeps its time stamp when this one's changes; the
    requests of that event have been worked off when those of a second one are."""
    before = stamp(site, NEIGHBOUR)
    monitor = site.clients.camonitor(CHANGED)
    for step in (value, value + 1):
        mark = monitor.mark()
        report(site, step)
        monitor.wait_for(CHANGED, str(step), mark)
    monitor.close()
    return stamp(site, NEIGHBOUR) == before


def time_stamp_moves(site, value):
    """Whether it gets another one sooner or later."""
    before = stamp(site, NEIGHBOUR)
    report(site, value)
    until(lambda: stamp(site, NEIGHBOUR) != before, "the other channel's record processes")
    return True


# ---- what it does

def test_only_the_changed_record_processes(site):
    served(site, script=LARGE)
    # Once the start has had every record processed.
    until(lambda: time_stamp_stays(site, 10), "the other record stands still")
    assert time_stamp_stays(site, 20)
    assert time_stamp_stays(site, 30)


def test_without_it_all_records_of_the_type_process(site):
    served(site)
    assert time_stamp_moves(site, 10)
    assert SWITCH not in site.the_ioc.stdout.text + site.the_ioc.stderr.text


def test_the_set_point_follows_and_is_not_written(site):
    served(site, script=LARGE)
    sync = site.clients.camonitor("ZC16:00:000:VSet:Sync")
    report(site, 30)
    sync.wait_for("ZC16:00:000:VSet:Sync", "30")
    assert site.clients.caget("ZC16:00:000:VSet") == "30"
    assert site.the_crate.sets() == []
    readback = site.clients.camonitor(CHANGED)
    assert site.clients.caput("ZC16:00:000:VSet", 40) == ""
    site.the_crate.control("step", seconds=1e-6)
    readback.wait_for(CHANGED, "40")
    assert len(site.the_crate.sets()) == 1


def test_every_kind_of_item_reaches_monitors(site):
    served(site, script=LARGE)
    items = {"ZC16:00:002:POn:RBV": ("POn", 1, 0, 2),
             "ZC16:00:002:Inputs": ("Inputs", 40961, 0, 2),
             "ZC16:00:002:Comment:RBV": ("Comment", "kept", 0, 2),
             "ZC16:02:Temp": ("Temp", 41.5, 2),
             "ZC16:Location:RBV": ("Location", "Hall")}
    monitor = site.clients.camonitor(*items)
    for item in items.values():
        site.the_crate.set(*item)
    site.the_crate.control("step", seconds=1e-6)
    for name, (_, value, *_) in items.items():
        monitor.wait_for(name, re.escape(str(value)))


def test_it_is_switched_in_the_shell(site):
    served(site, script=LARGE, shell=True)
    ioc = site.the_ioc
    for value, on in ((10, 0), (20, 1), (30, 0)):
        ioc.command(f"var {SWITCH} {on}")
        ioc.command(f"var {SWITCH}")
        ioc.stdout.wait_for(rf"^{SWITCH} = {on}$(?!(.|\n)*{SWITCH} =)")
        if on:
            # What the last event asked for may still be under way.
            until(lambda value=value: time_stamp_stays(site, value),
                  "the other record stands still")
        else:
            assert time_stamp_moves(site, value)


def test_a_record_whose_priority_changes_goes_on(site):
    served(site, script=LARGE)
    monitor = site.clients.camonitor(CHANGED)
    for value, priority in ((10, "HIGH"), (20, "MEDIUM"), (30, "LOW")):
        assert site.clients.caput(f"{CHANGED}.PRIO", priority) == ""
        report(site, value)
        monitor.wait_for(CHANGED, str(value))


# ---- the order of the commands

SCRIPTS = {
    "nothing_of_it": (ZANTO + RUN, None),
    "variable_before_its_declaration": (VAR + ZANTO + LOAD + REGISTER + RUN, "not found"),
    "variable_without_registration": (ZANTO + LOAD + VAR + RUN, "not found"),
    "registration_before_any_definition": (REGISTER + ZANTO + LOAD + VAR + RUN,
                                           "pdbbase not present"),
    "definition_before_the_servers": (LOAD + REGISTER + ZANTO + VAR + RUN, None),
    "twice": (ZANTO + LOAD + REGISTER + LOAD + REGISTER + VAR + RUN,
              "Warning: Registration already done."),
    "after_the_start": (ZANTO + RUN + LOAD + REGISTER + VAR, None),
}


@pytest.mark.parametrize("order", SCRIPTS)
def test_in_any_order_the_records_are_served(site, order):
    script, complaint = SCRIPTS[order]
    site.sandbox.path("/tmp/st.cmd").write_text(script + "echo end-of-script\n")
    served(site, script="/tmp/st.cmd")
    said = site.the_ioc.stdout.wait_for(r"^end-of-script$") and (
        site.the_ioc.stdout.text + site.the_ioc.stderr.text)
    if complaint:
        assert complaint in said
    else:
        assert "not found" not in said and "Warning" not in said and "rror" not in said, said
    monitor = site.clients.camonitor(CHANGED)
    report(site, 10)
    monitor.wait_for(CHANGED, "10")
