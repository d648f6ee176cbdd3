#!/usr/bin/env python3
# SPDX-License-Identifier: MIT
"""The benchmark's peer on Python's email package; see extract_gmime.c for what it does.

Usage: extract_python.py LIST OUTPUT [--count]
"""
import email.policy
import hashlib
import os
import sys
import tempfile
from email.parser import BytesParser

attachments = 0
digests = [0, 0, 0, 0]


def write_attachment(part, count):
    global attachments
    data = part.get_payload(decode=True) or b""
    descriptor, path = tempfile.mkstemp(prefix="bench-python-")
    with os.fdopen(descriptor, "wb") as file:
        file.write(data)
    if count:
        digest = hashlib.sha256(data).digest()
        for i in range(4):
            word = int.from_bytes(digest[8 * i : 8 * i + 8], "little")
            digests[i] = (digests[i] + word) % 2**64
    os.unlink(path)
    attachments += 1


def walk(part, output, count):
    if part.get_content_type() == "message/rfc822":
        for message in part.get_payload():
            write_message(message, output, count)
    elif part.is_multipart():
        for inner in part.get_payload():
            walk(inner, output, count)
    elif part.get_content_maintype() == "text":
        output.write(part.get_content())
    else:
        write_attachment(part, count)


def write_message(message, output, count):
    for field in ("From", "To", "Cc", "Subject", "Date"):
        if message[field]:
            output.write(f"{field}: {message[field]}\n")
    output.write("\n")
    walk(message, output, count)


def main():
    count = len(sys.argv) == 4
    parser = BytesParser(policy=email.policy.default)
    with open(sys.argv[1], encoding="utf-8") as paths, \
            open(sys.argv[2], "w", encoding="utf-8", errors="replace", buffering=65536) as output:
        for path in paths:
            with open(path.rstrip("\n"), "rb") as file:
                write_message(parser.parse(file), output, count)
    if count:
        print(attachments, "".join(f"{word:016x}" for word in digests))


main()
