"""What monitors show and what the crate says, side by side over time.

Both are kept as histories: each value with the moment from which on it was seen.
"""

import bisect
import json
import socket
import threading
import time

from . import places
from .crate import CONTROL
from .process import WATCHDOG, until


class History:
    """The values of one item, each with the moment from which on it held."""

    def __init__(self):
        self._moments = []
        self._values = []

    def note(self, moment, value):
        if not self._values or self._values[-1] != value:
            self._moments.append(moment)
            self._values.append(value)

    @property
    def last(self):
        return self._values[-1] if self._values else None

    def __iter__(self):
        return iter(zip(self._moments, self._values))

    def between(self, begin, end):
        """Every value that held at some time from begin to end."""
        first = max(bisect.bisect_right(self._moments, begin) - 1, 0)
        return self._values[first:bisect.bisect_right(self._moments, end)]


class Tracker:
    """A camonitor or pvmonitor of many records."""

    OPTIONS = {"camonitor": ["-t", "n", "-n"], "pvmonitor": []}

    def __init__(self, sandbox, tool, names, env=()):
        self.tool = tool
        self.histories = {name: History() for name in names}
        command = ["stdbuf", "-oL", places.client(tool), *self.OPTIONS[tool], *names]
        self._process = sandbox.start(tool, command, env, sink=self._note)

    def _note(self, line):
        words = line.split()
        if len(words) > 1 and words[0] in self.histories:
            self.histories[words[0]].note(time.monotonic(), _number(words[-1]))

    def wait_connected(self):
        until(lambda: all(history.last is not None for history in self.histories.values()),
              f"{self.tool} shows every name")

    def close(self):
        self._process.kill()


def _number(word):
    """pvmonitor puts the number of a switch in brackets."""
    try:
        return float(word.strip("()"))
    except ValueError:
        return word


class Recorder:
    """Asks the control port for whole boards again and again, over one connection."""

    def __init__(self, sandbox, slots, period=0.1):
        self.histories = {}
        self.asked = []  # the moments at which a round of questions began
        self._slots = slots
        self._period = period
        self._connection = socket.socket(socket.AF_UNIX)
        self._connection.settimeout(WATCHDOG)
        self._connection.connect(str(sandbox.path(CONTROL)))
        self._lines = self._connection.makefile("rw", encoding="utf-8")
        self._ends = threading.Event()
        self._failure = None
        self._thread = threading.Thread(target=self._run, daemon=True)
        self._thread.start()

    def _run(self):
        try:
            while not self._ends.wait(self._period):
                self.asked.append(time.monotonic())
                for slot in self._slots:
                    self._ask(slot)
        except (OSError, ValueError, KeyError) as error:
            self._failure = error

    def _ask(self, slot):
        self._lines.write(json.dumps({"cmd": "show", "slot": slot}) + "\n")
        self._lines.flush()
        answer = json.loads(self._lines.readline())
        if not answer["ok"]:
            raise ValueError(answer["error"])
        moment = time.monotonic()
        for row in answer["channelRows"]:
            for field in ("voltage", "status"):
                self._history(slot, row["channel"], field).note(moment, float(row[field]))

    def _history(self, slot, channel, field):
        return self.histories.setdefault((slot, channel, field), History())

    def close(self):
        self._ends.set()
        self._thread.join(WATCHDOG)
        self._connection.close()
        assert self._failure is None, repr(self._failure)
        assert not self._thread.is_alive()
