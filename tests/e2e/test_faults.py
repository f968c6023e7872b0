"""Faults that the crate is asked for: the server neither crashes nor hangs, goes on serving, and
its records hold what the control port says."""

import re

import pytest

from harness.process import until

# A call of the access library is bounded at 5 s; what follows it needs some more.
BOUNDED = 15


def shows_crate_values(site, crate, slot=0, channel=2, value=41):
    """A change and some values from the start, in the records and at the crate."""
    record = f"ZC16:{slot:02d}:{channel:03d}:VSet:RBV"
    crate.set("VSet", value, slot, channel)
    site.clients.wait_for_value(record, str(value))
    assert site.clients.caget("ZC16:02:HVMax") == f"{crate.get('HVMax', 2):g}"


@pytest.fixture(name="running", scope="module")
def _running(make_shared_site):
    """A server that runs, for faults after which all goes on."""
    site = make_shared_site()
    site.the_crate = site.crate()
    site.the_ioc = site.ioc("-D", "1").wait_running()
    site.the_crate.wait(eventConnections=1)
    return site


def applied(crate, kind):
    return crate.faults_applied().get(kind, 0)


# ---- the event connection

STREAM = {
    "drop": ("drop-events", {}),
    "drop_within_a_header": ("drop-events", {"offset": 5}),
    "drop_within_a_batch": ("drop-events", {"offset": 23}),
    "reset": ("reset-events", {}),
    "reset_within_a_batch": ("reset-events", {"offset": 23}),
    "half_close": ("half-close-events", {}),
    "half_close_within_a_batch": ("half-close-events", {"offset": 23}),
    "garbage": ("garbage-events", {}),
    "much_garbage": ("garbage-events", {"bytes": 1 << 20}),
    "one_byte_of_garbage": ("garbage-events", {"bytes": 1}),
}


@pytest.mark.parametrize("fault", STREAM)
def test_event_connection_is_made_again(running, fault):
    kind, fields = STREAM[fault]
    crate = running.the_crate
    before = applied(crate, kind)
    opened = crate.statistics()["eventConnectionsOpened"]
    value = 50 + list(STREAM).index(fault)
    crate.fault(kind, **fields)
    shows_crate_values(running, crate, value=value)
    assert applied(crate, kind) == before + 1
    assert crate.control("faults")["active"] == []
    assert crate.statistics()["eventConnectionsOpened"] == opened + 1
    until(lambda: running.sandbox.connections(5180) == 1, "one connection to the event port")


def test_stream_in_single_bytes(running):
    crate = running.the_crate
    crate.fault("split-events", chunk=1, count=0)
    for value in (61, 62):
        shows_crate_values(running, crate, value=value)
    # The whole of what the server watches, byte by byte.
    crate.fault("drop-events")
    shows_crate_values(running, crate, value=63)
    assert applied(crate, "split-events") >= 3
    crate.control("clear-faults")
    shows_crate_values(running, crate, value=64)


@pytest.mark.parametrize("count", [1, 3])
def test_unknown_events(running, count):
    crate = running.the_crate
    before = applied(crate, "unknown-events")
    crate.set("Comment", "true", 0, 2)
    crate.fault("unknown-events", count=count)
    crate.wait(fault="unknown-events", count=before + count)
    shows_crate_values(running, crate, value=70 + count)
    running.clients.wait_for_value("ZC16:00:002:Comment:RBV", "true")
    # The first items of each shape are lied about.
    for name, where in (("VSet", (0, 0)), ("Status", (0, 0)), ("Pw", (0, 0))):
        record = f"ZC16:00:000:{name}" + ("" if name == "Status" else ":RBV")
        until(lambda record=record, name=name, where=where:
              float(running.clients.caget(record, "-n")) == float(
                  running.the_crate.get(name, *where)), f"{record} is true")


# ---- calls

def test_failed_write_and_the_next(running):
    crate = running.the_crate
    crate.fault("fail", operation="SetChParam", code=-7)
    assert running.clients.caput("ZC16:00:003:VSet", 5) != ""
    assert running.clients.caput("ZC16:00:003:VSet", 6) == ""
    assert crate.get("VSet", 0, 3) == 6
    assert applied(crate, "fail") == 1


