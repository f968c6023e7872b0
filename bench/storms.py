#!/usr/bin/python3
"""Storms of events of a full crate, of 16 boards with 48 channels or of --boards: how soon every
record holds its last value, how long events and reads take meanwhile, what the server takes of a
processor. Prints a Markdown table and ends. With --changed-only it does so for a server whose
events make only the records process that show what changed, with --both for either server.

Runs in a private network, beside nothing else that matters. Takes about ten seconds a storm.
"""

import argparse
import contextlib
import datetime
import json
import re
import socket
import sys
import time
from pathlib import Path

BENCH = Path(__file__).resolve().parent
sys.path[:0] = [str(BENCH), str(BENCH.parent / "tests/e2e")]

# pylint: disable=wrong-import-position
from load import cpu_seconds
from harness import places
from harness.clients import Clients
from harness.crate import CONTROL, Crate
from harness.ioc import Ioc, LOOPBACK
from harness.tracker import Tracker
from harness.sandbox import Sandbox

NAME = "FULL"
MIX = {"numeric": 580, "status": 100, "on-off": 100, "integer": 100, "text": 116, "property": 4}
# Channels of the full crate get what storms can move of the other kinds.
MORE_PARAMETERS = """\
      - {name: Comment, type: text, mode: read-write}
      - {name: Level, type: integer, mode: read, minimum: 0, maximum: 60000}
      - {name: POn, type: on-off, mode: read-write, on-label: "On", off-label: "Off"}
"""
LAST_OF_A_CHANNEL = "      - {name: Status, type: channel-status, mode: read, role: status}\n"

INPUTS = ("ai", "bi", "mbbi", "mbbiDirect", "stringin")
RECORD = re.compile(r'record\( (\w+), "([^"]+)"\)')
COMPLAINT = re.compile(r"callbackRequest|ring buffer full", re.IGNORECASE)

PROBE = f"{NAME}:00:000:VSet:RBV"
HIGH = f"{NAME}:00:020:VMon"

# Prints how many seconds each caget takes.
READER = r"""
while :; do
    begin=$EPOCHREALTIME
    "$1" -w 20 -t "$2" >/dev/null
    echo "$begin $EPOCHREALTIME"
done
"""

# What of a storm the end must not be waited for longer.
SETTLED = 3.0


class Control:
    """One connection to the crate's control port."""

    def __init__(self, sandbox):
        self._connection = socket.socket(socket.AF_UNIX)
        self._connection.settimeout(60)
        self._connection.connect(str(sandbox.path(CONTROL)))
        self._lines = self._connection.makefile("rw", encoding="utf-8")

    def ask(self, cmd, **fields):
        self._lines.write(json.dumps({"cmd": cmd, **fields}) + "\n")
        self._lines.flush()
        answer = json.loads(self._lines.readline())
        assert answer["ok"], answer
        return answer

    def storm(self):
        return self.ask("statistics")["storm"]


def quantile(values, share):
    ordered = sorted(values)
    return ordered[min(int(share * len(ordered)), len(ordered) - 1)] if ordered else float("nan")


def description(boards, more=MORE_PARAMETERS):
    """The full crate with more parameters and this many boards."""
    text = (places.top() / "crateSim/crates/full.yaml").read_text(encoding="utf-8")
    assert text.count(LAST_OF_A_CHANNEL) == 1
    text = text.replace(LAST_OF_A_CHANNEL, LAST_OF_A_CHANNEL + more)
    text, replaced = re.subn(r"(?m)^slots: 16$", f"slots: {boards}", text)
    assert replaced == 1
    others = "".join(f"  - {{<<: *board, slot: {slot}, serial: {4800 + slot}}}\n"
                     for slot in range(1, boards))
    return re.sub(r"(?m)(^  - {<<: \*board, .*\n)+", others, text)


def place_of(record):
    """The item that an input record shows."""
    _, *where, name = record.removesuffix(":RBV").split(":")
    place = dict(zip(("slot", "channel"), map(int, where)))
    return {**place, "name": name}


def seconds_of(text):
    date, _, fraction = text.partition(".")
    moment = datetime.datetime.strptime(date, "%Y-%m-%d %H:%M:%S").timestamp()
    return moment + float("0." + fraction)


def same(kind, shown, true):
    if isinstance(true, str):
        return shown == true
    if kind == "mbbiDirect":
        true = int(true) & 0xffff
    return abs(float(shown) - float(true)) <= 1e-6 * max(1, abs(float(true)))


