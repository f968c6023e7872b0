"""Shutdown: it has one cause, and nothing goes on after it."""

import contextlib
import re
import signal
import time

import pytest

from harness import places
from harness.ioc import NO_EDITOR
from harness.shutdown import (BY_SIGTERM, DEADLINE, PROMPT, SHELL_LEFT, ends, gone,
                              logged_out_once, printed, slow)
from harness.terminal import PROMPT as SHELL_PROMPT, Terminal

# The access library gives a call up when a signal interrupts it.
INTERRUPTIBLE = {"ZANTOCRATE_FAIL_INTERRUPTED": "1"}
each_library = pytest.mark.parametrize("library", [{}, INTERRUPTIBLE],
                                       ids=["waits_on", "gives_up"])

# Names are withdrawn that had not been subscribed.
NOT_SUBSCRIBED = re.compile(r"^Error subscribing .*\n", re.MULTILINE)
# What the start of the records says in the name of EPICS.
BANNER = re.compile(r"^#.*\n", re.MULTILINE)


def printed_by_the_script(ioc):
    return NOT_SUBSCRIBED.sub("", printed(ioc))


def printed_after_the_prompt(ioc):
    return NOT_SUBSCRIBED.sub("", printed(ioc, ioc.mark))


def type_late(ioc, line):
    """Types a line to a server that may be gone."""
    with contextlib.suppress(BrokenPipeError):
        ioc.command(line)


# ---- a call of the tree build that fails because the signal interrupted it

# Each call that can be met, the first and the last of its kind, with how many pass before.
BUILD_CALLS = [("InitSystem", 0), ("GetExecCommList", 0), ("GetSysPropList", 0),
               ("GetSysPropInfo", 0), ("GetSysPropInfo", 14), ("GetSysProp", 0), ("GetSysProp", 14),
               ("GetCrateMap", 0), ("GetBdParamInfo", 0), ("GetBdParamInfo", 4),
               ("GetBdParamProp", 0), ("GetBdParamProp", 319), ("GetBdParam", 0),
               ("GetBdParam", 54), ("GetChName", 0), ("GetChName", 21), ("GetChParamInfo", 0),
               ("GetChParamInfo", 10), ("GetChParamProp", 0), ("GetChParamProp", 1231),
               ("GetChParam", 0), ("GetChParam", 197)]
ROUNDS = 3


@pytest.fixture(name="undisturbed", scope="module")
def _undisturbed(make_shared_site):
    """All that a server prints up to the end of the tree build."""
    site = make_shared_site()
    site.reduced_crate()
    ioc = site.ioc("-D", "2").wait_running()
    ioc.stop()
    last = "PV list written into file [/tmp/pvlist.txt]\n"
    said, end, _ = printed(ioc).partition(last)
    assert end
    return said + end


@pytest.mark.parametrize("operation, before", BUILD_CALLS,
                         ids=[f"{operation}_{before}" for operation, before in BUILD_CALLS])
def test_interrupted_call_of_the_build_says_and_does_nothing_more(site, undisturbed, operation,
                                                                  before):
    crate = site.reduced_crate()
    for round_ in range(ROUNDS):
        crate.clear()
        crate.fault("delay", operation=operation, milliseconds=700, after=before)
        ioc = site.ioc("-D", "2", env=INTERRUPTIBLE, name=f"round {round_}")
        crate.wait(fault="delay")
        ends(ioc)
        text = printed(ioc)
        assert text.endswith(BY_SIGTERM)
        assert undisturbed.startswith(text[:-len(BY_SIGTERM)])
        crate.wait(sessions=0)
        # A login that was interrupted has not happened.
        if operation != "InitSystem" or crate.log():
            logged_out_once(crate)


# ---- no further step

def setting_up():
    """The lines of the start-up script without those that start the server."""
    with open(places.start_script(), encoding="ascii") as script:
        return [line.rstrip("\n") for line in script if not line.startswith(("#", "iocInit"))]


def write_script(site, *lines):
    site.sandbox.path("/tmp/st.cmd").write_text("".join(f"{line}\n" for line in lines))


@each_library
@pytest.mark.parametrize("before", [1229, 1230, 1231])
def test_signal_in_the_last_calls_of_the_build_keeps_the_script_from_being_read(
        site, undisturbed, before, library):
    crate = site.reduced_crate()
    write_script(site, "echo the-script-is-read", *setting_up(), "iocInit")
    for round_ in range(ROUNDS):
        crate.clear()
        crate.fault("delay", operation="GetChParamProp", milliseconds=500, after=before)
        ioc = site.ioc("-D", "2", script="/tmp/st.cmd", env=library, name=f"round {round_}")
        crate.wait(fault="delay")
        ends(ioc)
        text = printed(ioc)
        assert "the-script-is-read" not in text
        assert text.endswith(BY_SIGTERM)
        assert undisturbed.startswith(text[:-len(BY_SIGTERM)])
        assert "iocRun" not in ioc.stderr.to_end()
        logged_out_once(crate)


