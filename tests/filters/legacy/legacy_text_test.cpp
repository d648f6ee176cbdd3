// SPDX-License-Identifier: MIT
// Legacy documents as the programs of the system read them.
#include <gmock/gmock.h>

#include <random>
#include <string>

#include "filter_fixture.h"
#include "legacy_documents.h"

namespace qob::tests {
namespace {

using LegacyText = FilterTest;

TEST_F(LegacyText, WordParagraphsAreLines) {
    const Outcome outcome =
        run(LEGACY_FILTER, wordDocument("caf\u00E9 \u65E5\u672C\rsecond paragraph\r"));
    EXPECT_EQ(outcome.code, EML_OK);
    EXPECT_EQ(outcome.text, "caf\u00E9 \u65E5\u672C\nsecond paragraph\n");
    EXPECT_TRUE(outcome.notices.empty());
}

TEST_F(LegacyText, LongWordParagraphIsOneLine) {
    const std::string text = repeated("word ", 2000) + "end";
    EXPECT_EQ(textOf(LEGACY_FILTER, wordDocument(text + "\r")), text + "\n");
}

TEST_F(LegacyText, ExcelCellsAreSeparatedByTabs) {
    EXPECT_EQ(textOf(LEGACY_FILTER, excelDocument({"a,\"b\"", "caf\u00E9", "\u65E5", "d"})),
              "a,\"b\"\tcaf\u00E9\n\u65E5\td\n");
}

TEST_F(LegacyText, PowerPointSlidesAreLines) {
    EXPECT_EQ(textOf(LEGACY_FILTER, powerPointDocument({"Title \u65E5", "one\rtwo"})),
              "Title \u65E5\none\ntwo\n");
}

TEST_F(LegacyText, DamagedDocumentsEndWithACode) {
    std::mt19937 random(20261121);
    for (const std::string &whole :
         {wordDocument("text\r"), excelDocument({"a", "b"}), powerPointDocument({"a"})}) {
        for (int round = 0; round < 15; ++round) {
            std::string damaged = whole;
            for (int flips = 0; flips < 20; ++flips) {
                damaged[512 + random() % (damaged.size() - 512)] = static_cast<char>(random());
            }
            const Outcome outcome = run(LEGACY_FILTER, damaged);
            EXPECT_EQ(outcome.notices.size(), outcome.code == EML_OK ? 0U : 1U) << outcome.code;
        }
    }
}

} // namespace
} // namespace qob::tests
