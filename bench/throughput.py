# SPDX-License-Identifier: MIT
"""The rows of the benchmark: ours beside its peers."""
from equivalence import LINE_ENDS
from programs import messages_of
from report import Goal, heading, ratio_text, table

COMPILED = ("GMime", "libetpan")


def measure_row(bench, row, ending):
    runs = {}
    for program in bench.peers():
        messages, size = bench.list_of(messages_of(row, ending)[:: program.every], program.name)
        command = [*program.command, messages, bench.scratch / "output"]
        runs[program.name] = (lambda c=command, e=program.environment: bench.timed(c, e), size)
    return bench.in_turns(runs)


def measure_throughput(bench):
    """Prints the table, row by row. Returns the Series of every program by row and line end."""
    heading("Throughput")
    print("Ratios are of wall time, in brackets of processor time. Python takes every fifth message.\n")
    names = [program.name for program in bench.peers()]
    measured = {}

    def lines():
        for row in bench.rows():
            for ending in LINE_ENDS:
                series = measured[row.name, ending] = measure_row(bench, row, ending)
                ratios = [ratio_text(series["ours"].times_faster(series[name])) for name in names[1:]]
                yield [f"{row.name} {ending}"] + [series[name].text() for name in names] + ratios

    table(["row"] + names + [f"ours : {name}" for name in names[1:]], lines())
    return measured


def least(measured, names, rows=None):
    """The least ratio of ours to any of these, and where it is."""
    return min((series["ours"].times_faster(series[name])[0], f"{row} {ending}, {name}")
               for (row, ending), series in measured.items() for name in names
               if rows is None or row in rows)


def throughput_goals(measured):
    goals = []
    for row in sorted({row for row, _ in measured}):
        times = 2 if row == "f-huge" else 3
        ratio, where = least(measured, ["GMime"], [row])
        goals.append(Goal(f"{row}: times GMime", f"{times}", f"{ratio:.2f} ({where})", ratio >= times))
    ratio, where = least(measured, COMPILED)
    goals.append(Goal("never slower than a C or C++ peer", "1", f"{ratio:.2f} ({where})", ratio >= 1))
    ratio, where = least(measured, ["Python email"])
    goals.append(Goal("times Python", "30", f"{ratio:.1f} ({where})", ratio >= 30))
    return goals
