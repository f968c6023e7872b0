"""The clients of EPICS base, run in a sandbox."""

import re

from . import places
from .process import WATCHDOG, until

SETTLED = 5  # seconds after which an update that has not come is taken for lost


class Clients:
    def __init__(self, sandbox):
        self._sandbox = sandbox
        sandbox.repeater()

    @staticmethod
    def command(tool, *arguments):
        return [places.client(tool), "-w", "20", *arguments]

    def _run(self, tool, *arguments):
        return self._sandbox.run(self.command(tool, *arguments))

    def caget(self, name, *options):
        """The value as text."""
        done = self._run("caget", "-t", *options, name)
        assert done.returncode == 0, done.stdout + done.stderr
        return done.stdout.rstrip("\n")

    def caput(self, name, value):
        """The complaint, empty when there is none. The record has processed: the client reads it
        behind the put. (With a put callback, base keeps a failure of the record to itself.)"""
        done = self._run("caput", "-t", name, str(value))
        return done.stderr if "Exception" in done.stderr or done.returncode else ""

    def pvget(self, name):
        """The value as text."""
        done = self._run("pvget", "-M", "raw", "-r", "field(value)", name)
        assert done.returncode == 0, done.stdout + done.stderr
        return re.search(r"^ +\S+ value (.*)$", done.stdout, re.MULTILINE).group(1)

    def pvput(self, name, value):
        """The complaint, empty when there is none."""
        done = self._run("pvput", name, str(value))
        return done.stderr if "Error" in done.stderr or done.returncode else ""

    def exists(self, name):
        return self._run("cainfo", name).returncode == 0

    def wait_for_value(self, name, value):
        """Until a monitor of the record shows what matches the pattern."""
        until(lambda: self._shows(name, value), f"{name} is {value}")

    # The change may have come while the monitor was set up (see Monitor), then another one tells.
    def _shows(self, name, value):
        monitor = self.camonitor(name)
        try:
            return monitor.wait_for(name, value, timeout=SETTLED)
        except AssertionError:
            return None
        finally:
            monitor.close()

    # Read-backs of on/off parameters have no state names, so both show numbers.
    def camonitor(self, *names):
        return Monitor(self._sandbox, "camonitor", names, ["-t", "n", "-n"])

    def pvmonitor(self, *names):
        return Monitor(self._sandbox, "pvmonitor", names, [])


# A line of either client: pvmonitor shows a time, and quotes around texts.
UPDATE = r"""^{name} +(?:\d{{4}}-\d\d-\d\d [\d:.]+ +)?"?({value})"? *$"""


class Monitor:
    """A client that prints each update; started when it has shown every name once.

    The Channel Access server of base sends a first value before it enables the subscription, and
    an update in between is lost. It handles a client's requests one after the other, so those of
    all names are enabled when a further one is answered: that of a field which never changes."""

    def __init__(self, sandbox, tool, names, options):
        last = [f"{names[-1].split('.')[0]}.NAME"] if tool == "camonitor" else []
        self.process = sandbox.start(f"{tool} {' '.join(names)}", [
            "stdbuf", "-oL", places.client(tool), *options, *names, *last])
        for name in [*names, *last]:
            self.wait_for(name, ".*")

    def close(self):
        self.process.kill()

    def wait_for(self, name, value, start=0, timeout=WATCHDOG):
        """An update of the name to a value that matches the pattern whole."""
        pattern = UPDATE.format(name=re.escape(name), value=value)
        return self.process.stdout.wait_for(pattern, start, timeout)

    def mark(self):
        """Where later updates begin."""
        return len(self.process.stdout.text)

    def values(self, name, start=0):
        pattern = UPDATE.format(name=re.escape(name), value=".*?")
        return re.findall(pattern, self.process.stdout.text[start:], re.MULTILINE)
