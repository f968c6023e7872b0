"""Events: from a change at the crate to the monitors of clients."""

import glob
import re
import subprocess

import pytest

from harness.process import until

VIEWS = ["camonitor", "pvmonitor"]
# As the two show a read-back that has no names for its states.
OFF, ON = r"0|\(0\)", r"1|\(1\)"


@pytest.fixture(name="watch", params=VIEWS)
def _watch(request, live):
    return getattr(live.clients, request.param)


def channel_for(request):
    return 4 + VIEWS.index(request.node.callspec.params["watch"])


# Item and new value at the crate, its record, and how the record shows the value.
CHANGES = {
    "set_point": ("VSet", 250.5, "VSet:RBV", "250\\.5"),
    "on_off": ("POn", 1, "POn:RBV", ON),
    "bits_read_only": ("Inputs", 40961, "Inputs", "40961"),
    "bits_read_write": ("TripExt", 255, "TripExt:RBV", "255"),
    "text": ("Comment", "kept dry", "Comment:RBV", "kept dry"),
}


@pytest.mark.parametrize("kind", CHANGES)
def test_front_panel_change_reaches_monitors(live, watch, request, kind):
    item, value, record, shown = CHANGES[kind]
    channel = channel_for(request)
    name = f"ZC16:00:{channel:03d}:{record}"
    monitor = watch(name)
    live.the_crate.set(item, value, 0, channel)
    monitor.wait_for(name, shown)


def test_board_changes_reach_monitors(live, watch, request):
    slot = {4: 2, 5: 7}[channel_for(request)]
    temperature, bits, status = (f"ZC16:{slot:02d}:{item}"
                                 for item in ("Temp", "Jumpers", "BdStatus"))
    monitor = watch(temperature, bits, status)
    live.the_crate.set("Temp", 41.5, slot)
    live.the_crate.set("Jumpers", 9, slot)
    live.the_crate.control("condition", slot=slot, bit=1)
    monitor.wait_for(temperature, r"41\.5")
    monitor.wait_for(bits, "9")
    monitor.wait_for(status, "2|3")


def test_system_text_and_flag_reach_monitors(live, watch, request):
    number = channel_for(request)
    monitor = watch("ZC16:Location:RBV", "ZC16:Interlock")
    mark = monitor.mark()
    live.the_crate.set("Location", f"Hall {number}")
    monitor.wait_for("ZC16:Location:RBV", f"Hall {number}", mark)
    before = live.the_crate.get("Interlock")
    live.the_crate.set("Interlock", 1 - before)
    monitor.wait_for("ZC16:Interlock", OFF if before else ON, mark)


def test_channel_status_follows_switching_and_trip(live, watch, request):
    channel = channel_for(request)
    status, power = (f"ZC16:15:{channel:03d}:{item}" for item in ("Status", "Pw:RBV"))
    monitor = watch(status, power)
    live.the_crate.set("VSet", 10, 15, channel)
    live.the_crate.set("Pw", 1, 15, channel)
    monitor.wait_for(power, ON)
    monitor.wait_for(status, r"\d*[13579]")  # bit 0: on
    mark = monitor.mark()
    live.the_crate.control("trip", slot=15, channel=channel)
    monitor.wait_for(power, OFF, mark)
    tripped = int(live.the_crate.get("Status", 15, channel))
    assert tripped > 1 and not tripped & 1
    monitor.wait_for(status, str(tripped))


def test_cause_of_a_trip_is_in_its_text(live, watch, request):
    channel = 4 + channel_for(request)
    cause = f"ZC16:15:{channel:03d}:LastTrip"
    monitor = watch(cause)
    live.the_crate.set("VSet", 10, 15, channel)
    live.the_crate.set("Pw", 1, 15, channel)
    live.the_crate.control("trip", slot=15, channel=channel)
    monitor.wait_for(cause, re.escape(live.the_crate.get("LastTrip", 15, channel)) or "a cause")


def test_ramp_is_seen_as_a_series(live, watch, request):
    channel = channel_for(request)
    name = f"ZC16:07:{channel:03d}:VMon"
    monitor = watch(name)
    live.the_crate.set("RUp", 100, 7, channel)
    live.the_crate.set("VSet", 100, 7, channel)
    live.the_crate.set("Pw", 1, 7, channel)
    monitor.wait_for(name, "100")
    values = [float(value) for value in monitor.values(name)]
    assert values[0] == 0 and values[-1] == 100
    assert values == sorted(values)
    assert len(set(values)) >= 8  # one in 50 ms at most, for a second


