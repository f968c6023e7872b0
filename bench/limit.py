#!/usr/bin/python3
"""The server against its limit: the same records with a device support that only copies a number.
Runs both programs in pairs, prints ratios of the pairs as Markdown tables and ends.

Both run on one core, on loopback, with a /tmp and a network of their own. The processes of a pair
run at the same time and take turns, so that both meet the same neighbours in the caches. Start,
passes and events count the process' CPU time, puts the time that passes for the client.
"""

import argparse
import contextlib
import json
import subprocess
import sys
import time
from pathlib import Path

BENCH = Path(__file__).resolve().parent
sys.path[:0] = [str(BENCH), str(BENCH.parent / "tests/e2e")]

# pylint: disable=wrong-import-position
import pairs
from load import cpu_ticks, Load
from harness import places
from harness.sandbox import refusal, Sandbox

LIMIT = "limit"
ALONE = ("build", "memory")
# What comes together is taken from one process of each program, in this order: the last one
# changes what a put does.
IN_TURNS = (("event",), ("pass-ai", "pass-bi", "pass-bits", "pass-text", "ca-put", "pva-put",
                         "set-to-rbv"))
MEASUREMENTS = [*ALONE, *(name for group in IN_TURNS for name in group)]
PATIENCE = 300


class Site:
    """A sandbox of its own for a program: both use the same ports and files."""

    def __init__(self, program):
        self.sandbox = Sandbox(tmp_size="256m")
        self.program = program
        self._process = None

    def start(self, options):
        self._process = self.sandbox.start(self.program.name, [self.program, "--turns", *options],
                                         stdin=subprocess.PIPE)
        self._process.stdout.wait_for("^ready$", timeout=PATIENCE)

    def measure(self, name):
        start = len(self._process.stdout.text)
        self._process.stdin.write(f"{name}\n".encode())
        self._process.stdin.flush()
        self._process.stdout.wait_for(r"^\{.*\}$", start, PATIENCE)
        return pairs.results(self._process.stdout.text[start:])[name]

    def measure_alone(self, options, names):
        done = self.sandbox.run([self.program, *options, *names], timeout=PATIENCE)
        assert done.returncode == 0, (self.program, names, done.stderr[-1000:])
        return pairs.results(done.stdout)

    def ticks(self):
        return cpu_ticks(self._process.pid)

    def stop(self):
        self._process.stdin.close()
        assert self._process.wait() == 0, self._process.logs()


def built(name):
    return places.top() / "bench" / f"O.{places.arch()}" / name


def server_program(text):
    """[NAME=]PATH; without a name it is called after its checkout."""
    name, _, path = text.rpartition("=")
    path = Path(path).resolve()
    if not path.is_file() or path.is_relative_to("/tmp"):
        raise argparse.ArgumentTypeError(f"no program, or one below /tmp: {path}")
    return name or path.parents[2].name, path


def hindrance(programs):
    """Why nothing can be measured here, or None."""
    missing = [str(path) for path in programs.values() if not path.is_file()]
    return f"not built: {missing[0]}; see make bench" if missing else refusal()


