# SPDX-License-Identifier: MIT
"""The Markdown of the report, and its last table: every goal with what was measured."""
from dataclasses import dataclass


def heading(text):
    print(f"\n## {text}\n")


def table(titles, rows):
    print("| " + " | ".join(titles) + " |")
    print("|" + "---|" * len(titles))
    for row in rows:
        print("| " + " | ".join(row) + " |", flush=True)


def ratio_text(ratios):
    """A ratio of wall times, and of processor times in brackets."""
    wall, cpu = ratios
    return f"{wall:.1f} ({cpu:.1f})"


@dataclass
class Goal:
    what: str
    wanted: str
    measured: str
    met: bool


def print_goals(goals):
    heading("Goals")
    table(["goal", "wanted", "measured", "met"],
          [[goal.what, goal.wanted, goal.measured, "yes" if goal.met else "**no**"] for goal in goals])
