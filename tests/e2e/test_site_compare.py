"""A board swapped at the crate: what its captures before and after say, and what the site file
has to do with it."""

import pytest

from harness import detector, places
from harness.ioc import LOOPBACK

SITE = """site: Chamber
crates: [{name: ZC16}]
channels:
  - channels: 0:0-3
    name: W##
    limits: {IMon: {high: 15}}
  - channels: 2:0-3
    drive:
      SVMax: [0, 500]
boards:
  - {slots: 0, limits: {Temp: {high: 50}}}
"""


def capture(site, path):
    done = site.sandbox.run([places.program("zantocrate-capture"), "-c", f"ZC16@{LOOPBACK}",
                             "-u", "admin", "-p", "admin"])
    assert done.returncode == 0, done.stderr
    site.sandbox.path(path).write_text(done.stdout, encoding="utf-8")


@pytest.fixture(scope="module", name="swapped")
def a_crate_whose_board_is_swapped(shared):
    crate = shared.reduced_crate()
    capture(shared, "/tmp/before.yaml")
    assert crate.stop() == 0
    reduced = shared.sandbox.path("/tmp/reduced.yaml")
    text = reduced.read_text(encoding="utf-8")
    board = text.index("\n  - ", text.index("\nboards:"))
    end = text.index("\n  - ", board + 1)
    other = text[board:end].replace("channels: 4", "channels: 3").replace("serial: ", "serial: 7")
    assert other != text[board:end]
    reduced.write_text(text[:board] + other + text[end:], encoding="utf-8")
    shared.crate("/tmp/reduced.yaml")
    capture(shared, "/tmp/after.yaml")
    shared.sandbox.path(detector.SITE).write_text(SITE, encoding="utf-8")
    return shared


def compare(site, *arguments):
    return detector.zantosite(site.sandbox, "compare", *arguments)


def test_the_same_crate_has_no_differences(swapped):
    done = compare(swapped, "/tmp/after.yaml", "/tmp/after.yaml")
    assert (done.returncode, done.stdout, done.stderr) == (0, "No differences.\n", "")


def test_a_swap_is_told_in_words(swapped):
    done = compare(swapped, "/tmp/before.yaml", "/tmp/after.yaml", "--no-values")
    assert (done.returncode, done.stderr) == (1, "")
    assert "slot 0: board exchanged: " in done.stdout
    # The board in slot 15 is described as that in slot 0.
    assert "slots 0 and 15, channel 3: gone" in done.stdout
    assert "slot 2" not in done.stdout


def test_the_lines_of_the_site_file_that_need_attention_are_named(swapped):
    done = compare(swapped, "/tmp/before.yaml", "/tmp/after.yaml", "--no-values",
                   "--site", detector.SITE)
    assert f"{detector.SITE}:4: slot 0, channel 3: gone" in done.stdout
    assert f"{detector.SITE}:7:" not in done.stdout


def test_what_cannot_be_read_is_trouble_and_nothing_is_compared(swapped):
    for wrong in ("/tmp/nothing.yaml", "/proc/version"):
        done = compare(swapped, "/tmp/before.yaml", wrong)
        assert (done.returncode, done.stdout) == (2, "")
        assert wrong in done.stderr
