// SPDX-License-Identifier: MIT
// Where blocks end does not show in the text: each message is moved byte by byte across the end of
// a block. Where the rules read no further than a block, the table names the rule.
#include <gtest/gtest.h>

#include <algorithm>
#include <set>

#include "emlcomm/limits.h"
#include "message_run.h"
#include "shifted_message.h"

namespace {

bool startsWith(const std::string &text, const std::string &start) {
    return text.compare(0, start.size(), start) == 0;
}

// A line that may come out otherwise when a block ends in it.
struct BlockEndRule {
    const char *reason;
    std::set<std::string> messages; // empty: all
    const char *line;               // how the line begins; empty: any line
};

const BlockEndRule kBlockEndRules[] = {
    {"the body reader takes a line that the block cuts as two lines: a Content-Type is cut short, "
     "or its line end counts as an empty line",
     {},
     "Content-Type:"},
    {"the body reader takes a line that the block cuts as two lines: a delimiter is missed, or its "
     "line end begins the entry",
     {"Digest", "DigestWithoutLabels", "DigestNotHandedOver", "DigestLongDelimiters",
      "DigestCutOff"},
     "--B"},
    {"the body reader counts message boundaries within a block: the nested boundary is known only "
     "behind the first of them",
     {"MixedSkippedParts", "MixedDeliveryStatusInAMessage", "MixedSecondBoundaryHidesTheNestedOne",
      "AttachmentNestedMessage", "AttachmentInANestedMultipart", "AttachmentAtANestedBoundary"},
     "--"},
    {"the same, with the block's end in a part that is skipped", {"MixedSkippedParts"}, "R0lG"},
    {"the same, with the block's end in a header",
     {"MixedDeliveryStatusInAMessage", "AttachmentAtANestedBoundary"},
     "X: y"},
    {"the same", {"MixedDeliveryStatusInAMessage"}, " indented"},
    {"a delimiter that the block cuts is missed, and what is left of it is a nested boundary",
     {"AttachmentAppleDouble"},
     "--"},
    {"the line that names a file is read again only within its block",
     {"AttachmentNamedBeforeItsType", "AttachmentNamedInOtherCase"},
     ""},
    {"the name in a Content-Type is looked for in the block in hand, which holds other names",
     {"AttachmentNamedByItsType", "AttachmentMessageNamed", "AttachmentInANestedMultipart",
      "AttachmentWithoutLabels"},
     ""},
    {"a walker keeps only lines of up to 77 bytes whole at a block end",
     {"NestedLongLines"},
     "Content-Transfer-Encoding:"},
    {"the line below an encoding is read from the block in hand, and comes as two when that ends",
     {"AlternativeLongEncodingLine"},
     "Content-ID:"},
    {"a digest entry's subject is looked for in the block in hand",
     {"Digest", "DigestNotHandedOver"},
     ""},
};

bool isNamed(const BlockEndRule &rule, const SweptMessage &message, const std::string &line) {
    return (rule.messages.empty() || rule.messages.contains(message.name)) &&
           startsWith(line, rule.line);
}

bool hasRule(const SweptMessage &message, const std::string &line) {
    return std::any_of(std::begin(kBlockEndRules), std::end(kBlockEndRules),
                       [&](const BlockEndRule &rule) { return isNamed(rule, message, line); });
}

// The line of `body` that holds its last byte before `cut`.
std::string lineAt(const std::string &body, size_t cut) {
    const size_t before = cut < 2 ? std::string::npos : body.rfind('\n', cut - 1);
    const size_t start = before == std::string::npos ? 0 : before + 1;
    return body.substr(start, body.find('\n', start) - start);
}

// Lines in which a block end changes the text.
std::set<std::string> linesThatDiffer(const SweptMessage &message) {
    const std::string body = bodyOf(message.text);
    const MessageRun expected = runMessage(message, Mode::kFile);
    std::set<std::string> lines;
    for (size_t cut = 1; cut < body.size(); ++cut) {
        const MessageRun run = runMessage(shifted(message, kBlockSize - cut), Mode::kFile);
        if (run.code != expected.code || run.output != expected.output) {
            lines.insert(lineAt(body, cut));
        }
    }
    return lines;
}

class BlockEnd : public testing::TestWithParam<SweptMessage> {};

TEST_P(BlockEnd, DoesNotShowInTheText) {
    const SweptMessage &message = GetParam();
    for (const std::string &line : linesThatDiffer(message)) {
        EXPECT_TRUE(hasRule(message, line)) << "a block end in the line \"" << line << '"';
    }
}

// Without those that reach the output limit: what is lost there depends on the pieces in which
// text is written.
std::vector<SweptMessage> unlimitedMessages() {
    std::vector<SweptMessage> messages = shiftableMessages();
    std::erase_if(messages, [](const SweptMessage &m) { return m.code == EML_ERR_LIMIT; });
    return messages;
}

INSTANTIATE_TEST_SUITE_P(, BlockEnd, testing::ValuesIn(unlimitedMessages()),
                         [](const auto &row) { return row.param.name; });

// Every row is needed, for each message that it names.
TEST(BlockEndRules, AreAllNeeded) {
    for (const BlockEndRule &rule : kBlockEndRules) {
        std::set<std::string> used;
        for (const SweptMessage &message : unlimitedMessages()) {
            if (!rule.messages.contains(message.name) && !rule.messages.empty()) {
                continue;
            }
            for (const std::string &line : linesThatDiffer(message)) {
                if (isNamed(rule, message, line)) {
                    used.insert(message.name);
                }
            }
        }
        EXPECT_TRUE(rule.messages.empty() ? !used.empty() : used == rule.messages)
            << rule.reason << ": " << testing::PrintToString(used);
    }
}

// ---- the message's header ----

const std::string kTail = "Subject: s\nDate: d\nContent-Type: text/plain; charset=utf-8\n";

std::string headerAtBlockEnd(size_t cut) {
    const size_t pad = kBlockSize - cut;
    std::string fields = "From: a@b\n";
    while (fields.size() + 1000 < pad) {
        fields += "X-Pad: " + std::string(492, 'p') + "\n";
    }
    fields += "X-Pad:" + std::string(pad - fields.size() - 7, 'p') + "\n";
    return fields + kTail + "\nHello\n";
}

// A header goes on in the next block only when the last byte of the first one ends a line.
TEST(BlockEndInTheHeader, EndsTheHeaderUnlessALineEndsThere) {
    const MessageRun expected =
        runMessage({.name = "short", .text = "From: a@b\n" + kTail + "\nHello\n"}, Mode::kFile);
    for (size_t cut = 0; cut <= kTail.size() + 7; ++cut) {
        const MessageRun run =
            runMessage({.name = "long", .text = headerAtBlockEnd(cut)}, Mode::kFile);
        const bool inHeader = cut <= kTail.size();
        const bool lineEndsThere = inHeader && (cut == 0 || kTail[cut - 1] == '\n');
        EXPECT_EQ(run.code, EML_OK);
        EXPECT_EQ(run.output == expected.output, !inHeader || lineEndsThere)
            << "the block ends " << cut << " bytes behind the pad\n"
            << run.output.value_or("(none)");
    }
}

// ---- a delimiter that is read twice ----

// The line end of a digest's delimiter may be the last byte of a block: reading it has loaded the
// next one, and the delimiter is read again all the same. Only one longer than 77 bytes gets there.
TEST(BlockEndInADigest, DoesNotLoseTheDelimiterThatIsReadAgain) {
    const std::string delimiter = "--B" + std::string(90, ' ') + "\n";
    const std::string entry = "--B\nFrom: x\n\nOne\n" + delimiter;
    const SweptMessage message = {.name = "digest",
                                  .text =
                                      kHead + "Content-Type: multipart/digest; boundary=\"B\"\n\n" +
                                      entry + "From: y\n\n" + linesOf(500, 60, 'x') + "--B--\n"};
    const MessageRun expected = runMessage(shifted(message, 100), Mode::kFile);
    const MessageRun run = runMessage(shifted(message, kBlockSize - entry.size()), Mode::kFile);
    EXPECT_NE(expected.output->find("[From: x\n\nOne\n]"), std::string::npos);
    EXPECT_EQ(run.output, expected.output);
}

} // namespace
