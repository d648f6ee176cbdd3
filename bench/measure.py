#!/usr/bin/env python3
# SPDX-License-Identifier: MIT
"""Compares the programs of the benchmark, then times them: measure.py PROGRAMS MESSAGES SHARE

Every program gets the same list of messages. Before anything is timed, each must have found the
same messages, text parts and attachment bytes as the generator wrote; what our filter's rules leave
out or add is printed. Then all programs take turns, REPEATS rounds; the table has the medians.
"""
import json
import os
import pathlib
import re
import resource
import shutil
import statistics
import subprocess
import sys
import tempfile
import time

REPEATS = 5
HERE = pathlib.Path(__file__).parent


class Program:
    def __init__(self, name, command, environment=None):
        self.name = name
        self.command = command
        self.environment = {**os.environ, **(environment or {})}

    def run(self, messages, output, count=False):
        """Extracts a list of messages. Returns seconds and what the program printed."""
        command = self.command + [str(messages), str(output)] + (["--count"] if count else [])
        began = time.perf_counter()
        finished = subprocess.run(command, env=self.environment, check=True, capture_output=True, text=True)
        return time.perf_counter() - began, finished.stdout


def programs_in(folder):
    return [
        Program("ours", [folder / "extract_ours"], {"QOB_FILTER_DIR": str(folder / "filters")}),
        Program("GMime", [folder / "extract_gmime"]),
        Program("libetpan", [folder / "extract_etpan"]),
        Program("Python email", [sys.executable, HERE / "peers" / "extract_python.py"]),
    ]


def message_list(row, ending, folder):
    path = folder / f"{row.name}-{ending}.list"
    messages = sorted((row / ending).glob("*.eml"))
    path.write_text("".join(f"{message}\n" for message in messages))
    return path, sum(message.stat().st_size for message in messages)


def marks(output, kind):
    with open(output, "rb") as file:
        return {int(number) for line in file for number in re.findall(rb"\[" + kind + rb"-(\d+)\]", line)}


def differences(program, manifest, messages, output):
    """What the program found otherwise than the generator wrote it, one sentence each."""
    _, printed = program.run(messages, output, count=True)
    attachments, digests = printed.split()
    found = []
    for kind in ("message", "text"):
        missing = manifest[f"{kind}s"] - len(marks(output, kind.encode()))
        if missing:
            found.append(f"{missing} of {manifest[f'{kind}s']} {kind} marks missing")
    if int(attachments) != manifest["attachments"]:
        found.append(f"{attachments} attachments instead of {manifest['attachments']}")
    elif digests == manifest["digests"]:
        pass
    elif digests == manifest["digests_with_padding"]:
        found.append(f"the padding of {manifest['padded_attachments']} attachments decoded as data")
    else:
        found.append("other attachment bytes")
    return found


def compare(programs, rows, folder):
    print("## Equivalence\n")
    for row in rows:
        manifest = json.loads((row / "manifest").read_text())
        for ending in ("lf", "crlf"):
            messages, _ = message_list(row, ending, folder)
            for program in programs:
                for difference in differences(program, manifest, messages, folder / "output"):
                    print(f"- {row.name}, {ending}, {program.name}: {difference}")
    print("- everything else is the same\n")


def timed(programs, messages, output):
    """Seconds of each program, REPEATS times, in turns; a round before that warms the files up."""
    seconds = {program.name: [] for program in programs}
    for repeat in range(REPEATS + 1):
        for program in programs:
            taken, _ = program.run(messages, output)
            if repeat > 0:
                seconds[program.name].append(taken)
    return seconds


def cell(seconds, size):
    median = statistics.median(seconds)
    spread = (max(seconds) - min(seconds)) / median * 100
    return f"{size / median / 1e6:.0f} MB/s ±{spread / 2:.0f} %"


def measure(programs, rows, folder):
    names = [program.name for program in programs]
    print("## Throughput\n")
    print("| row | " + " | ".join(names) + " | " + " | ".join(f"ours : {name}" for name in names[1:]) + " |")
    print("|---|" + "---|" * (2 * len(names) - 1))
    for row in rows:
        for ending in ("lf", "crlf"):
            messages, size = message_list(row, ending, folder)
            seconds = timed(programs, messages, folder / "output")
            medians = {name: statistics.median(seconds[name]) for name in names}
            cells = [cell(seconds[name], size) for name in names]
            ratios = [f"{medians[name] / medians['ours']:.1f}" for name in names[1:]]
            print(f"| {row.name} {ending} | " + " | ".join(cells + ratios) + " |", flush=True)
    print()


def main():
    programs_folder, messages_folder = (pathlib.Path(path).resolve() for path in sys.argv[1:3])
    messages_folder.mkdir(parents=True, exist_ok=True)
    subprocess.run([sys.executable, HERE / "generate.py", messages_folder, sys.argv[3]], check=True)
    rows = sorted(path for path in messages_folder.iterdir() if path.is_dir())
    programs = programs_in(programs_folder)
    folder = pathlib.Path(tempfile.mkdtemp(prefix="bench-"))
    try:
        compare(programs, rows, folder)
        measure(programs, rows, folder)
    finally:
        shutil.rmtree(folder)


main()
