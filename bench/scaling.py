# SPDX-License-Identifier: MIT
"""How cost goes with size: the floor under base64, cost per byte, memory, start-up."""
from report import Goal, heading, table

SIZES = (1, 5, 20, 100)  # megabytes of attachment, beside row f
START_UPS = 40


def messages_by_size(bench):
    """Messages with attachments of each size, all of the same bytes together; row f last."""
    by_size = {f"{size} MB": sorted((bench.messages / "sizes" / str(size)).glob("*.eml")) for size in SIZES}
    by_size["row f"] = [bench.messages / "f-huge" / "lf" / "00000.eml"]
    return {what: messages for what, messages in by_size.items() if messages}


def extraction(bench, messages):
    command = [*bench.extract_ours, messages, bench.scratch / "output"]
    return lambda: bench.timed(command, bench.copying_filters)


def copying(bench, messages, *options):
    command = [bench.programs / "copy_blocks", messages, bench.scratch / "copy", *options]
    return lambda: bench.timed(command)


def measure_floor(bench):
    """Ours against a copy of the same bytes with the same block reads."""
    heading("The floor: copying the same bytes")
    lines, goals = [], []
    for what, files in messages_by_size(bench).items():
        if what not in ("20 MB", "row f"):
            continue
        messages, size = bench.list_of(files, "floor")
        series = bench.in_turns({"ours": (extraction(bench, messages), size),
                                 "blocks": (copying(bench, messages), size),
                                 "lines": (copying(bench, messages, "--lines"), size)})
        shares = [series["ours"].times_faster(series[name])[0] for name in ("blocks", "lines")]
        lines.append([what, *(series[name].text() for name in ("ours", "blocks", "lines")),
                      *(f"{share * 100:.0f} %" for share in shares)])
        goals.append(Goal(f"base64, {what}, against copying it", "50 %",
                          f"{shares[0] * 100:.0f} %", shares[0] >= 0.5))
    table(["message", "ours", "copy, a write a block", "copy, a write a line", "ours : copy by block",
           "ours : copy by line"], lines)
    return goals


def measure_flatness(bench):
    """The cost of a byte by the size of the attachment, with the same bytes in every run. The copy
    tells how flat the machine itself is."""
    heading("Cost by size")
    runs = {}
    for what, files in messages_by_size(bench).items():
        messages, size = bench.list_of(files, what.replace(" ", "-"))
        runs[what, "ours"] = extraction(bench, messages), size
        runs[what, "copy"] = copying(bench, messages), size
    series = bench.in_turns(runs)
    costs = {key: taken.wall / taken.size * 1e9 for key, taken in series.items()}
    table(["attachment", "speed", "ns a byte", "ns of processor time a byte", "copy by block, ns a byte"],
          [[what, taken.text(), f"{costs[what, 'ours']:.2f}", f"{taken.cpu / taken.size * 1e9:.2f}",
            f"{costs[what, 'copy']:.2f}"] for (what, program), taken in series.items() if program == "ours"])
    ratio, copied = dearest_to_cheapest(costs, "ours"), dearest_to_cheapest(costs, "copy")
    return [Goal("cost of a byte, dearest size : cheapest", "at most 1.1",
                 f"{ratio:.2f} (the copy: {copied:.2f})", ratio <= 1.1)]


def dearest_to_cheapest(costs, program):
    of_program = [cost for (_, whose), cost in costs.items() if whose == program]
    return max(of_program) / min(of_program)


def measure_memory(bench, huge):
    """Peaks of resident memory on row f, which `huge` (a Series by name) has, and on no text."""
    heading("Memory")
    messages, size = bench.list_of([bench.messages / "sizes" / "empty.eml"], "empty")
    output = bench.scratch / "output"
    empty = bench.in_turns({
        program.name: (lambda p=program: bench.timed([*p.command, messages, output], p.environment), size)
        for program in bench.peers()})
    above = {name: (huge[name].peak - empty[name].peak) / 2**20 for name in empty}
    table(["", "an empty message", "row f, LF", "above"],
          [[name, f"{empty[name].peak / 2**20:.1f} MiB", f"{huge[name].peak / 2**20:.1f} MiB",
            f"{above[name]:.1f} MiB"] for name in empty])
    return [Goal("memory for row f above an empty message", "at most 12 MiB", f"{above['ours']:.1f} MiB",
                 above["ours"] <= 12)]


def measure_start_up(bench):
    heading("Start-up, with a message of 2 KB")
    message = bench.messages / "sizes" / "small.eml"
    messages, size = bench.list_of([message], "small")
    series = bench.in_turns({
        "emltext": (lambda: bench.timed([bench.build / "bin" / "emltext", message]), size),
        "/bin/cat": (lambda: bench.timed(["/bin/cat", message]), size),
        "extract_ours": (extraction(bench, messages), size),
    }, START_UPS)
    table(["", "wall", "processor"], [[name, f"{taken.wall * 1e3:.2f} ms", f"{taken.cpu * 1e3:.2f} ms"]
                                      for name, taken in series.items()])
    limit = 2 * series["/bin/cat"].wall + 0.005
    return [Goal("start-up of emltext", f"at most 2 × cat + 5 ms: {limit * 1e3:.1f} ms",
                 f"{series['emltext'].wall * 1e3:.1f} ms", series["emltext"].wall <= limit)]