def test_delayed_call_is_carried_out(running):
    crate = running.the_crate
    crate.fault("delay", operation="SetChParam", milliseconds=500)
    assert running.clients.caput("ZC16:00:003:VSet", 7) == ""
    crate.wait(slot=0, channel=3, name="VSet", value=7)
    assert applied(crate, "delay") == 1


def test_call_that_hangs_for_good_fails_and_never_happens(site):
    crate = site.reduced_crate()
    site.ioc().wait_running()
    crate.fault("hang", operation="SetChParam")
    assert site.clients.caput("ZC16:00:003:VSet", 8) != ""
    crate.wait(sessions=0)
    crate.control("clear-faults")
    assert crate.get("VSet", 0, 3) == 0
    assert crate.log("SetChParam") == []
    assert site.clients.caget("ZC16:02:HVMax") == f"{crate.get('HVMax', 2):g}"


def test_login_that_is_refused_ends_the_server(site):
    crate = site.reduced_crate()
    crate.fault("refuse-logins")
    refused = site.ioc("-D", "1")
    refused.wait()
    assert applied(crate, "refuse-logins") == 1
    site.ioc().wait_running()
    crate.wait(eventConnections=1)
    shows_crate_values(site, crate)


# ---- answers while the tree is built

# Operation, answer, whether each of the calls is hit, and what is served all the same.
USABLE = {
    "channel_name_without_its_nul": ("GetChName", "no-nul", 0),
    "channel_names_not_utf8": ("GetChName", "bad-utf8", 0),
    "channel_names_quoted": ("GetChName", "quoted-text", 0),
    "commands_without_the_last_nul": ("GetExecCommList", "no-nul", 1),
    "commands_beyond_the_list": ("GetExecCommList", "long-count", 1),
    "no_commands": ("GetExecCommList", "empty-list", 1),
    "commands_long": ("GetExecCommList", "long-text", 1),
    "commands_not_utf8": ("GetExecCommList", "bad-utf8", 1),
    "commands_quoted": ("GetExecCommList", "quoted-text", 1),
    "properties_without_the_last_nul": ("GetSysPropList", "no-nul", 1),
    "properties_beyond_the_list": ("GetSysPropList", "long-count", 1),
    "no_properties": ("GetSysPropList", "empty-list", 1),
    "property_name_long": ("GetSysPropList", "long-text", 1),
    "property_name_not_utf8": ("GetSysPropList", "bad-utf8", 1),
    "property_name_quoted": ("GetSysPropList", "quoted-text", 1),
    "property_texts_without_their_nul": ("GetSysProp", "no-nul", 0),
    "property_texts_long": ("GetSysProp", "long-text", 0),
    "property_texts_not_utf8": ("GetSysProp", "bad-utf8", 0),
    "property_texts_quoted": ("GetSysProp", "quoted-text", 0),
    "crate_map_without_the_last_nul": ("GetCrateMap", "no-nul", 1),
    "crate_map_beyond_the_lists": ("GetCrateMap", "long-count", 1),
    "crate_map_long": ("GetCrateMap", "long-text", 1),
    "crate_map_not_utf8": ("GetCrateMap", "bad-utf8", 1),
    "crate_map_quoted": ("GetCrateMap", "quoted-text", 1),
    "no_board_parameters": ("GetBdParamInfo", "empty-list", 1),
    "no_channel_parameters": ("GetChParamInfo", "empty-list", 1),
    "channel_parameter_count_too_high": ("GetChParamInfo", "long-count", 0),
    "limits_no_numbers": ("GetChParamProp", "nan-limits", 0),
    "limits_without_end": ("GetChParamProp", "infinite-limits", 0),
    "board_limits_no_numbers": ("GetBdParamProp", "nan-limits", 0),
    "board_limits_without_end": ("GetBdParamProp", "infinite-limits", 0),
    "labels_without_their_nul": ("GetChParamProp", "no-nul", 0),
    "labels_long": ("GetChParamProp", "long-text", 0),
    "labels_not_utf8": ("GetChParamProp", "bad-utf8", 0),
    "labels_quoted": ("GetChParamProp", "quoted-text", 0),
    "board_labels_quoted": ("GetBdParamProp", "quoted-text", 0),
}


