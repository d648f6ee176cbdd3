#!/usr/bin/env python3
# SPDX-License-Identifier: MIT
"""Writes the benchmark's messages, the same ones every time: generate.py FOLDER [SHARE]

FOLDER gets one folder for each row of the table, each with its messages once with LF and once with
CR LF line ends, and a file "manifest" that says what every program must find in them: the marks of
messages and text parts, and the digests of the attachments. The folder "sizes" gets the messages
empty.eml and small.eml, and for each size of an attachment (in MB) a folder with as many copies of a
message as have the bytes of row f, with LF.

SHARE (default 1) makes only that share of the messages, and of row f's attachment, for a quick look.
What is complete already, from the same version of this script, is left as it is.
"""
import base64
import functools
import hashlib
import json
import os
import pathlib
import quopri
import random
import shutil
import sys

SEED = 20261121
HUGE_SIZE = 500_000_000
SIZES = [1, 5, 20, 100]  # megabytes

WORDS = """time year people way day thing world school state family student group country problem hand
part place case week company system program question work government number night point home water
room mother area money story fact month right study book eye job word business issue side kind head
house service friend father power hour game line end member law car city community name president
team minute idea body information back parent face others level office door health person art war
history party result change morning reason research girl guy moment air teacher force education""".split()
ACCENTED = ["Größe", "naïve", "café", "señor", "façade", "übermorgen", "coöperatie", "piñata", "Århus"]
EAST_ASIAN = {
    "iso-2022-jp": "日本語の本文です。会議は金曜日の午後に行います。資料を添付しますのでご確認ください",
    "shift_jis": "本日はお忙しいところありがとうございました。次回の打ち合わせについてご連絡します",
    "euc-jp": "新しい製品の見積書をお送りします。ご不明な点がございましたらお問い合わせください",
    "gb2312": "您好这是一封测试邮件请查收附件中的会议记录谢谢合作祝工作顺利身体健康",
    "big5": "您好這是一封測試郵件請查收附件中的會議記錄謝謝合作祝工作順利身體健康",
    "euc-kr": "안녕하세요 회의 일정을 보내드립니다 첨부 파일을 확인해 주세요 감사합니다",
    "utf-8": "日本語と中文和한국어を含む本文です。",
}


class Manifest:
    """What a row holds. Marks are words that stand in a subject or a text and nowhere else."""

    def __init__(self):
        self.messages = 0
        self.texts = 0
        self.attachments = 0
        self.padded = 0
        self.digests = [0, 0, 0, 0]
        self.padded_digests = [0, 0, 0, 0]

    def message_mark(self):
        self.messages += 1
        return f"[message-{self.messages}]"

    def text_mark(self):
        self.texts += 1
        return f"[text-{self.texts}]"

    def add_attachment(self, data):
        """Our filter's rules take the padding for data when the boundary follows the last line at
        once, as it does in most mail: the decoded file is one or two bytes longer."""
        self.attachments += 1
        surplus = {0: b"", 1: b"\x10@", 2: b"@"}[len(data) % 3]
        self.padded += 1 if surplus else 0
        for sums, content in ((self.digests, data), (self.padded_digests, data + surplus)):
            digest = hashlib.sha256(content).digest()
            for i in range(4):
                sums[i] = (sums[i] + int.from_bytes(digest[8 * i : 8 * i + 8], "little")) % 2**64

    def text(self):
        as_hex = lambda sums: "".join(f"{word:016x}" for word in sums)
        return json.dumps({
            "messages": self.messages, "texts": self.texts, "attachments": self.attachments,
            "padded_attachments": self.padded, "digests": as_hex(self.digests),
            "digests_with_padding": as_hex(self.padded_digests)}, indent=1) + "\n"


manifest = Manifest()


def sentence(rng, words, accents=0.0):
    pick = [rng.choice(ACCENTED if rng.random() < accents else words) for _ in range(rng.randint(6, 16))]
    return " ".join(pick).capitalize() + "."


def paragraphs(rng, size, accents=0.0):
    """Lines of at most 72 characters, about `size` bytes of them."""
    lines, line, total = [], "", 0
    while total < size:
        for word in sentence(rng, WORDS, accents).split():
            if len(line) + len(word) > 71:
                lines.append(line)
                total += len(line) + 1
                line = ""
            line += (" " if line else "") + word
        if rng.random() < 0.2 and line:
            lines += [line, ""]
            total += len(line) + 2
            line = ""
    return lines + ([line] if line else [])


