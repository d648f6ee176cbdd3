# SPDX-License-Identifier: MIT
"""What the benchmark ran on and with."""
import os
import platform
import subprocess
from pathlib import Path

from report import heading, table

PACKAGES = ["libgmime-3.0-0", "libetpan20", "ripmime", "mpack", "html2text", "libicu72", "libxml2", "libc6"]


def first_line(*command):
    finished = subprocess.run(command, capture_output=True, text=True, check=False, cwd=Path(__file__).parent)
    return finished.stdout.partition("\n")[0] or "unknown"


def value_in(path, key):
    for line in Path(path).read_text().splitlines():
        if line.startswith(key):
            return line.partition(":")[2].strip()
    return "unknown"


def flags_in(build):
    entries = dict(line.split("=", 1) for line in (build / "CMakeCache.txt").read_text().splitlines()
                   if "=" in line and not line.startswith(("#", "//")))
    kind = entries["CMAKE_BUILD_TYPE:STRING"].upper()
    return next(flags for key, flags in entries.items() if key.startswith(f"CMAKE_CXX_FLAGS_{kind}:"))


def print_machine(bench):
    kilobytes = int(value_in("/proc/meminfo", "MemTotal").split()[0])
    versions = [f"{name} {first_line('dpkg-query', '-W', '-f', '${Version}', name)}" for name in PACKAGES]
    heading("Machine")
    table(["", ""], [
        ["processors", f"{os.cpu_count()} × {value_in('/proc/cpuinfo', 'model name')}"],
        ["memory", f"{kilobytes / 2**20:.0f} GiB"],
        ["system", f"Linux {platform.release()}, {platform.freedesktop_os_release()['PRETTY_NAME']}"],
        ["temporary files", first_line("findmnt", "-n", "-o", "FSTYPE", "-T", bench.scratch)],
        ["compiler", f"{first_line('g++', '--version')}, {flags_in(bench.build)}"],
        ["commit", first_line("git", "describe", "--always", "--dirty")],
        ["peers and libraries", ", ".join(versions + [f"Python {platform.python_version()}"])],
        ["rounds", f"{bench.rounds}, in turns"],
    ])
