"""Shutdown while nobody reads what the server prints."""

import signal
import time

import pytest

from harness.blocked_output import BlockableIoc, FullPipe, StoppedTerminal, UnreadTerminal
from harness.ioc import NO_EDITOR
from harness.shutdown import BY_SIGTERM, PROMPT, ends, gone, logged_out_once

each_outlet = pytest.mark.parametrize("outlet", [FullPipe, UnreadTerminal, StoppedTerminal])
each_level = pytest.mark.parametrize("level", [0, 1, 2, 8, 10])


@pytest.fixture(name="mute")
def _mute(site):
    """Starts servers with outlets."""
    def start(outlet, level, **more):
        return BlockableIoc(site.sandbox, outlet(), "-D", str(level), **more)

    return start


def gone_and_logged_out(ioc, crate, begin):
    gone(ioc, PROMPT, begin)
    logged_out_once(crate)


def ends_by_a_signal(ioc, crate):
    ends(ioc)
    logged_out_once(crate)


@each_level
@each_outlet
def test_blocked_output_holds_up_no_end_of_a_running_server(site, mute, outlet, level):
    crate = site.reduced_crate()
    ioc = mute(outlet, level).wait_running()
    crate.wait(eventConnections=1)
    ioc.outlet.block()
    ends_by_a_signal(ioc, crate)


@each_level
@each_outlet
def test_blocked_output_holds_up_no_end_of_the_tree_build(site, mute, outlet, level):
    crate = site.reduced_crate()
    crate.fault("delay", operation="GetChParamProp", milliseconds=300, count=0, after=500)
    ioc = mute(outlet, level)
    crate.wait(fault="delay")
    ioc.outlet.block()
    ends_by_a_signal(ioc, crate)


@each_level
@each_outlet
def test_server_that_cannot_print_what_follows_its_login_logs_out(site, mute, outlet, level):
    crate = site.reduced_crate()
    crate.fault("delay", operation="InitSystem", milliseconds=500)
    ioc = mute(outlet, level)
    crate.wait(fault="delay")
    ioc.outlet.block()
    crate.wait(call="VEXAHV_InitSystem")
    ends_by_a_signal(ioc, crate)


@pytest.fixture(name="mute_shell")
def _mute_shell(site, mute):
    """Starts servers that wait for a command."""
    site.the_crate = site.reduced_crate()

    def start(outlet, level, env=()):
        ioc = mute(outlet, level, shell=True, env={**NO_EDITOR, **dict(env)})
        site.the_crate.wait(eventConnections=1)
        ioc.outlet.wait_for("epics> ")
        ioc.wait_until_it_reads()
        return ioc

    return start


@each_level
@pytest.mark.parametrize("outlet", [FullPipe, StoppedTerminal])
def test_blocked_output_holds_up_no_end_of_the_shells_input(site, mute_shell, outlet, level):
    ioc = mute_shell(outlet, level)
    ioc.outlet.block()
    begin = time.monotonic()
    ioc.stdin.close()
    gone_and_logged_out(ioc, site.the_crate, begin)


@each_level
@pytest.mark.parametrize("outlet", [FullPipe, StoppedTerminal])
def test_output_that_is_blocked_while_the_shell_is_left(site, mute_shell, outlet, level):
    ioc = mute_shell(outlet, level, env={"ZANTOCRATE_SLOW_CALLS": "UnSubscribeSystemParams=0.5"})
    begin = time.monotonic()
    ioc.command("exit")
    site.the_crate.wait(call="VEXAHV_UnSubscribeSystemParams")
    ioc.outlet.block()
    gone_and_logged_out(ioc, site.the_crate, begin)


def test_slow_reader_gets_every_message(site, mute):
    crate = site.crate()
    ioc = mute(FullPipe, 2).wait_running()
    crate.wait(eventConnections=1)
    ioc.outlet.block()
    ioc.send(signal.SIGTERM)
    text = ioc.outlet.read_slowly(512, 0.05)
    assert ioc.wait() == 0
    assert text.endswith(BY_SIGTERM)
    assert text.count("Caught") == text.count("Shutting") == text.count("disconnected") == 1
