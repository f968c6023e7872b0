#!/usr/bin/python3
"""What a host can carry: many servers side by side, one server of a large crate, one server with
many clients, one server with the records of a site. Prints a Markdown table for each and ends.

Everything runs in a private network on loopback, in a /tmp of its own: crates, servers and clients
share the processors. Rows marked `*` were measured while others kept the machine busy.
"""

import argparse
import concurrent.futures
import contextlib
import os
import re
import resource
import sys
import time
from pathlib import Path

os.environ.setdefault("ZANTO_E2E_WATCHDOG", "180")
BENCH = Path(__file__).resolve().parent
sys.path[:0] = [str(BENCH), str(BENCH.parent / "tests/e2e")]

# pylint: disable=wrong-import-position
import pairs
import storms
from crowd import Crowd, program
from host import cpu_shares, Host, MIX, OwnTmp, Server
from harness import places
from harness.sandbox import refusal

CHANNELS = 48
# Updates of the probe that all clients together have in a second, beside the storm's.
PROBED = 5000
LARGE = "st-large.cmd"
MODES = {False: "all", True: "changed"}

# The children of a small process: the memory of a large one would count as theirs.
MEASURED = """
import resource, subprocess, sys
subprocess.run(sys.argv[1:], check=True, stdout=subprocess.DEVNULL)
print(resource.getrusage(resource.RUSAGE_CHILDREN).ru_maxrss)
"""


def percent(share):
    return f"{100 * share:.1f} %"


def megabytes(value):
    return f"{value:.1f} MB"


def seconds_text(value):
    return f"{value:.2f} s"


def milliseconds(values, share):
    return f"{1000 * pairs.quantile(values, share):.1f}"


class Table:
    """Printed row by row; notes what others used meanwhile."""

    busy = []  # of all tables' rows: others, stolen

    def __init__(self, title, head):
        print(f"\n{title}\n", *pairs.table(head, []), sep="\n", flush=True)

    def add(self, cells, shares):
        Table.busy.append(shares)
        mark = "*" if pairs.is_busy(*shares) else ""
        print(pairs.row([f"{cells[0]}{mark}", *cells[1:]]), flush=True)

    @classmethod
    def show_load(cls):
        others, stolen = zip(*cls.busy)
        count = sum(pairs.is_busy(*shares) for shares in cls.busy)
        print(f"\nOthers used {percent(max(others))} of the CPU time at most, stolen were "
              f"{percent(max(stolen))} at most.")
        if count:
            print(f"BUSY MACHINE: {count} of {len(cls.busy)} rows (*) were measured while others "
                  f"used more than {percent(pairs.OTHERS_ALLOWED)} or more than "
                  f"{percent(pairs.STEAL_ALLOWED)} was stolen.")


@contextlib.contextmanager
def new_host():
    host = Host(tmp_size="512m")
    try:
        host.repeater()
        yield host
    finally:
        print(*host.close(), sep="\n", end="", file=sys.stderr)


def description(boards):
    return storms.description(boards, more="")


# ---- servers side by side

LOCATION = "Counting room"


def ports(number):
    """Of the Channel Access and pvAccess servers, and where their clients look for them."""
    ca, tcp, udp = (str(base + 10 * number) for base in (6064, 6075, 6076))
    return {"EPICS_CA_SERVER_PORT": ca, "EPICS_CAS_SERVER_PORT": ca,
            "EPICS_PVAS_SERVER_PORT": tcp, "EPICS_PVAS_BROADCAST_PORT": udp,
            "EPICS_PVA_BROADCAST_PORT": udp}


class Neighbour(Server):
    """One of many servers on a host: own address, ports and files, a text of its own."""

    def __init__(self, host, boards, number):
        self._host = host
        self.location = f"{LOCATION} {number}"
        text = description(boards).replace(LOCATION, self.location)
        super().__init__(OwnTmp(host), text, f"HV{number}", f"127.{10 + number}.1.1",
                         ports(number))

    def check(self):
        """Through either protocol it serves its own crate."""
        for tool in ("caget", "pvget"):
            words = [f"{name}={value}" for name, value in ports(int(self.name[2:])).items()]
            done = self._host.run(["env", *words, places.client(tool), "-w", "20",
                                   f"{self.name}:Location"])
            assert re.search(rf'{self.location}"? *$', done.stdout, re.MULTILINE), done


def start_together(servers, script):
    """The seconds that each of them took."""
    for server in servers:
        server.start(script)
    with concurrent.futures.ThreadPoolExecutor(len(servers)) as waits:
        return list(waits.map(Server.started, servers))


