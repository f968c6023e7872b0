"""zantocratectl with a real crate, in pipes and at a terminal."""

import json
import re
import signal
from types import SimpleNamespace

import pytest

from harness import places
from harness.crate import CONTROL
from harness.ctl import Ctl


@pytest.fixture(name="bench", scope="module")
def _bench(make_shared_site):
    """A crate, and the program beside it. Each test uses channels of its own."""
    shared = make_shared_site()
    return SimpleNamespace(crate=shared.crate(), ctl=Ctl(shared.sandbox), sandbox=shared.sandbox)


def asked(ctl, *arguments):
    return json.loads(ctl("--json", *arguments))


def status_words(ctl, place):
    return asked(ctl, "show", place)["statusText"]


# ---- looking

def test_show_is_a_table_for_people(bench):
    crate = bench.ctl("show")
    assert crate.startswith("ZC16: 16 slots, 5 boards, crate time ")
    assert re.search(r"^ *Slot +Model +Description +Serial +Firmware", crate, re.MULTILINE)
    assert re.search(r"^ *3 +ZA48L +48 channels 500 V 20 mA +65001 +2\.10 +48", crate, re.MULTILINE)
    board = bench.ctl("show", "3")
    assert board.startswith("Slot 3: ZA48L, 48 channels 500 V 20 mA\n")
    assert len(re.findall(r"^ *\d+ +CHANNEL", board, re.MULTILINE)) == 48
    assert bench.ctl("show", "3:7").startswith('Channel 3:7, "CHANNEL07", status: off\n')
    assert "Location" in bench.ctl("show", "system")


def test_json_is_the_crates_answer_in_one_line(bench):
    out = bench.ctl("--json", "show", "3")
    assert out.count("\n") == 1
    assert json.loads(out)["channelRows"] == bench.crate.control("show", slot=3)["channelRows"]
    assert json.loads(bench.ctl("show", "--json"))["ok"] is True
    refused = bench.ctl.run("--json", "get", "1", "Temp")
    assert refused.returncode == 1
    assert json.loads(refused.stdout) == {"ok": False, "error": "no board in slot 1"}


def test_long_answers_are_read_whole(bench):
    rows = asked(bench.ctl, "show", "3")["channelRows"]
    assert [row["channel"] for row in rows] == list(range(48))
    assert len(json.dumps(rows)) > 10000


# ---- the front panel

@pytest.mark.parametrize("place, name, text, value", [
    ("3:1", "VSet", "12.5", 12.5),
    ("3:001", "Pw", "on", 1),
    ("3:1", "PDwn", "Kill", 0),
    ("3:1", "Trip Int", "0x1f", 31),
    ("3:1", "Name", "Drift 1", "Drift 1"),
    ("3:1", "Comment", "12", "12"),
    ("15", "BdEnable", "Disabled", 0),
    ("2", "Jumpers", "3", 3),
    ("system", "FanTrim", "-7", -7),
    ("system", "RemoteOnly", "false", 0),
])
def test_set_converts_by_the_items_type(bench, place, name, text, value):
    assert bench.ctl("set", place, name, text) == ""
    assert asked(bench.ctl, "get", place, name)["value"] == value
    assert bench.ctl("get", place, name) == f"{value}\n"


def test_execute(bench):
    bench.ctl("trip", "0:1")
    assert "internal-trip" in status_words(bench.ctl, "0:1")
    bench.ctl("execute", "ClearAlarm")
    assert "internal-trip" not in status_words(bench.ctl, "0:1")


# ---- from outside

@pytest.mark.parametrize("raise_it, drop_it, word", [
    (["unplug", "7:1"], ["plug", "7:1"], "unplugged"),
    (["disable", "7:1"], ["enable", "7:1"], "external-disable"),
    (["power-fail", "7:1"], ["power-good", "7:1"], "power-fail"),
    (["power-fail", "7"], ["power-good", "7"], "power-fail"),
    (["condition", "7:1", "over-voltage"], ["condition", "7:1", "over-voltage", "--clear"],
     "over-voltage"),
    (["trip", "7:1", "--external"], ["execute", "ClearAlarm"], "external-trip"),
])
def test_conditions_come_and_go(bench, raise_it, drop_it, word):
    bench.ctl(*raise_it)
    assert word in status_words(bench.ctl, "7:1")
    bench.ctl(*drop_it)
    assert word not in status_words(bench.ctl, "7:1")


def test_a_pulled_board_is_shown_as_such(bench):
    bench.ctl("remove", "015")
    assert re.search(r"^ *15 .* pulled out$", bench.ctl("show"), re.MULTILINE)
    assert "pulled out" in bench.ctl.error("get", "15", "Temp")
    bench.ctl("insert", "15")
    assert "pulled out" not in bench.ctl("show")
    assert "already in its place" in bench.ctl.error("insert", "15")