class Probe:
    """An item that is changed from outside, and told at once; its record is PROBE."""

    def __init__(self, control):
        self._control = control
        self.value = 0

    def change(self):
        """The moments of the change and of the telling, and the value."""
        self.value = self.value % 400 + 1
        changed = time.monotonic()
        self._control.ask("set", name="VSet", slot=0, channel=0, value=self.value)
        told = time.monotonic()
        self._control.ask("step", seconds=1e-6)
        return changed, told, float(self.value)


def latencies(shown, changes):
    """From the telling of each change to the moment in `shown`, with moments and values, at which
    it was seen. A value that another one has overtaken counts with that one; one that a storm
    took along before it was told took no time."""
    for changed, told, value in changes:
        seen = [at for at, what in shown if at >= changed and what >= value]
        if seen:
            yield max(seen[0] - told, 0)


class Bench:
    def __init__(self, sandbox, script, boards):
        self.sandbox = sandbox
        sandbox.path("/tmp/storms.yaml").write_text(description(boards))
        Crate(sandbox, ["/tmp/storms.yaml"]).wait(sessions=0)
        self.control = Control(sandbox)
        # What moves is the storm's alone.
        self.control.ask("pause")
        self.ioc = Ioc(sandbox, crate=f"{NAME}@{LOOPBACK}", script=script).wait_running()
        self.clients = Clients(sandbox)
        self.control.ask("wait", eventConnections=1, timeout=30)
        found = RECORD.findall(sandbox.read("/tmp/ZANTO.db"))
        self.kinds = {name: kind for kind, name in found if kind in INPUTS}
        self.monitor = Tracker(sandbox, "camonitor", [PROBE])
        self.monitor.wait_connected()
        self.probe = Probe(self.control)

    def records(self):
        """Text and time stamp of every input record."""
        command = [places.client("caget"), "-w", "30", "-a", "-n", "-g", "9", "-F", "|",
                   *self.kinds]
        done = self.sandbox.run(command)
        assert done.returncode == 0, done.stderr[-500:]
        rows = [line.split("|") for line in done.stdout.splitlines()]
        return {row[0]: (row[2], seconds_of(row[1])) for row in rows}

    def truth(self):
        return {name: self.control.ask("get", **place_of(name))["value"] for name in self.kinds}

    def latencies(self, changes):
        return list(latencies(list(self.monitor.histories[PROBE]), changes))

    def one_pass(self):
        """How long all lists take together: one event of each type, nothing else."""
        items = (("Comment", f"pass {time.monotonic()}"), ("Level", 1 + self.probe.value % 2),
                 ("POn", 1 - int(self.control.ask("get", name="POn", slot=0, channel=0)["value"])))
        for name, value in items:
            self.control.ask("set", name=name, slot=0, channel=0, value=value)
        self.probe.change()
        time.sleep(0.5)
        stamps = [stamp for name, (_, stamp) in self.records().items()
                  if self.kinds[name] != "stringin" or name.count(":") > 2]
        latest = max(stamps)
        return latest - min(stamp for stamp in stamps if stamp > latest - 0.5)

    def idle(self):
        """Event to monitor, without a storm."""
        changes = []
        for _ in range(50):
            changes.append(self.probe.change())
            time.sleep(0.02)
        time.sleep(0.2)
        return quantile(self.latencies(changes), 0.5)

    def storm(self, rate, batch, seconds):
        begin = len(self.ioc.stdout.text), len(self.ioc.stderr.text)
        self.probe.value = 0
        self.probe.change()
        time.sleep(0.3)
        reader = self.sandbox.start("caget", ["bash", "-c", READER, "bash", places.client("caget"),
                                            f"{NAME}:03:005:VMon"])
        before = time.monotonic(), cpu_seconds(self.ioc.pid)
        self.control.ask("storm", rate=rate, batch=batch, seconds=seconds, mix=MIX)
        changes = []
        state = self.control.storm()
        while state["running"]:
            if len(changes) < 390:
                changes.append(self.probe.change())
            time.sleep(0.015)
            state = self.control.storm()
        end = time.time()
        share = (cpu_seconds(self.ioc.pid) - before[1]) / (time.monotonic() - before[0])
        reads = [float(b) - float(a) for a, b in re.findall(r"^(\S+) (\S+)$", reader.stdout.text,
                                                            re.MULTILINE)]
        reader.kill()
        late, wrong = self.lateness(end)
        return {"share": share, "sent": state["sent"], "dropped": state["dropped"],
                "late": late, "wrong": wrong,
                "latencies": self.latencies(changes), "reads": reads,
                "messages": self.complaints(*begin), "idle": self.idle_scans()}

    def lateness(self, end):
        """Seconds until the last record had its last value, and how many never had."""
        first = self.records()
        read = time.time()
        while time.time() < end + SETTLED:
            time.sleep(0.05)
        last, truth = self.records(), self.truth()
        wrong = sum(not same(kind, last[name][0], truth[name])
                    for name, kind in self.kinds.items())
        late = 0.0
        for name, kind in self.kinds.items():
            at = last[name][1]
            if same(kind, first[name][0], truth[name]):
                at = min(at, first[name][1], read)
            late = max(late, at - end)
        return late, wrong

    def idle_scans(self):
        """How many records are processed within a second in which nothing happens."""
        before = self.records()
        time.sleep(1)
        after = self.records()
        return sum(before[name][1] != after[name][1] for name in before)

    def complaints(self, stdout, stderr):
        said = self.ioc.stdout.text[stdout:] + self.ioc.stderr.text[stderr:]
        return len(COMPLAINT.findall(said))


