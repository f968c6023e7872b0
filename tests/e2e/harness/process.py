"""Processes and their output, and waits for an event, never for a time."""

import contextlib
import os
import re
import signal
import subprocess
import threading
import time

# Seconds after which a wait has failed. Nothing takes as long as this on a machine that is
# merely busy, and no test waits for it to pass.
WATCHDOG = float(os.environ.get("ZANTO_E2E_WATCHDOG", "40"))


def until(condition, what, timeout=WATCHDOG):
    """Polls until the condition holds."""
    deadline = time.monotonic() + timeout
    while not condition():
        assert time.monotonic() < deadline, f"timed out after {timeout} s: {what}"
        time.sleep(0.01)


class Output:
    """What a process has written to one stream. Read by a thread of its own, which hands each
    line to `sink` if there is one; then only the end of the text is kept."""

    TAIL = 1 << 16

    def __init__(self, descriptor, sink=None):
        self._descriptor = descriptor
        self._sink = sink
        self._rest = b""
        self._changed = threading.Condition()
        self._bytes = b""
        self._ended = False
        self._thread = threading.Thread(target=self._read, daemon=True)
        self._thread.start()

    def _read(self):
        while True:
            try:
                data = os.read(self._descriptor, 65536)
            except OSError:  # a terminal whose other end is gone
                data = b""
            if self._sink:
                self._pass_on(data)
            with self._changed:
                self._bytes += data
                if self._sink:
                    self._bytes = self._bytes[-self.TAIL:]
                self._ended = not data
                self._changed.notify_all()
            if not data:
                os.close(self._descriptor)
                return

    def _pass_on(self, data):
        *lines, self._rest = (self._rest + data).split(b"\n")
        for line in lines:
            self._sink(line.decode("utf-8", "replace"))

    @property
    def text(self):
        with self._changed:
            return self._bytes.decode("utf-8", "replace")

    def wait_for(self, pattern, start=0, timeout=WATCHDOG):
        """The match of the pattern (multi-line) in the text from `start` on."""
        expression = re.compile(pattern, re.MULTILINE)
        deadline = time.monotonic() + timeout
        with self._changed:
            while True:
                text = self._bytes.decode("utf-8", "replace")
                found = expression.search(text, start)
                if found:
                    return found
                left = deadline - time.monotonic()
                assert not self._ended, f"output ended without {pattern!r}:\n{text[-4000:]}"
                assert left > 0, f"no {pattern!r} within {timeout} s:\n{text[-4000:]}"
                self._changed.wait(left)

    def to_end(self, timeout=WATCHDOG):
        """The whole text, once the process has closed the stream."""
        self._thread.join(timeout)
        assert not self._thread.is_alive(), "the stream stays open: a process is still running"
        return self.text


class Process:
    """A child with pipes. Whoever starts it ends it: see Sandbox."""

    def __init__(self, name, argv, env, stdin=subprocess.DEVNULL, sink=None):
        self.name = name
        self.argv = argv
        self._child = subprocess.Popen(argv, env=env, stdin=stdin, stdout=subprocess.PIPE,
                                       stderr=subprocess.PIPE, start_new_session=True)
        self.pid = self._child.pid
        self.stdin = self._child.stdin
        self.stdout = Output(os.dup(self._child.stdout.fileno()), sink)
        self.stderr = Output(os.dup(self._child.stderr.fileno()))
        self._child.stdout.close()
        self._child.stderr.close()

    @property
    def status(self):
        """None while it runs, the exit status, or minus the number of the signal."""
        return self._child.poll()

    def send(self, number):
        self._child.send_signal(number)

    def wait(self, timeout=WATCHDOG):
        """The exit status."""
        try:
            return self._child.wait(timeout)
        except subprocess.TimeoutExpired:
            raise AssertionError(f"{self.name} did not exit within {timeout} s") from None

    def kill(self):
        """And the children that it may have."""
        with contextlib.suppress(ProcessLookupError):
            os.killpg(self.pid, signal.SIGKILL)
        self._child.wait()

    def close(self):
        self.kill()
        if self.stdin:
            with contextlib.suppress(BrokenPipeError):  # what it has not read any more
                self.stdin.close()

    def logs(self):
        return {f"{self.name} stdout": self.stdout.text, f"{self.name} stderr": self.stderr.text}
