#!/usr/bin/env python3
# SPDX-License-Identifier: MIT
"""The whole benchmark, as Markdown: measure.py BUILD MESSAGES [--rounds N] [SHARE]

BUILD holds what `bench/run` builds; MESSAGES gets the messages. Programs that are compared take turns,
N rounds (default 5) behind one that warms the files up; the tables have medians.
"""
import argparse
import shutil
import subprocess
import sys
import tempfile
from pathlib import Path

from equivalence import compare
from machine import print_machine
from micro import measure_micro
from programs import HERE, Bench
from report import print_goals
from scaling import measure_flatness, measure_floor, measure_memory, measure_start_up
from throughput import measure_throughput, throughput_goals
from tiers import measure_html, measure_unpacking


def arguments():
    parser = argparse.ArgumentParser(description="Measures the filter beside its peers.")
    parser.add_argument("build", type=Path)
    parser.add_argument("messages", type=Path)
    parser.add_argument("share", type=float, nargs="?", default=1, help="of the messages (default 1)")
    parser.add_argument("--rounds", type=int, default=5, help="of each measurement (default 5)")
    return parser.parse_intermixed_args()


def measure(bench):
    print_machine(bench)
    compare(bench)
    rows = measure_throughput(bench)
    goals = throughput_goals(rows)
    goals += measure_unpacking(bench)
    goals += measure_html(bench)
    goals += measure_floor(bench)
    goals += measure_flatness(bench)
    goals += measure_memory(bench, rows["f-huge", "lf"])
    goals += measure_start_up(bench)
    measure_micro(bench)
    print_goals(goals)


def main():
    given = arguments()
    subprocess.run([sys.executable, HERE / "generate.py", given.messages, str(given.share)], check=True)
    scratch = Path(tempfile.mkdtemp(prefix="bench-"))
    try:
        measure(Bench(given.build.resolve(), given.messages.resolve(), scratch, given.rounds))
    finally:
        shutil.rmtree(scratch)


main()
