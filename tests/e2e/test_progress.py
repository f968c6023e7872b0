"""The line on the terminal that shows how far the reading of the crate is."""

import os
import re
import signal
import subprocess
import termios

import pytest

from harness.blocked_output import StoppedTerminal, UnreadTerminal
from harness.ioc import RUNNING, arguments
from harness.process import WATCHDOG, Output, until
from harness.sandbox import environment
from harness.shutdown import PROMPT, ends, logged_out_once

LINE = "Reading the crate: slot "
WHOLE_LINE = re.compile(r"Reading the crate: slot \d+, channel \d+, \d+ parameters, "
                        r"about (5|10|15) s left\r")
SHOWING = {"TERM": "xterm"}


def is_clean(shown):
    """Each line that was shown has been erased before anything else was, and one was shown."""
    return LINE in shown and not re.search(r"Reading[^\r]*\r(?!\r\x1b\[K)", shown)


class IocAtTerminal:
    """A server whose standard error is a terminal, or both outputs are. Sandbox ends it."""

    name = "zantoioc at a terminal"

    def __init__(self, sandbox, terminal, *options, both=False, env=()):
        self.terminal = terminal
        self._child = subprocess.Popen(
            sandbox.inside(arguments("-d", *options)), env=environment({**SHOWING, **dict(env)}),
            start_new_session=True, stdin=subprocess.DEVNULL, stderr=terminal.writer,
            stdout=terminal.writer if both else subprocess.PIPE)
        self.stdout = None
        if not both:
            self.stdout = Output(os.dup(self._child.stdout.fileno()))
            self._child.stdout.close()
        self.send = self._child.send_signal
        sandbox.adopt(self)

    @property
    def shown(self):
        return self.terminal.data.decode("utf-8", "replace")

    def wait_for(self, pattern):
        until(lambda: re.search(pattern, self.shown, re.MULTILINE), f"{pattern!r} is shown")
        return self

    def read_on(self):
        """Behind what blocked it."""
        termios.tcflow(self.terminal.writer, termios.TCOON)
        return Output(os.dup(self.terminal.reader))

    def wait(self, timeout=WATCHDOG):
        return self._child.wait(timeout)

    def close(self):
        self._child.kill()
        self._child.wait()
        self.terminal.close()

    def logs(self):
        return {f"{self.name} terminal": self.shown,
                f"{self.name} stdout": self.stdout.text if self.stdout else ""}


@pytest.fixture(name="slow")
def _slow(site):
    """A crate that takes some seconds to be read."""
    crate = site.reduced_crate()
    crate.fault("delay", operation="GetChParamProp", milliseconds=2, count=0)
    return crate


def test_line_is_shown_and_wiped_and_standard_output_stays_as_it_is(site, slow):
    piped = site.ioc(env=SHOWING).wait_running()
    slow.wait(eventConnections=1)
    piped.stop()
    assert "\x1b" not in piped.stderr.to_end() and "Reading" not in piped.stderr.text

    ioc = IocAtTerminal(site.sandbox, UnreadTerminal()).wait_for(RUNNING.replace("$", "\r$"))
    assert WHOLE_LINE.search(ioc.shown)
    assert is_clean(ioc.shown)
    ends(ioc)
    assert ioc.stdout.to_end() == piped.stdout.to_end()


def test_line_is_wiped_before_the_script_is_echoed_on_the_same_terminal(site, slow):
    ioc = IocAtTerminal(site.sandbox, UnreadTerminal(), both=True).wait_for(LINE)
    ioc.wait_for(RUNNING.replace("$", "\r$"))
    assert is_clean(ioc.shown)
    ends(ioc)


def test_messages_on_the_same_terminal_take_its_place(site, slow):
    ioc = IocAtTerminal(site.sandbox, UnreadTerminal(), "-D", "1", both=True)
    ioc.wait_for(RUNNING.replace("$", "\r$"))
    assert "Reading" not in ioc.shown
    ends(ioc)


def test_failed_build_leaves_a_clean_line(make_site):
    site = make_site(tmp_size="64k")
    crate = site.reduced_crate()
    crate.fault("delay", operation="GetChParamProp", milliseconds=2, count=0)
    ioc = IocAtTerminal(site.sandbox, UnreadTerminal(), both=True)
    ioc.wait_for(LINE)
    assert ioc.wait() == 0
    ioc.wait_for("Error connecting to .* Shutting down.\r$")
    assert is_clean(ioc.shown)


@pytest.mark.parametrize("number", [signal.SIGTERM, signal.SIGINT, signal.SIGHUP],
                         ids=lambda number: number.name)
def test_signal_leaves_a_clean_line(site, slow, number):
    ioc = IocAtTerminal(site.sandbox, UnreadTerminal(), both=True).wait_for(LINE)
    ends(ioc, number=number)
    logged_out_once(slow)
    ioc.wait_for(r"\r\x1b\[K\Z")
    assert is_clean(ioc.shown)


@pytest.mark.parametrize("terminal", [StoppedTerminal, UnreadTerminal])
def test_blocked_terminal_holds_up_no_end(site, slow, terminal):
    ioc = IocAtTerminal(site.sandbox, terminal(), both=True).wait_for(LINE)
    ioc.terminal.block()
    ends(ioc, within=PROMPT)
    logged_out_once(slow)


def test_stopped_terminal_does_not_hold_up_the_build(site, slow):
    ioc = IocAtTerminal(site.sandbox, StoppedTerminal(), both=True).wait_for(LINE)
    ioc.terminal.block()
    until(lambda: site.sandbox.path("/tmp/pvlist.txt").stat().st_size > 0, "the PV list is there")
    behind = ioc.read_on()
    behind.wait_for(RUNNING.replace("$", "\r$"))
    assert is_clean(ioc.shown + behind.text)
    ends(ioc)