def measure_neighbours(table, host, servers, options):
    load = host.load()
    starts = start_together(servers, places.start_script())
    time.sleep(options.settle)
    idle = cpu_shares([server.ioc.pid for server in servers], options.idle)
    shares = load.shares(host.ticks())
    for server, start, share in zip(servers, starts, idle):
        server.check()
        used = server.usage()
        table.add([f"{server.name} of {len(servers)}", seconds_text(start), megabytes(used.rss),
                   megabytes(used.pss), percent(share), used.files, used.threads,
                   server.event_port(), server.location], shares)
    assert len({server.event_port() for server in servers}) == len(servers)
    for server in servers:
        server.stop()


def measure_servers(options):
    with new_host() as host:
        servers = [Neighbour(host, options.full, number) for number in range(options.servers)]
        table = Table(f"Servers side by side, {options.full} boards x {CHANNELS} channels each",
                      ["server", "serves after", "RSS", "PSS", "idle CPU", "files", "threads",
                       "event port", "its Location"])
        measure_neighbours(table, host, servers[:1], options)
        measure_neighbours(table, host, servers, options)


# ---- crates of many boards

def measure_boards(options):
    table = Table(f"One server, boards x {CHANNELS} channels, {options.rate:,} events/s",
                  ["boards", "records", "serves after", "RSS", "PSS", "idle CPU",
                   "CPU, scanning all", "CPU, scanning what changed"])
    for boards in options.boards:
        with new_host() as host:
            load = host.load()
            server = Server(host, description(boards)).start(places.start_script(LARGE))
            start = server.started()
            time.sleep(options.settle)
            used, idle = server.usage(), server.idle(options.idle)
            storm = []
            for changed_only in MODES:
                server.scan_changed_only(changed_only)
                storm.append(percent(server.storm(options.rate, options.seconds)[0]))
            table.add([boards, f"{len(server.records()):,}", seconds_text(start),
                       megabytes(used.rss), megabytes(used.pss), percent(idle), *storm],
                      load.shares(host.ticks()))
            server.stop()


# ---- many clients

def probe_delays(server, crowd, options):
    """From event to monitor, of all clients, with the storm."""
    probe = storms.Probe(server.control)

    def change():
        time.sleep(max(0.02, crowd.clients / PROBED))
        return probe.change()

    crowd.take()
    changes = server.storm(options.rate, options.seconds, change=change)[2]
    time.sleep(options.settle)
    return [delay for history in crowd.take()[0] for delay in storms.latencies(history, changes)]


def measure_crowd(table, host, protocol, clients, options):
    server = Server(host, description(options.full)).start(places.start_script(LARGE))
    server.started()
    time.sleep(options.settle)
    before = server.usage()
    shown = [name for name in server.records() if name.endswith(":VMon")]
    begin = time.monotonic()
    crowd = Crowd(host, protocol, clients, options.monitors, shown)
    crowd.wait_connected()
    connected = time.monotonic() - begin
    time.sleep(options.settle)
    used = server.usage()
    grown = used.anonymous - before.anonymous
    for changed_only, mode in MODES.items():
        load = host.load()
        server.scan_changed_only(changed_only)
        crowd.take()
        share = server.storm(options.rate, options.seconds)[0]
        updates = crowd.take()[1]
        delays = probe_delays(server, crowd, options)
        table.add([f"{clients:,} {protocol}", seconds_text(connected),
                   megabytes(grown), f"{1024 * grown / clients:.0f} kB",
                   used.threads - before.threads, used.files - before.files, mode, percent(share),
                   f"{updates / options.seconds:,.0f}", milliseconds(delays, 0.5),
                   milliseconds(delays, 0.99)], load.shares(host.ticks()))
    crowd.close()
    server.stop()


def measure_clients(options):
    table = Table(f"One server, {options.full} boards x {CHANNELS} channels, {options.rate:,} "
                  f"events/s, clients with {options.monitors} monitors each",
                  ["clients", "connected after", "memory of the server", "each", "threads", "files",
                   "scans", "CPU", "updates/s", "event to monitor p50 [ms]", "p99 [ms]"])
    for protocol, counts in (("ca", options.clients), ("pva", options.pva_clients)):
        for clients in counts:
            with new_host() as host:
                measure_crowd(table, host, protocol, clients, options)


# ---- the records of a site

SITE = "/tmp/site.yaml"
CRATE = "/tmp/full.yaml"
MADE = "/tmp/site"
LOADS = f'asSetFilename("{MADE}/site.acf")\ndbLoadRecords("{MADE}/site.db")\n'
EVENTS_OF_ONE_KIND = 20  # a second: each is scanned for before the next one


def write_site(host):
    """The site file that zantosite proposes, with its names; no records of health."""
    zantosite = places.program("zantosite")
    done = host.run([zantosite, "new", "--pvlist", CRATE])
    assert done.returncode == 0, done.stderr
    text = re.sub("(?m)^    # name:", "    name:", done.stdout)
    text = re.sub("(?m)^stale: .*$", "stale: keep", text)
    host.path(SITE).write_text(text, encoding="utf-8")


