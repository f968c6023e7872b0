"""A private user, mount and network namespace: loopback alone, and a /tmp of its own.

Fixed ports (3180, 5180, 5064, 5075) and fixed files (/tmp/ZANTO.db) then belong to one test,
and any number of sandboxes runs side by side.
"""

import os
import re
import shutil
import signal
import subprocess
import tempfile
from pathlib import Path

from . import places
from .process import Process, until, WATCHDOG

# Below the real /tmp, as seen before the sandbox's own covers it: what is named after the first
# two arguments stays visible.
SETUP = """
set -e
ip link set lo up
stage=$1 size=$2
shift 2
mount -t tmpfs -o size="$size",mode=1777 sandbox "$stage"
for kept; do
    mkdir -p "$stage${kept#/tmp}"
    mount --rbind "$kept" "$stage${kept#/tmp}"
done
mount --rbind "$stage" /tmp
echo ready
exec cat
"""

SANITIZER = re.compile(r"^.*(ERROR: \w+Sanitizer|WARNING: ThreadSanitizer|runtime error: ).*$",
                       re.MULTILINE)

LOOPBACK = "127.0.0.1"
REPEATER_PORT = 5065
EPICS = {
    "EPICS_CA_ADDR_LIST": LOOPBACK,
    "EPICS_CA_AUTO_ADDR_LIST": "NO",
    "EPICS_CAS_INTF_ADDR_LIST": LOOPBACK,
    "EPICS_CAS_BEACON_ADDR_LIST": LOOPBACK,
    "EPICS_CAS_AUTO_BEACON_ADDR_LIST": "NO",
    "EPICS_PVA_ADDR_LIST": LOOPBACK,
    "EPICS_PVA_AUTO_ADDR_LIST": "NO",
    "EPICS_PVAS_INTF_ADDR_LIST": LOOPBACK,
    "EPICS_PVAS_BEACON_ADDR_LIST": LOOPBACK,
    "EPICS_PVAS_AUTO_BEACON_ADDR_LIST": "NO",
}


def refusal():
    """Why this system does not let us have sandboxes, or None."""
    try:
        probe = subprocess.run(["unshare", "-rmn", "sh", "-c", "ip link set lo up"],
                               stdout=subprocess.PIPE, stderr=subprocess.STDOUT, text=True,
                               timeout=WATCHDOG, check=False)
    except FileNotFoundError as error:
        return str(error)
    return None if probe.returncode == 0 else probe.stdout.strip() or "unshare failed"


def sockets(table):
    """Local address and state of each socket in a table of /proc/net. The kernel goes on by
    position: when sockets appear between two reads it lists again what it had listed."""
    rows = {(fields[1], fields[2], fields[3])
            for fields in map(str.split, table.splitlines()[1:])}
    return [(local, state) for local, _, state in rows]


def environment(more=()):
    """What a process of a sandbox sees: nothing of EPICS or of the loader from outside."""
    env = {name: value for name, value in os.environ.items()
           if not name.startswith(("EPICS_", "LD_")) and name not in ("TOP", "IOCSH_PS1")}
    env.update(EPICS, LC_ALL="C", TERM="dumb")
    env.update(more)
    return env


class Sandbox:
    def __init__(self, tmp_size="64m"):
        self._processes = []
        self._repeater = None
        self._stage = tempfile.mkdtemp(prefix="zanto-sandbox-")
        kept = [str(path) for path in (places.top(), places.epics_base())
                if str(path).startswith("/tmp/")]
        self._holder = Process("sandbox", ["unshare", "-rmn", "sh", "-c", SETUP, "sandbox",
                                           self._stage, tmp_size, *kept],
                               environment(), stdin=subprocess.PIPE)
        self._holder.stdout.wait_for("^ready$")
        self._net = os.stat(f"/proc/{self._holder.pid}/ns/net").st_ino

    def path(self, path):
        """A file of the sandbox, as a path that can be opened from outside."""
        return Path(f"/proc/{self._holder.pid}/root{path}")

    def read(self, path):
        return self.path(path).read_bytes().decode("utf-8", "surrogateescape")

    def inside(self, argv):
        """The command that runs `argv` in the sandbox, under the same process number, and not
        longer than this process lives."""
        return ["nsenter", "-t", str(self._holder.pid), "-U", "-m", "-n", "--preserve-credentials",
                "--", "setpriv", "--pdeathsig", "KILL", "--", *map(str, argv)]

    def start(self, name, argv, env=(), stdin=subprocess.DEVNULL, sink=None):
        process = Process(name, self.inside(argv), environment(env), stdin, sink)
        self._processes.append(process)
        return process

    def running(self, tool):
        """How many processes of this name still run, whatever their arguments."""
        return sum(process.name.split()[0] == tool and process.status is None
                   for process in self._processes)

    def adopt(self, process):
        """Takes on a process started otherwise: it is ended and its output checked here."""
        self._processes.append(process)

    def run(self, argv, env=(), timeout=WATCHDOG):
        """Runs a short command to its end; the caller looks at returncode."""
        return subprocess.run(self.inside(argv), env=environment(env), timeout=timeout,
                              stdin=subprocess.DEVNULL, stdout=subprocess.PIPE,
                              stderr=subprocess.PIPE, text=True, check=False)

    def repeater(self):
        """Channel Access clients start a repeater that outlives them unless there is one."""
        if self._repeater is None:
            self._repeater = self.start("caRepeater", [places.client("caRepeater")])
            until(lambda: self.is_bound("udp", REPEATER_PORT), "caRepeater has its port")

    def is_bound(self, protocol, port):
        return any(local.endswith(f":{port:04X}") for local, _ in self._sockets(protocol))

    def listens(self, ports):
        """Whether somebody listens on each of these TCP ports."""
        listening = {local.rpartition(":")[2] for local, state in self._sockets("tcp")
                     if state == "0A"}
        return all(f"{port:04X}" in listening for port in ports)

    def connections(self, port):
        """Open ends of TCP connections at that local port, not counting who listens."""
        established, close_wait = "01", "08"
        return sum(local.endswith(f":{port:04X}") and state in (established, close_wait)
                   for local, state in self._sockets("tcp"))

    def _sockets(self, protocol):
        return sockets(
            Path(f"/proc/{self._holder.pid}/net/{protocol}").read_text(encoding="ascii"))

    def logs(self):
        return {title: text for process in self._processes
                for title, text in process.logs().items()}

    def reports(self):
        """What sanitizers had to say in any process of the sandbox."""
        return [f"{title}: {found.group(0)}" for title, text in self.logs().items()
                for found in SANITIZER.finditer(text)]

    def close(self):
        """Ends what is left. Returns the complaints: processes nobody started here, reports."""
        for process in reversed(self._processes):
            process.close()
        left = self._left_over()
        self._holder.close()
        shutil.rmtree(self._stage, ignore_errors=True)
        return self.reports() + [f"still running: {text}" for text in left]

    def _left_over(self):
        """Kills, by number, whatever else lives in this sandbox's network; says what it was."""
        found = []
        for entry in Path("/proc").iterdir():
            if not entry.name.isdigit() or int(entry.name) == self._holder.pid:
                continue
            try:
                if os.stat(entry / "ns/net").st_ino != self._net:
                    continue
                text = (entry / "cmdline").read_bytes().replace(b"\0", b" ").decode()
                os.kill(int(entry.name), signal.SIGKILL)
            except OSError:
                continue
            found.append(f"{entry.name} {text}")
        return found
