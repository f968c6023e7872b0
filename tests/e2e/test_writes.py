"""Writes: from a client's put to the crate and back."""

import pytest


@pytest.fixture(name="put", params=["caput", "pvput"])
def _put(request, live):
    """Puts through Channel Access or pvAccess; the error message or an empty text."""
    return getattr(live.clients, request.param)


@pytest.fixture(name="slot_channel")
def _slot_channel(put, request):
    """A channel for each way to put, so that tests do not meet."""
    return 0, {"caput": 1, "pvput": 2}[request.node.callspec.params["put"]]


# Record below the channel, what is put, what the crate has then, the call in the crate's log, and
# what the set-point and its read-back then show.
SET_POINTS = {
    "numeric": ("VSet", "123.5", 123.5, "123.5", "123.5"),
    "on_off": ("POn", "Enabled", 1, "1", "1"),
    "bits": ("TripExt", "32769", 32769, "32769", "32769"),
}


@pytest.mark.parametrize("kind", SET_POINTS)
def test_set_point_arrives_and_comes_back_without_an_echo(live, put, slot_channel, kind):
    name, value, at_crate, logged, shown = SET_POINTS[kind]
    slot, channel = slot_channel
    record = f"ZC16:{slot:02d}:{channel:03d}:{name}"
    monitor = live.clients.camonitor(f"{record}:RBV", f"{record}:Sync")
    mark = monitor.mark()
    live.the_crate.clear()

    assert put(record, value) == ""
    assert live.the_crate.get(name, slot, channel) == at_crate
    monitor.wait_for(f"{record}:RBV", shown, mark)
    monitor.wait_for(f"{record}:Sync", shown, mark)
    assert live.clients.caget(record, "-n") == shown

    # A second change behind the first: had the copy into the set-point been written to the crate,
    # that write would be in the log by now.
    live.the_crate.set("RUp", 17 + channel, slot, channel)
    other = live.clients.camonitor(f"ZC16:{slot:02d}:{channel:03d}:RUp:Sync")
    other.wait_for(f"ZC16:{slot:02d}:{channel:03d}:RUp:Sync", str(17 + channel))
    assert live.the_crate.sets() == [
        f'VEXAHV_SetChParam({slot}, "{name}", [{channel}], {logged})']


def test_board_set_point(live, put, slot_channel):
    slot = {1: 2, 2: 3}[slot_channel[1]]
    record = f"ZC16:{slot:02d}:AlarmMsk"
    monitor = live.clients.pvmonitor(f"{record}:RBV")
    live.the_crate.clear()
    assert put(record, "5") == ""
    monitor.wait_for(f"{record}:RBV", "5")
    assert live.the_crate.sets() == [f'VEXAHV_SetBdParam([{slot}], "AlarmMsk", 5)']


SYSTEM = {
    "text": ("Location", "Hall 4", '"Hall 4"', "Hall 4"),
    "real": ("PowerLimit", "512.25", "512.25", "512.25"),
    "unsigned": ("AlarmMask", "70000", "70000", "70000"),
    "signed": ("FanTrim", "-7", "-7", "-7"),
    "boolean": ("RemoteOnly", "0", "0", "0"),
}


@pytest.mark.parametrize("kind", SYSTEM)
def test_system_property(live, kind):
    name, value, logged, shown = SYSTEM[kind]
    live.the_crate.clear()
    assert live.clients.caput(f"ZC16:{name}", value) == ""
    monitor = live.clients.camonitor(f"ZC16:{name}:RBV")
    monitor.wait_for(f"ZC16:{name}:RBV", shown)
    assert live.clients.caget(f"ZC16:{name}", "-n") == shown
    assert live.the_crate.sets() == [f'VEXAHV_SetSysProp("{name}", {logged})']