def encoded_word(text, charset):
    return f"=?{charset}?B?{base64.b64encode(text.encode(charset)).decode()}?="


def header(rng, number, content, subject=None):
    subject = f"{manifest.message_mark()} {subject or sentence(rng, WORDS)[:40]}"
    fields = [
        f"Return-Path: <bounce-{number}@lists.example.org>",
        f"Received: from mail{number % 7}.example.org (mail.example.org [192.0.2.{number % 250}])",
        "\tby mx.example.com (Postfix) with ESMTPS id 4F6A1B2C3D",
        "\tfor <bob@example.com>; Mon, 2 Nov 2026 10:00:00 +0100 (CET)",
        f"Message-ID: <{number}.{rng.getrandbits(40)}@example.org>",
        f"Date: Mon, 2 Nov 2026 10:{number % 60:02}:00 +0100",
        f"From: {rng.choice(WORDS).capitalize()} {rng.choice(WORDS).capitalize()} <sender{number}@example.org>",
        f"To: Bob Example <bob@example.com>, {rng.choice(WORDS)}@example.com",
        f"Subject: {subject}",
        "MIME-Version: 1.0",
    ]
    return fields + content


def base64_lines(data):
    return base64.encodebytes(data).decode("ascii").splitlines()


def multipart(kind, boundary, parts, extra=""):
    lines = [f'Content-Type: multipart/{kind}; boundary="{boundary}"{extra}', "", "This is a message in parts."]
    for part in parts:
        lines += [f"--{boundary}"] + part
    return lines + [f"--{boundary}--", ""]


def text_part(lines, subtype="plain", charset="utf-8", encoding="8bit"):
    mark = manifest.text_mark()
    lines = [lines[0], f"<p>{mark}</p>"] + lines[1:] if subtype == "html" else [mark] + lines
    body = "\n".join(lines) + "\n"
    raw = body.encode(charset)
    if encoding == "quoted-printable":
        text = quopri.encodestring(raw).decode("ascii").splitlines()
    elif encoding == "base64":
        text = base64_lines(raw)
    else:
        text = [raw]
    fields = [f"Content-Type: text/{subtype}; charset={charset}", f"Content-Transfer-Encoding: {encoding}"]
    return [*fields, "", *text]


def attachment(rng, size, name):
    """A file that begins like a PDF, so that every program takes it for an attachment of one type."""
    pieces = [rng.randbytes(min(1 << 20, size - at)) for at in range(9, size, 1 << 20)]
    data = b"%PDF-1.4\n" + b"".join(pieces)
    manifest.add_attachment(data)
    return [
        f'Content-Type: application/pdf; name="{name}"',
        f'Content-Disposition: attachment; filename="{name}"',
        "Content-Transfer-Encoding: base64",
        "",
    ] + base64_lines(data)


def plain_message(rng, number):
    lines = paragraphs(rng, rng.randint(400, 6000), accents=0.02)
    return header(rng, number, text_part(lines, encoding=rng.choice(["8bit", "quoted-printable"])))


def html_lines(rng, size):
    lines, total = ["<!DOCTYPE html>", "<html><head><title>News</title></head><body>"], 0
    while total < size:
        line = (f'<tr><td style="font-family:Arial,sans-serif;color:#{rng.getrandbits(24):06x}">'
                f'<a href="https://news.example.org/item?id={rng.getrandbits(48)}&amp;from=mail">'
                f"{sentence(rng, WORDS, 0.05)}</a></td></tr>")
        lines.append(line)
        total += len(line) + 1
    return lines + ["</body></html>"]


def newsletter(rng, number):
    plain = text_part(paragraphs(rng, 3000, 0.03), encoding="quoted-printable")
    html = text_part(html_lines(rng, 60_000), "html", encoding="quoted-printable")
    return header(rng, number, multipart("alternative", f"=_alternative-{number}", [plain, html]))


def message_with_attachment(rng, number):
    size = int(100_000 * 200 ** rng.random())
    body = text_part(paragraphs(rng, 800), encoding="8bit")
    file = attachment(rng, size, f"report{number}.pdf")
    return header(rng, number, multipart("mixed", f"=_mixed-{number}", [body, file]))


def east_asian_message(rng, number):
    charset = rng.choice(list(EAST_ASIAN))
    text = EAST_ASIAN[charset]
    lines = []
    for _ in range(rng.randint(20, 200)):
        start = rng.randrange(len(text))
        lines.append((text[start:] + text)[:30])
    encoding = "7bit" if charset == "iso-2022-jp" else rng.choice(["base64", "8bit", "quoted-printable"])
    part = text_part(lines, charset=charset, encoding=encoding)
    return header(rng, number, part, encoded_word(text[:12], charset))


