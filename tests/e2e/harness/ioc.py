"""The server under test."""

import signal
import subprocess

from . import places
from .sandbox import LOOPBACK

NAME = "ZC16"
RUNNING = r"^iocRun: All initialization complete$"
WAITING = "Waiting for firmware to start..\n\n"
# Without its line editor the shell prints no echo, and its prompt in one piece, which messages of
# other threads cannot split.
NO_EDITOR = {"IOCSH_HISTEDIT_DISABLE": "1"}
CONNECTING = f"Connecting to crate {NAME} at {LOOPBACK}\n"


def arguments(*options, script=None, crate=f"{NAME}@{LOOPBACK}", user="admin", password="admin"):
    """A command line as an operator gives it; further options come last."""
    return [places.program("zantoioc"), script or places.start_script(), "-c", crate,
            "-u", user, "-p", password, *options]


class Ioc:
    """One run of zantoioc, without a terminal. With `shell` it reads commands from a pipe."""

    def __init__(self, sandbox, *options, shell=False, argv=None, env=(), name="zantoioc", **more):
        self._sandbox = sandbox
        options = options if shell else (*options, "-d")
        self.process = sandbox.start(name, argv or arguments(*options, **more), env,
                                     stdin=subprocess.PIPE if shell else subprocess.DEVNULL)
        self.pid = self.process.pid
        self.stdout = self.process.stdout
        self.stderr = self.process.stderr

    def wait_running(self):
        """Until its records are served."""
        self.stderr.wait_for(RUNNING)
        return self

    def command(self, line):
        """Types a line into the shell."""
        self.process.stdin.write(line.encode() + b"\n")
        self.process.stdin.flush()

    def send(self, number=signal.SIGTERM):
        self.process.send(number)

    def wait(self, **more):
        return self.process.wait(**more)

    def stop(self, number=signal.SIGTERM):
        """Ends it by a signal unless it has ended; the exit status."""
        if self.process.status is None:
            self.send(number)
        return self.wait()
