"""bench/scale.py in its quick form: each part runs to its end and measures what it says."""

import re
import subprocess

import pytest

from harness import places

SCALE = places.top() / "bench/scale.py"
# Of each part, by the first cell of its rows, what a row must show: column and pattern.
SEEN = r"(?!0\.0+ )\d+\.\d+"
ROWS = {
    "servers": {"HV0 of 1": {"PSS": SEEN, "its Location": "Counting room 0"},
                "HV0 of 2": {"idle CPU": r"\d+\.\d %", "its Location": "Counting room 0"},
                "HV1 of 2": {"event port": r"51[89]\d", "its Location": "Counting room 1"}},
    "boards": {"1": {"records": "1,072", "serves after": SEEN,
                     "CPU, scanning all": SEEN, "CPU, scanning what changed": SEEN}},
    "clients": {"3 ca": {"files": "3", "updates/s": "[1-9].*", "event to monitor p50 [ms]": SEEN},
                "2 pva": {"files": "2", "updates/s": "[1-9].*", "p99 [ms]": SEEN}},
    "site": {"make": {"seconds": SEEN, "peak memory": SEEN, "aliases": "[1-9].*"},
             "the server's": {"numeric": SEEN, "status": SEEN},
             "and the site's": {"numeric": SEEN, "status": SEEN}},
}


def tables(text):
    """All rows, each by the names of its columns; the mark of a busy machine is left out."""
    rows, head = [], None
    for line in text.splitlines():
        cells = [cell.strip() for cell in line.strip("|").split("|")]
        if not line.startswith("|"):
            head = None
        elif head is None:
            head = cells
        elif not re.fullmatch("-+", cells[1]):
            rows.append((cells[0].rstrip("*"), dict(zip(head, cells))))
    return rows


@pytest.mark.parametrize("part", ROWS)
def test_a_part_measures_what_it_says(part):
    done = subprocess.run(["/usr/bin/python3", SCALE, "--quick", "--only", part],
                          stdout=subprocess.PIPE, stderr=subprocess.PIPE, text=True, timeout=300,
                          check=False)
    assert done.returncode == 0, done.stdout + done.stderr
    assert done.stderr == ""
    rows = tables(done.stdout)
    assert {name for name, _ in rows} == set(ROWS[part])
    for name, cells in rows:
        for column, pattern in ROWS[part][name].items():
            assert re.match(pattern, cells[column]), (name, column, cells)
