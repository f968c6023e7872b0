"""What the server makes of the simulator's own crate, whole: texts and calls.

A wanted change is accepted with ZANTO_ACCEPT=1 in the environment, and then looked at with git.
"""

import pytest

from harness import golden


@pytest.fixture(name="session", scope="module")
def _session(shared):
    """One run from login to logout."""
    crate = shared.crate()
    ioc = shared.ioc().wait_running()
    shared.database = shared.world.read("/tmp/ZANTO.db")
    shared.pv_list = shared.world.read("/tmp/pvlist.txt")
    assert ioc.stop() == 0
    shared.calls = crate.log()
    return shared


def test_database(session):
    golden.check("default/ZANTO.db", golden.fold(golden.records(session.database),
                                                 golden.place_of_record))


def test_pv_list(session):
    golden.check("default/pvlist.txt", golden.fold(session.pv_list.splitlines(keepends=True),
                                                   golden.place_of_pv))


def test_calls(session):
    golden.check("default/calls.txt", golden.fold([line + "\n" for line in session.calls],
                                                  golden.place_of_call))


def test_folding_shows_what_differs():
    """A file that hid a difference would be worth nothing."""
    def lines(channel, name):
        return f"7, {channel}, X:07:{channel:03d}:{name},  ai, x,  \n"
    alike = [lines(channel, "A") for channel in range(3)]
    assert golden.fold(alike, golden.place_of_pv) == (
        "# slot 7, channels 0 to 2\n7, <c>, X:07:<ccc>:A,  ai, x,  \n")
    other = [alike[0], lines(1, "B"), alike[2]]
    assert golden.fold(other, golden.place_of_pv).count("# slot 7, channel ") == 3
    assert golden.fold([alike[0], alike[2]], golden.place_of_pv).count("# slot 7") == 2
    assert golden.fold(["-, -, X:Kill,  stringout,  , x\n"], golden.place_of_pv) == (
        "# no channel\n-, -, X:Kill,  stringout,  , x\n")
