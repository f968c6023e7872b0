"""More event connections than the server serves."""

import subprocess

from harness.process import until

FOLLOWED = 128
SURPLUS = 30
ACCEPTED = "Device connected\n"

# The last ones connect while the first are held open; says which of them were closed.
CROWD = """
import select, socket, sys
wanted, surplus = map(int, sys.argv[1:])
connections = [socket.create_connection(("127.0.0.1", 5180)) for _ in range(wanted + surplus)]
closed = set()
while len(closed) < surplus:
    ready, _, _ = select.select([c for c in connections if c not in closed], [], [])
    closed.update(c for c in ready if c.recv(1) == b"")
print("closed", *sorted(connections.index(c) for c in closed), flush=True)
sys.stdin.read()
"""


def test_the_oldest_silent_connections_are_closed(site):
    crate = site.reduced_crate()
    ioc = site.ioc("-D", "10").wait_running()
    crate.wait(eventConnections=1)
    # From here on the crate's connection has delivered something.
    crate.set("VSet", 43, 2, 3)
    site.clients.wait_for_value("ZC16:02:003:VSet:RBV", "43")
    held = FOLLOWED - 1  # besides the crate's own
    crowd = site.sandbox.start("crowd", ["/usr/bin/python3", "-c", CROWD, str(held), str(SURPLUS)],
                               stdin=subprocess.PIPE)
    closed = crowd.stdout.wait_for(r"^closed(.*)\n").group(1)
    assert [int(word) for word in closed.split()] == list(range(SURPLUS)), "the oldest"
    until(lambda: site.sandbox.connections(5180) == FOLLOWED, "the others stay")
    # The clients' servers have what they need, and the crate's events arrive.
    crate.set("VSet", 44, 2, 3)
    site.clients.wait_for_value("ZC16:02:003:VSet:RBV", "44")
    assert site.clients.pvget("ZC16:02:003:VSet:RBV") == "44"
    assert site.clients.caput("ZC16:02:003:VSet", 45) == ""
    crate.wait(name="VSet", slot=2, channel=3, value=45)
    crowd.kill()
    until(lambda: site.sandbox.connections(5180) == 1, "room again")
    accepted = ioc.stdout.text.count(ACCEPTED)
    late = site.sandbox.start("late", ["/usr/bin/python3", "-c", CROWD, "1", "0"],
                              stdin=subprocess.PIPE)
    late.stdout.wait_for(r"^closed\n")
    until(lambda: ioc.stdout.text.count(ACCEPTED) == accepted + 1, "served again")
    assert site.sandbox.connections(5180) == 2
    assert "Too many event connections" not in ioc.stdout.text
