"""The simulated crate and its control port."""

import contextlib
import json
import re
import signal
import socket

from . import places
from .process import WATCHDOG
from .sandbox import LOOPBACK

CONTROL = "/tmp/crate.control"


def write_reduced(sandbox, path):
    """A description of the built-in crate with 14 channels instead of 120, which a server reads
    that much faster: four in slots 0, 2 and 15, whose board is like the first, one in 3 and 7."""
    built_in = sandbox.run([places.program("zantocrate"), "--print-default"]).stdout
    without_loads = re.sub(r"^    loads:\n(?:      .*\n)+", "", built_in, flags=re.MULTILINE)
    counts = iter((4, 4, 1, 1))
    sandbox.path(path).write_text(re.sub(r"(?<=^    channels: )\d+$", lambda _: str(next(counts)),
                                         without_loads, flags=re.MULTILINE), encoding="utf-8")


class Refused(Exception):
    """The control port said no."""


class Crate:
    def __init__(self, sandbox, options=(), address=LOOPBACK):
        self._sandbox = sandbox
        self.process = sandbox.start("zantocrate", [
            places.program("zantocrate"), "--address", address, "--control", CONTROL, *options])
        self.process.stdout.wait_for(r"^zantocrate: ready on ")

    def control(self, cmd, **fields):
        request = json.dumps({"cmd": cmd, **fields}) + "\n"
        with contextlib.closing(socket.socket(socket.AF_UNIX)) as connection:
            connection.settimeout(WATCHDOG + 10)
            connection.connect(str(self._sandbox.path(CONTROL)))
            connection.sendall(request.encode())
            with connection.makefile("r", encoding="utf-8") as lines:
                answer = json.loads(lines.readline())
        if not answer.pop("ok"):
            raise Refused(f"{request.strip()}: {answer['error']}")
        return answer

    def get(self, name, slot=None, channel=None):
        return self.control("get", name=name, **_place(slot, channel))["value"]

    def set(self, name, value, slot=None, channel=None):
        """As from the front panel."""
        self.control("set", name=name, value=value, **_place(slot, channel))

    def log(self, *operations):
        """The calls so far, all or those of the operations named without their prefix."""
        lines = self.control("log")["log"]
        heads = tuple(f"VEXAHV_{operation}(" for operation in operations)
        return [line for line in lines if line.startswith(heads)] if operations else lines

    def sets(self):
        return self.log("SetSysProp", "SetBdParam", "SetChParam", "SetChName", "ExecComm")

    def statistics(self, **fields):
        return self.control("statistics", **fields)

    def clear(self):
        self.statistics(clear=True)

    def wait(self, **fields):
        """For a call (and its count), eventConnections, sessions, or an item's value."""
        self.control("wait", **{"timeout": WATCHDOG, **fields})

    def fault(self, kind, **fields):
        self.control("fault", kind=kind, **fields)

    def hang(self):
        """No call gets an answer until the release."""
        self.fault("hang", operation="any", count=0)

    def release(self):
        self.control("clear-faults", kind="hang")

    def faults_applied(self):
        """How often, by kind."""
        return self.statistics()["faults"]

    def kill(self):
        self.process.kill()

    def stop(self):
        """Ends it as an operator would."""
        if self.process.status is None:
            self.process.send(signal.SIGTERM)
        return self.process.wait()


def _place(slot, channel):
    place = {} if slot is None else {"slot": slot}
    return place if channel is None else {**place, "channel": channel}
