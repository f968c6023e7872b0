"""Programs at a terminal, as an operator has them."""

import termios
from pathlib import Path

import pexpect

from .ioc import arguments
from .process import WATCHDOG, until
from .sandbox import environment

PROMPT = "epics> "


class AtTerminal:
    """A program with a terminal of its own. Sandbox ends it like its other processes."""

    def __init__(self, name, argv, env, **more):
        self.name = f"{name} at a terminal"
        self._child = pexpect.spawn(argv[0], argv[1:], env=environment(env), timeout=WATCHDOG,
                                    encoding="utf-8", **more)
        self.pid = self._child.pid
        self.shown = ""

    def kill_by(self, number):
        self._child.kill(number)

    def _exit_status(self):
        """That, or minus the number of the signal; once its output has ended."""
        self._child.wait()
        return (-self._child.signalstatus if self._child.exitstatus is None
                else self._child.exitstatus)

    def close(self):
        self._child.close(force=True)


class Terminal(AtTerminal):
    """The server's shell."""

    def __init__(self, sandbox, *options, env=(), **more):
        super().__init__("zantoioc", sandbox.inside(arguments(*options, **more)), env,
                         codec_errors="replace")
        self._child.delaybeforesend = None
        sandbox.adopt(self)

    def expect(self, text):
        self._child.expect_exact(text)
        self.shown += self._child.before + self._child.after

    def type(self, line, end="\r"):
        self._child.send(line + end)

    def press(self, key):
        """Control and that key."""
        self._child.sendcontrol(key)

    def wait_until_it_reads(self):
        """Until its main thread sleeps. The line editor looks for signals before it waits for a
        key: one that comes in between is answered only with the next key."""
        stat = Path(f"/proc/{self.pid}/task/{self.pid}/stat")
        until(lambda: stat.read_text(encoding="ascii").rpartition(")")[2].split()[0] == "S",
              "it waits for a key")

    def settings(self):
        """What stty would show."""
        return termios.tcgetattr(self._child.fileno())

    def wait(self):
        """The exit status, or minus the number of the signal."""
        self._child.expect(pexpect.EOF)
        self.shown += self._child.before
        return self._exit_status()

    @property
    def status(self):
        return None if self._child.isalive() else 0

    def logs(self):
        return {self.name: self.shown + (self._child.buffer or "")}
