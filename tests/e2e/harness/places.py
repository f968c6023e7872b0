"""Where the programs under test and the clients are."""

import functools
import os
import re
import subprocess
from pathlib import Path

TESTS = Path(__file__).resolve().parent.parent


@functools.lru_cache(maxsize=None)
def top():
    """The built checkout under test: ZANTO_TOP, or the one these tests lie in."""
    return Path(os.environ.get("ZANTO_TOP") or TESTS.parent.parent).resolve()


@functools.lru_cache(maxsize=None)
def epics_base():
    named = os.environ.get("EPICS_BASE")
    if not named:
        named = subprocess.run([top() / "tools/epics-base", "--no-build"], check=True,
                               stdout=subprocess.PIPE, text=True).stdout.strip()
    return Path(named).resolve()


@functools.lru_cache(maxsize=None)
def arch():
    script = epics_base() / "lib/perl/EpicsHostArch.pl"
    return os.environ.get("EPICS_HOST_ARCH") or subprocess.run(
        ["perl", script], check=True, stdout=subprocess.PIPE, text=True).stdout.strip()


def has_pvaccess():
    """It comes with base from 7 on."""
    version = (epics_base() / "configure/CONFIG_BASE_VERSION").read_text(encoding="utf-8")
    return int(re.search(r"^EPICS_VERSION *= *(\d+)", version, re.MULTILINE).group(1)) >= 7


def program(name):
    return str(top() / "bin" / arch() / name)


def library():
    return str(top() / "lib" / arch() / "libvexahvwrapper.so")


def client(name):
    return str(epics_base() / "bin" / arch() / name)


def start_script(name="st.cmd"):
    return str(top() / "iocBoot/iocZANTO" / name)


def what_is_missing():
    """The first program under test that is not there, or None."""
    wanted = [lambda: top() / "tools/epics-base", lambda: program("zantoioc"),
              lambda: program("zantocrate"), library, start_script,
              lambda: client("caget"), lambda: client("pvget" if has_pvaccess() else "caput")]
    return next((path() for path in wanted if not os.path.exists(path())), None)
