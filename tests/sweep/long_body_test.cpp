// SPDX-License-Identifier: MIT
// Bodies of several blocks with lines of ordinary length, moved by 0 to 200 bytes, so that every
// line in turn lies across a block end: the text stays. Where it does not, the table says why.
#include <gtest/gtest.h>

#include <algorithm>

#include "emlcomm/limits.h"
#include "message_run.h"
#include "shifted_message.h"

namespace {

constexpr size_t kMoves = 200;

// Lines that tell where they are.
std::string rawLines(size_t least = 40000) {
    std::string lines;
    for (int i = 0; lines.size() < least; ++i) {
        const std::string number = std::to_string(i);
        lines.append(number).append(static_cast<size_t>(i) % 60, 'x').append(number).append("\n");
        lines += i % 11 == 0 ? "\n" : "";
    }
    return lines;
}

std::string quotedPrintableLines() {
    std::string lines;
    for (int i = 0; lines.size() < 40000; ++i) {
        lines += std::to_string(i) + "=3D" + std::string(static_cast<size_t>(i) % 50, 'y') +
                 (i % 3 == 0 ? "=C3=A4=\n" : "\n");
    }
    return lines + "end\n";
}

// Whole groups, no pads, 76 characters a line: "abc" with another last letter in each line.
std::string base64Lines() {
    std::string lines;
    for (size_t i = 0; lines.size() < 40000; ++i) {
        for (int group = 0; group < 19; ++group) {
            lines.append("YWJ").append(1, static_cast<char>('a' + i * 7 % 26));
        }
        lines += "\n";
    }
    return lines + "\n";
}

std::string inPart(const std::string &fields, const std::string &body) {
    return multipart("multipart/mixed", "--B\n" + fields + "\n" + body);
}
std::string inAlternative(const std::string &fields, const std::string &body) {
    return multipart("multipart/alternative", "--B\n" + fields + "\n" + body);
}
std::string inNested(const std::string &fields, const std::string &body) {
    return multipartWithEpilogue("multipart/mixed",
                                 "--B\nContent-Type: multipart/alternative; boundary=\"I\"\n\n"
                                 "--I\n" +
                                     fields + "\n" + body + "--I--\n\n");
}

const std::string kPlain = "Content-Type: text/plain; charset=utf-8\n";
const std::string kHtml = "Content-Type: text/html; charset=utf-8\n";
const std::string kCsv = "Content-Type: text/csv; x=\"y\"\nContent-Disposition: attachment; "
                         "filename=\"a.csv\"\n";
const std::string kQp = "Content-Transfer-Encoding: quoted-printable\n";
const std::string kBase64 = "Content-Transfer-Encoding: base64\n";
const std::string kEightBit = "Content-Transfer-Encoding: 8bit\n";

// Where a block of a body without parts ends inside a line.
struct Cut {
    size_t length;      // of the line before it
    bool beforeLineEnd; // the line is whole, and its end begins the next block
};

struct LongBody {
    const char *name;
    std::string text;
    // For a body whose text changes: why, and which cuts change it.
    const char *reason = nullptr;
    bool (*changes)(const Cut &) = nullptr;
};

void PrintTo(const LongBody &body, std::ostream *out) {
    *out << body.name;
}

const char *const kEmptyLineReason =
    "a line end that begins a block reads as an empty line, which breaks a paragraph and does not "
    "end a quoted-printable line";
bool beforeLineEnd(const Cut &cut) {
    return cut.beforeLineEnd;
}

const char *const kGroupsReason =
    "a line that the block cuts is decoded as two, and a base64 group on the cut is lost; a line "
    "end that begins a block reads as an empty line, which plain text keeps";
bool inAGroup(const Cut &cut) {
    return cut.length % 4 != 0;
}
bool inAGroupOrBeforeLineEnd(const Cut &cut) {
    return inAGroup(cut) || cut.beforeLineEnd;
}

const char *const kPiecesReason =
    "a line that the block cuts is taken as two, each with a line end of its own";
bool always(const Cut & /*cut*/) {
    return true;
}

const LongBody kBodies[] = {
    {"MixedPlainRaw", inPart(kPlain, rawLines())},
    {"MixedPlainQuotedPrintable", inPart(kPlain + kQp, quotedPrintableLines())},
    {"MixedPlainBase64", inPart(kPlain + kBase64, base64Lines())},
    {"MixedHtmlRaw", inPart(kHtml, rawLines())},
    {"MixedHtmlQuotedPrintable", inPart(kHtml + kQp, quotedPrintableLines())},
    {"MixedHtmlBase64", inPart(kHtml + kBase64, base64Lines())},
    {"NestedPlainRaw", inNested(kPlain + kEightBit, rawLines())},
    {"NestedPlainBase64", inNested(kPlain + kBase64, base64Lines())},
    {"NestedHtmlRaw", inNested(kHtml, rawLines())},
    {"NestedHtmlQuotedPrintable", inNested(kHtml + kQp, quotedPrintableLines())},
    {"AlternativePlainRaw", inAlternative(kPlain, rawLines())},
    {"AlternativePlainQuotedPrintable", inAlternative(kPlain + kQp, quotedPrintableLines())},
    {"AlternativeHtmlRaw", inAlternative(kHtml, rawLines())},
    {"AlternativeHtmlBase64", inAlternative(kHtml + kBase64, base64Lines())},
    {"AttachmentRaw", inPart(kCsv, rawLines())},
    {"AttachmentQuotedPrintable", inPart(kCsv + kQp, quotedPrintableLines())},
    {"AttachmentBase64", inPart(kCsv + kBase64, base64Lines())},
    {"DigestEntry",
     multipart("multipart/digest", "--B\nFrom: x\n\n" + rawLines() + "--B\nFrom: y\n\nTwo\n")},
    {"SinglePlainRaw", kHead + kPlain + "\n" + rawLines(), kEmptyLineReason, beforeLineEnd},
    {"SinglePlainQuotedPrintable", kHead + kPlain + kQp + "\n" + quotedPrintableLines(),
     kEmptyLineReason, beforeLineEnd},
    {"SinglePlainBase64", kHead + kPlain + kBase64 + "\n" + base64Lines(), kGroupsReason,
     inAGroupOrBeforeLineEnd},
    {"SingleHtmlRaw", kHead + kHtml + "\n" + rawLines()},
    {"SingleHtmlQuotedPrintable", kHead + kHtml + kQp + "\n" + quotedPrintableLines(),
     kEmptyLineReason, beforeLineEnd},
    {"SingleHtmlBase64", kHead + kHtml + kBase64 + "\n" + base64Lines(), kGroupsReason, inAGroup},
    {"SingleUntypedRaw", kHead + "\n" + rawLines()},
    {"WithABoundaryPlainRaw",
     kHead + "Content-Type: text/plain; boundary=\"B\"; charset=utf-8\n\n" + rawLines(30000),
     kPiecesReason, always},
};

bool hasParts(const LongBody &body) {
    return body.text.find("multipart/") != std::string::npos;
}

// Moves a multipart's body by lines that nobody reads, and any other one by empty lines.
SweptMessage moved(const LongBody &body, size_t bytes) {
    SweptMessage message = {.name = body.name, .text = body.text};
    if (hasParts(body)) {
        return shifted(message, bytes);
    }
    message.text.insert(body.text.find("\n\n") + 2, std::string(bytes, '\n'));
    return message;
}

// The text without the empty lines of a move: they come out as line ends in front, or not at all.
std::string textOf(const SweptMessage &message) {
    const MessageRun run = runMessage(message, Mode::kFile);
    EXPECT_EQ(run.code, EML_OK);
    std::string text = run.output.value_or("");
    text.erase(0, text.find("Content: \n") + 10);
    return text.erase(0, text.find_first_not_of('\n'));
}

// The cuts of a body without parts. A block that ends with a line end is followed by one that
// begins with the same byte.
std::vector<Cut> cutsOf(const std::string &body) {
    std::vector<Cut> cuts;
    size_t start = 0;
    while (start + kBlockSize < body.size()) {
        const size_t end = start + kBlockSize;
        const bool endsLine = body[end - 1] == '\n';
        if (!endsLine) {
            cuts.push_back({end - 1 - body.rfind('\n', end - 1), body[end] == '\n'});
        }
        start = endsLine ? end - 1 : end;
    }
    return cuts;
}

bool changesText(const LongBody &body, const SweptMessage &message) {
    const std::vector<Cut> cuts = cutsOf(bodyOf(message.text));
    return body.changes != nullptr && std::any_of(cuts.begin(), cuts.end(), body.changes);
}

class LongBodies : public testing::TestWithParam<LongBody> {};

TEST_P(LongBodies, GiveTheSameTextWhereverBlocksEnd) {
    const LongBody &body = GetParam();
    std::vector<SweptMessage> unchanged;
    std::vector<SweptMessage> changed;
    for (size_t bytes = 0; bytes <= kMoves; ++bytes) {
        const SweptMessage message = moved(body, bytes);
        (changesText(body, message) ? changed : unchanged).push_back(message);
    }
    EXPECT_EQ(changed.empty(), body.reason == nullptr);
    ASSERT_FALSE(unchanged.empty());
    const std::string expected = textOf(unchanged.front());
    ASSERT_GT(expected.size(), 25000U);
    const auto givesExpected = [&expected](const SweptMessage &m) { return textOf(m) == expected; };
    EXPECT_TRUE(std::all_of(unchanged.begin(), unchanged.end(), givesExpected));
    EXPECT_TRUE(std::none_of(changed.begin(), changed.end(), givesExpected)) << body.name;
}

INSTANTIATE_TEST_SUITE_P(, LongBodies, testing::ValuesIn(kBodies),
                         [](const auto &row) { return std::string(row.param.name); });

} // namespace
