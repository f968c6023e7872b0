"""Standard streams: a full pipe does not hold up the shutdown, a terminal keeps its settings."""

import fcntl
import os
import pty
import signal
import subprocess
import termios
import time

import pytest

from harness.blocked_output import fill
from harness.ioc import arguments
from harness.process import until
from harness.sandbox import environment

# Seconds in which the process must be gone though it cannot print.
BOUNDED = 15


@pytest.fixture(name="spawn")
def _spawn(site):
    """Starts the server with streams of the test's own; it ends with the test."""
    children = []

    def spawn(*options, **streams):
        child = subprocess.Popen(site.sandbox.inside(arguments(*options)), env=environment(),
                                 start_new_session=True, **streams)
        children.append(child)
        return child

    yield spawn
    for child in children:
        child.kill()
        child.wait()


@pytest.mark.parametrize("number", [signal.SIGTERM, signal.SIGINT], ids=lambda number: number.name)
def test_output_that_nobody_reads_does_not_hold_up_the_end(site, spawn, number):
    crate = site.crate()
    reader, writer = os.pipe()
    ioc = spawn("-D", "2", "-d", stdin=subprocess.DEVNULL, stdout=writer,
                stderr=subprocess.DEVNULL)
    crate.wait(call="VEXAHV_InitSystem")
    fill(writer)
    begin = time.monotonic()
    ioc.send_signal(number)
    try:
        assert ioc.wait(BOUNDED + 10) == 0
        assert time.monotonic() - begin < BOUNDED
    finally:
        os.close(reader)
        os.close(writer)


def test_output_that_nobody_reads_does_not_hold_up_the_end_of_a_running_server(site, spawn):
    crate = site.reduced_crate()
    reader, writer = os.pipe()
    fcntl.fcntl(writer, fcntl.F_SETPIPE_SZ, 1 << 20)  # for all that the start says
    ioc = spawn("-D", "2", "-d", stdin=subprocess.DEVNULL, stdout=writer,
                stderr=subprocess.DEVNULL)
    crate.wait(eventConnections=1)
    fill(writer)
    begin = time.monotonic()
    ioc.send_signal(signal.SIGTERM)
    try:
        assert ioc.wait(BOUNDED + 10) == 0
        assert time.monotonic() - begin < BOUNDED
    finally:
        os.close(reader)
        os.close(writer)


def test_daemon_leaves_the_settings_of_its_terminal_alone(site, spawn):
    """The terminal is its controlling one, which it has to itself, in front."""
    ours, terminal = pty.openpty()
    ioc = spawn("-d", stdin=terminal, stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL,
                preexec_fn=lambda: fcntl.ioctl(0, termios.TIOCSCTTY, 0))
    crate = site.reduced_crate()
    crate.wait(eventConnections=1)
    changed = termios.tcgetattr(terminal)
    changed[3] &= ~(termios.ECHO | termios.ICANON)
    changed[6][termios.VINTR] = b"\x18"
    termios.tcsetattr(terminal, termios.TCSANOW, changed)
    wanted = termios.tcgetattr(terminal)
    assert not wanted[3] & termios.ECHO
    ioc.send_signal(signal.SIGTERM)
    assert ioc.wait(BOUNDED) == 0
    until(lambda: crate.statistics()["sessions"] == 0, "logged out")
    assert termios.tcgetattr(terminal) == wanted
    os.close(ours)
    os.close(terminal)