def make_site(host):
    """Seconds, and the peak of memory in MB."""
    begin = time.monotonic()
    done = host.run(["/usr/bin/python3", "-S", "-c", MEASURED, places.program("zantosite"),
                     "make", SITE, "--pvlist", CRATE, "--out", MADE])
    assert done.returncode == 0, done.stderr
    return time.monotonic() - begin, int(done.stdout) / 1024


def site_script(host):
    text = Path(places.start_script()).read_text(encoding="utf-8")
    assert text.count("\niocInit()") == 1
    host.path("/tmp/site.cmd").write_text(text.replace("\niocInit()", f"\n{LOADS}iocInit()"),
                                          encoding="utf-8")
    return "/tmp/site.cmd"


def measure_start(table, host, name, script, options):
    load = host.load()
    server = Server(host, description(options.full)).start(script)
    start = server.started()
    time.sleep(options.settle)
    used, idle = server.usage(), server.idle(options.idle)
    cells = []
    for kind in MIX:
        share, sent, _ = server.storm(EVENTS_OF_ONE_KIND, options.seconds, {kind: 1})
        cells.append(f"{1000 * share * options.seconds / sent:.2f} ms")
    table.add([name, seconds_text(start), megabytes(used.rss), megabytes(used.pss), percent(idle),
               *cells], load.shares(host.ticks()))
    server.close()


def measure_site(options):
    with new_host() as host:
        host.path(CRATE).write_text(description(options.full), encoding="utf-8")
        write_site(host)
        load = host.load()
        seconds, peak = make_site(host)
        shares = load.shares(host.ticks())
        database = host.read(f"{MADE}/site.db")
        table = Table(f"zantosite make, {options.full} boards x {CHANNELS} channels",
                      ["", "seconds", "peak memory", "site.db", "entries", "aliases"])
        table.add(["make", seconds_text(seconds), megabytes(peak),
                   megabytes(len(database) / 1024 ** 2), f"{database.count('record('):,}",
                   f"{database.count('alias('):,}"], shares)
        table = Table("Server with and without the site's records; CPU time of an event, which all "
                      "records of its type are scanned for",
                      ["records", "serves after", "RSS", "PSS", "idle CPU", *MIX])
        scripts = {"the server's": places.start_script(), "and the site's": site_script(host)}
        for name, script in scripts.items():
            measure_start(table, host, name, script, options)


PARTS = {"servers": measure_servers, "boards": measure_boards, "clients": measure_clients,
         "site": measure_site}
QUICK = {"servers": 2, "full": 1, "boards": [1], "clients": [3], "pva_clients": [2],
         "seconds": 0.3, "idle": 0.3, "settle": 0.1}


def up_to(limit):
    def number(text):
        if not 1 <= int(text) <= limit:
            raise argparse.ArgumentTypeError(f"not from 1 to {limit}: {text}")
        return int(text)
    return number


def parse():
    parser = argparse.ArgumentParser(description=__doc__.splitlines()[0])
    parser.add_argument("--only", nargs="+", choices=PARTS, default=list(PARTS))
    parser.add_argument("--quick", action="store_true",
                        help="small numbers: shows in seconds that it runs")
    parser.add_argument("--servers", type=up_to(100), default=10, help="side by side")
    parser.add_argument("--full", type=up_to(64), default=16, metavar="BOARDS",
                        help="of a full crate; boards have 48 channels")
    parser.add_argument("--boards", type=up_to(64), nargs="+", default=[1, 4, 16, 64])
    parser.add_argument("--clients", type=up_to(2000), nargs="*", default=[1, 10, 100, 1000],
                        help="of Channel Access")
    parser.add_argument("--pva-clients", type=up_to(500), nargs="*", default=[1, 10, 100],
                        help="of pvAccess")
    parser.add_argument("--monitors", type=up_to(200), default=20, help="of each client")
    parser.add_argument("--rate", type=up_to(100000), default=1000, help="events in a second")
    parser.add_argument("--seconds", type=up_to(60), default=8, help="of each storm")
    parser.add_argument("--idle", type=up_to(600), default=10,
                        help="seconds in which nothing happens")
    parser.add_argument("--settle", type=up_to(60), default=2,
                        help="seconds after a start or a storm")
    options = parser.parse_args()
    if options.quick:
        vars(options).update(QUICK)
    return options


def hindrance():
    """Why nothing can be measured here, or None."""
    if not program().is_file():
        return f"not built: {program()}; see make bench"
    return places.what_is_missing() or refusal()


def main():
    options = parse()
    why = hindrance()
    if why:
        sys.exit(why)
    # A server with a thousand clients has as many files.
    _, most = resource.getrlimit(resource.RLIMIT_NOFILE)
    resource.setrlimit(resource.RLIMIT_NOFILE, (most, most))
    begin = time.monotonic()
    for part in options.only:
        PARTS[part](options)
    Table.show_load()
    print(f"Took {time.monotonic() - begin:.0f} s.")


if __name__ == "__main__":
    main()