PRIORITIES = ["one", "one record HIGH"]
HEAD = ["events/s", "batch", "priorities", "sent", "dropped", "CPU",
        "last value after", "never",
        "event to monitor p50", "p99", "caget p50", "p99", "queue messages", "idle scans"]


def row(rate, batch, priorities, found):
    milliseconds = [f"{1000 * quantile(found[what], share):.1f} ms"
                    for what in ("latencies", "reads") for share in (0.5, 0.99)]
    return [f"{rate:,}", f"{batch:,}", priorities, f"{found['sent']:,}", f"{found['dropped']:,}",
            f"{100 * found['share']:.0f} %", f"{found['late']:.2f} s", found["wrong"],
            *milliseconds, found["messages"], found["idle"]]


def show(cells):
    print("| " + " | ".join(map(str, cells)) + " |", flush=True)


def measure(sandbox, options, changed_only):
    script = places.start_script("st-large.cmd" if changed_only else "st.cmd")
    bench = Bench(sandbox, script, options.boards)
    if changed_only:
        calm = "events make the records process that show what changed"
    else:
        calm = f"one pass of all lists {1000 * bench.one_pass():.1f} ms"
    print(f"{len(bench.kinds)} input records; {calm}; with nothing else going on event to monitor "
          f"{1000 * bench.idle():.1f} ms\n", flush=True)
    show(HEAD)
    show(["---"] * len(HEAD))
    for priorities in options.priorities:
        wanted = "LOW" if priorities == "one" else "HIGH"
        assert bench.clients.caput(f"{HIGH}.PRIO", wanted) == ""
        for rate in options.rates:
            for batch in options.batches:
                show(row(rate, batch, priorities, bench.storm(rate, batch, options.seconds)))
    assert bench.ioc.stop() == 0
    print(flush=True)


def print_complaints(sandbox):
    print(*sandbox.close(), sep="\n", end="", file=sys.stderr)


def main():
    parser = argparse.ArgumentParser(description=__doc__.splitlines()[0])
    parser.add_argument("--rates", type=int, nargs="+", default=[1000, 20000, 200000])
    parser.add_argument("--batches", type=int, nargs="+", default=[1, 1000])
    parser.add_argument("--seconds", type=float, default=3)
    parser.add_argument("--boards", type=int, default=16, help="of 48 channels each")
    parser.add_argument("--priorities", nargs="+", choices=PRIORITIES, default=PRIORITIES)
    servers = parser.add_mutually_exclusive_group()
    servers.add_argument("--changed-only", dest="servers", action="store_const", const=[True],
                         default=[False], help="a server that scans what changed alone")
    servers.add_argument("--both", dest="servers", action="store_const", const=[False, True],
                         help="first the server as it is, then such a server")
    options = parser.parse_args()
    for changed_only in options.servers:
        with contextlib.ExitStack() as ends:
            sandbox = Sandbox(tmp_size="512m")
            ends.callback(print_complaints, sandbox)
            measure(sandbox, options, changed_only)


if __name__ == "__main__":
    main()
