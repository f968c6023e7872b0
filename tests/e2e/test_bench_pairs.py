"""What the benchmarks make of the values of programs that ran in turns."""

import math
import sys

import pytest

from harness import places

sys.path.insert(0, str(places.TESTS.parent.parent / "bench"))

# pylint: disable=wrong-import-position
import pairs


def test_quantiles_lie_between_values_in_proportion():
    assert pairs.quantile([4, 1, 3, 2], 0.25) == 1.75
    assert pairs.median([3, 1, 2]) == 2
    assert pairs.median([7]) == 7
    assert math.isnan(pairs.median([]))


@pytest.mark.parametrize("exponent", (0, 0.5, 1, 2))
def test_growth_is_the_exponent(exponent):
    boards = [1, 4, 16]
    assert pairs.growth(boards, [3 * n ** exponent for n in boards]) == pytest.approx(exponent)


def test_one_number_of_boards_shows_no_growth():
    assert math.isnan(pairs.growth([16], [5]))


def test_results_stand_among_other_output():
    text = ('Starting\n{"name": "build", "unit": "ms", "value": 2.5, "counts": {"calls": 7}}\n'
            'iocRun: complete\n')
    assert pairs.results(text)["build"]["value"] == 2.5


def test_load_is_what_others_used():
    before = pairs.CpuTimes("cpu  100 0 100 800 0 0 0 0 0 0\ncpu0 1 1 1\n")
    after = pairs.CpuTimes("cpu  150 0 120 918 0 0 10 2 0 0\n")
    others, steal = pairs.shares(before, after, own=60)
    assert (others, steal) == (pytest.approx(0.1), pytest.approx(0.01))
    assert pairs.is_busy(others, steal)
    assert not pairs.is_busy(0.01, 0.001)


@pytest.fixture(name="samples")
def _samples():
    """Two pairs; the limit's second run was disturbed."""
    samples = pairs.Samples()
    for pair, (old, limit) in enumerate(((2.0, 1.0), (9.0, 3.0))):
        for program, value, calls in (("old", old, 5), ("limit", limit, 5 + pair)):
            result = {"name": "build", "unit": "ms", "value": value, "counts": {"calls": calls}}
            others = 0.2 if (program, pair) == ("limit", 1) else 0.0
            samples.add((16, pair, 0), program, [result], (others, 0.0))
    return samples


def test_ratios_are_those_of_pairs(samples):
    assert samples.ratios("build", 16, "old", "limit") == [2.0, 3.0]


def test_a_value_without_its_partner_makes_no_ratio(samples):
    lonely = {"name": "build", "unit": "ms", "value": 1.0, "counts": {}}
    samples.add((16, 1, 1), "old", [lonely], (0, 0))
    assert samples.ratios("build", 16, "old", "limit") == [2.0, 3.0]


def test_other_work_is_reported(samples):
    assert samples.differences("build", 16) == ["calls"]


def test_the_table_marks_what_a_busy_machine_measured(samples):
    lines = pairs.comparison(samples, 16, ["old"], "limit")
    assert lines[2] == "| build* | old | 5.50 ms | 2.00 ms | 2.50 | 2.25 - 2.75 | 1 of 4 |"


def test_numbers_keep_three_digits():
    assert [pairs.number(value) for value in (0.01234, 1.234, 56.78, 77885.2, math.nan)] == [
        "0.0123", "1.23", "56.8", "77,885", "-"]
