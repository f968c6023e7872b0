"""What the tests of the shutdown have in common."""

import re
import signal
import time

# Seconds in which the process is gone when no call of the access library takes long.
PROMPT = 5
# The whole end has 10 s, whatever the access library does.
DEADLINE = 11

LOGOUT = "VEXAHV_DeinitSystem()"
SHELL_LEFT = "\nShutting down crate\n\nCrate disconnected\n"
BY_SIGTERM = "\nCaught a termination signal (Terminated).\n" + SHELL_LEFT

# What records say that cannot find their node; only before the end has begun.
EARLIER = re.compile(r"\A(\[\w+\] - error getting node .*\n)+")


def printed(ioc, mark=0):
    return EARLIER.sub("", ioc.stdout.to_end()[mark:])


def slow(**seconds):
    """How long calls take, by the beginnings of their names."""
    return {"ZANTOCRATE_SLOW_CALLS": ",".join(f"{name}={time_}"
                                              for name, time_ in seconds.items())}


def gone(ioc, within, begin):
    assert ioc.wait() == 0
    assert time.monotonic() - begin < within


def ends(ioc, within=PROMPT, number=signal.SIGTERM):
    begin = time.monotonic()
    ioc.send(number)
    gone(ioc, within, begin)


def logged_out_once(crate):
    crate.wait(sessions=0)
    log = crate.log()
    assert log[-1] == LOGOUT
    assert log.count(LOGOUT) == 1


def running(site, *options, **more):
    crate = site.reduced_crate()
    ioc = site.ioc(*options, **more).wait_running()
    crate.wait(eventConnections=1)
    crate.clear()
    ioc.mark = len(ioc.stdout.text)
    return crate, ioc