def test_channel_name_changed_at_the_crate_raises_no_event(live):
    """Channel names are not watched: the next change of another item passes them by."""
    monitor = live.clients.camonitor("ZC16:03:007:Name:RBV", "ZC16:03:007:VSet:RBV")
    live.the_crate.set("VSet", 33, 3, 7)
    monitor.wait_for("ZC16:03:007:VSet:RBV", "33")
    named = [entry for line in live.the_crate.log("SubscribeChannelParams")
             for entry in re.findall('"(.*)"', line)[0].split(":")]
    assert "VSet" in named and "Name" not in named
    assert monitor.values("ZC16:03:007:Name:RBV") == ["CHANNEL07"]


def test_many_changes_end_with_the_last_value_of_each(live):
    names = {f"ZC16:03:{channel:03d}:VSet:RBV": channel for channel in range(10, 40)}
    monitor = live.clients.camonitor(*names)
    mark = monitor.mark()
    for value in (5, 6, 7, 8):
        for channel in names.values():
            live.the_crate.set("VSet", value + channel, 3, channel)
    for name, channel in names.items():
        monitor.wait_for(name, str(8 + channel), mark)


def test_live_insertion_raises_the_flag(make_site):
    site = make_site()
    crate = site.reduced_crate()
    ioc = site.ioc("-D", "1").wait_running()
    crate.wait(eventConnections=1)
    flag = site.sandbox.path("/tmp/lievnt.txt")
    assert flag.read_text() == "0\n"
    crate.control("remove", slot=2)
    ioc.stdout.wait_for("^Live insertion signal$")
    until(lambda: flag.read_text() == "1\n", "flag after the removal")
    flag.write_text("handled\n" * 100)
    mark = len(ioc.stdout.text)
    crate.control("insert", slot=2)
    ioc.stdout.wait_for("^Live insertion signal$", mark)
    until(lambda: flag.read_text() == "1\n", "flag after the insertion")
    # The rest of the crate goes on.
    crate.set("VSet", 12, 0, 0)
    site.clients.wait_for_value("ZC16:00:000:VSet:RBV", "12")


def test_traces_follow_an_event(make_site):
    site = make_site()
    crate = site.reduced_crate()
    ioc = site.ioc("-D", "10").wait_running()
    ioc.stdout.wait_for("^ ?Device connected$")
    mark = len(ioc.stdout.text)
    # A blank at the head of a line belongs to the trace before it.
    crate.set("VSet", 250.5, 0, 3)
    ioc.stdout.wait_for(r"^ ?Item \[VSet\] updated - val = 250\.500000 $", mark)
    ioc.stdout.wait_for(r"^ ?Type of events received - callback type = [0-9a-f]*[13579bdf]$", mark)
    ioc.stdout.wait_for("^ ?Processing scanIoRequest - recordAi$", mark)
    ioc.stdout.wait_for(r"^ ?\[AI\] - READ ZC16:00:003:VSet:RBV = 250\.5", mark)
    crate.set("Location", "Hall 9")
    ioc.stdout.wait_for(r"^ ?Item \[Location\] updated - val = Hall 9$", mark)
    ioc.stdout.wait_for("^ ?Processing scanIoRequest - recordStringin$", mark)
    ioc.stdout.wait_for(r"^ ?\[STRINGIN\] - READ ZC16:Location:RBV = Hall 9$", mark)


# ---- The event port

LISTENER = """
import socket
servers = [socket.create_server(("127.0.0.1", port)) for port in ({ports},)]
print("ready", flush=True)
input()
"""


@pytest.mark.parametrize("taken", [[5180], [5180, 5181, 5182]], ids=["one_port", "three_ports"])
def test_taken_port_is_passed_over_and_the_next_announced(site, taken):
    other = site.sandbox.start("other server", ["/usr/bin/python3", "-c", LISTENER.format(
        ports=",".join(map(str, taken)))], stdin=subprocess.PIPE)
    other.stdout.wait_for("^ready$")
    crate = site.reduced_crate()
    site.ioc().wait_running()
    crate.wait(eventConnections=1)
    port = taken[-1] + 1
    calls = crate.log("SubscribeSystemParams", "SubscribeBoardParams", "SubscribeChannelParams")
    assert {line.split("(")[1].split(",")[0] for line in calls} == {str(port)}
    assert [link["port"] for link in crate.control("subscriptions")["subscribers"]] == [port]
    crate.set("VSet", 21, 0, 0)
    site.clients.wait_for_value("ZC16:00:000:VSet:RBV", "21")


def test_servers_that_start_together_get_ports_of_their_own(site):
    iocs = [site.ioc("-D", "1", name=f"server {number}") for number in range(8)]
    for ioc in iocs:
        ioc.stdout.wait_for("^error$")
    until(lambda: site.sandbox.listens(range(5180, 5188)), "eight ports")
    assert not site.sandbox.listens([5188])