class Driver:
    def __init__(self, sites, options):
        self.sites = sites
        self.options = options
        self.samples = pairs.Samples()

    def words(self, boards):
        found = ["--boards", boards, "--puts", self.options.puts, "--shown", self.options.shown]
        return found if self.options.core is None else [*found, "--core", self.options.core]

    def chosen(self, group):
        return [name for name in group if name in self.options.only]

    def alone(self, boards, number):
        """One process after the other, each with all of the machine's memory for itself."""
        for program, site in self.sites.items() if self.chosen(ALONE) else ():
            load = Load()
            found = site.measure_alone(self.words(boards), self.chosen(ALONE))
            self.samples.add((boards, number, 0), program, found.values(), load.shares())

    def in_turns(self, boards, number, names):
        """All processes at the same time, of which one is at work."""
        load = Load()
        for site in self.sites.values():
            site.start([*self.words(boards), *names])
        found = [(turn, program, site.measure(name)) for name in names
                 for turn in range(self.options.turns) for program, site in self.sites.items()]
        shares = load.shares(sum(site.ticks() for site in self.sites.values()))
        for site in self.sites.values():
            site.stop()
        for turn, program, result in found:
            self.samples.add((boards, number, turn), program, [result], shares)

    def pair(self, boards, number):
        self.alone(boards, number)
        for group in filter(None, map(self.chosen, IN_TURNS)):
            self.in_turns(boards, number, group)

    def measure(self):
        for boards in self.options.boards:
            for number in range(self.options.pairs):
                self.pair(boards, number)
            self.show(boards)
        if len(self.options.boards) > 1:
            print(*pairs.growths(self.samples, self.options.boards, list(self.sites)), "", sep="\n")

    def show(self, boards):
        servers = [name for name in self.sites if name != LIMIT]
        print(f"{boards} boards, {self.options.pairs} pairs:\n")
        print(*pairs.comparison(self.samples, boards, servers, LIMIT), "", sep="\n")
        for name in self.samples.names():
            for what in self.samples.differences(name, boards):
                print(f"Not the same in all programs: {what} of {name}.\n")
        sys.stdout.flush()

    def show_load(self):
        rows = self.samples.rows
        others = [row["others"] for row in rows]
        steal = [row["steal"] for row in rows]
        busy = sum(map(pairs.is_busy, others, steal))
        print(f"Others used {100 * pairs.median(others):.1f} % of the CPU time (at most "
              f"{100 * max(others):.1f} %), stolen were {100 * max(steal):.1f} % at most.")
        if busy:
            print(f"BUSY MACHINE: {busy} of {len(rows)} values (*) were taken while others used "
                  f"more than {100 * pairs.OTHERS_ALLOWED:.0f} % or more than "
                  f"{100 * pairs.STEAL_ALLOWED:.0f} % was stolen.")


def parse():
    parser = argparse.ArgumentParser(description=__doc__.splitlines()[0])
    parser.add_argument("--pairs", type=int, default=7)
    parser.add_argument("--boards", type=int, nargs="+", default=[16])
    parser.add_argument("--only", nargs="+", choices=MEASUREMENTS, default=MEASUREMENTS,
                        metavar="MEASUREMENT", help=", ".join(MEASUREMENTS))
    parser.add_argument("--turns", type=int, default=5,
                        help="how often the two of a pair take each measurement")
    parser.add_argument("--puts", type=int, default=1000, help="in a turn")
    parser.add_argument("--shown", type=int, default=40,
                        help="puts in a turn that are followed up to the read-back")
    parser.add_argument("--core", type=int, help="the last one unless named")
    parser.add_argument("--json", type=Path, metavar="FILE", help="keeps all values")
    parser.add_argument("--server-program", type=server_program, action="append",
                        metavar="[NAME=]PATH", help="serverBench of another build; again for more")
    return parser.parse_args()


def close(sandbox):
    print(*sandbox.close(), sep="\n", end="", file=sys.stderr)


def main():
    options = parse()
    servers = options.server_program or [("server", built("serverBench"))]
    programs = dict([*servers, (LIMIT, built("limitBench"))])
    why = hindrance(programs)
    if why:
        sys.exit(why)
    begin = time.monotonic()
    with contextlib.ExitStack() as ends:
        sites = {}
        for name, path in programs.items():
            sites[name] = Site(path)
            ends.callback(close, sites[name].sandbox)
            sites[name].sandbox.repeater()
        driver = Driver(sites, options)
        driver.measure()
        driver.show_load()
    print(f"Took {time.monotonic() - begin:.0f} s.")
    if options.json:
        options.json.write_text(json.dumps(driver.samples.rows, indent=1), encoding="utf-8")


if __name__ == "__main__":
    main()
