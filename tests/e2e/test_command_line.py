"""What the command line prints and does, to the byte, up to the wait for the firmware."""

import os
import subprocess

import pytest

from harness import places
from harness.ioc import WAITING, arguments

USAGE = """\
Syntax: zantoioc <st.cmd> [-c <name>@<hostname>] [-u username] [-p password] [-d] [-D <debuglevel>] [-v]
              -v = version
              -c, -u, -p are mandatory
              -d = run in daemon mode
              <debuglevel> = 0 no messages
              <debuglevel> = 10 all available messages
"""
NO_CRATES = "No crates to monitor.  Shutting down.\n"
VERSION = "EPICS ioc VEXA ZANTO version 1.2.0\n"


@pytest.fixture(name="run")
def _run(shared):
    def run(*args):
        return shared.sandbox.run([places.program("zantoioc"), *args])
    return run


ENDS_AT_ONCE = {
    "no_argument": ([], USAGE),
    "only_a_script": (["st.cmd"], NO_CRATES),
    "version_alone_is_the_script": (["-v"], NO_CRATES),
    "script_and_version": (["st.cmd", "-v"], VERSION),
    "version_before_crate": (["st.cmd", "-u", "admin", "-v", "-c", "ZC16@127.0.0.1"], VERSION),
    "version_after_crate": (["st.cmd", "-c", "ZC16@127.0.0.1", "-v"], VERSION),
    "version_as_value_of_an_option": (["st.cmd", "-u", "-v"], NO_CRATES),
    "last_crate_without_value": (["st.cmd", "-c"], NO_CRATES),
    "no_crate": (["st.cmd", "-u", "admin", "-p", "admin", "-d", "-D", "0"], NO_CRATES),
    "option_only_in_part": (["st.cmd", "-cZC16@127.0.0.1", "-vv", "--version"], NO_CRATES),
    "unknown_arguments": (["st.cmd", "-x", "crate", "--help", ""], NO_CRATES),
    "options_without_their_values": (["st.cmd", "-u"], NO_CRATES),
    "level_without_value": (["st.cmd", "-D"], NO_CRATES),
}


@pytest.mark.parametrize("case", ENDS_AT_ONCE)
def test_ends_at_once_with_status_0(run, case):
    args, printed = ENDS_AT_ONCE[case]
    done = run(*args)
    assert (done.stdout, done.stderr, done.returncode) == (printed, "", 0)


# The value of -c, and the name and host that come of it. Nobody accepts the login, so the server
# says both and ends.
CRATES = {
    "name_and_host": (["ZC16@127.0.0.1"], "ZC16", "127.0.0.1"),
    "another_host": (["ZC16@127.0.0.2"], "ZC16", "127.0.0.2"),
    "no_at_sign": (["HVCRATE"], "HVCRATE", "127.0.0.1"),
    "no_name": (["@127.0.0.2"], "127.0.0.2", "127.0.0.1"),
    "nothing_but_at_signs": (["@@"], "ZANTO", "127.0.0.1"),
    "three_parts": (["a@127.0.0.2@c"], "a", "127.0.0.2"),
    "several_at_signs": (["@@a@@@127.0.0.2@@"], "a", "127.0.0.2"),
    "the_last_of_two": (["FIRST@127.0.0.3", "SECOND@127.0.0.2"], "SECOND", "127.0.0.2"),
    "last_one_without_value": (["ONLY@127.0.0.2", None], "ONLY", "127.0.0.2"),
    "long_name": (["n" * 2000], "n" * 1023, "127.0.0.1"),
}


@pytest.fixture(name="closed_crate", scope="module")
def _closed_crate(shared):
    """Accepts connections on every address and refuses all logins."""
    shared.the_crate = shared.crate(address="0.0.0.0")
    shared.the_crate.fault("refuse-logins", count=1000000)
    return shared


@pytest.mark.parametrize("case", CRATES)
def test_crate_and_host(closed_crate, run, case):
    values, name, host = CRATES[case]
    options = [word for value in values for word in (("-c",) if value is None else ("-c", value))]
    done = run("st.cmd", "-u", "u", "-p", "p", *options)
    assert done.returncode == 0
    assert done.stdout == (WAITING + f"Connecting to crate {name} at {host}\n"
                           f"Error connecting to {host}. Shutting down.\n")


DEBUG_LEVELS = {
    "65537_is_1": ("65537", 1),
    "65536_is_0": ("65536", 0),
    "minus_1_is_none": ("-1", 0),
    "no_number_is_0": ("loud", 0),
    "leading_number": ("1x", 1),
    "blank_and_number": (" 1", 1),
}


@pytest.mark.parametrize("case", DEBUG_LEVELS)
def test_debug_level(closed_crate, run, case):
    text, level = DEBUG_LEVELS[case]
    done = run("st.cmd", "-D", text, "-c", "ZC16@127.0.0.1", "-u", "u", "-p", "p")
    messages = (["Attempt to connect to firmware..\n", "Connecting to crate ZC16 at 127.0.0.1\n",
                 "Live insertion event flag reset into file [/tmp/lievnt.txt]\n",
                 "\nError initializing mainframe\n"]
                if level else ["Connecting to crate ZC16 at 127.0.0.1\n"])
    assert done.stdout == (WAITING + "".join(messages)
                           + "Error connecting to 127.0.0.1. Shutting down.\n")


