"""Blocked outputs: a full pipe, a terminal that is stopped or that nobody reads."""

import fcntl
import os
import pty
import select
import subprocess
import termios
import threading
import time
from pathlib import Path

from .ioc import RUNNING, arguments
from .process import WATCHDOG, Output, until
from .sandbox import environment


def fill(descriptor):
    """Writes until there is room for no byte more; the descriptor's own mode stays as it is."""
    own = os.open(f"/proc/self/fd/{descriptor}", os.O_WRONLY | os.O_NONBLOCK | os.O_NOCTTY)
    for size in (4096, 1):
        try:
            while True:
                os.write(own, b"x" * size)
        except BlockingIOError:
            pass
    os.close(own)


class Outlet:
    """Reads what a server prints until it is blocked. `writer` is the server's end."""

    def __init__(self, reader, writer):
        self.reader = reader
        self.writer = writer
        self.data = b""
        self._blocked = threading.Event()
        self._thread = threading.Thread(target=self._read, daemon=True)
        self._thread.start()

    def _read(self):
        while not self._blocked.is_set():
            if select.select([self.reader], [], [], 0.02)[0]:
                self.data += os.read(self.reader, 65536)

    def wait_for(self, text):
        until(lambda: text.encode() in self.data, f"{text!r} is printed")

    def block(self):
        """From now on the server waits when it prints."""
        self._stop_reading()
        fill(self.writer)

    def _stop_reading(self):
        self._blocked.set()
        self._thread.join(WATCHDOG)

    def close(self):
        self._stop_reading()
        os.close(self.reader)
        if self.writer is not None:
            os.close(self.writer)

    def read_slowly(self, size, pause):
        """All that is left until the server has closed its end."""
        os.close(self.writer)
        self.writer = None
        data = part = os.read(self.reader, size)
        while part:
            time.sleep(pause)
            part = os.read(self.reader, size)
            data += part
        return data.decode()


class FullPipe(Outlet):
    def __init__(self):
        super().__init__(*os.pipe())
        fcntl.fcntl(self.writer, fcntl.F_SETPIPE_SZ, 4096)


class UnreadTerminal(Outlet):
    def __init__(self):
        super().__init__(*pty.openpty())


class StoppedTerminal(UnreadTerminal):
    """As by Ctrl-S."""

    def block(self):
        termios.tcflow(self.writer, termios.TCOOFF)
        self._stop_reading()

    def close(self):
        termios.tcflow(self.writer, termios.TCOON)
        super().close()


class BlockableIoc:
    """A server with an outlet for its output. Sandbox ends both."""

    name = "zantoioc with blocked output"

    def __init__(self, sandbox, outlet, *options, shell=False, env=()):
        self.outlet = outlet
        options = options if shell else (*options, "-d")
        self._child = subprocess.Popen(
            sandbox.inside(arguments(*options)), env=environment(env), start_new_session=True,
            stdin=subprocess.PIPE if shell else subprocess.DEVNULL, stdout=outlet.writer,
            stderr=subprocess.PIPE)
        self.stdin = self._child.stdin
        self.stderr = Output(os.dup(self._child.stderr.fileno()))
        self._child.stderr.close()
        self.send = self._child.send_signal
        sandbox.adopt(self)

    def wait_running(self):
        self.stderr.wait_for(RUNNING)
        return self

    def command(self, line):
        self.stdin.write(line.encode() + b"\n")
        self.stdin.flush()

    def wait_until_it_reads(self):
        """Until its main thread has slept through a while. Before it waits for a command it waits
        for the output that other threads are printing, which never ends once that is blocked."""
        status = Path(f"/proc/{self._child.pid}/task/{self._child.pid}/status")

        def switches():
            lines = status.read_text(encoding="utf-8").splitlines()
            return [line for line in lines if "State:" in line or "ctxt_switches" in line]

        def slept():
            before = switches()
            time.sleep(0.3)
            return before[0].startswith("State:\tS") and switches() == before

        until(slept, "it waits for a command")

    def wait(self, timeout=WATCHDOG):
        try:
            return self._child.wait(timeout)
        except subprocess.TimeoutExpired:
            raise AssertionError(f"the server did not exit within {timeout} s") from None

    def close(self):
        self._child.kill()
        self._child.wait()
        if self.stdin and not self.stdin.closed:
            self.stdin.close()
        self.outlet.close()

    def logs(self):
        return {f"{self.name} stdout": self.outlet.data.decode("utf-8", "replace"),
                f"{self.name} stderr": self.stderr.text}
