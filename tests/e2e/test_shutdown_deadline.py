"""Shutdown: it keeps its deadline however slow the access library is."""

import time

import pytest

from harness.shutdown import (BY_SIGTERM, DEADLINE, SHELL_LEFT, ends, gone, logged_out_once,
                              printed, running, slow)


def withdrawals(crate):
    return crate.log("UnSubscribeSystemParams", "UnSubscribeBoardParams",
                     "UnSubscribeChannelParams")


# Seconds of each withdrawal, and how many of them can be made in half of the time.
@pytest.mark.parametrize("seconds, least, most", [(6, 1, 1), (2.6, 2, 2), (0.4, 10, 14)])
def test_slow_withdrawals_are_skipped_for_the_logout(site, seconds, least, most):
    crate, ioc = running(site, "-D", "2", env=slow(UnSubscribe=seconds))
    ends(ioc, DEADLINE)
    logged_out_once(crate)
    assert least <= len(withdrawals(crate)) <= most
    assert printed(ioc, ioc.mark).endswith(BY_SIGTERM)


def test_slow_withdrawals_are_skipped_when_the_shell_is_left(site):
    crate, ioc = running(site, "-D", "2", shell=True, env=slow(UnSubscribe=6))
    begin = time.monotonic()
    ioc.command("exit")
    gone(ioc, DEADLINE, begin)
    logged_out_once(crate)
    assert len(withdrawals(crate)) == 1
    assert printed(ioc).endswith(SHELL_LEFT)


@pytest.mark.parametrize("level", [0, 2])
@pytest.mark.parametrize("operation", ["UnSubscribeSystemParams", "UnSubscribeChannelParams",
                                       "DeinitSystem"])
def test_call_of_the_end_that_never_returns(site, operation, level):
    _, ioc = running(site, "-D", str(level), env=slow(**{operation: 3600}))
    ends(ioc, DEADLINE)
    text = printed(ioc, ioc.mark)
    # What cannot be done need not be said to be done.
    assert text.removesuffix("\nCrate disconnected\n") == (
        "" if level == 0 else BY_SIGTERM.removesuffix("\nCrate disconnected\n"))


def test_call_of_the_end_that_gets_no_answer(site):
    crate, ioc = running(site, "-D", "2")
    crate.hang()
    ends(ioc, DEADLINE)
    assert printed(ioc, ioc.mark).startswith(BY_SIGTERM.removesuffix("\nCrate disconnected\n"))


@pytest.mark.parametrize("seconds", [1.5, 3])
def test_library_that_is_slow_in_every_call_of_the_build(site, seconds):
    crate = site.reduced_crate()
    ioc = site.ioc("-D", "2", env=slow(any=seconds))
    crate.wait(call="VEXAHV_GetExecCommList")
    ends(ioc, DEADLINE)
    logged_out_once(crate)
    assert printed(ioc).endswith(BY_SIGTERM)
    assert len(crate.log()) == 3


def test_login_that_is_slow_is_waited_for_and_logged_out(site):
    crate = site.reduced_crate()
    ioc = site.ioc("-D", "2", env=slow(InitSystem=4))
    crate.wait(call="VEXAHV_InitSystem")
    ends(ioc, DEADLINE)
    logged_out_once(crate)
    assert len(crate.log()) == 2
    assert printed(ioc).endswith(BY_SIGTERM)


def test_build_whose_call_never_returns(site):
    crate = site.reduced_crate()
    ioc = site.ioc("-D", "2", env=slow(GetCrateMap=3600))
    crate.wait(call="VEXAHV_GetCrateMap")
    ends(ioc, DEADLINE)
    assert "Error connecting" not in ioc.stdout.to_end()
