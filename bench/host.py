"""One machine for many servers and crates: a private network, a /tmp for each, what they use."""

import os
import re
import subprocess
import time
from pathlib import Path

import storms
from load import cpu_seconds, cpu_ticks, Load
from harness.crate import Crate
from harness.ioc import Ioc, LOOPBACK
from harness.sandbox import Sandbox

OWN_TMP = """
set -e
mount -t tmpfs -o size=64m,mode=1777 tmp /tmp
echo ready
exec cat
"""
FIRST_EVENT_PORT = 5180
EVENT_PORTS = range(FIRST_EVENT_PORT, FIRST_EVENT_PORT + 100)
LISTENS = "0A"
# Kinds that change by themselves, of which the full crate has two.
MIX = {kind: storms.MIX[kind] for kind in ("numeric", "status")}


class Host(Sandbox):
    """A sandbox that says what of the machine's load is its own."""

    def ticks(self):
        return sum(cpu_ticks(process.pid) for process in self._processes if process.status is None)

    def load(self):
        """Who uses the machine from now on; ask it with `shares(host.ticks())`."""
        return Load(self.ticks())


class OwnTmp:
    """A further /tmp on a host; otherwise used like the host itself."""

    def __init__(self, host):
        self._host = host
        self._holder = host.start("tmp", ["unshare", "-m", "sh", "-c", OWN_TMP],
                                  stdin=subprocess.PIPE)
        self._holder.stdout.wait_for("^ready$")

    def path(self, path):
        return Path(f"/proc/{self._holder.pid}/root{path}")

    def start(self, name, argv, *more, **options):
        inside = ["nsenter", "-t", str(self._holder.pid), "-m", "--", *map(str, argv)]
        return self._host.start(name, inside, *more, **options)


class Usage:
    """What a process has of the machine at this moment; memory in MB."""

    def __init__(self, pid):
        memory = dict(re.findall(r"^(\w+): +(\d+) kB$", _proc(pid, "smaps_rollup"), re.MULTILINE))
        self.rss = int(memory["Rss"]) / 1024
        self.pss = int(memory["Pss"]) / 1024
        # Its own alone: not the files that others share.
        self.anonymous = int(memory["Anonymous"]) / 1024
        self.threads = len(os.listdir(f"/proc/{pid}/task"))
        self.files = len(os.listdir(f"/proc/{pid}/fd"))


def _proc(pid, name):
    return Path(f"/proc/{pid}/{name}").read_text(encoding="ascii")


def tcp_sockets(pid):
    """Local port, remote port and state of each socket of a process."""
    own = {os.readlink(entry) for entry in Path(f"/proc/{pid}/fd").iterdir()}
    for row in map(str.split, _proc(pid, "net/tcp").splitlines()[1:]):
        if f"socket:[{row[9]}]" in own:
            local, remote = (int(end.rpartition(":")[2], 16) for end in row[1:3])
            yield local, remote, row[3]


def cpu_shares(pids, seconds):
    """What each process takes of a processor from now on."""
    begin = time.monotonic(), list(map(cpu_seconds, pids))
    time.sleep(seconds)
    passed = time.monotonic() - begin[0]
    return [(cpu_seconds(pid) - before) / passed for pid, before in zip(pids, begin[1])]


class Server:
    """A crate and its server, which reads commands from its shell; `place` is a host or a /tmp of
    its own there."""

    def __init__(self, place, description, name=storms.NAME, address=LOOPBACK, env=()):
        self.place = place
        self.name = name
        self._address = address
        self._env = env
        self._begin = None
        place.path("/tmp/crate.yaml").write_text(description, encoding="utf-8")
        self.crate = Crate(place, ["/tmp/crate.yaml"], address)
        self.control = storms.Control(place)
        self.ioc = None

    def start(self, script):
        self._begin = time.monotonic()
        self.ioc = Ioc(self.place, shell=True, script=script, env=self._env, name=self.name,
                       crate=f"{self.name}@{self._address}")
        return self

    def started(self):
        """Waits until the server serves its records; the seconds that it took."""
        self.ioc.wait_running()
        seconds = time.monotonic() - self._begin
        self.crate.wait(eventConnections=1)
        return seconds

    def stop(self):
        assert self.ioc.stop() == 0, self.ioc.process.logs()
        self.crate.wait(eventConnections=0)

    def close(self):
        """With its crate."""
        self.stop()
        assert self.crate.stop() == 0

    def usage(self):
        return Usage(self.ioc.pid)

    def idle(self, seconds):
        return cpu_shares([self.ioc.pid], seconds)[0]

    def event_port(self):
        """On which it listens and, as it must, the crate of its own has connected to it."""
        listening = [local for local, _, state in tcp_sockets(self.ioc.pid)
                     if state == LISTENS and local in EVENT_PORTS]
        assert len(listening) == 1, listening
        assert listening[0] in [remote for _, remote, _ in tcp_sockets(self.crate.process.pid)]
        return listening[0]

    def records(self):
        text = self.place.path("/tmp/ZANTO.db").read_text(encoding="utf-8")
        return [name for _, name in storms.RECORD.findall(text)]

    def scan_changed_only(self, changed_only):
        """For a start script that declares the variable."""
        self.ioc.command(f"var ZANTOScanChangedOnly {int(changed_only)}")

    def storm(self, rate, seconds, mix=None, change=lambda: time.sleep(0.05)):
        """Each event sent alone, `change` called again and again meanwhile. The server's share of
        a processor, the events that it had, what `change` returned."""
        # What moves is the storm's alone.
        self.control.ask("pause")
        begin = time.monotonic(), cpu_seconds(self.ioc.pid)
        self.control.ask("storm", rate=rate, batch=1, seconds=seconds, mix=mix or MIX)
        changes = []
        while self.control.storm()["running"]:
            changes.append(change())
        share = (cpu_seconds(self.ioc.pid) - begin[1]) / (time.monotonic() - begin[0])
        return share, self.control.storm()["sent"], changes