# ---- time

def test_time_stands_still_and_is_stepped(site):
    site.crate()
    ctl = Ctl(site.sandbox)
    ctl("pause")
    for name, value in [("VSet", "100"), ("RUp", "10"), ("Pw", "On")]:
        ctl("set", "0:0", name, value)
    before = asked(ctl, "show")["clock"]
    ctl("step", "2.5")
    clock = asked(ctl, "show")["clock"]
    assert clock["paused"] and clock["uptime"] == pytest.approx(before["uptime"] + 2.5, abs=1e-9)
    assert asked(ctl, "get", "0:0", "VMon")["value"] == 25
    ctl("speed", "1000")
    ctl("continue")
    assert ctl("wait", "0:0", "VMon", "100", "--tolerance", "0.05") == ""
    assert not asked(ctl, "show")["clock"]["paused"]
    assert "100000" in ctl.error("speed", "0")


def test_wait_ends_when_it_holds_or_time_is_up(bench):
    bench.ctl("trip", "0:3")
    assert bench.ctl("wait", "0:3", "Status", "--status", "internal-trip") == ""
    assert bench.ctl("wait", "--sessions", "0") == ""
    assert "timed out" in bench.ctl.error("--timeout", "0.05", "wait", "0:3", "VSet", "77")
    assert "not a word" in bench.ctl.error("wait", "0:3", "Status", "--status", "tired")
    assert "wait needs" in bench.ctl.error("wait")


# ---- clients

def test_statistics_log_and_subscriptions(site):
    crate = site.reduced_crate()
    ctl = Ctl(site.sandbox)
    ioc = site.ioc().wait_running()
    crate.wait(eventConnections=1)
    assert re.search(r"^calls VEXAHV_GetCrateMap +\d+$", ctl("statistics"), re.MULTILINE)
    lines = ctl("log", "--match", "VEXAHV_InitSystem").splitlines()
    assert len(lines) == 1 and lines[0].startswith("VEXAHV_InitSystem(")
    assert re.search(r"^127\.0\.0\.1:5180 +yes +\d+$", ctl("subscriptions"), re.MULTILINE)
    ctl("statistics", "--clear")
    assert asked(ctl, "statistics")["calls"] == {}
    assert ioc.process.status is None


def test_a_closed_pipe_is_not_an_error(bench):
    command = f"{places.program('zantocratectl')} show 3 | head -n 1"
    done = bench.sandbox.run(["sh", "-c", command], env={"ZANTOCRATE_CONTROL": CONTROL})
    assert done.stdout == "Slot 3: ZA48L, 48 channels 500 V 20 mA\n"
    assert done.stderr == ""


def test_full_standard_output_is_an_error(bench):
    command = f"{places.program('zantocratectl')} show 3 > /dev/full"
    done = bench.sandbox.run(["sh", "-c", command], env={"ZANTOCRATE_CONTROL": CONTROL})
    assert done.returncode == 1
    assert "cannot write" in done.stderr


# ---- what goes wrong

def test_no_crate_says_where_and_how_to_start_one(bench):
    error = bench.ctl.error("--control", "/tmp/nobody", "show")
    assert "no crate answers at /tmp/nobody" in error
    assert "zantocrate --control /tmp/nobody" in error


@pytest.mark.parametrize("arguments, text", [
    (["show", "1"], "no board in slot 1"),
    (["show", "0:12"], "the board in slot 0 has 12"),
    (["get", "0:0", "vset"], 'did you mean "VSet"?'),
    (["set", "0:0", "VSte", "1"], 'did you mean "VSet"?'),
    (["set", "0:0", "VSet", "9000"], "from 0 to 3000 V"),
    (["set", "0:0", "VSet", "much"], 'VSet takes a number, not "much"'),
    (["set", "0:0", "Pw", "maybe"], "Pw takes Off or On"),
    (["execute", "ClearAlrm"], 'did you mean "ClearAlarm"?'),
    (["condition", "0:0", "overvoltage"], 'did you mean "over-voltage"?'),
])
def test_error_messages(bench, arguments, text):
    assert text in bench.ctl.error(*arguments)


@pytest.mark.parametrize("arguments", [
    [], ["dance"], ["show", "3:"], ["trip", "3"], ["trip"], ["set", "3:1", "VSet"],
    ["step", "long"], ["--timeout", "0", "show"], ["storm"],
])
def test_usage_errors(bench, arguments):
    done = bench.ctl.run(*arguments)
    assert done.returncode > 1
    assert "--help" in done.stderr
    assert done.stdout == ""


