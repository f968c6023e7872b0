"""Shutdown by each termination signal, in each phase of the server's life."""

import re
import signal

import pytest

from harness import places
from harness.ioc import NO_EDITOR, arguments
from harness.process import until
from harness.shutdown import (DEADLINE, LOGOUT, PROMPT, ends, logged_out_once, printed,
                              running)

SIGNALS = [signal.SIGHUP, signal.SIGINT, signal.SIGQUIT, signal.SIGTERM]
DESCRIPTIONS = {signal.SIGHUP: "Hangup", signal.SIGINT: "Interrupt", signal.SIGQUIT: "Quit",
                signal.SIGTERM: "Terminated"}
each_signal = pytest.mark.parametrize("number", SIGNALS, ids=lambda number: number.name)


def shutdown_messages(number, level):
    text = ["\nCaught a termination signal (%s).\n" % DESCRIPTIONS[number],
            "\nShutting down crate\n", "\nCrate disconnected\n"]
    return "".join(text if level > 1 else text[1:] if level == 1 else [])


def mirrored(crate):
    """What withdraws all subscriptions that were made, in the same order, and logs out."""
    made = crate.log("SubscribeSystemParams", "SubscribeBoardParams", "SubscribeChannelParams")
    assert len(made) == 1 + 5 + 14
    return [line.replace("VEXAHV_", "VEXAHV_Un", 1) for line in made] + [LOGOUT]


# ---- before there is anything to log out from

def test_each_signal_ends_the_wait_for_the_firmware(site):
    iocs = {number: site.ioc("-D", "2", shell=True, name=number.name) for number in SIGNALS}
    for ioc in iocs.values():
        ioc.stdout.wait_for("^error$")
    for number, ioc in iocs.items():
        ends(ioc, PROMPT, number)
        assert ioc.stdout.to_end().replace("error\n", "") == (
            "Waiting for firmware to start..\n\nAttempt to connect to firmware..\n"
            + shutdown_messages(number, 2))


def test_each_signal_ends_a_login_that_gets_no_answer(site):
    crate = site.reduced_crate()
    crate.hang()
    iocs = {number: site.ioc("-D", "2", name=number.name) for number in SIGNALS}
    until(lambda: (lambda seen: (seen["sessions"], seen["sessionsAccepted"]) == (4, 8))(
        crate.statistics()), "four logins hang")
    for number, ioc in iocs.items():
        ioc.send(number)
    for number, ioc in iocs.items():
        assert ioc.wait(timeout=DEADLINE) == 0
        assert ioc.stdout.to_end().endswith(shutdown_messages(number, 2))
    crate.release()
    crate.wait(sessions=0)


BLOCKED = """
import os, signal, sys
signal.pthread_sigmask(signal.SIG_BLOCK, {signal.SIGHUP, signal.SIGPIPE, signal.SIGTERM})
os.execv(sys.argv[1], sys.argv[1:])
"""


def test_a_supervisor_that_blocks_signals_can_end_it(site):
    """As procServ does; its children inherit that."""
    crate, ioc = running(site, argv=["/usr/bin/python3", "-c", BLOCKED, *arguments("-d")])
    ends(ioc, PROMPT, signal.SIGTERM)
    logged_out_once(crate)


# ---- tree build

@each_signal
def test_end_while_the_tree_is_built(site, number):
    crate = site.crate()
    ioc = site.ioc("-D", "0")
    crate.wait(call="VEXAHV_GetChParamProp", count=500)
    ends(ioc, PROMPT, number)
    assert crate.log()[-1] == LOGOUT
    assert crate.log("SubscribeSystemParams") == crate.log("UnSubscribeSystemParams") == []
    assert "Starting VEXA ZANTO driver" not in ioc.stdout.to_end()


FETCH_FAILED = r"^Error fetching \[\d+:\d+:[^]]+\] properties$"


@each_signal
def test_end_of_the_endless_retry_in_the_tree_build(site, number):
    crate = site.crate()
    crate.fault("fail", operation="VEXAHV_GetChParamProp", code=5, count=0, after=1000)
    ioc = site.ioc("-D", "2")
    found = ioc.stdout.wait_for(FETCH_FAILED)
    ioc.stdout.wait_for(re.escape(found.group(0)), found.end())
    ends(ioc, PROMPT, number)
    assert crate.log()[-1] == LOGOUT
    crate.wait(sessions=0)
    assert ioc.stdout.to_end().endswith(shutdown_messages(number, 2))


def test_end_while_the_tree_build_gets_no_answer(site):
    crate = site.crate()
    ioc = site.ioc("-D", "1")
    crate.wait(call="VEXAHV_GetChParamProp", count=500)
    crate.hang()
    ends(ioc, DEADLINE)
    assert ioc.stdout.to_end().endswith(shutdown_messages(signal.SIGTERM, 1))


# ---- start-up script