def nested_message(rng, number):
    if number % 2:
        entries = [["", *header(rng, number + 2 + i, text_part(paragraphs(rng, 700)))] for i in range(8)]
        digest = multipart("digest", f"=_digest-{number}", entries)
        return header(rng, number, digest)
    embedded = ["Content-Type: message/rfc822", ""] + header(rng, number + 1, text_part(paragraphs(rng, 1500)))
    alternative = multipart("alternative", f"=_alternative-{number}", [
        text_part(paragraphs(rng, 1000), encoding="quoted-printable"),
        text_part(html_lines(rng, 3000), "html", encoding="quoted-printable")])
    return header(rng, number, multipart("mixed", f"=_mixed-{number}", [
        alternative, embedded, attachment(rng, 20_000, f"notes{number}.pdf")]))


def message_with_size(rng, number, size):
    body = text_part(["The file is attached."])
    return header(rng, number, multipart("mixed", "=_size", [body, attachment(rng, size, "size.pdf")]))


def huge_message(rng, number, share):
    return message_with_size(rng, number, int(HUGE_SIZE * min(share, 1)))


LINE_ENDS = {"lf": b"\n", "crlf": b"\r\n"}
ROWS = [
    ("a-plain", 5000, plain_message),
    ("b-newsletter", 2000, newsletter),
    ("c-attachment", 200, message_with_attachment),
    ("d-east-asian", 1000, east_asian_message),
    ("e-nested", 1000, nested_message),
]


def as_bytes(lines, line_end):
    """Text lines joined; bytes are bodies in a charset of their own and hold LF between their lines."""
    pieces = []
    for line in lines:
        if isinstance(line, bytes):
            pieces.append(line.rstrip(b"\n").replace(b"\n", line_end))
        else:
            pieces.append(line.encode("utf-8"))
    return line_end.join(pieces) + line_end


def write_row(folder, name, count, make):
    global manifest
    manifest = Manifest()
    rng = random.Random(f"{SEED}-{name}")
    for ending in LINE_ENDS:
        (folder / ending).mkdir(parents=True)
    for number in range(count):
        lines = make(rng, number)
        for ending, line_end in LINE_ENDS.items():
            (folder / ending / f"{number:05}.eml").write_bytes(as_bytes(lines, line_end))
    (folder / "manifest").write_text(manifest.text())


def write_sizes(folder, total):
    """Copies of one message are as cold for the processor as the parts of one large one."""
    folder.mkdir()
    rng = random.Random(f"{SEED}-sizes")
    (folder / "empty.eml").write_bytes(as_bytes(header(rng, 0, [""]), b"\n"))
    (folder / "small.eml").write_bytes(as_bytes(header(rng, 0, text_part(paragraphs(rng, 1400))), b"\n"))
    for megabytes in SIZES:
        size = megabytes * 1_000_000
        message = as_bytes(message_with_size(rng, megabytes, size), b"\n")
        (folder / str(megabytes)).mkdir()
        for number in range(round(total / size)):
            (folder / str(megabytes) / f"{number:05}.eml").write_bytes(message)


def write_once(folder, wanted, write):
    """Calls `write` with an empty place for the folder, unless it holds what is wanted."""
    stamp = folder / "complete"
    if stamp.exists() and stamp.read_text() == wanted:
        return
    print(f"bench: writing {folder}", file=sys.stderr)
    shutil.rmtree(folder, ignore_errors=True)
    write(folder)
    stamp.write_text(wanted)


def main():
    folder = pathlib.Path(sys.argv[1])
    share = float(sys.argv[2]) if len(sys.argv) > 2 else 1.0
    version = hashlib.sha256(pathlib.Path(__file__).read_bytes()).hexdigest()
    folder.mkdir(parents=True, exist_ok=True)
    for name, count, make in ROWS:
        count = max(1, int(count * share))
        write_once(folder / name, f"{version} {count}\n",
                   lambda place, n=name, c=count, m=make: write_row(place, n, c, m))
    huge = functools.partial(huge_message, share=share)
    write_once(folder / "f-huge", f"{version} {share}\n",
               lambda place: write_row(place, "f-huge", 1, huge))
    write_once(folder / "sizes", f"{version} {share}\n",
               lambda place: write_sizes(place, int(HUGE_SIZE * min(share, 1))))
    os.sync()  # what is written to the disk later would disturb the measurements


main()
