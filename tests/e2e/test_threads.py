"""Which threads the server starts, reported by a library that is preloaded."""

import os
import subprocess

import pytest

from harness import places
from harness.ioc import WAITING
from harness.process import until

SHIM = r"""
#define _GNU_SOURCE
#include <dlfcn.h>
#include <stdio.h>
#include <stdlib.h>

typedef void *Create(const char *, unsigned, unsigned, void (*)(void *), void *);
typedef unsigned StackSize(int);

void *epicsThreadCreate(const char *name, unsigned priority, unsigned stack,
                        void (*entry)(void *), void *argument)
{
    StackSize *size = (StackSize *)dlsym(RTLD_NEXT, "epicsThreadGetStackSize");
    FILE *log = fopen(getenv("THREAD_LOG"), "a");
    fprintf(log, "%s %u %s\n", name, priority, stack == size(2) ? "big" : "other");
    fclose(log);
    return ((Create *)dlsym(RTLD_NEXT, "epicsThreadCreate"))(name, priority, stack, entry,
                                                             argument);
}
"""
LOG = "/tmp/threads"
SERVER_THREAD = "ZANTOTcpServerThread 55 big"


@pytest.fixture(name="watched")
def _watched(site):
    """The environment in which threads are logged."""
    shim = "/tmp/shim.so"
    site.sandbox.path("/tmp/shim.c").write_text(SHIM)
    built = site.sandbox.run(["gcc", "-shared", "-fPIC", "-o", shim, "/tmp/shim.c", "-ldl"])
    assert built.returncode == 0, built.stderr
    site.sandbox.path(LOG).write_text("")
    # An instrumented server does not mind that the shim is loaded before its runtime.
    options = os.environ.get("ASAN_OPTIONS", "") + ":verify_asan_link_order=0"
    return {"LD_PRELOAD": shim, "THREAD_LOG": LOG, "ASAN_OPTIONS": options}


def threads(site):
    return site.sandbox.read(LOG).splitlines()


def own_threads(site):
    """Those of the server itself; the libraries below it may have their own."""
    return [line for line in threads(site) if line.startswith("ZANTO")]


def test_without_an_argument_no_thread_is_started(site, watched):
    done = site.sandbox.run([places.program("zantoioc")], watched)
    assert done.stdout.startswith("Syntax: ") and done.returncode == 0
    assert threads(site) == []


@pytest.mark.parametrize("arguments", [["st.cmd"], ["st.cmd", "-v"], ["st.cmd", "-u", "admin"]],
                         ids=" ".join)
def test_with_a_script_alone_the_server_thread_is_started(site, watched, arguments):
    done = site.sandbox.run([places.program("zantoioc"), *arguments], watched)
    assert done.returncode == 0
    assert SERVER_THREAD in own_threads(site)
    assert not [line for line in own_threads(site) if line.startswith("ZANTOEventsThread")]


def test_each_event_connection_gets_a_thread(site, watched):
    crate = site.reduced_crate()
    site.ioc(env=watched).wait_running()
    crate.wait(eventConnections=1)
    until(lambda: "ZANTOEventsThread 90 big" in threads(site), "the event thread")
    assert threads(site).count(SERVER_THREAD) == 1


def test_the_event_port_is_open_during_the_wait_for_the_firmware(site):
    ioc = site.ioc("-D", "1")
    ioc.stdout.wait_for("^error$")
    until(lambda: site.sandbox.listens([5180]), "the event port")
    peer = site.sandbox.start("peer", ["/usr/bin/python3", "-c", """
import socket
socket.create_connection(("127.0.0.1", 5180))
print("connected", flush=True)
"""], stdin=subprocess.DEVNULL)
    peer.stdout.wait_for("^connected$")
    assert "Connecting" not in ioc.stdout.text
    assert ioc.stdout.text.startswith(WAITING)
