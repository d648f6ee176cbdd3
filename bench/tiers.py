# SPDX-License-Identifier: MIT
"""Tiers beside the rows: attachments only, and HTML to text."""
import email
import email.policy
import json
import shutil
import sys
from collections import Counter

from equivalence import attachment_difference, digest_sum
from programs import HERE, messages_of, printed
from report import Goal, heading, ratio_text, table


def print_tier(measured, peers):
    names = ["ours", *peers]
    table(["input", *names, *(f"ours : {name}" for name in peers)],
          [[what, *(series[name].text() if name in series else "" for name in names),
            *(ratio_text(series["ours"].times_faster(series[name])) if name in series else ""
              for name in peers)] for what, series in measured.items()])


def tier_goal(what, measured, peers):
    ratio, where = min((series["ours"].times_faster(series[name])[0], f"{row}, {name}")
                       for row, series in measured.items() for name in peers if name in series)
    return Goal(f"{what}: never slower than a C or C++ peer", "1", f"{ratio:.2f} ({where})", ratio >= 1)


def unpackers(bench, row, directory):
    """Commands that unpack a row into `directory`, each in one process, and their environment."""
    files = messages_of(row, "lf")
    messages, _ = bench.list_of(files)
    keeping = {"QOB_FILTER_DIR": str(bench.programs / "unpacking"), "BENCH_KEEP": str(directory)}
    return {
        "ours": ([*bench.extract_ours, messages, "/dev/null"], keeping),
        "ripmime": (["ripmime", "-i", row / "lf", "-d", directory, "--no-nameless"], {}),
        "munpack": (["munpack", "-q", "-f", "-C", directory, *files], {}),
    }


def into_empty(directory, run):
    """Calls `run` with an empty directory."""
    shutil.rmtree(directory, ignore_errors=True)
    directory.mkdir()
    return run()


def unpacked_difference(row, directory):
    """Besides attachments, a program may write what describes them: munpack does."""
    files = [file for file in directory.iterdir() if file.suffix != ".desc"]
    return attachment_difference(json.loads((row / "manifest").read_text()), len(files), digest_sum(files))


def measure_unpacking(bench):
    heading("Unpacking attachments only")
    directory, measured = bench.scratch / "unpacked", {}
    for row in bench.rows():
        if json.loads((row / "manifest").read_text())["attachments"] == 0:
            continue
        size, runs = sum(file.stat().st_size for file in messages_of(row, "lf")), {}
        for name, (command, environment) in unpackers(bench, row, directory).items():
            into_empty(directory, lambda: printed(command, environment))
            if difference := unpacked_difference(row, directory):
                print(f"- {row.name}, {name}: {difference}")
            run = lambda c=command, e=environment: bench.timed(c, e)
            runs[name] = (lambda r=run: into_empty(directory, r), size)
        measured[f"{row.name} lf"] = bench.in_turns(runs)
    print("- every other attachment has the same bytes\n")
    print_tier(measured, ["ripmime", "munpack"])
    return [tier_goal("attachments only", measured, ["ripmime", "munpack"])]


def write_html_files(messages, folder):
    """The HTML of newsletters, one file for each."""
    folder.mkdir()
    files = []
    for message in messages:
        with open(message, "rb") as file:
            body = email.message_from_binary_file(file, policy=email.policy.default).get_body(["html"])
        files.append(folder / f"{message.stem}.html")
        files[-1].write_text(body.get_content())
    return files


def html_commands(bench, files, output, every=1):
    """Commands that write the text of HTML in messages or files, by program, and their input's size.
    The Python script takes only every so many-th of them."""
    messages, size = bench.list_of(files, "html")
    some, some_size = bench.list_of(files[::every], "html-some")
    python = [sys.executable, HERE / "peers" / "extract_python.py"]
    commands = {"ours": ([*bench.extract_ours, messages, output], size),
                "Python html.parser": ([*python, some, output, "--html"], some_size)}
    if files[0].suffix == ".html":
        commands["html2text"] = (["html2text", "-utf8", "-nobs", "-o", output, *files], size)
    return commands


def words_of(output):
    """How often each word is in a text. html2text names its files, and underlines blanks."""
    lines = output.read_text(errors="replace").splitlines()
    return Counter(word for line in lines if not line.startswith("######")
                   for word in line.replace("_", " ").split())


def print_word_differences(bench, files, output):
    """Against the words that Python's parser finds in the same files."""
    words = {}
    for name, (command, _) in html_commands(bench, files, output).items():
        printed(command)
        words[name] = words_of(output)
    wanted = words.pop("Python html.parser")
    for name, found in words.items():
        missing, added = wanted - found, found - wanted
        if missing or added:
            print(f"- {name}: {missing.total()} of {wanted.total()} words missing "
                  f"({', '.join(list(missing)[:3])}), {added.total()} added")
    print("- every other word is the same\n")


def measure_html(bench):
    heading("HTML to text")
    row = bench.messages / "b-newsletter"
    output, messages = bench.scratch / "html-output", messages_of(row, "lf")[::4]
    files = write_html_files(messages, bench.scratch / "html")
    print_word_differences(bench, files[::10], output)
    measured = {}
    for what, inputs in (("HTML files", files), ("newsletters", messages)):
        commands = html_commands(bench, inputs, output, every=2)
        measured[what] = bench.in_turns({name: (lambda c=command: bench.timed(c), size)
                                         for name, (command, size) in commands.items()})
    print_tier(measured, ["html2text", "Python html.parser"])
    return [tier_goal("HTML to text", measured, ["html2text"])]