def test_last_option_without_value_keeps_what_is_there(closed_crate, run):
    closed_crate.the_crate.clear()
    for option in ("-u", "-p", "-D"):
        done = run("st.cmd", "-c", "ZC16@127.0.0.1", "-u", "me", option)
        assert done.stdout.endswith("Error connecting to 127.0.0.1. Shutting down.\n")
    assert closed_crate.the_crate.log() == ['VEXAHV_InitSystem(2, 0, "127.0.0.1", "me")'] * 3


def test_user_defaults_to_nothing_and_is_cut(closed_crate, run):
    closed_crate.the_crate.clear()
    run("st.cmd", "-c", "ZC16@127.0.0.1")
    run("st.cmd", "-c", "ZC16@127.0.0.1", "-u", "u" * 300)
    assert closed_crate.the_crate.log() == ['VEXAHV_InitSystem(2, 0, "127.0.0.1", "")',
                                            f'VEXAHV_InitSystem(2, 0, "127.0.0.1", "{"u" * 254}")']


def test_printed_in_this_order_on_a_good_start(make_site):
    site = make_site()
    site.reduced_crate()
    ioc = site.ioc("-D", "0").wait_running()
    printed = ioc.stdout.text
    own = [line for line in printed.splitlines()
           if line.startswith(("Waiting", "Connecting", "SYSTEMNAME", "Starting VEXA"))]
    assert printed.startswith(WAITING + "Connecting to crate ZC16 at 127.0.0.1\n"
                              "SYSTEMNAME = ZC16\n")
    assert own == ["Waiting for firmware to start..", "Connecting to crate ZC16 at 127.0.0.1",
                   "SYSTEMNAME = ZC16", "Starting VEXA ZANTO driver"]


def test_long_script_path_is_cut(make_site):
    site = make_site()
    site.reduced_crate()
    path = "/tmp/" + "s" * 295
    # The file system bounds a name at 255, so that the path cannot but be opened as it was cut.
    site.sandbox.path("/tmp/" + "s" * 249).write_text("echo the-cut-one\nexit\n")
    ioc = site.ioc(script=path)
    ioc.stdout.wait_for("^the-cut-one$")


def test_password_is_not_to_be_seen(make_site):
    site = make_site()
    crate = site.reduced_crate("--user", "operator", "--password", "s3cr3t-w0rd")
    ioc = site.ioc(user="operator", password="s3cr3t-w0rd").wait_running()
    with open(f"/proc/{ioc.pid}/cmdline", "rb") as file:
        words = file.read().split(b"\0")
    assert b"operator" in words
    assert not any(b"s3cr3t" in word for word in words)
    assert crate.statistics()["sessions"] == 1


def test_password_is_cut_like_the_user(make_site):
    site = make_site()
    crate = site.reduced_crate("--user", "u" * 254, "--password", "p" * 254)
    site.ioc(user="u" * 300, password="p" * 300)
    crate.wait(call="VEXAHV_GetCrateMap")


def test_script_that_is_not_there_leaves_the_shell(make_site):
    site = make_site()
    crate = site.reduced_crate()
    ioc = site.ioc(script="/tmp/none.cmd", shell=True)
    crate.wait(sessions=1)
    ioc.command("exit")
    assert ioc.wait() == 0
    assert crate.log("DeinitSystem") == ["VEXAHV_DeinitSystem()"]


# ---- The access library

STUB = """
#include <stdint.h>
#include <stdio.h>
int32_t VEXAHV_InitSystem(int32_t type, int32_t link, const char *where, const char *user,
                          const char *password, int32_t *handle)
{
    (void)handle;
    printf("another library: %d %d %s %s %s\\n", type, link, where, user, password);
    fflush(stdout);
    return 42;
}
"""


def stub_library(site, folder):
    """A library of the same name that knows but one operation; the others are never called."""
    names = subprocess.run(["nm", "-D", "--defined-only", places.library()], check=True,
                           stdout=subprocess.PIPE, text=True).stdout
    operations = {line.split()[-1].split("@")[0] for line in names.splitlines()
                  if "VEXAHV_" in line} - {"VEXAHV_InitSystem"}
    source = STUB + "".join(f"int32_t {name}(void) {{ return -1; }}\n"
                            for name in sorted(operations))
    site.sandbox.path(folder).mkdir()
    site.sandbox.path(f"{folder}/stub.c").write_text(source)
    built = site.sandbox.run(["gcc", "-shared", "-fPIC", "-Wl,-soname,libvexahvwrapper.so", "-o",
                              f"{folder}/libvexahvwrapper.so", f"{folder}/stub.c"])
    assert built.returncode == 0, built.stderr
    return len(operations) + 1


def test_access_library_is_exchanged_by_the_loader_alone(site):
    site.reduced_crate()
    assert stub_library(site, "/tmp/maker") == 28
    done = site.sandbox.run(arguments("-D", "1"), env={"LD_LIBRARY_PATH": "/tmp/maker"})
    assert done.returncode == 0
    assert "another library: 2 0 127.0.0.1 admin admin\n" in done.stdout
    assert done.stdout.endswith("\nError initializing mainframe\n"
                                "Error connecting to 127.0.0.1. Shutting down.\n")


def dynamic_section(path):
    return subprocess.run(["readelf", "-dW", path], check=True, stdout=subprocess.PIPE,
                          text=True).stdout


def test_search_path_gives_way_to_the_loaders():
    section = dynamic_section(places.program("zantoioc"))
    assert "(RUNPATH)" in section and "(RPATH)" not in section
    assert "Shared library: [libvexahvwrapper.so]" in section
    assert os.path.dirname(places.library()) in section


def test_substitute_carries_the_libraries_name():
    assert "Library soname: [libvexahvwrapper.so]" in dynamic_section(places.library())
