"""All that the server makes of the built-in crate: texts and calls.

A wanted change is taken with tests/accept, and then looked at with git.
"""

import os
import subprocess
import sys

import pytest

from harness import golden


@pytest.fixture(name="session", scope="module")
def _session(shared):
    """One run from login to logout."""
    crate = shared.crate()
    ioc = shared.ioc().wait_running()
    shared.database = shared.sandbox.read("/tmp/ZANTO.db")
    shared.pv_list = shared.sandbox.read("/tmp/pvlist.txt")
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


def test_an_unwanted_change_fails_and_is_not_taken(monkeypatch, tmp_path):
    """Also the probe of the next test, which runs it with every variable that might matter."""
    monkeypatch.setattr(golden, "FILES", tmp_path)
    (tmp_path / "file").write_text("golden\n", encoding="utf-8")
    with pytest.raises(AssertionError, match="-golden"):
        golden.check("file", "now\n")
    with pytest.raises(AssertionError, match="does not exist"):
        golden.check("new", "now\n")
    assert (tmp_path / "file").read_text(encoding="utf-8") == "golden\n"
    assert not (tmp_path / "new").exists()


@pytest.mark.parametrize("options, passes", [((), True), (("--accept-golden",), False)])
def test_only_the_command_line_accepts(options, passes):
    variables = {"ZANTO_ACCEPT": "1", "ACCEPT_GOLDEN": "1", "PYTEST_ADDOPTS": "--accept-golden"}
    probe = f"{__file__}::{test_an_unwanted_change_fails_and_is_not_taken.__name__}"
    run = subprocess.run(
        [sys.executable, "-m", "pytest", "-q", "-p", "no:xdist", *options, probe],
        env={**os.environ, **variables}, stdout=subprocess.PIPE, stderr=subprocess.STDOUT,
        text=True, timeout=60)
    assert (run.returncode == 0) == passes, run.stdout
    assert ("1 passed" if passes else "1 failed") in run.stdout
