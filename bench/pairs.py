"""What becomes of the values of programs that ran in turns: medians, ratios in pairs, growth."""

import json
import math

# What others may use of the CPU time, and the hypervisor may take, while programs are compared.
OTHERS_ALLOWED = 0.05
STEAL_ALLOWED = 0.01


def quantile(values, share):
    """Between two values in proportion; NaN of none."""
    if not values:
        return math.nan
    ordered = sorted(values)
    position = share * (len(ordered) - 1)
    low = math.floor(position)
    high = min(low + 1, len(ordered) - 1)
    return ordered[low] + (position - low) * (ordered[high] - ordered[low])


def median(values):
    return quantile(values, 0.5)


def growth(boards, values):
    """The exponent with which values grow with boards: least squares of the logarithms."""
    points = [(math.log(x), math.log(y)) for x, y in zip(boards, values) if y > 0]
    if len({x for x, _ in points}) < 2:
        return math.nan
    mean_x = sum(x for x, _ in points) / len(points)
    mean_y = sum(y for _, y in points) / len(points)
    return (sum((x - mean_x) * (y - mean_y) for x, y in points)
            / sum((x - mean_x) ** 2 for x, _ in points))


def results(text):
    """The JSON lines among all that a program prints, by the name of the measurement."""
    found = [json.loads(line) for line in text.splitlines() if line.startswith("{")]
    return {result["name"]: result for result in found}


class CpuTimes:
    """Ticks of all cores, from the first line of /proc/stat."""

    def __init__(self, stat):
        user, nice, system, idle, iowait, irq, softirq, steal = map(
            int, stat.split("\n", 1)[0].split()[1:9])
        self.busy = user + nice + system + irq + softirq
        self.steal = steal
        self.total = self.busy + idle + iowait + steal


def shares(before, after, own):
    """What others used of the CPU time, and what was stolen, beside `own` ticks."""
    total = max(after.total - before.total, 1)
    others = max(after.busy - before.busy - own, 0)
    return others / total, (after.steal - before.steal) / total


def is_busy(others, steal):
    return others > OTHERS_ALLOWED or steal > STEAL_ALLOWED


class Samples:
    """Values by measurement, boards, program, pair and turn."""

    def __init__(self):
        self.rows = []

    def add(self, place, program, results_of_one, load):
        boards, pair, turn = place
        self.rows += [{"boards": boards, "pair": pair, "turn": turn, "program": program, **result,
                       "others": load[0], "steal": load[1]} for result in results_of_one]

    def names(self):
        return list(dict.fromkeys(row["name"] for row in self.rows))

    def unit(self, name):
        return next(row["unit"] for row in self.rows if row["name"] == name)

    def of(self, name, boards, program):
        """By pair and turn."""
        return {(row["pair"], row["turn"]): row["value"] for row in self.rows
                if (row["name"], row["boards"], row["program"]) == (name, boards, program)}

    def median(self, name, boards, program):
        return median(list(self.of(name, boards, program).values()))

    def ratios(self, name, boards, program, limit):
        limits = self.of(name, boards, limit)
        return [value / limits[turn] for turn, value in self.of(name, boards, program).items()
                if turn in limits]

    def busy(self, name, boards):
        """How many of how many values were taken while the machine was busy."""
        rows = [row for row in self.rows if (row["name"], row["boards"]) == (name, boards)]
        return sum(is_busy(row["others"], row["steal"]) for row in rows), len(rows)

    def differences(self, name, boards):
        """Counts in which the programs differ, although they should do the same."""
        seen = {}
        for row in self.rows:
            if (row["name"], row["boards"]) == (name, boards):
                for what, count in row["counts"].items():
                    seen.setdefault(what, set()).add(count)
        return sorted(what for what, counts in seen.items()
                      if len(counts) > 1 and not what.startswith(("library", "wall")))


def number(value):
    """Three digits that count."""
    if math.isnan(value):
        return "-"
    digits = 2 - math.floor(math.log10(abs(value))) if value else 0
    return f"{value:,.{max(digits, 0)}f}"


def row(cells):
    return "| " + " | ".join(map(str, cells)) + " |"


def table(head, rows):
    return [row(head), row(["---"] * len(head)), *map(row, rows)]


def comparison(samples, boards, programs, limit):
    """Each program against the limit, in pairs; `*` marks what a busy machine measured."""
    head = ["measurement", "program", "value", "limit", "ratio", "quartiles", "busy"]
    rows = []
    for name in samples.names():
        busy, count = samples.busy(name, boards)
        for program in programs:
            ratios = samples.ratios(name, boards, program, limit)
            values = [f"{number(samples.median(name, boards, which))} {samples.unit(name)}"
                      for which in (program, limit)]
            quartiles = " - ".join(f"{quantile(ratios, share):.2f}" for share in (0.25, 0.75))
            rows.append([name + ("*" if busy else ""), program, *values,
                         f"{median(ratios):.2f}", quartiles, f"{busy} of {count}"])
    return table(head, rows)


def growths(samples, boards, programs):
    """The exponent of each program's growth with the number of boards."""
    rows = [[name, *(f"{growth(boards, [samples.median(name, n, program) for n in boards]):.2f}"
                     for program in programs)] for name in samples.names()]
    return table(["growth with boards", *programs], rows)
