"""Fixtures: sandboxes, and what runs in them.

With Debian's python3-pytest-xdist the tests run in several processes, those of a file that share
a crate in one of them; without it all run in one.
"""

import os
import resource
import sys

import pytest

sys.path.insert(0, os.path.dirname(__file__))

from harness import golden, places
from harness.clients import Clients
from harness.crate import Crate, write_reduced
from harness.ioc import Ioc
from harness.sandbox import Sandbox, refusal

# Most of a test's time passes in waiting for processes.
WORKERS_PER_CORE = 4

# SIGQUIT is sent on purpose.
resource.setrlimit(resource.RLIMIT_CORE, (0, 0))

LOG_TAIL = 3000


def pytest_addoption(parser):
    parser.addoption(golden.ACCEPT, action="store_true",
                     help="update the golden files to the present output; see tests/accept")


def pytest_configure(config):
    golden.accepting = golden.is_asked(config.invocation_params.args)


@pytest.hookimpl(tryfirst=True)
def pytest_cmdline_main(config):
    # A worker that took itself for the session would start workers of its own, without end. It
    # names the groups, and knows of them only what is on the command line.
    if hasattr(config, "workerinput") or "PYTEST_XDIST_WORKER" in os.environ:
        config.option.loadgroup = True
        return
    if not config.pluginmanager.hasplugin("xdist"):
        return
    if config.option.numprocesses is None:
        wanted = os.environ.get("ZANTO_E2E_WORKERS")
        config.option.numprocesses = int(wanted) if wanted else _workers()
        config.option.dist = "loadgroup"


def _workers():
    return WORKERS_PER_CORE * len(os.sched_getaffinity(0))


# Tests that share a crate stay together. Those that let a deadline pass come first: at the end
# they would be waited for.
@pytest.hookimpl(tryfirst=True)
def pytest_collection_modifyitems(config, items):
    items.sort(key=lambda item: "deadline" not in item.path.stem)
    if not config.pluginmanager.hasplugin("xdist"):
        return
    for item in items:
        if "shared" in item.fixturenames:
            item.add_marker(pytest.mark.xdist_group(item.path.stem))


def pytest_sessionstart(session):
    if hasattr(session.config, "workerinput"):
        return
    why = refusal()
    if why:
        pytest.exit("the end-to-end tests need their own user, mount and network namespaces "
                    f"(unshare -rmn), which this system refuses: {why}", 1)
    missing = places.what_is_missing()
    if missing:
        pytest.exit(f"not built: {missing}", 1)


class Site:
    """A sandbox and what the tests start in it, ended and checked at the end."""

    def __init__(self, **sandbox):
        self.sandbox = Sandbox(**sandbox)
        self.crates = []
        self.iocs = []
        self._clients = None

    def crate(self, *options, **more):
        self.crates.append(Crate(self.sandbox, options, **more))
        return self.crates[-1]

    def reduced_crate(self, *options):
        """For tests in which the number of channels does not matter."""
        write_reduced(self.sandbox, "/tmp/reduced.yaml")
        return self.crate("/tmp/reduced.yaml", *options)

    def ioc(self, *options, **more):
        self.iocs.append(Ioc(self.sandbox, *options, **more))
        return self.iocs[-1]

    @property
    def clients(self):
        if self._clients is None:
            self._clients = Clients(self.sandbox)
        return self._clients

    def close(self):
        """Whatever a test did to it, a server left running obeys SIGTERM with status 0."""
        complaints = []
        for server in [*self.iocs, *self.crates]:
            try:
                ran = server.process.status is None
                status = server.stop()
                if ran and status != 0:
                    complaints.append(f"{server.process.name} ended with status {status}")
            except AssertionError as error:
                complaints.append(str(error))
        complaints += self.sandbox.close()
        assert not complaints, "\n".join(complaints)


_open_sites = []


def _sites():
    """Makes sites and closes them all."""
    made = []

    def make(**sandbox):
        site = Site(**sandbox)
        made.append(site)
        _open_sites.append(site)
        return site

    yield make
    complaints = []
    for site in made:
        _open_sites.remove(site)
        try:
            site.close()
        except AssertionError as error:
            complaints.append(str(error))
    assert not complaints, "\n".join(complaints)


make_site = pytest.fixture(_sites, name="make_site")
make_shared_site = pytest.fixture(_sites, name="make_shared_site", scope="module")


@pytest.fixture
def site(make_site):
    """A sandbox for this test alone."""
    return make_site()


@pytest.fixture(scope="module")
def shared(make_shared_site):
    """One sandbox for the tests of a file."""
    return make_shared_site()


@pytest.fixture(scope="module")
def live(shared):
    """A crate and a server that runs, for the tests of a file. Each test uses items of its own."""
    shared.the_crate = shared.crate()
    shared.the_ioc = shared.ioc().wait_running()
    shared.the_crate.wait(eventConnections=1)
    return shared


@pytest.hookimpl(hookwrapper=True)
def pytest_runtest_makereport(item, call):
    report = (yield).get_result()
    if not report.failed:
        return
    for site in _open_sites:
        for title, text in site.sandbox.logs().items():
            if text:
                report.sections.append((title, text[-LOG_TAIL:]))
