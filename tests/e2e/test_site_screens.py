"""The screens and the alarm tree of a site, against the server whose records they show."""

import re
from xml.etree import ElementTree

import pytest

from harness import detector, places

SCREENS = f"{detector.MADE}/screens"
SITE = """
site: Drift <chamber>
crates: [{name: ZC16, description: "Hall & platform"}]
access: {groups: {OPERATE: {fields: values}}}
defaults:
  access: {all: OPERATE}
  limits: {VMon: {high: [50, MINOR]}}
  guidance: Call & wait
channels:
  - {channels: 0:0-3, name: DC:S1:W##, description: "Wire ##"}
boards:
  - {slots: all, limits: {Temp: {high: 45}}}
"""


@pytest.fixture(scope="module", name="served")
def served_with_health(shared):
    assert shared.clients  # with the repeater that clients leave behind otherwise
    shared.the_crate = shared.reduced_crate()
    detector.make(shared.sandbox, SITE)
    shared.the_ioc = shared.ioc(script=places.start_script("st-site.cmd"),
                                env={"ZANTO_SITE": detector.MADE}).wait_running()
    return shared


def all_served(site, names):
    """The client says that there are others, but not which."""
    done = site.sandbox.run([places.client("caget"), "-w", "10", *names])
    missing = "not found" in done.stderr
    assert missing or done.returncode == 0, done.stderr
    return not missing


def screen(site, file):
    return ElementTree.parse(site.sandbox.path(f"{SCREENS}/{file}")).getroot()


def with_macros(text, macros):
    return re.sub(r"\$\((\w+)\)", lambda found: macros[found[1]], text)


def visit(site, file, macros, seen):
    """Adds what a click can lead to: by file and macros, the records shown."""
    key = (file, tuple(sorted(macros.items())))
    if key in seen:
        return
    root = screen(site, file)
    seen[key] = {with_macros(each.text, macros)
                 for tag in ("pv_name", "y_pv") for each in root.iter(tag)}
    for action in root.iter("action"):
        if action.get("type") == "open_display":
            passed = {each.tag: each.text for each in action.findall("macros/*")}
            visit(site, with_macros(action.findtext("file"), macros), passed, seen)


def test_every_record_on_a_screen_is_served(served):
    seen = {}
    visit(served, "index.bob", {}, seen)
    shown = set().union(*seen.values())
    assert {"DC:S1:W01:State", "ZC16:03:000:State", "ZC16:Health:Lost", "ZC16:ChannelsOn",
            "ZC16:02:Temp"} <= shown
    assert all_served(served, shown)


def test_every_alarm_is_served(served):
    tree = ElementTree.parse(served.sandbox.path(f"{detector.MADE}/alarms.xml")).getroot()
    names = [each.get("name") for each in tree.iter("pv")]
    assert {"DC:S1:W01:State", "DC:S1:W01:VMon", "ZC16:02:Temp", "ZC16:Health:Lost"} <= set(names)
    assert all_served(served, names)


def test_a_name_that_is_not_served_is_noticed(served):
    assert all_served(served, ["ZC16:ChannelsOn"])
    assert not all_served(served, ["ZC16:ChannelsOn", "ZC16:NoSuchRecord"])


def test_a_set_point_may_be_written_with_its_unit(served):
    """As a field shows it that is edited."""
    done = served.sandbox.run([places.client("caput"), "-w", "20", "-s", "DC:S1:W01:VSet",
                               "123.5 V"])
    assert done.returncode == 0, done.stderr
    served.clients.wait_for_value("DC:S1:W01:VSet:RBV", "123.5")
