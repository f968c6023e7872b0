"""tools/run-tests: what it counts as a failure."""

import os
import shutil
import subprocess

import pytest

from harness import places

REPORTS = {
    "passed": '<testsuites tests="2" failures="0" disabled="0" errors="0">'
              '<testcase name="a"/><testcase name="b"/></testsuites>',
    "skipped": '<testsuites tests="3" failures="0" disabled="0" errors="0">'
               '<testcase name="a"/><testcase name="b"><skipped message="x"/></testcase>'
               '<testcase name="c"><skipped message="x"/></testcase></testsuites>',
    "disabled": '<testsuites tests="3" failures="0" disabled="2" errors="0">'
                '<testcase name="a"/><testcase name="b" status="notrun"/>'
                '<testcase name="c" status="notrun"/></testsuites>',
}

PROGRAM = """#!/bin/sh
echo "sees:$GTEST_FILTER$GTEST_SHARD_INDEX$PYTEST_ADDOPTS."
for argument; do
    case $argument in --gtest_output=xml:*) cp REPORT "${argument#--gtest_output=xml:}" ;; esac
done
[ "$GTEST_SHARD_INDEX" != "${FAILS:-none}" ]
"""


@pytest.fixture(name="run")
def _run(tmp_path):
    """Runs one suite in a checkout of its own; each of its processes gives the named report."""
    def run(report, suite="crate", program="unit/crateSim/zantocrateUnitTest", **variables):
        (tmp_path / "tools").mkdir(exist_ok=True)
        shutil.copy(places.TESTS.parent.parent / "tools/run-tests", tmp_path / "tools/run-tests")
        (tmp_path / "tools/environment").write_text("top=$PWD arch=any bin=$PWD/bin\n")
        folder = (tmp_path / "tests" / program).parent / "O.any"
        folder.mkdir(parents=True, exist_ok=True)
        (folder / "report.xml").write_text(REPORTS[report])
        file = folder / os.path.basename(program)
        file.write_text(PROGRAM.replace("REPORT", str(folder / "report.xml")))
        file.chmod(0o755)
        environment = {name: value for name, value in os.environ.items() if name != "CI"}
        return subprocess.run([tmp_path / "tools/run-tests", suite],
                              env={**environment, **variables}, stdout=subprocess.PIPE,
                              stderr=subprocess.STDOUT, text=True, timeout=60)
    return run


@pytest.mark.parametrize("report", ["skipped", "disabled"])
def test_skipped_tests_fail_a_continuous_integration_run(run, report):
    done = run(report, CI="true")
    assert done.returncode != 0, done.stdout
    assert "2 skipped" in done.stdout
    assert "1 passed, 2 failed" in done.stdout


@pytest.mark.parametrize("report", ["skipped", "disabled"])
def test_elsewhere_skipped_tests_are_reported(run, report):
    done = run(report)
    assert done.returncode == 0, done.stdout
    assert "2 skipped" in done.stdout
    assert "1 passed, 0 failed" in done.stdout


def test_all_tests_passed(run):
    assert run("passed", CI="true").returncode == 0


def test_no_variable_skips_a_test(run):
    done = run("passed", GTEST_FILTER="a", GTEST_SHARD_INDEX="1", PYTEST_ADDOPTS="-k a")
    assert "sees:.\n" in done.stdout


def test_a_suite_in_several_processes_is_summed_up(run):
    done = run("passed", suite="ioc", program="ioc/zantoIocTest")
    shares = [line for line in done.stdout.splitlines() if "sees:" in line]
    assert shares == [f"ioc   | sees:{i}." for i in range(6)]
    assert "12 passed, 0 failed" in done.stdout
    assert done.returncode == 0


def test_a_process_of_several_that_ends_badly_fails_the_run(run):
    done = run("passed", suite="ioc", program="ioc/zantoIocTest", FAILS="2")
    assert "exited with status" in done.stdout
    assert done.returncode != 0