def test_write_only_parameter(live):
    live.the_crate.clear()
    assert live.clients.caput("ZC16:03:Identify", "Blink") == ""
    assert live.the_crate.get("Identify", 3) == 1
    assert live.the_crate.sets() == ['VEXAHV_SetBdParam([3], "Identify", 1)']


def test_channel_name(live):
    record = "ZC16:02:004:Name"
    assert live.clients.caget(f"{record}:RBV") == "CHANNEL04"
    live.the_crate.clear()
    assert live.clients.caput(record, "Anode") == ""
    assert live.the_crate.sets() == ['VEXAHV_SetChName(2, [4], "Anode")']
    assert live.clients.caget(record) == "Anode"


def test_command_is_executed_by_any_text(live, put):
    live.the_crate.clear()
    live.the_crate.set("VSet", 100, 3, 5)
    live.the_crate.set("Pw", 1, 3, 5)
    assert put("ZC16:AllOff", "whatever") == ""
    assert live.the_crate.log("ExecComm") == ['VEXAHV_ExecComm("AllOff")']
    live.the_crate.wait(name="Pw", slot=3, channel=5, value=0)


def test_name_with_a_blank_has_records_that_fail(live, put, slot_channel):
    slot = {1: 0, 2: 7}[slot_channel[1]]
    record = f"ZC16:{slot:02d}:FanSpeed"
    assert live.clients.exists(record)
    assert live.clients.caget(f"{record}.DESC") == "Fan Speed"
    assert live.clients.caget(f"{record}:RBV.SEVR") == "INVALID"
    live.the_crate.clear()
    assert put(record, "3000") != ""
    assert live.the_crate.sets() == []
    assert live.the_crate.get("Fan Speed", slot) == 2400
    live.the_crate.set("Fan Speed", 2500, slot)
    live.the_crate.set("HVMax", 99, slot)
    live.clients.wait_for_value(f"ZC16:{slot:02d}:HVMax", "99")
    assert live.clients.caget(f"{record}:RBV") == "0"


def test_rejected_write_fails_and_the_next_event_restores_the_value(live, put, slot_channel):
    slot, channel = 15, slot_channel[1]
    record = f"ZC16:{slot}:{channel:03d}:ISet"
    before = live.clients.caget(f"{record}:RBV")
    live.the_crate.fault("fail", operation="VEXAHV_SetChParam", code=9)
    assert put(record, "42") != ""
    assert live.the_crate.get("ISet", slot, channel) == float(before)
    # The tree kept the old value, the client's stays in the set-point until the crate speaks.
    assert live.clients.caget(f"{record}:RBV") == before
    assert live.clients.caget(record) == "42"
    monitor = live.clients.camonitor(f"{record}:Sync")
    live.the_crate.set("ISet", 77, slot, channel)
    monitor.wait_for(f"{record}:Sync", "77")
    assert live.clients.caget(record) == "77"


def test_text_of_a_channel_can_be_read_but_not_written(live, put, slot_channel):
    """The access library has no call for it, but for the channel's name."""
    slot, channel = slot_channel
    record = f"ZC16:{slot:02d}:{channel:03d}:Comment"
    live.the_crate.clear()
    assert put(record, "spare") != ""
    assert live.the_crate.sets() == []
    assert live.the_crate.get("Comment", slot, channel) == ""


def test_write_beyond_the_crates_limit_is_reported(live):
    record = "ZC16:00:005:SVMax"
    before = live.clients.caget(f"{record}:RBV")
    assert live.clients.caput(record, "1e6") != ""
    assert live.the_crate.get("SVMax", 0, 5) == float(before)


def test_a_write_after_a_rejected_one_goes_through(live):
    live.the_crate.fault("fail", operation="VEXAHV_SetBdParam", code=3)
    assert live.clients.caput("ZC16:07:AlarmMsk", "1") != ""
    assert live.clients.caput("ZC16:07:AlarmMsk", "2") == ""
    assert live.the_crate.get("AlarmMsk", 7) == 2
