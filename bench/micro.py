# SPDX-License-Identifier: MIT
"""Runs the micro benchmarks and tables what Google Benchmark found."""
import json

from programs import printed
from report import heading, table


def measure_micro(bench):
    heading("Micro benchmarks")
    report = json.loads(printed([
        bench.programs / "micro", "--benchmark_format=json", "--benchmark_min_time=0.1",
        f"--benchmark_repetitions={max(3, bench.rounds)}", "--benchmark_enable_random_interleaving=true",
        "--benchmark_report_aggregates_only=true"]))
    by_name = {}
    for run in report["benchmarks"]:
        if "error_message" in run:
            raise SystemExit(f"bench: {run['run_name']}: {run['error_message']}")
        by_name.setdefault(run["run_name"], {})[run["aggregate_name"]] = run
    table(["routine", "processor time of a line or text", "speed"],
          [line_of(name, found["median"], found["cv"]) for name, found in sorted(by_name.items())])


def line_of(name, median, deviation):
    nanoseconds = 1e9 / median["items_per_second"]
    time = f"{nanoseconds:.1f} ns" if nanoseconds < 10_000 else f"{nanoseconds / 1000:.0f} µs"
    speed = median.get("bytes_per_second")
    return [name.replace('"', "").replace("/", ": "), f"{time} ±{deviation['cpu_time'] * 100:.0f} %",
            f"{speed / 1e6:.0f} MB/s" if speed else ""]
