"""Crate descriptions: checked, printed, and served."""

import pytest

from harness import places

CRATES = places.top() / "crateSim/crates"
EXAMPLES = {"small": "1 board, 8 channels", "full": "16 boards, 768 channels",
            "detector": "7 boards, 180 channels", "odd": "3 boards, 10 channels",
            "default": "5 boards, 120 channels"}


@pytest.fixture(name="zantocrate")
def _zantocrate(shared):
    def run(*args):
        return shared.sandbox.run([places.program("zantocrate"), *args])
    return run


@pytest.mark.parametrize("name", EXAMPLES)
def test_check_passes_the_examples(zantocrate, name):
    path = CRATES / f"{name}.yaml"
    done = zantocrate("--check", path)
    assert (done.stdout, done.stderr, done.returncode) == (
        f"{path}: OK: {EXAMPLES[name]}\n", "", 0)


def test_check_says_what_is_wrong_and_where(zantocrate, shared):
    text = (CRATES / "small.yaml").read_text(encoding="utf-8")
    lines = text.splitlines()
    slot = next(n for n, line in enumerate(lines, 1) if line == "  - slot: 0")
    role = next(n for n, line in enumerate(lines, 1) if "role: voltage-set" in line)
    lines[slot - 1] = "  - slot: 9"
    lines[role - 1] = lines[role - 1].replace("maximum: 3000", "maximum: -1")
    path = "/tmp/wrong.yaml"
    shared.sandbox.path(path).write_text("\n".join(lines) + "\n", encoding="utf-8")
    findings = [
        f'{path}:{role}: model "ZA08P", channel parameter "VSet": limits are reversed',
        f"{path}:{slot}: slot 9 does not exist, the crate has 4"]
    for options in (["--check", path], [path]):
        done = zantocrate(*options)
        assert (done.stdout, done.stderr.splitlines(), done.returncode) == ("", findings, 1)


def test_check_of_no_file(zantocrate):
    done = zantocrate("--check", "/tmp/nothing.yaml")
    assert (done.stdout, done.stderr, done.returncode) == (
        "", "/tmp/nothing.yaml: cannot be opened: No such file or directory\n", 1)
    assert zantocrate("--check").returncode != 0


def test_the_printed_crate_passes_the_check(zantocrate, shared):
    printed = zantocrate("--print-default")
    assert (printed.stderr, printed.returncode) == ("", 0)
    path = "/tmp/default.yaml"
    shared.sandbox.path(path).write_text(printed.stdout, encoding="utf-8")
    done = zantocrate("--check", path)
    assert (done.stdout, done.returncode) == (f"{path}: OK: 5 boards, 120 channels\n", 0)


def test_the_printed_crate_serves_what_the_built_in_one_serves(zantocrate, make_site):
    printed = zantocrate("--print-default").stdout
    written = {}
    for name, options in (("built-in", []), ("printed", ["/tmp/default.yaml"])):
        site = make_site()
        site.sandbox.path("/tmp/default.yaml").write_text(printed, encoding="utf-8")
        site.crate(*options)
        ioc = site.ioc().wait_running()
        written[name] = [site.sandbox.read(path) for path in ("/tmp/ZANTO.db", "/tmp/pvlist.txt")]
        assert ioc.stop() == 0
    assert written["printed"] == written["built-in"]


def test_a_server_on_the_small_crate(site):
    crate = site.crate(CRATES / "small.yaml")
    site.ioc().wait_running()
    crate.wait(eventConnections=1)
    assert site.clients.caput("ZC16:00:001:Pw", "1") == ""
    crate.wait(name="Pw", slot=0, channel=1, value=1)


def test_a_server_on_the_odd_crate(site):
    """With the faults that it asks for: the first login is refused, the second and third write
    of a property fail, a command takes its time, the first events come in pieces."""
    crate = site.crate(CRATES / "odd.yaml")
    assert site.ioc().wait() == 0
    site.ioc("-D", "2").wait_running()
    crate.wait(eventConnections=1)
    assert site.clients.caget("ZC16:01:003:VSet:RBV") == "20"
    assert crate.get("VSet", slot=1, channel=1) == 1.5
    failed = [bool(site.clients.caput("ZC16:Small", value)) for value in (5, 6, 7, 8)]
    assert failed == [False, True, True, False]
    crate.wait(name="Small", value=8)
    assert site.clients.caput("ZC16:AllOff", 1) == ""
    applied = crate.statistics()["faults"]
    assert 1 <= applied.pop("split-events") <= 10
    assert applied == {"refuse-logins": 1, "fail": 2, "delay": 1}