@pytest.mark.parametrize("level", [0, 2])
def test_script_stops_when_the_shutdown_begins(site, level):
    crate = site.reduced_crate()
    lines = [f"echo line-{number}-of-the-script" for number in range(20000)]
    write_script(site, *lines, *setting_up(), "iocInit")
    for round_ in range(ROUNDS):
        crate.clear()
        ioc = site.ioc("-D", str(level), script="/tmp/st.cmd", name=f"round {round_}")
        ioc.stdout.wait_for(f"^line-{100 * round_ + 10}-of-the-script$")
        ends(ioc)
        said = BY_SIGTERM if level > 1 else ""
        assert printed_by_the_script(ioc).endswith(f"-of-the-script\n{said}")
        assert "line-19999-" not in ioc.stdout.text
        assert "Starting VEXA ZANTO driver" not in ioc.stdout.text
        assert "iocRun" not in ioc.stderr.to_end()
        logged_out_once(crate)


def test_a_paused_script_is_not_resumed(site):
    crate = site.reduced_crate()
    pauses = ["echo it-pauses", *["epicsThreadSleep 0.05", "echo it-goes-on"] * 200]
    write_script(site, *pauses, *setting_up(), "iocInit")
    ioc = site.ioc("-D", "2", script="/tmp/st.cmd", env=slow(DeinitSystem=1))
    ioc.stdout.wait_for("^it-pauses$")
    ends(ioc)
    assert printed_by_the_script(ioc).endswith(BY_SIGTERM)
    logged_out_once(crate)


@pytest.fixture(name="at_prompt")
def _at_prompt(site):
    """A server with a shell that has everything but its iocInit."""
    site.the_crate = site.reduced_crate()

    def start(name="zantoioc", env=()):
        write_script(site, *setting_up())
        ioc = site.ioc("-D", "2", shell=True, script="/tmp/st.cmd", name=name,
                       env={**NO_EDITOR, **dict(env)})
        ioc.stdout.wait_for("^epics> ")
        ioc.mark = len(ioc.stdout.text)
        return ioc

    return start


@each_library
@pytest.mark.parametrize("operation", ["SubscribeSystemParams", "SubscribeChannelParams"])
def test_signal_in_a_subscription_of_a_typed_ioc_init(site, at_prompt, operation, library):
    ioc = at_prompt(env=library)
    site.the_crate.fault("delay", operation=operation, milliseconds=700)
    ioc.command("iocInit")
    site.the_crate.wait(fault="delay")
    ends(ioc)
    said = BANNER.sub("", printed_after_the_prompt(ioc))
    assert said == "Starting VEXA ZANTO driver\n" + BY_SIGTERM
    assert "iocRun" not in ioc.stderr.to_end()
    logged_out_once(site.the_crate)


@each_library
def test_signal_in_a_subscription_of_a_typed_ioc_init_that_gets_no_answer(site, at_prompt,
                                                                          library):
    ioc = at_prompt(env=library)
    site.the_crate.fault("hang", operation="SubscribeBoardParams")
    ioc.command("iocInit")
    site.the_crate.wait(fault="hang")
    ends(ioc, DEADLINE)
    assert printed_after_the_prompt(ioc).endswith(BY_SIGTERM)
    assert "iocRun" not in ioc.stderr.to_end()


@each_library
@pytest.mark.parametrize("pause", [0, 0.002, 0.01, 0.03, 0.1])
def test_signal_after_a_typed_ioc_init(site, at_prompt, pause, library):
    for round_ in range(ROUNDS):
        site.the_crate.clear()
        ioc = at_prompt(env=library, name=f"round {round_}")
        ioc.command("iocInit")
        time.sleep(pause)
        ends(ioc)
        text = BANNER.sub("", printed_after_the_prompt(ioc))
        assert text.removesuffix(BY_SIGTERM) in (
            "", "Starting VEXA ZANTO driver\n",
            "Starting VEXA ZANTO driver\n\nVEXA ZANTO driver ready\n")
        assert text.endswith(BY_SIGTERM)
        logged_out_once(site.the_crate)


def test_ioc_init_typed_after_a_signal_is_not_executed(site, at_prompt):
    for round_ in range(ROUNDS):
        site.the_crate.clear()
        ioc = at_prompt(env=slow(DeinitSystem=0.5), name=f"round {round_}")
        ioc.send(signal.SIGTERM)
        type_late(ioc, "iocInit")
        assert ioc.wait() == 0
        assert printed_after_the_prompt(ioc) == BY_SIGTERM
        logged_out_once(site.the_crate)


