"""zantocrate-capture on a running crate, and the crate that comes of it."""

import re
import signal

import pytest

from harness import places
from harness.process import until
from harness.sandbox import LOOPBACK

CRATES = places.top() / "crateSim/crates"


def command(host=LOOPBACK, password="admin", *options):
    return [places.program("zantocrate-capture"), "-c", f"TEST@{host}", "-u", "admin",
            "-p", password, *options]


def capture(site):
    done = site.sandbox.run(command())
    assert (done.stderr, done.returncode) == ("", 0)
    return done.stdout


def without_faults(name):
    text = (CRATES / f"{name}.yaml").read_text(encoding="utf-8")
    return text.partition("\nfaults:")[0] + "\n"


ORIGINALS = {"default": None, "odd": "odd", "small": "small", "full": "full"}


@pytest.mark.parametrize("name", ORIGINALS)
def test_a_captured_crate_is_equivalent(make_site, name):
    """To the capture itself and to a server: all that it writes is the same."""
    original = make_site()
    options = []
    if ORIGINALS[name]:
        original.sandbox.path("/tmp/crate.yaml").write_text(without_faults(name), encoding="utf-8")
        options = ["/tmp/crate.yaml"]
    original.crate(*options)
    first = capture(original)
    copy = make_site()
    copy.sandbox.path("/tmp/crate.yaml").write_text(first, encoding="utf-8")
    checked = copy.sandbox.run([places.program("zantocrate"), "--check", "/tmp/crate.yaml"])
    assert (checked.stderr, checked.returncode) == ("", 0)
    copy.crate("/tmp/crate.yaml")
    assert capture(copy) == first
    for ioc in [site.ioc() for site in (original, copy)]:
        ioc.wait_running()
    written = [[site.sandbox.read(path) for path in ("/tmp/ZANTO.db", "/tmp/pvlist.txt")]
               for site in (original, copy)]
    assert written[0] == written[1]


def test_loads_are_estimated_from_the_current(site):
    crate = site.crate(CRATES / "small.yaml", "--speed", "100")
    crate.set("Pw", 1, slot=0, channel=0)
    crate.wait(name="VMon", slot=0, channel=0, value=2500)
    assert re.search(r"- \{channels: 0, ohm: 5600000\}", capture(site))


def test_a_failed_call_is_reported_and_skipped(site):
    crate = site.reduced_crate()
    crate.control("fault", kind="fail", operation="GetBdParamProp", code=9)
    done = site.sandbox.run(command())
    text = 'VEXAHV_GetBdParamProp (slot 0, "BdStatus", Type) failed with code 9'
    assert (done.stderr, done.returncode) == (f"zantocrate-capture: {text}\n", 2)
    assert f"# - {text}\n" in done.stdout
    site.sandbox.path("/tmp/crate.yaml").write_text(done.stdout, encoding="utf-8")
    checked = site.sandbox.run([places.program("zantocrate"), "--check", "/tmp/crate.yaml"])
    assert (checked.stderr, checked.returncode) == ("", 0)


def test_refusals(site):
    def failure(*arguments):
        done = site.sandbox.run(command(*arguments))
        assert (done.stdout, done.returncode) == ("", 1)
        return done.stderr
    nobody = failure()
    assert nobody.startswith(f"zantocrate-capture: no login at {LOOPBACK}: refused, or nobody")
    site.crate()
    assert failure(LOOPBACK, "wrong").startswith(f"zantocrate-capture: no login at {LOOPBACK}")
    assert failure("no.such.host.invalid") == (
        'zantocrate-capture: no host "no.such.host.invalid" is known\n')


def test_arguments(site):
    program = places.program("zantocrate-capture")
    for options in ([], ["-c", "TEST"], ["-c", "@host", "-u", "a", "-p", "b"]):
        assert site.sandbox.run([program, *options]).returncode not in (0, 1, 2)
    for option in ("--help", "--version"):
        done = site.sandbox.run([program, option])
        assert "zantocrate-capture" in done.stdout and done.returncode == 0


def delayed_capture(site):
    """One that waits for an answer for a while, with its login done."""
    crate = site.reduced_crate()
    crate.control("fault", kind="delay", operation="GetExecCommList", milliseconds=1500)
    process = site.sandbox.start("zantocrate-capture", command(password="admin"))
    crate.wait(fault="delay")
    return crate, process


def test_a_signal_ends_it_logged_out(site):
    crate, process = delayed_capture(site)
    process.send(signal.SIGTERM)
    assert process.wait() == 128 + signal.SIGTERM
    assert process.stdout.text == ""
    assert "ended by signal 15" in process.stderr.text
    assert crate.log("DeinitSystem") == ["VEXAHV_DeinitSystem()"]


def test_the_password_is_not_to_be_seen(site):
    _, process = delayed_capture(site)
    with open(f"/proc/{process.pid}/cmdline", encoding="utf-8") as file:
        arguments = file.read().split("\0")
    assert arguments[arguments.index("-p") + 1] == "*****"
    assert process.wait() == 0


def test_a_call_without_answer_ends_it(site):
    crate = site.crate()
    crate.control("fault", kind="hang", operation="GetExecCommList")
    done = site.sandbox.run(command(LOOPBACK, "admin", "--timeout", "1"))
    assert (done.stdout, done.stderr, done.returncode) == (
        "", "zantocrate-capture: no answer to VEXAHV_GetExecCommList in time\n", 1)
    until(lambda: crate.statistics()["sessions"] == 0, "the session ends")
