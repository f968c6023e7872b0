"""The port to which the mainframe connects: on every address, and free again at once."""

import signal
import subprocess

from harness.process import until

# Reserved for documentation: routed nowhere, and here on the sandbox's own interface.
ADDRESS = "192.0.2.7"

HOLD = """
import socket, sys
connection = socket.create_connection((sys.argv[1], 5180), source_address=(sys.argv[1], 0))
print("connected", *connection.getpeername(), flush=True)
sys.stdin.read()
"""


def test_is_reached_over_an_address_that_is_not_loopback(site):
    assert site.sandbox.run(["ip", "addr", "add", f"{ADDRESS}/32", "dev", "lo"]).returncode == 0
    crate = site.reduced_crate()
    ioc = site.ioc("-D", "10").wait_running()
    crate.wait(eventConnections=1)
    peer = site.sandbox.start("peer", ["/usr/bin/python3", "-c", HOLD, ADDRESS],
                              stdin=subprocess.PIPE)
    peer.stdout.wait_for(f"^connected {ADDRESS} 5180\n")
    until(lambda: ioc.stdout.text.count("Device connected\n") == 2, "it is accepted")
    assert site.sandbox.connections(5180) == 2


def test_is_free_again_at_once_after_a_restart(site):
    crate = site.reduced_crate()
    for _ in range(3):
        ioc = site.ioc().wait_running()
        crate.wait(eventConnections=1)
        assert site.sandbox.connections(5180) == 1
        ioc.send(signal.SIGKILL)
        ioc.wait()
        crate.wait(eventConnections=0)
