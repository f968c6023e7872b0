"""The man pages say what --help says, no more and no less."""

import re
import subprocess
from pathlib import Path

import pytest

from harness import places
from harness.process import WATCHDOG

PAGES = sorted((places.top() / "docs/man").glob("*.[15]"), key=lambda page: page.name)
PROGRAMS = sorted(path.name for path in Path(places.program("x")).parent.glob("zanto*"))
WITH_HELP = [name for name in PROGRAMS if name != "zantoioc"]

# An option at the start of a line of help, behind its short form if it has one.
HELP_OPTION = re.compile(r"^  (?:-\w,)?(--[a-z][-a-z0-9]*)", re.MULTILINE)
HELP_COMMAND = re.compile(r"^  ([a-z][-a-z]*)  +[A-Z]", re.MULTILINE)
PAGE_OPTION = re.compile(r"Fl Fl ([a-z][-a-z0-9]*)")
PAGE_ITEM = re.compile(r"^\.It (.*)$", re.MULTILINE)


def output(*arguments):
    done = subprocess.run(arguments, stdin=subprocess.DEVNULL, stdout=subprocess.PIPE, text=True,
                          timeout=WATCHDOG, check=True)
    return done.stdout


def helped(program, *command):
    """Options and subcommands that --help lists."""
    text = output(places.program(program), *command, "--help")
    subcommands = text.partition("[SUBCOMMAND]" if "[SUBCOMMAND]" in text else "SUBCOMMAND")[2]
    return set(HELP_OPTION.findall(text)), set(HELP_COMMAND.findall(subcommands))


def documented(program):
    """Options of the program, and of each subcommand, that have an item in its page."""
    page = (places.top() / f"docs/man/{program}.1").read_text(encoding="utf-8")
    options, commands = set(), {}
    for item in PAGE_ITEM.findall(page):
        named = {f"--{name}" for name in PAGE_OPTION.findall(item)}
        if item.startswith("Fl"):
            options |= named
        elif item.startswith("Cm"):
            commands[item.split()[1]] = named
    return options, commands


@pytest.mark.parametrize("program", WITH_HELP)
def test_page_has_the_options_and_subcommands_of_the_help(program):
    options, commands = documented(program)
    helped_options, helped_commands = helped(program)
    assert options == helped_options
    assert set(commands) == helped_commands
    assert len(options) + len(commands) > 3


@pytest.mark.parametrize("program", ["zantocratectl", "zantosite"])
def test_page_has_the_options_of_each_subcommand(program):
    _, commands = documented(program)
    assert {command: helped(program, command)[0] - {"--help"}
            for command in commands} == commands


def test_page_has_the_options_of_the_servers_usage():
    usage = output(places.program("zantoioc"))
    page = (places.top() / "docs/man/zantoioc.1").read_text(encoding="utf-8")
    listed = {item.split()[1] for item in PAGE_ITEM.findall(page) if item.startswith("Fl ")}
    assert listed == set(re.findall(r"\[-(\w)\b", usage))


@pytest.mark.parametrize("page", PAGES, ids=lambda page: page.name)
def test_page_is_set_without_a_warning(page):
    done = subprocess.run(["man", "--warnings", "-E", "UTF-8", "-l", page], check=False,
                          stdin=subprocess.DEVNULL, stdout=subprocess.PIPE,
                          stderr=subprocess.PIPE, text=True, timeout=WATCHDOG,
                          env={"PATH": "/usr/bin:/bin", "LC_ALL": "C.UTF-8", "MANWIDTH": "80"})
    assert (done.returncode, done.stderr) == (0, "")
    assert re.search(r"^NAME\n +zanto\w*.* [–—-]", done.stdout, re.MULTILINE)
    # What is set in another way than the formatter's own comes out as a bare macro.
    assert not re.search(r"^ *\.[A-Z]", done.stdout, re.MULTILINE)


def test_every_program_has_a_page():
    assert {"zantoioc", "zantocrate", "zantocratectl"} <= set(PROGRAMS)
    assert {f"{name}.1" for name in PROGRAMS} <= {page.name for page in PAGES}