@pytest.mark.parametrize("arguments, text", [
    (["sho"], '"sho" is not a command'),
    (["remove", "0:1"], '"0:1" is not a whole number from 0 up'),
    (["log", "--last", "x"], '"x" is not a whole number from 0 up'),
    (["storm", "1000", "--seconds", "0"], '"0" is not a number above 0'),
])
def test_usage_errors_name_what_is_wrong(bench, arguments, text):
    assert text in bench.ctl.run(*arguments).stderr


def test_operations_with_and_without_prefix(bench):
    bench.ctl("wait", "--call", "GetCrateMap", "--count", "0")
    bench.ctl("wait", "--call", "VEXAHV_GetCrateMap", "--count", "0")


def test_the_odd_crate_can_be_shown(site):
    crate = site.crate(places.top() / "crateSim/crates/odd.yaml")
    ctl = Ctl(site.sandbox)
    for board in crate.control("show")["slots"]:
        slot = board["slot"]
        assert board["description"] in ctl("show", str(slot))
        for channel in range(board["channels"]):
            assert "Value" in ctl("show", f"{slot}:{channel}")


def test_default_control_paths_agree(site):
    home = {"XDG_RUNTIME_DIR": "/tmp/run", "ZANTOCRATE_CONTROL": ""}
    site.sandbox.run(["mkdir", "/tmp/run"])
    command = [places.program("zantocrate"), "--port", "0"]
    crate = site.sandbox.start("zantocrate", command, env=home)
    crate.stdout.wait_for("ready")
    ctl = Ctl(site.sandbox)
    assert "ZC16" in ctl.run("show", env=home).stdout
    second = site.sandbox.start("zantocrate", command, env=home)
    second.stdout.wait_for("ready")
    second.stderr.wait_for("without a control port")
    for process in (second, crate):
        process.send(signal.SIGTERM)
        assert process.wait() == 0


# ---- the live table

def test_live_table_follows_the_crate_and_ends_with_q(bench):
    terminal = bench.ctl.terminal("show", "2", "--live")
    assert terminal.colour("CHANNEL00 .* off$") == "default"
    bench.ctl("condition", "2:0", "under-current")
    terminal.see("CHANNEL00 .* under-current$")
    bench.ctl("trip", "2:1")
    assert terminal.colour("CHANNEL01 .* internal-trip$") == "red"
    bench.ctl("set", "2:2", "VSet", "8000")
    bench.ctl("set", "2:2", "Pw", "On")
    assert terminal.colour("CHANNEL02 .* on, ramping-up$") == "brown"
    terminal.press("q")
    assert terminal.ended() == 0


def test_live_table_scrolls_and_follows_the_size(bench):
    down, page_down, home, end, right = "\x1bOB", "\x1b[6~", "\x1bOH", "\x1bOF", "\x1bOC"
    terminal = bench.ctl.terminal("show", "3", "--live", rows=12)
    terminal.see("lines 1-6 of ")
    terminal.press(down)
    assert terminal.see("CHANNEL06") == 10
    terminal.press(page_down)
    assert terminal.see("CHANNEL12") == 10
    terminal.press(end)
    terminal.see("^Factory")
    terminal.press(home)
    assert terminal.see("CHANNEL00") == 5
    terminal.resize(30, 40)
    assert terminal.see("CHANNEL23") == 28
    assert "Status" not in terminal.lines()[4]
    terminal.press(right * 5)
    terminal.see("Status$")
    terminal.press("q")
    assert terminal.ended() == 0


def test_live_table_without_colours(bench):
    terminal = bench.ctl.terminal("show", "0", "--live", term="vt100")
    bench.ctl("trip", "0:5")
    assert terminal.colour("internal-trip$") == "default"
    terminal.press("q")
    assert terminal.ended() == 0
    assert "\x1b[31m" not in terminal.shown


@pytest.mark.parametrize("number", [signal.SIGINT, signal.SIGTERM, signal.SIGHUP],
                         ids=lambda number: number.name)
def test_signals_restore_the_terminal(bench, number):
    terminal = bench.ctl.terminal("show", "--live")
    terminal.see("q: end")
    if number == signal.SIGINT:
        terminal.press("\x03")
    else:
        terminal.kill_by(number)
    assert terminal.ended() == -number


def test_live_table_ends_with_its_crate(site):
    crate = site.crate()
    terminal = Ctl(site.sandbox).terminal("show", "--live")
    terminal.see("q: end")
    crate.kill()
    assert terminal.ended() == 1
    assert re.search("zantocratectl: the crate at .* (is gone|has closed)", terminal.shown)


def test_live_table_needs_a_terminal(bench):
    assert "--live needs a terminal" in bench.ctl.error("show", "--live")
    terminal = bench.ctl.terminal("show", "--live", term="nonsense")
    assert terminal.ended() == 1
    assert 'terminal of type "nonsense"' in terminal.shown