@pytest.mark.parametrize("case", USABLE)
def test_server_serves_in_spite_of_a_broken_answer(site, case):
    operation, answer, count = USABLE[case]
    crate = site.reduced_crate()
    crate.fault("answer", operation=operation, answer=answer, count=count)
    ioc = site.ioc("-D", "1").wait_running()
    assert applied(crate, "answer") >= 1
    crate.control("clear-faults")
    crate.wait(eventConnections=1)
    # The first board or channel may lack parameters.
    shows_crate_values(site, crate, slot=2, channel=3)
    assert site.clients.caput("ZC16:02:003:VSet", 43) == ""
    assert crate.get("VSet", 2, 3) == 43
    assert ioc.process.status is None


def test_crate_map_without_slots(site):
    crate = site.reduced_crate()
    crate.fault("answer", operation="GetCrateMap", answer="empty-list")
    ioc = site.ioc(shell=True).wait_running()
    assert applied(crate, "answer") == 1
    assert site.clients.caget("ZC16:SwRelease")
    ioc.command("dbgf ZC16:00:000:VSet")
    ioc.stdout.wait_for("^PV 'ZC16:00:000:VSet' not found$")


# A name that the crate has never had cannot be read; the build asks again until it can be.
HELD = {
    "board_table_without_its_end": ("GetBdParamInfo", "no-end"),
    "board_slot_without_its_nul": ("GetBdParamInfo", "no-nul"),
    "board_parameter_not_utf8": ("GetBdParamInfo", "bad-utf8"),
    "channel_table_without_its_end": ("GetChParamInfo", "no-end"),
    "channel_slot_without_its_nul": ("GetChParamInfo", "no-nul"),
    "channel_parameter_quoted": ("GetChParamInfo", "quoted-text"),
}


@pytest.mark.parametrize("case", HELD)
def test_unknown_name_is_retried_until_a_signal(site, case):
    operation, answer = HELD[case]
    crate = site.reduced_crate()
    crate.fault("answer", operation=operation, answer=answer)
    ioc = site.ioc("-D", "1")
    line = re.escape("Error fetching [0:")
    found = ioc.stdout.wait_for(line)
    ioc.stdout.wait_for(line, found.end())
    assert applied(crate, "answer") == 1
    ioc.send()
    assert ioc.wait(timeout=BOUNDED) == 0
    crate.wait(sessions=0)


# ---- a storm

def test_after_a_storm_records_show_the_crate_values(running):
    crate = running.the_crate
    names = {"ZC16:02:006:VMon": ("VMon", 2, 6), "ZC16:02:006:IMon": ("IMon", 2, 6),
             "ZC16:00:001:Comment:RBV": ("Comment", 0, 1), "ZC16:02:006:Status": ("Status", 2, 6)}
    monitor = running.clients.camonitor(*names)
    mix = {"numeric": 6, "status": 1, "on-off": 1, "integer": 1, "text": 1, "property": 1}
    mark = monitor.mark()
    crate.control("storm", rate=20000, seconds=2, mix=mix)
    assert crate.statistics()["storm"]["running"]
    monitor.wait_for("ZC16:00:001:Comment:RBV", "storm .*", mark)
    until(lambda: not crate.statistics()["storm"]["running"], "the end of the storm")
    storm = crate.statistics()["storm"]
    assert storm["sent"] + storm["dropped"] >= 0.9 * 40000
    shows_crate_values(running, crate, slot=2, channel=6, value=80)
    for record, (name, slot, channel) in names.items():
        wanted = crate.get(name, slot, channel)

        def is_true(record=record, wanted=wanted):
            shown = running.clients.caget(record)
            return shown == wanted if isinstance(wanted, str) else float(shown) == float(wanted)
        until(is_true, f"{record} is {wanted!r}")
    assert running.the_ioc.process.status is None