def test_connection_before_there_is_a_tree_waits_for_it(site):
    ioc = site.ioc()
    until(lambda: site.sandbox.listens([5180]), "the event port")
    early = site.sandbox.start("early", ["/usr/bin/python3", "-c",
                                         CONNECT.format(data=GARBAGE, then=AWAIT_END)])
    early.stdout.wait_for("^connected$")
    crate = site.reduced_crate()
    ioc.wait_running()
    assert early.wait() == 0
    crate.wait(eventConnections=1)
    crate.set("VSet", 13, 0, 0)
    site.clients.wait_for_value("ZC16:00:000:VSet:RBV", "13")


def test_connection_before_there_is_a_tree_does_not_hold_up_the_end(site):
    ioc = site.ioc()
    until(lambda: site.sandbox.listens([5180]), "the event port")
    early = site.sandbox.start("early", ["/usr/bin/python3", "-c",
                                         CONNECT.format(data='b""', then=AWAIT_END)])
    early.stdout.wait_for("^connected$")
    assert ioc.stop() == 0
    assert early.wait() == 0


CONNECT = """
import socket, sys
connection = socket.create_connection(("127.0.0.1", 5180))
connection.sendall({data})
print("connected", flush=True)
{then}
"""
GARBAGE = 'b"GET / HTTP/1.1\\r\\nHost: x\\r\\n\\r\\n" * 200'
AWAIT_END = """
try:
    connection.settimeout(20)
    connection.recv(1)
except ConnectionError:
    pass
"""
STRANGERS = {
    "silent_and_gone": ('b""', "connection.close()"),
    "silent_and_reset": ('b""', "connection.setsockopt(socket.SOL_SOCKET, socket.SO_LINGER, "
                                "b'\\1\\0\\0\\0\\0\\0\\0\\0'); connection.close()"),
    "garbage": (GARBAGE, AWAIT_END),
    "binary_garbage": ("bytes(range(256)) * 64", AWAIT_END),
    "huge_length": ('b"\\xff" * 64', AWAIT_END),
    "held_open": ('b""', "sys.stdin.read()"),
}


@pytest.fixture(name="stranger", params=STRANGERS)
def _stranger(request, live):
    data, then = STRANGERS[request.param]
    process = live.sandbox.start("stranger", ["/usr/bin/python3", "-c",
                                              CONNECT.format(data=data, then=then)],
                               stdin=subprocess.PIPE)
    process.stdout.wait_for("^connected$")
    yield process
    process.kill()


def sees_updates(live, value):
    live.the_crate.set("VSet", value, 2, 9)
    live.clients.wait_for_value("ZC16:02:009:VSet:RBV", str(value))


def test_foreign_connections_on_the_event_port_do_no_harm(live, stranger, request):
    value = 30 + list(STRANGERS).index(request.node.callspec.params["stranger"])
    if request.node.callspec.params["stranger"] != "held_open":
        assert stranger.wait() == 0
    sees_updates(live, value)
    assert live.the_ioc.process.status is None


def event_threads(ioc):
    names = [open(path, encoding="ascii").read() for path in
             glob.glob(f"/proc/{ioc.pid}/task/*/comm")]
    return sum(name.startswith("ZANTOEvents") for name in names)


def all_gone_but_the_crates(live):
    """Each connection that ended took its descriptor and its thread along."""
    until(lambda: live.sandbox.connections(5180) == 1, "one connection to the event port")
    until(lambda: event_threads(live.the_ioc) == 1, "one event thread")


def test_dropped_event_connection_is_made_again(live):
    sees_updates(live, 50)
    opened = live.the_crate.statistics()["eventConnectionsOpened"]
    for number in range(1, 6):
        live.the_crate.fault("drop-events")
        live.the_crate.set("VSet", 50 + number, 2, 9)
        live.the_crate.wait(eventConnections=1)
        sees_updates(live, 60 + number)
    assert live.the_crate.statistics()["eventConnectionsOpened"] == opened + 5
    all_gone_but_the_crates(live)


def test_change_while_disconnected_is_not_lost(live):
    monitor = live.clients.camonitor("ZC16:02:010:VSet:RBV")
    live.the_crate.fault("drop-events")
    live.the_crate.set("VSet", 71, 2, 10)
    monitor.wait_for("ZC16:02:010:VSet:RBV", "71")


def test_a_hundred_connections_at_once(live):
    script = """
import socket
connections = [socket.create_connection(("127.0.0.1", 5180)) for _ in range(100)]
print("connected", flush=True)
for connection in connections: connection.close()
"""
    crowd = live.sandbox.start("crowd", ["/usr/bin/python3", "-c", script])
    assert crowd.wait() == 0
    sees_updates(live, 80)
    all_gone_but_the_crates(live)
