#!/usr/bin/python3
"""The server against its limit: the same records with a device support that only copies a number.
Runs both programs in turns, prints ratios of the pairs as Markdown tables and ends.

Both run on one core, on loopback and with a /tmp of their own, in a private network. The start,
passes and events count the process' CPU time, puts the time that passes for the client.
"""

import argparse
import contextlib
import json
import resource
import sys
import time
from pathlib import Path

BENCH = Path(__file__).resolve().parent
sys.path[:0] = [str(BENCH), str(BENCH.parent / "tests/e2e")]

# pylint: disable=wrong-import-position
import pairs
from harness import places
from harness.world import refusal, World

LIMIT = "limit"
# Taken together in one process; what changes the process for others is alone.
GROUPS = (("build", "memory", "pass-ai", "pass-bi", "pass-bits", "pass-text"), ("event",),
          ("ca-put",), ("pva-put",), ("set-to-rbv",))
MEASUREMENTS = [name for group in GROUPS for name in group]
PATIENCE = 300
TICKS = 100  # of /proc/stat, in a second


class Load:
    """Who used the cores since the last look: others, the hypervisor."""

    def __init__(self):
        self._last = self._now()

    @staticmethod
    def _now():
        own = sum(usage.ru_utime + usage.ru_stime for usage in
                  map(resource.getrusage, (resource.RUSAGE_SELF, resource.RUSAGE_CHILDREN)))
        return pairs.CpuTimes(Path("/proc/stat").read_text(encoding="ascii")), own * TICKS

    def look(self):
        last, self._last = self._last, self._now()
        return pairs.shares(last[0], self._last[0], self._last[1] - last[1])


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


def groups(only):
    chosen = ([name for name in group if name in only] for group in GROUPS)
    return [group for group in chosen if group]


class Driver:
    def __init__(self, world, options, programs):
        self.world = world
        self.options = options
        self.programs = programs
        self.samples = pairs.Samples()

    def run(self, program, boards, names):
        command = [program, "--boards", boards, "--puts", self.options.puts,
                   "--shown", self.options.shown]
        if self.options.core is not None:
            command += ["--core", self.options.core]
        done = self.world.run([*command, *names], timeout=PATIENCE)
        assert done.returncode == 0, (program, names, done.stderr[-1000:])
        return pairs.results(done.stdout)

    def pair(self, boards, number):
        for group in groups(self.options.only):
            for program, path in self.programs.items():
                load = Load()
                found = self.run(path, boards, group)
                share = load.look()
                for name in group:
                    self.samples.add(boards, number, program, found[name], share)

    def measure(self):
        for boards in self.options.boards:
            for number in range(self.options.pairs):
                self.pair(boards, number)
            self.show(boards)
        if len(self.options.boards) > 1:
            print(*pairs.growths(self.samples, self.options.boards, list(self.programs)), "",
                  sep="\n")

    def show(self, boards):
        servers = [name for name in self.programs if name != LIMIT]
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
    parser.add_argument("--puts", type=int, default=3000)
    parser.add_argument("--shown", type=int, default=300,
                        help="puts that are followed up to the read-back")
    parser.add_argument("--core", type=int, help="the last one unless named")
    parser.add_argument("--json", type=Path, metavar="FILE", help="keeps all values")
    parser.add_argument("--server-program", type=server_program, action="append",
                        metavar="[NAME=]PATH", help="serverBench of another build; again for more")
    return parser.parse_args()


def main():
    options = parse()
    servers = options.server_program or [("server", built("serverBench"))]
    programs = dict([*servers, (LIMIT, built("limitBench"))])
    why = hindrance(programs)
    if why:
        sys.exit(why)
    begin = time.monotonic()
    world = World(tmp_size="256m")
    with contextlib.ExitStack() as ends:
        ends.callback(lambda: print(*world.close(), sep="\n", end="", file=sys.stderr))
        world.repeater()
        driver = Driver(world, options, programs)
        driver.measure()
        driver.show_load()
    print(f"Took {time.monotonic() - begin:.0f} s.")
    if options.json:
        options.json.write_text(json.dumps(driver.samples.rows, indent=1), encoding="utf-8")


if __name__ == "__main__":
    main()
