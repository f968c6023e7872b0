"""zantocratectl in pipes and at a terminal."""

import re
import termios

import pexpect
import pyte

from . import places
from .crate import CONTROL
from .process import until
from .terminal import AtTerminal


class Ctl:
    """Runs the program in the sandbox of a crate."""

    def __init__(self, sandbox):
        self._sandbox = sandbox

    def run(self, *arguments, env=()):
        return self._sandbox.run([places.program("zantocratectl"), *arguments],
                                 env={"ZANTOCRATE_CONTROL": CONTROL, **dict(env)})

    def __call__(self, *arguments):
        """Its standard output; it has to succeed and complain of nothing."""
        done = self.run(*arguments)
        assert (done.returncode, done.stderr) == (0, ""), (arguments, done.stderr)
        return done.stdout

    def error(self, *arguments):
        done = self.run(*arguments)
        assert done.returncode == 1
        assert done.stderr.startswith("zantocratectl: ")
        return done.stderr

    def terminal(self, *arguments, **more):
        argv = self._sandbox.inside([places.program("zantocratectl"), *arguments])
        terminal = Terminal(argv, **more)
        self._sandbox.adopt(terminal)
        return terminal


class Terminal(AtTerminal):
    """The program with the screen as its user sees it."""

    def __init__(self, argv, rows=24, columns=100, term="xterm-256color"):
        self._screen = pyte.Screen(columns, rows)
        self._stream = pyte.Stream(self._screen)
        # It starts once its terminal has been looked at.
        held = ["/bin/sh", "-c", 'read -r go && exec "$@"', "sh", *argv]
        env = {"ZANTOCRATE_CONTROL": CONTROL, "TERM": term, "LC_ALL": "C.UTF-8"}
        super().__init__("zantocratectl", held, env, dimensions=(rows, columns))
        self.untouched = termios.tcgetattr(self._child.fileno())
        self._child.sendline()

    def _read(self):
        """What came at once; False at the end."""
        try:
            text = self._child.read_nonblocking(65536, timeout=0.05)
        except pexpect.TIMEOUT:
            return True
        except pexpect.EOF:
            return False
        self.shown += text
        self._stream.feed(text)
        return True

    def lines(self):
        return [line.rstrip() for line in self._screen.display]

    def see(self, pattern):
        """Waits until a line of the screen matches; returns its number."""
        found = []

        def is_there():
            assert self._read(), f"ended without {pattern!r}: {self.lines()}"
            found[:] = [number for number, line in enumerate(self.lines())
                        if re.search(pattern, line)]
            return found

        until(is_there, f"{pattern!r} on the screen")
        return found[0]

    def colour(self, pattern):
        """Of the last letter of the line."""
        number = self.see(pattern)
        return self._screen.buffer[number][len(self.lines()[number]) - 1].fg

    def press(self, keys):
        self._child.send(keys)

    def resize(self, rows, columns):
        self._screen.resize(rows, columns)
        self._child.setwinsize(rows, columns)

    def ended(self):
        """The exit status, or minus the number of the signal; the terminal is as it was."""
        until(lambda: not self._read(), "the program ends")
        assert termios.tcgetattr(self._child.fileno()) == self.untouched
        return self._exit_status()

    def logs(self):
        return {self.name: "\n".join(self.lines())}
