# SPDX-License-Identifier: MIT
"""What each program finds in the messages, against what the generator put into them."""
import hashlib
import json
import re

from programs import messages_of, printed
from report import heading

LINE_ENDS = ("lf", "crlf")


def marks(output, kind):
    with open(output, "rb") as file:
        return {int(number) for line in file for number in re.findall(rb"\[" + kind + rb"-(\d+)\]", line)}


def attachment_difference(manifest, count, digests):
    """How attachments differ from those written, or an empty text."""
    if count != manifest["attachments"]:
        return f"{count} attachments instead of {manifest['attachments']}"
    if digests == manifest["digests"]:
        return ""
    if digests == manifest["digests_with_padding"]:
        return f"the padding of {manifest['padded_attachments']} attachments decoded as data"
    return "other attachment bytes"


def differences(bench, program, row, ending):
    manifest = json.loads((row / "manifest").read_text())
    messages, _ = bench.list_of(messages_of(row, ending))
    output = bench.scratch / "output"
    count, digests = printed([*program.command, messages, output, "--count"], program.environment).split()
    for kind in ("message", "text"):
        missing = manifest[f"{kind}s"] - len(marks(output, kind.encode()))
        if missing:
            yield f"{missing} of {manifest[f'{kind}s']} {kind} marks missing"
    difference = attachment_difference(manifest, int(count), digests)
    if difference:
        yield difference


def compare(bench):
    heading("Equivalence")
    for row in bench.rows():
        for program in bench.peers():
            found = {}
            for ending in LINE_ENDS:
                for difference in differences(bench, program, row, ending):
                    found.setdefault(difference, []).append(ending)
            for difference, endings in found.items():
                print(f"- {row.name}, {' and '.join(endings)}, {program.name}: {difference}")
    print("- everything else is the same", flush=True)


def digest_sum(files):
    """The sum of the files' digests, word by word, as the programs print it."""
    sums = [0, 0, 0, 0]
    for file in files:
        with open(file, "rb") as content:
            digest = hashlib.file_digest(content, "sha256").digest()
        for i in range(4):
            sums[i] = (sums[i] + int.from_bytes(digest[8 * i : 8 * i + 8], "little")) % 2**64
    return "".join(f"{word:016x}" for word in sums)