@each_signal
def test_end_while_the_start_up_script_runs(site, number):
    crate = site.reduced_crate()
    site.sandbox.path("/tmp/st.cmd").write_text("echo now-it-sleeps\nepicsThreadSleep 1000\n")
    ioc = site.ioc("-D", "1", script="/tmp/st.cmd")
    ioc.stdout.wait_for("^now-it-sleeps$")
    crate.clear()
    mark = len(ioc.stdout.text)
    ends(ioc, PROMPT, number)
    # The names that are withdrawn had not been subscribed yet.
    said = re.sub("^Error subscribing .*\n", "", printed(ioc, mark), flags=re.MULTILINE)
    assert said.endswith(shutdown_messages(number, 1))
    assert crate.log()[-1] == LOGOUT


def test_end_between_the_subscriptions(site):
    crate = site.crate()
    ioc = site.ioc()
    crate.wait(call="VEXAHV_SubscribeChannelParams", count=3)
    ends(ioc)
    assert crate.log()[-1] == LOGOUT
    crate.wait(eventConnections=0)


def test_end_while_a_subscription_gets_no_answer(site):
    crate = site.crate()
    ioc = site.ioc()
    crate.wait(call="VEXAHV_SubscribeSystemParams")
    crate.hang()
    ends(ioc, DEADLINE)


# ---- running

def end_of_a_running_server(site, number, level, shell):
    crate = site.reduced_crate()
    ioc = site.ioc("-D", str(level), shell=shell, env=NO_EDITOR).wait_running()
    crate.wait(eventConnections=1)
    if shell:
        ioc.stdout.wait_for("^epics> ")
    wanted = mirrored(crate)
    crate.clear()
    mark = len(ioc.stdout.text)
    ends(ioc, PROMPT, number)
    assert crate.log() == wanted
    assert printed(ioc, mark) == shutdown_messages(number, level)
    crate.wait(sessions=0)
    crate.wait(eventConnections=0)


@each_signal
@pytest.mark.parametrize("shell", [False, True], ids=["daemon", "shell"])
def test_end_of_a_running_server(site, number, shell):
    end_of_a_running_server(site, number, 2, shell)


@pytest.mark.parametrize("level", [0, 1])
def test_what_an_end_says_at_lower_levels(site, level):
    end_of_a_running_server(site, signal.SIGTERM, level, False)


def test_end_under_a_storm_of_events_and_clients(site):
    """Records process and clients read and write while the tree is taken down."""
    crate = site.crate("--speed", "5")
    ioc = site.ioc().wait_running()
    names = [f"ZC16:02:{channel:03d}:VMon" for channel in range(23)]
    monitor = site.clients.camonitor(*names)
    for channel in range(23):
        crate.set("VSet", 8000, 2, channel)
        crate.set("Pw", 1, 2, channel)
    write_on = 'while :; do "$1" -t "$2" 1 "$2" 2; done'
    writers = [site.sandbox.start("writer", ["sh", "-c", write_on, "sh", places.client("caput"),
                                             f"ZC16:02:{channel:03d}:RUp"])
               for channel in range(2)]
    for writer in writers:
        writer.stdout.wait_for("(.*\n){10}")
    monitor.wait_for(names[-1], r"[5-9]\d\d.*|\d{4}.*")
    ends(ioc)
    for writer in writers:
        writer.kill()


def test_end_with_a_write_that_gets_no_answer(site):
    crate = site.reduced_crate()
    ioc = site.ioc().wait_running()
    assert site.clients.caput("ZC16:00:000:VSet", 5) == ""
    crate.hang()
    put = site.sandbox.start("pvput", [places.client("pvput"), "-w", "20", "ZC16:00:000:VSet", "6"])
    put.stdout.wait_for("^Old")
    ends(ioc, DEADLINE)
    put.kill()


# ---- a second signal

SECOND = [(signal.SIGTERM, signal.SIGTERM), (signal.SIGINT, signal.SIGINT),
          (signal.SIGTERM, signal.SIGINT), (signal.SIGHUP, signal.SIGQUIT),
          (signal.SIGQUIT, signal.SIGHUP), (signal.SIGINT, signal.SIGTERM)]


@pytest.mark.parametrize("first, second", SECOND, ids=lambda number: number.name)
def test_second_signal_kills(site, first, second):
    crate = site.reduced_crate()
    ioc = site.ioc("-D", "1").wait_running()
    crate.wait(eventConnections=1)
    crate.hang()
    ioc.send(first)
    ioc.stdout.wait_for("^Shutting down crate$")
    ioc.send(second)
    assert ioc.wait(timeout=PROMPT) == -second
    assert "Crate disconnected" not in ioc.stdout.to_end()


def test_signals_that_are_not_for_the_end_change_nothing(site):
    crate = site.reduced_crate()
    ioc = site.ioc().wait_running()
    ioc.send(signal.SIGPIPE)
    ioc.send(signal.SIGCHLD)
    ioc.send(signal.SIGWINCH)
    crate.set("VSet", 9, 0, 0)
    site.clients.wait_for_value("ZC16:00:000:VSet:RBV", "9")
    assert ioc.process.status is None