def test_signal_in_a_subscription_of_an_ioc_init_typed_at_a_terminal(site):
    crate = site.reduced_crate()
    write_script(site, *setting_up())
    terminal = Terminal(site.sandbox, "-D", "2", script="/tmp/st.cmd", env=INTERRUPTIBLE)
    terminal.expect("Attempt to connect to firmware..")
    untouched = terminal.settings()
    terminal.expect(SHELL_PROMPT)
    crate.fault("hang", operation="SubscribeSystemParams")
    terminal.type("iocInit")
    crate.wait(fault="hang")
    begin = time.monotonic()
    terminal.kill_by(signal.SIGTERM)
    assert terminal.wait() == 0
    assert time.monotonic() - begin < DEADLINE
    assert terminal.settings() == untouched
    text = terminal.shown.replace("\r\n", "\n")
    assert NOT_SUBSCRIBED.sub("", text).endswith(BY_SIGTERM)
    assert "iocRun" not in terminal.shown


# ---- exit in the script, and a script that stops

@pytest.mark.parametrize("shell", [False, True], ids=["daemon", "shell"])
def test_exit_in_the_script_ends_the_script_alone(site, shell):
    crate = site.reduced_crate()
    write_script(site, *setting_up(), "iocInit", "exit", "echo behind-the-exit")
    ioc = site.ioc("-D", "2", script="/tmp/st.cmd", shell=shell, env=NO_EDITOR).wait_running()
    crate.wait(eventConnections=1)
    if shell:
        ioc.stdout.wait_for("^epics> ")
        ioc.command("echo the-shell-obeys")
        ioc.stdout.wait_for("the-shell-obeys$")
    assert site.clients.caget("ZC16:00:000:VSet") == "0"
    ends(ioc)
    assert printed(ioc).endswith(BY_SIGTERM)
    assert "behind-the-exit" not in ioc.stdout.text
    logged_out_once(crate)


@pytest.mark.parametrize("stop", ["halt", "break"])
def test_script_that_stops_at_an_error_ends_by_a_signal(site, stop):
    crate = site.reduced_crate()
    write_script(site, f"on error {stop}", "echo before-the-error", "no-such-command",
                 "echo behind-the-error")
    ioc = site.ioc("-D", "2", script="/tmp/st.cmd")
    ioc.stdout.wait_for("^before-the-error$")
    ioc.stderr.wait_for("no-such-command")
    ends(ioc)
    assert printed_by_the_script(ioc).endswith(BY_SIGTERM)
    assert "behind-the-error" not in ioc.stdout.text
    logged_out_once(crate)


# ---- the first cause wins

@pytest.fixture(name="small", scope="module")
def _small(make_shared_site):
    """A crate that is quick to start with."""
    site = make_shared_site()
    site.the_crate = site.crate(str(places.top() / "crateSim/crates/small.yaml"))
    return site


def at_shell(small, name, env=()):
    small.the_crate.clear()
    ioc = small.ioc("-D", "2", shell=True, name=name,
                    env={**NO_EDITOR, **dict(env)}).wait_running()
    small.the_crate.wait(eventConnections=1)
    ioc.stdout.wait_for("^epics> ")
    ioc.mark = len(ioc.stdout.text)
    return ioc


@each_library
@pytest.mark.parametrize("first", ["exit", "signal"])
@pytest.mark.parametrize("pause", [0, 0.0005, 0.002])
def test_exit_and_a_signal_at_the_same_moment_are_one_end(small, first, pause, library):
    for round_ in range(6):
        ioc = at_shell(small, f"{first} {pause} {library} {round_}", env=library)
        if first == "exit":
            ioc.command("exit")
            time.sleep(pause)
            ioc.send(signal.SIGTERM)
        else:
            ioc.send(signal.SIGTERM)
            time.sleep(pause)
            type_late(ioc, "exit")
        assert ioc.wait() == 0
        assert printed_after_the_prompt(ioc) in (SHELL_LEFT, BY_SIGTERM)
        logged_out_once(small.the_crate)


@each_library
def test_signal_while_the_shell_is_being_left_changes_nothing(small, library):
    for round_ in range(3):
        ioc = at_shell(small, f"left {library} {round_}",
                       env={**library, **slow(UnSubscribeSystem=0.7)})
        ioc.command("exit")
        ioc.stdout.wait_for("^Shutting down crate$")
        begin = time.monotonic()
        ioc.send(signal.SIGTERM)
        gone(ioc, PROMPT, begin)
        assert printed_after_the_prompt(ioc) == SHELL_LEFT
        logged_out_once(small.the_crate)


def test_exit_while_a_signal_ends_the_server_changes_nothing(small):
    for round_ in range(3):
        ioc = at_shell(small, f"signal first {round_}", env=slow(UnSubscribeSystem=0.7))
        ioc.send(signal.SIGTERM)
        ioc.stdout.wait_for("^Shutting down crate$")
        type_late(ioc, "exit")
        assert ioc.wait() == 0
        assert printed_after_the_prompt(ioc) == BY_SIGTERM
        logged_out_once(small.the_crate)
