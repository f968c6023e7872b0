"""Many clients of one server, in a few processes of monitorClients.

Each process stands for a machine of its own: it has its own caRepeater, because one tells all
clients of each new one, and looks for pvAccess servers from another port than the server's, which
would share what arrives there with the clients.
"""

import re
import subprocess

import storms
from harness import places
from harness.process import until
from harness.sandbox import LOOPBACK

IN_A_PROCESS = 50
FIRST_PORT = 7000  # two for each process
PVA_SEARCHED = 5076
PATIENCE = 120
UPDATE = re.compile(r"^(\d+) (\d+\.\d+) (\S+)$", re.MULTILINE)


def program():
    return places.top() / "bench" / f"O.{places.arch()}" / "monitorClients"


def names_of(client, monitors, shown):
    """The records of one client: the probe, then its share of what is shown, as on the screens of
    people who look at different channels."""
    begin = client * (monitors - 1)
    return [storms.PROBE, *(shown[(begin + i) % len(shown)] for i in range(monitors - 1))]


class Crowd:
    """`protocol`: ca or pva. Each client has connections of its own."""

    def __init__(self, host, protocol, clients, monitors, shown):
        self.clients = clients
        self._processes = []
        for begin in range(0, clients, IN_A_PROCESS):
            process = host.start("clients", [program(), protocol],
                                 self._environment(host, FIRST_PORT + 2 * len(self._processes)),
                                 stdin=subprocess.PIPE)
            self._processes.append(process)
            for client in range(begin, min(begin + IN_A_PROCESS, clients)):
                self._say(process, " ".join(names_of(client, monitors, shown)))
            self._say(process, "")

    @staticmethod
    def _environment(host, port):
        env = {"EPICS_CA_REPEATER_PORT": str(port),
               "EPICS_PVA_BROADCAST_PORT": str(port + 1),
               "EPICS_PVA_ADDR_LIST": f"{LOOPBACK}:{PVA_SEARCHED}"}
        host.start("caRepeater", [places.client("caRepeater")], env)
        until(lambda: host.is_bound("udp", port), "caRepeater has its port")
        return env

    @staticmethod
    def _say(process, line):
        process.stdin.write(line.encode() + b"\n")
        process.stdin.flush()

    def wait_connected(self):
        """Until every record has shown a value to every client."""
        for process in self._processes:
            process.stdout.wait_for("^connected$", timeout=PATIENCE)

    def take(self):
        """What each client saw of the probe since the last time, as moments and values, and the
        number of updates of all records."""
        starts = [len(process.stdout.text) for process in self._processes]
        for process in self._processes:
            self._say(process, "take")
        histories, count = [], 0
        for process, start in zip(self._processes, starts):
            taken = process.stdout.wait_for(r"^taken (\d+)$", start, PATIENCE)
            count += int(taken.group(1))
            histories += self._histories(process.stdout.text[start:])
        return histories, count

    @staticmethod
    def _histories(text):
        found = {}
        for client, moment, value in UPDATE.findall(text):
            found.setdefault(client, []).append((float(moment), float(value)))
        return found.values()

    def close(self):
        for process in self._processes:
            process.stdin.close()
        for process in self._processes:
            assert process.wait() == 0, process.logs()
