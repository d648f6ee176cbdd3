# SPDX-License-Identifier: MIT
"""Runs the benchmark's programs and says what they took."""
import os
import statistics
import subprocess
import sys
from dataclasses import dataclass, field
from pathlib import Path

HERE = Path(__file__).parent


@dataclass
class Took:
    wall: float  # seconds
    cpu: float  # seconds, user and system
    peak: int  # bytes of resident memory


class Series:
    """What several runs of one command took."""

    def __init__(self, runs, size):
        self.wall = statistics.median(run.wall for run in runs)
        self.cpu = statistics.median(run.cpu for run in runs)
        self.peak = statistics.median(run.peak for run in runs)
        walls = [run.wall for run in runs]
        self.spread = (max(walls) - min(walls)) / 2 / self.wall
        self.size = size  # bytes of input

    @property
    def speed(self):
        """Bytes a second of wall time."""
        return self.size / self.wall

    def text(self):
        speed = self.speed / 1e6
        return f"{speed:.{0 if speed >= 10 else 1}f} MB/s ±{self.spread * 100:.0f} %"

    def times_faster(self, other):
        """The ratio of the speeds, by wall time and by processor time."""
        return self.speed / other.speed, (self.size / self.cpu) / (other.size / other.cpu)


@dataclass
class Program:
    """A program that takes a list of messages and an output."""

    name: str
    command: list
    environment: dict = field(default_factory=dict)
    every: int = 1  # takes only every so many-th message of a row: the slow one


@dataclass
class Bench:
    """Where things are, and how often each is run."""

    build: Path  # with bench/ and bin/
    messages: Path
    scratch: Path
    rounds: int

    @property
    def programs(self):
        return self.build / "bench"

    @property
    def extract_ours(self):
        return [self.programs / "extract_ours"]

    @property
    def copying_filters(self):
        return {"QOB_FILTER_DIR": str(self.programs / "filters")}

    def rows(self):
        return sorted(path.parent for path in self.messages.glob("*/manifest"))

    def peers(self):
        return [
            Program("ours", self.extract_ours, self.copying_filters),
            Program("GMime", [self.programs / "extract_gmime"]),
            Program("libetpan", [self.programs / "extract_etpan"]),
            Program("Python email", [sys.executable, HERE / "peers" / "extract_python.py"], every=5),
        ]

    def list_of(self, files, name="messages"):
        """A file with their paths, and the sum of their sizes."""
        path = self.scratch / f"{name}.list"
        path.write_text("".join(f"{file}\n" for file in files))
        return path, sum(file.stat().st_size for file in files)

    def timed(self, command, environment=None):
        """Runs a command with its output thrown away."""
        command = [self.programs / "timed", *command]
        wall, cpu, peak = (int(word) for word in printed(command, environment).split())
        return Took(wall / 1e9, cpu / 1e6, peak * 1024)

    def in_turns(self, runs, rounds=None):
        """Calls all of `runs` (name: call and bytes of input) in turns, each time another one first.
        A round before those that count warms the files up. Returns a Series for each name."""
        names = list(runs)
        taken = {name: [] for name in names}
        for number in range((rounds or self.rounds) + 1):
            first = number % len(names)
            for name in names[first:] + names[:first]:
                took = runs[name][0]()
                if number > 0:
                    taken[name].append(took)
        return {name: Series(taken[name], runs[name][1]) for name in names}


def printed(command, environment=None):
    """What a command printed. A failure ends the benchmark with what it said."""
    finished = subprocess.run(command, env={**os.environ, **(environment or {})}, stdin=subprocess.DEVNULL,
                              capture_output=True, text=True, errors="replace")
    if finished.returncode != 0:
        sys.exit(f"bench: {' '.join(map(str, command[:6]))} failed:\n{finished.stderr[-2000:]}")
    return finished.stdout


def messages_of(row, ending):
    return sorted((row / ending).glob("*.eml"))
