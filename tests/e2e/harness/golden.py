"""Texts compared with files of the repository, in a form that people can read.

A board's channels are alike, and a hundred of them make a megabyte: what is equal for a run of
channels but for the channel's number is kept once, under a line that names the run. Nothing is
lost by it: text and folded text stand for each other.
"""

import difflib
import re
from itertools import groupby

from . import places

FILES = places.TESTS / "golden"
ACCEPT = "--accept-golden"
SHOWN = 60
accepting = False


def is_asked(arguments):
    """Whether the command line of pytest itself says so. What PYTEST_ADDOPTS adds does not count:
    an exported variable must never turn a comparison into an acceptance."""
    return ACCEPT in arguments


def check(name, text):
    """Fails with the difference; writes the file instead when the user has asked for it."""
    path = FILES / name
    if accepting:
        path.parent.mkdir(parents=True, exist_ok=True)
        path.write_text(text, encoding="utf-8")
        return
    assert path.exists(), f"{path} does not exist: tests/accept creates it"
    difference = list(difflib.unified_diff(
        path.read_text(encoding="utf-8").splitlines(), text.splitlines(), str(path), "now",
        lineterm=""))
    assert not difference, (
        "\n".join(difference[:SHOWN]) + f"\n({len(difference)} lines; tests/accept accepts them)")
    assert path.read_text(encoding="utf-8") == text


def fold(units, place):
    """`place` gives a unit's slot and channel, or None, and its text without the channel."""
    placed = [place(unit) for unit in units]
    runs = []
    for key, members in groupby(placed, lambda member: member[0]):
        body = [text for _, text in members]
        if runs and _continues(runs[-1], key, body):
            runs[-1]["last"] = key[1]
        else:
            runs.append({"key": key, "last": key and key[1], "body": body})
    return "".join(_head(run) + "".join(run["body"]) for run in runs)


def _continues(run, key, body):
    return (key is not None and run["key"] is not None and run["key"][0] == key[0]
            and run["last"] + 1 == key[1] and run["body"] == body)


def _head(run):
    if run["key"] is None:
        return "# no channel\n"
    slot, first = run["key"]
    which = f"channel {first}" if run["last"] == first else f"channels {first} to {run['last']}"
    return f"# slot {slot}, {which}\n"


# ---- the units of each text and where they belong

def records(text):
    """The database, cut behind each record."""
    return [record for record in re.split(r"(?<=^}\n)", text, flags=re.MULTILINE) if record]


def place_of_record(text):
    found = re.match(r'record\( ?\w+, "(\w+):(\d+):(\d+):', text)
    if not found:
        return None, text
    name, slot, channel = found.groups()
    return ((int(slot), int(channel)),
            text.replace(f"{name}:{slot}:{channel}:", f"{name}:{slot}:<ccc>:"))


def place_of_pv(line):
    found = re.match(r"(\d+), (\d+), (\w+):(\d+):(\d+):(.*\n)$", line)
    if not found:
        return None, line
    slot, channel, name, padded_slot, padded_channel, rest = found.groups()
    assert int(padded_channel) == int(channel)
    return ((int(slot), int(channel)),
            f"{slot}, <c>, {name}:{padded_slot}:<{'c' * len(padded_channel)}>:{rest}")


# Before the channel, the channel, behind it. The slot is the last number before.
CALLS = [re.compile(pattern) for pattern in (
    r'(VEXAHV_GetChParam\(\d+, ".*", \[)(\d+)(\]\)\n)$',
    r'(VEXAHV_GetChName\(\d+, \[)(\d+)(\]\)\n)$',
    r'(VEXAHV_GetChParam(?:Info|Prop)\(\d+, )(\d+)(.*\n)$',
    r'(VEXAHV_(?:Un)?SubscribeChannelParams\(\d+, \d+, )(\d+)(, .*\n)$')]


def place_of_call(line):
    for pattern in CALLS:
        found = pattern.match(line)
        if found:
            before, channel, behind = found.groups()
            arguments = before.split("(")[1].split(", ")
            slot = arguments[1] if "Subscribe" in before else arguments[0]
            return (int(slot), int(channel)), f"{before}<c>{behind}"
    return None, line
