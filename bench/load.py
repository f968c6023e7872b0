"""What processes use of the machine, and what others did meanwhile."""

import resource
import time
from pathlib import Path

import pairs

TICKS = 100  # of /proc/stat, in a second


def cpu_ticks(pid):
    """Of a process and of its children that have ended."""
    fields = Path(f"/proc/{pid}/stat").read_text(encoding="ascii").rpartition(")")[2].split()
    return sum(map(int, fields[11:15]))


def cpu_seconds(pid):
    """Of a process alone, finer than ticks: its CPU clock, as clock_getcpuclockid(3) makes it."""
    return time.clock_gettime(~pid << 3 | 2)


class Load:
    """Who used the cores since the beginning: others, the hypervisor. Of children that have not
    ended the caller knows the ticks, `alive`, at the beginning and now."""

    def __init__(self, alive=0):
        self._begin = self._now(alive)

    @staticmethod
    def _now(alive):
        own = sum(usage.ru_utime + usage.ru_stime for usage in
                  map(resource.getrusage, (resource.RUSAGE_SELF, resource.RUSAGE_CHILDREN)))
        return pairs.CpuTimes(Path("/proc/stat").read_text(encoding="ascii")), own * TICKS + alive

    def shares(self, alive=0):
        now = self._now(alive)
        return pairs.shares(self._begin[0], now[0], now[1] - self._begin[1])
