#!/usr/bin/env python3
# SPDX-License-Identifier: MIT
"""The benchmark's peer on Python's email package; see extract_gmime.c for what it does.

With --html it writes the text of HTML instead of the HTML; a file named ".html" is no message.

Usage: extract_python.py LIST OUTPUT [--count|--html]
"""
import email.policy
import hashlib
import os
import sys
import tempfile
from email.parser import BytesParser
from html.parser import HTMLParser

attachments = 0
digests = [0, 0, 0, 0]


class TextWriter(HTMLParser):
    def __init__(self, output):
        super().__init__()
        self.handle_data = output.write


def write_html(html, output):
    writer = TextWriter(output)
    writer.feed(html)
    writer.close()


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


def walk(part, output, mode):
    if part.get_content_type() == "message/rfc822":
        for message in part.get_payload():
            write_message(message, output, mode)
    elif part.is_multipart():
        for inner in part.get_payload():
            walk(inner, output, mode)
    elif mode == "--html" and part.get_content_type() == "text/html":
        write_html(part.get_content(), output)
    elif part.get_content_maintype() == "text":
        output.write(part.get_content())
    else:
        write_attachment(part, mode == "--count")


def write_message(message, output, mode):
    for field in ("From", "To", "Cc", "Subject", "Date"):
        if message[field]:
            output.write(f"{field}: {message[field]}\n")
    output.write("\n")
    walk(message, output, mode)


def main():
    mode = sys.argv[3] if len(sys.argv) == 4 else ""
    parser = BytesParser(policy=email.policy.default)
    with open(sys.argv[1], encoding="utf-8") as paths, \
            open(sys.argv[2], "w", encoding="utf-8", errors="replace", buffering=65536) as output:
        for path in paths.read().splitlines():
            with open(path, "rb") as file:
                if path.endswith(".html"):
                    write_html(file.read().decode("utf-8"), output)
                else:
                    write_message(parser.parse(file), output, mode)
    if mode == "--count":
        print(attachments, "".join(f"{word:016x}" for word in digests))


main()
