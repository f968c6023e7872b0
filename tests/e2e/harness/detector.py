"""A detector behind a simulated crate: its site file, what zantosite makes of it, the server."""

from . import places

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
