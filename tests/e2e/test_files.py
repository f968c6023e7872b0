"""The three files in /tmp: their contents, and what is planted in their place."""

import os
import re
import stat

import pytest

from harness import places
from harness.ioc import CONNECTING, WAITING, arguments

DATABASE, PV_LIST, FLAG = "/tmp/ZANTO.db", "/tmp/pvlist.txt", "/tmp/lievnt.txt"
FILES = {DATABASE: "dabatase", PV_LIST: "PV list", FLAG: "live insertion event"}
FAILED = "Error connecting to 127.0.0.1. Shutting down.\n"


def run_to_end(site):
    ioc = site.ioc("-D", "1")
    assert ioc.wait() == 0
    return ioc.stdout.to_end()


def test_an_ordinary_start_writes_three_plain_files(site):
    site.reduced_crate()
    ioc = site.ioc("-D", "1").wait_running()
    printed = ioc.stdout.text
    assert "Live insertion event flag reset into file [/tmp/lievnt.txt]\n" in printed
    assert ("Database written into file [/tmp/ZANTO.db]\n"
            "PV list written into file [/tmp/pvlist.txt]\n") in printed
    for path in FILES:
        status = os.lstat(site.sandbox.path(path))
        assert stat.S_ISREG(status.st_mode) and not status.st_mode & 0o022
    assert site.sandbox.read(FLAG) == "0\n"


@pytest.mark.parametrize("path", FILES, ids=["database", "pv_list", "flag"])
def test_planted_symlink_is_not_followed(site, path):
    crate = site.reduced_crate()
    site.sandbox.path("/tmp/precious").write_text("mine\n")
    site.sandbox.path(path).symlink_to("/tmp/precious")
    printed = run_to_end(site)
    assert printed.endswith(f"\nUnable to open file for {FILES[path]}\n{FAILED}")
    assert site.sandbox.read("/tmp/precious") == "mine\n"
    assert crate.log() == []


@pytest.mark.parametrize("path", FILES, ids=["database", "pv_list", "flag"])
@pytest.mark.parametrize("has_reader", [False, True], ids=["no_reader", "reader"])
def test_planted_fifo_does_not_hang(site, path, has_reader):
    site.reduced_crate()
    fifo = site.sandbox.path(path)
    os.mkfifo(fifo)
    reader = os.open(fifo, os.O_RDONLY | os.O_NONBLOCK) if has_reader else None
    try:
        printed = run_to_end(site)
    finally:
        if reader is not None:
            os.close(reader)
    assert printed.endswith(f"\nUnable to open file for {FILES[path]}\n{FAILED}")


@pytest.mark.parametrize("path", FILES, ids=["database", "pv_list", "flag"])
def test_folder_in_place_of_the_file(site, path):
    site.reduced_crate()
    site.sandbox.path(path).mkdir()
    assert run_to_end(site).endswith(f"\nUnable to open file for {FILES[path]}\n{FAILED}")


@pytest.mark.parametrize("size", ["64k", "400k", "1000k"])
def test_full_disk_fails_and_serves_nothing(make_site, size):
    site = make_site(tmp_size=size)
    crate = site.crate()
    site.sandbox.path(DATABASE).write_text("")
    printed = run_to_end(site)
    assert printed.endswith(FAILED)
    assert re.search(r"^Unable to write file for ", printed, re.MULTILINE)
    assert "Starting VEXA ZANTO driver" not in printed
    assert crate.log("InitSystem", "DeinitSystem")[-1] == "VEXAHV_DeinitSystem()"
    assert crate.log("SubscribeSystemParams") == []


def test_failures_are_silent_at_level_0(site):
    site.reduced_crate()
    site.sandbox.path(DATABASE).mkdir()
    done = site.sandbox.run(arguments())
    assert (done.returncode, done.stdout) == (0, WAITING + CONNECTING + FAILED)


# ---- The database and its records

def record_names(text):
    return re.findall(r'^record\( ?\w+, "([^"]+)"\)$', text, re.MULTILINE)


@pytest.fixture(name="loaded", scope="module")
def _loaded(shared):
    """A server whose shell lists its records."""
    shared.crate()
    ioc = shared.ioc(shell=True).wait_running()
    ioc.command("echo begin-of-list")
    ioc.command("dbl")
    ioc.command("echo end-of-list")
    found = ioc.stdout.wait_for(r"^begin-of-list\n(?P<names>(.|\n)*?)^end-of-list$")
    shared.the_ioc = ioc
    shared.names = [line for line in found.group("names").splitlines() if ":" in line]
    return shared


def test_database_loads_without_a_warning(loaded):
    said = loaded.the_ioc.stderr.text.splitlines()
    assert [line for line in said if re.search("(?i)error|warn|can't|duplicate|unable", line)] == []


def test_every_record_of_the_text_is_served_once(loaded):
    written = record_names(loaded.sandbox.read(DATABASE))
    assert len(written) > 5000
    assert len(set(written)) == len(written) == len(loaded.names)
    assert set(written) ^ set(loaded.names) == set()


def test_every_listed_name_is_a_record(loaded):
    lines = loaded.sandbox.read(PV_LIST).splitlines()
    listed = [line.split(", ")[2] for line in lines]
    assert len(set(listed)) == len(listed) > 2000
    assert set(listed) <= set(loaded.names)
    companions = {name for name in loaded.names if name.endswith((":RBV", ":Sync"))}
    assert set(loaded.names) - companions == set(listed)


def test_listed_access_tells_which_companions_there_are(loaded):
    served = set(loaded.names)
    for line in loaded.sandbox.read(PV_LIST).splitlines():
        name, read, write = (line.split(", ")[column] for column in (2, 4, 5))
        both = (read, write) == ("x", "x")
        assert (f"{name}:RBV" in served, f"{name}:Sync" in served) == (both, both), line


def test_shipped_script_is_the_one_that_ran(loaded):
    echoed = loaded.the_ioc.stdout.text
    assert f'dbLoadDatabase("{places.top()}/dbd/ZANTO.dbd")' in echoed
