"""The interactive shell, at a terminal and without one."""

import signal

import pytest

from harness import places
from harness.ioc import arguments
from harness.terminal import PROMPT, Terminal

LOGOUT = "VEXAHV_DeinitSystem()"


@pytest.fixture(name="terminal")
def _terminal(site):
    """At its prompt; `untouched` are the settings from before the shell."""
    terminal = Terminal(site.sandbox, "-D", "1")
    terminal.expect("Attempt to connect to firmware..")
    terminal.untouched = terminal.settings()
    terminal.crate = site.reduced_crate()
    terminal.expect(PROMPT)
    assert terminal.settings() != terminal.untouched
    terminal.crate.wait(eventConnections=1)
    return terminal


def ended_cleanly(terminal):
    assert terminal.wait() == 0
    assert terminal.settings() == terminal.untouched
    assert terminal.crate.log()[-1] == LOGOUT
    assert terminal.crate.log().count(LOGOUT) == 1
    assert terminal.shown.count("Shutting down crate") == 1
    assert terminal.shown.count("Crate disconnected") == 1


def test_exit_leaves(terminal):
    terminal.type("exit")
    ended_cleanly(terminal)


def test_end_of_input_leaves(terminal):
    terminal.press("d")
    ended_cleanly(terminal)


def test_interrupt_key_leaves(terminal):
    terminal.press("c")
    ended_cleanly(terminal)


def test_half_a_line_and_the_quit_key_leaves(terminal):
    terminal.type("dbl ZC1", end="")
    terminal.expect("dbl ZC1")
    terminal.wait_until_it_reads()
    terminal.press("\\")
    ended_cleanly(terminal)


@pytest.mark.parametrize("number", [signal.SIGTERM, signal.SIGHUP], ids=lambda number: number.name)
def test_signal_leaves_the_terminal_as_it_was(terminal, number):
    terminal.kill_by(number)
    ended_cleanly(terminal)


def test_signal_while_leaving_does_not_end_it_twice(terminal):
    terminal.crate.hang()
    terminal.type("exit")
    terminal.expect("Shutting down crate")
    terminal.kill_by(signal.SIGTERM)
    assert terminal.wait() == 0
    assert terminal.settings() == terminal.untouched
    assert terminal.shown.count("Shutting down crate") == 1


def test_shell_knows_the_records_and_both_servers(terminal):
    terminal.type("dbgf ZC16:ModelName")
    terminal.expect('DBF_STRING:         "ZC16"')
    terminal.type("casr")
    terminal.expect("Channel Access Server V4")
    terminal.type("pvasr")
    terminal.expect("EPICS_PVAS_PROVIDER_NAMES = QSRV")
    terminal.expect(PROMPT)
    terminal.type("exit")
    ended_cleanly(terminal)


# ---- without a terminal

def test_shell_on_a_pipe_obeys_and_leaves_at_its_end(site):
    crate = site.reduced_crate()
    ioc = site.ioc(shell=True).wait_running()
    ioc.command("dbgf ZC16:ModelName")
    ioc.stdout.wait_for('DBF_STRING: +"ZC16"')
    ioc.process.stdin.close()
    assert ioc.wait() == 0
    assert crate.log()[-1] == LOGOUT


@pytest.mark.parametrize("redirection", ["</dev/null", "<&-"], ids=["no_input", "closed_input"])
def test_shell_without_input_leaves_at_once(site, redirection):
    crate = site.reduced_crate()
    done = site.sandbox.run(["sh", "-c", f'exec "$@" {redirection}', "sh", *arguments()])
    assert done.returncode == 0
    assert crate.log()[-1] == LOGOUT
    assert "iocRun: All initialization complete" in done.stderr


@pytest.mark.parametrize("redirection", ["</dev/null", "<&-", ">&-", "<&- >&- 2>&-"],
                         ids=["no_input", "closed_input", "closed_output", "all_closed"])
def test_daemon_needs_none_of_the_standard_streams(site, redirection):
    crate = site.reduced_crate()
    ioc = site.ioc(argv=["sh", "-c", f'exec "$@" {redirection}', "sh", *arguments("-d")])
    crate.wait(eventConnections=1)
    crate.set("VSet", 14, 0, 0)
    site.clients.wait_for_value("ZC16:00:000:VSet:RBV", "14")
    assert ioc.process.status is None
    assert "epics> " not in ioc.stdout.text
    assert ioc.stop() == 0
    assert crate.log()[-1] == LOGOUT


def test_exit_in_the_script_goes_on_to_the_shell(site):
    """It leaves the script, not the process."""
    crate = site.reduced_crate()
    site.sandbox.path("/tmp/st.cmd").write_text("exit\nepicsThreadSleep 1000\n")
    ioc = site.ioc(script="/tmp/st.cmd", shell=True)
    ioc.stdout.wait_for("^epics> ")
    ioc.command("exit")
    assert ioc.wait() == 0
    assert crate.log()[-1] == LOGOUT


# ---- the registration command

def registration(site, script, env=()):
    site.reduced_crate()
    site.sandbox.path("/tmp/st.cmd").write_text(script)
    ioc = site.ioc(script="/tmp/st.cmd", shell=True, env=env)
    ioc.stdout.wait_for("^epics> ")
    return ioc


LOADED = f'dbLoadDatabase("{places.top()}/dbd/ZANTO.dbd")\n'
REGISTER = "ZANTO_registerRecordDeviceDriver(pdbbase)\n"


def test_registration_without_definitions_is_refused(site):
    ioc = registration(site, REGISTER + 'dbLoadRecords("/tmp/ZANTO.db")\necho end-of-script\n')
    said = ioc.stdout.text + ioc.stderr.text
    assert "pdbbase" in said
    ioc.command("dbl")
    ioc.command("echo nothing-listed")
    found = ioc.stdout.wait_for(r"dbl\n((.|\n)*)^nothing-listed$")
    assert "ZC16" not in found.group(0)


def test_another_top_is_warned_of(site):
    ioc = registration(site, LOADED + REGISTER + "echo end-of-script\n",
                       env={"TOP": "/somewhere/else"})
    assert ('Warning: IOC is booting with TOP = "/somewhere/else"\n'
            f'          but was built with TOP = "{places.top()}"\n') in (
                ioc.stdout.text + ioc.stderr.text)


@pytest.mark.parametrize("top", [None, str(places.top())], ids=["unset", "the_same"])
def test_no_warning_of_top(site, top):
    ioc = registration(site, LOADED + REGISTER + "echo end-of-script\n",
                       env={} if top is None else {"TOP": top})
    assert "Warning" not in ioc.stdout.text + ioc.stderr.text


def test_shell_variables_are_registered(site):
    ioc = registration(site, LOADED + REGISTER)
    for name in ("asCaDebug", "dbRecordsOnceOnly", "dbBptNotMonotonic", "dbTemplateMaxVars"):
        ioc.command(f"var {name}")
        ioc.stdout.wait_for(rf"^{name} = -?\d+$")
