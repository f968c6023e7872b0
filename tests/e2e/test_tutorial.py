"""The tutorial's commands, word for word and in their order, do what it says."""

import re
import shlex
import signal
import subprocess
from pathlib import Path

from harness import places
from harness.ioc import RUNNING
from harness.process import WATCHDOG, until

PAGE = places.top() / "docs/crate-on-a-laptop.md"
FOLDER = "/tmp/tutorial"

# What it promises of an output. The others only have to succeed.
PROMISES = {
    "zantocratectl show": r"^LAB1: 4 slots, 1 board,",
    "zantocratectl show 0": r"GEM3 bot",
    "zantocratectl subscriptions": r"^127\.0\.0\.1:5180 +yes",
    "zantocratectl get 0:3 VMon": r"^250\b",
    "caget LAB1:00:002:VMon": r"^LAB1:00:002:VMon +[\d.]+$",
    "caget LAB1:00:006:LastTrip LAB1:TripCount": r"^LAB1:00:006:LastTrip +over-current$",
    "caget LAB1:00:006:Status": r"^LAB1:00:006:Status +0$",
    "zantocrate --check my.yaml": r"OK: 1 board",
    "zantocrate --check copy.yaml": r"OK: 1 board",
    "caget LAB1:00:001:VSet LAB1:00:001:VSet:RBV": r"^LAB1:00:001:VSet:RBV +2100$",
    "zantocratectl faults": r"^fail ",
    "zantocratectl --json show 0:1": r'^\{.*"ok":true',
    "zantocratectl --control /tmp/second.control show": r" slots, ",
}

# What needs an installation, hardware or eyes; tests of their own see to the last.
LEFT_OUT = re.compile(r"make demo|export |LD_LIBRARY_PATH=|.* --live$")
MAY_COMPLAIN = {"caput LAB1:00:001:VSet 900"}  # while writes are made to fail


def commands():
    """Indented lines; a backslash at the end goes on with the next."""
    lines = re.findall(r"^    (.*)$", PAGE.read_text(encoding="utf-8").replace("\\\n", ""),
                       re.MULTILINE)
    return [line for line in lines if not LEFT_OUT.match(line)]


def kept(line, output):
    return re.search(PROMISES[line], output, re.MULTILINE)


class User:
    """Somebody who types what the page says, in a folder that looks like the project's."""

    def __init__(self, sandbox):
        self._sandbox = sandbox
        self._env = {"PATH": f"{Path(places.program('x')).parent}:"
                             f"{Path(places.client('x')).parent}:/usr/bin:/bin",
                     "XDG_RUNTIME_DIR": "", "ZANTOCRATE_CONTROL": ""}
        sandbox.repeater()
        self._crate = self._ioc = None
        self.run("sh", "-c", f"mkdir {FOLDER} && ln -s {places.top()}/* {FOLDER}")

    def _argv(self, *argv):
        return ["env", "-C", FOLDER if argv[0] != "sh" else "/", *argv]

    def run(self, *argv):
        return self._sandbox.run(self._argv(*argv), env=self._env)

    def _start(self, line, stdin=subprocess.DEVNULL):
        return self._sandbox.start(line, self._argv(*shlex.split(line)), env=self._env, stdin=stdin)

    def type(self, line):
        """Its output."""
        if re.match(r"zantocrate (?!--check|--print)", line):
            return self._start_crate(line)
        if line.startswith("zantoioc "):
            return self._start_ioc(line)
        if line.startswith("camonitor "):
            return self._watch(line)
        done = self.run("bash", "-c", line)
        if line.startswith("caget ") and line in PROMISES:  # an event may be on its way
            until(lambda: kept(line, self.run("bash", "-c", line).stdout), line)
            done = self.run("bash", "-c", line)
        assert line in MAY_COMPLAIN or (done.returncode, done.stderr) == (0, ""), (line, done)
        return done.stdout

    def _start_crate(self, line):
        if "--control" not in line:
            self.leave()
        process = self._start(line)
        if "--control" not in line:
            self._crate = process
        return process.stdout.wait_for("^zantocrate: ready on .*$").group(0)

    def _start_ioc(self, line):
        self._ioc = self._start(line, stdin=subprocess.PIPE)
        self._ioc.stderr.wait_for(RUNNING)
        self.run("zantocratectl", "wait", "--event-connections", "1")
        return self._ioc.stdout.text

    def _watch(self, line):
        process = self._start(line)
        process.stdout.wait_for(r"^\S+ +\d{4}-")
        process.send(signal.SIGINT)
        process.wait()
        return process.stdout.text

    def leave(self):
        """The server by its shell, the crate by Ctrl-C."""
        if self._ioc:
            self._ioc.stdin.write(b"exit\n")
            self._ioc.stdin.flush()
            assert self._ioc.wait() == 0
        if self._crate:
            self._crate.send(signal.SIGINT)
            assert self._crate.wait(timeout=WATCHDOG) == 0
        self._ioc = self._crate = None


def test_every_command_does_what_the_page_says(site):
    user = User(site.sandbox)
    lines = commands()
    assert set(PROMISES) <= set(lines)
    outputs = {}
    for line in lines:
        outputs.setdefault(line, []).append(user.type(line))
    for line in PROMISES:
        assert any(kept(line, output) for output in outputs[line]), (line, outputs[line])
    user.leave()
