"""A detector behind a simulated crate: its site file, what zantosite makes of it, the server."""

import contextlib
import signal

from . import places
from .process import until

SITE = "/tmp/site.yaml"
MADE = "/tmp/site"
CRATE_FILE = "/tmp/reduced.yaml"

SCRIPT = """dbLoadDatabase("{top}/dbd/ZANTO.dbd")
ZANTO_registerRecordDeviceDriver(pdbbase)
dbLoadRecords("/tmp/ZANTO.db")
asSetFilename("{made}/site.acf")
dbLoadRecords("{made}/site.db")
iocInit()
"""


def zantosite(sandbox, *arguments):
    return sandbox.run([places.program("zantosite"), *arguments])


def make(sandbox, text, *options):
    """Writes the site file and has its folder made."""
    sandbox.path(SITE).write_text(text, encoding="utf-8")
    done = zantosite(sandbox, "make", SITE, "--pvlist", CRATE_FILE, "--out", MADE, *options)
    assert done.returncode == 0, done.stderr


def script(sandbox):
    """A start-up script for a site whose server has no health records."""
    path = "/tmp/site.cmd"
    sandbox.path(path).write_text(SCRIPT.format(top=places.top(), made=MADE), encoding="utf-8")
    return path


@contextlib.contextmanager
def lost(site):
    """The event connection is lost for a scope: a crate that is stopped makes no other."""
    crate = site.the_crate

    def is_lost():
        crate.fault("drop-events")
        crate.process.send(signal.SIGSTOP)
        if site.sandbox.connections(5180) == 0:
            return True
        crate.process.send(signal.SIGCONT)  # it was quicker
        return False

    try:
        until(is_lost, "the event connection is lost")
        yield
    finally:
        crate.process.send(signal.SIGCONT)
        crate.wait(eventConnections=1)
    site.clients.wait_for_value("ZC16:Health:Lost", "0")
