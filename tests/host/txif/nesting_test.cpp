// SPDX-License-Identifier: MIT
// Messages in messages: one limit over the whole result, and a limit to their depth.
#include <string>

#include <gmock/gmock.h>

#include "support.h"

namespace {

using namespace txif_test;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::Not;

class Nesting : public ScriptedFilters {
protected:
    // `levels` messages in a message; the innermost writes "innermost" and inserts a text file.
    std::string chain(int levels) const {
        const std::string leaf = file("leaf.txt", "leaf\n");
        std::string path = message("0.eml", "innermost\ninsert " + leaf + "\n");
        for (int level = 1; level <= levels; ++level) {
            const std::string script = "insert " + path + "\nafter\n"; // NOLINT(performance-*)
            path = message(std::to_string(level) + ".eml", script);
        }
        return path;
    }
};

TEST_F(Nesting, OfTwentyLevelsIsReadWhole) {
    const Outcome outcome = extract(chain(20));
    EXPECT_EQ(outcome.code, EML_OK);
    EXPECT_THAT(outcome.text, HasSubstr("innermost\nleaf\nafter\n"));
    EXPECT_THAT(outcome.notices, IsEmpty());
}

TEST_F(Nesting, AtTheDefaultDepthLimitIsReadWhole) {
    const Outcome outcome = extract(chain(50));
    EXPECT_THAT(outcome.text, HasSubstr("innermost\nleaf\nafter\n"));
    EXPECT_THAT(outcome.notices, IsEmpty());
}

TEST_F(Nesting, BeyondTheDefaultDepthLimitIsReportedOnceAndTheRestIsKept) {
    const Outcome outcome = extract(chain(51));
    EXPECT_EQ(outcome.code, EML_OK);
    EXPECT_THAT(outcome.text, Not(HasSubstr("innermost")));
    EXPECT_THAT(outcome.text, HasSubstr("Subject: script\n\nafter\n"));
    EXPECT_THAT(outcome.noticeSummary(), ElementsAre("4003@1"));
}

TEST_F(Nesting, BeyondTheLimitInManyPlacesIsReportedOnce) {
    QobExtractOptions options = defaultOptions();
    options.depthLimit = 2;
    const std::string deep = chain(2);
    const Outcome outcome =
        extract(message("m.eml", "insert " + deep + "\ninsert " + deep + "\nafter\n"), options);
    EXPECT_THAT(outcome.noticeSummary(), ElementsAre("4003@1"));
    EXPECT_EQ(outcome.result.attachmentsFailed, 2U);
    EXPECT_THAT(outcome.text, HasSubstr("after\n"));
}

TEST_F(Nesting, KeepsADepthLimitOfTheCaller) {
    QobExtractOptions options = defaultOptions();
    options.depthLimit = 2;
    EXPECT_THAT(extract(chain(2), options).text, HasSubstr("innermost\nleaf\n"));
    EXPECT_THAT(extract(chain(3), options).noticeSummary(), ElementsAre("4003@1"));
}

TEST_F(Nesting, IsNeverReadDeeperThanTheStackAllows) {
    QobExtractOptions options = defaultOptions();
    options.depthLimit = UINT32_MAX;
    EXPECT_THAT(extract(chain(100), options).text, HasSubstr("innermost\nleaf\n"));
    const Outcome outcome = extract(chain(101), options);
    EXPECT_THAT(outcome.text, Not(HasSubstr("innermost")));
    EXPECT_THAT(outcome.noticeSummary(), ElementsAre("4003@1"));
}

TEST_F(Nesting, OfFilesThatBringNoOthersIsNotCounted) {
    QobExtractOptions options = defaultOptions();
    options.depthLimit = 0;
    const Outcome outcome = extract(chain(0), options);
    EXPECT_THAT(outcome.text, HasSubstr("innermost\nleaf\n"));
    EXPECT_THAT(outcome.notices, IsEmpty());
}

TEST_F(Nesting, OfAMessageThatInsertsItselfEnds) {
    const std::string path = files() + "/self.eml";
    message("self.eml", "insert " + path + "\n");
    const Outcome outcome = extract(path);
    EXPECT_EQ(outcome.code, EML_OK);
    EXPECT_THAT(outcome.noticeSummary(), ElementsAre("4003@1"));
}

TEST_F(Nesting, GivesExactlyTheFirstBytesAtEveryOutputLimit) {
    const std::string path = chain(3);
    const std::string whole = extract(path).text;
    for (std::size_t limit = 0; limit <= whole.size() + 1; ++limit) {
        QobExtractOptions options = defaultOptions();
        options.maxOutput = limit;
        const Outcome outcome = extract(path, options);
        EXPECT_EQ(outcome.text, whole.substr(0, limit)) << limit;
        EXPECT_EQ(outcome.code, limit < whole.size() ? EML_ERR_LIMIT : EML_OK) << limit;
        EXPECT_EQ(outcome.result.bytesWritten, outcome.text.size()) << limit;
    }
}

TEST_F(Nesting, SplitsNoCharacterAtAnyOutputLimit) {
    const std::string euro = "\xE2\x82\xAC";
    const std::string inner = message("inner.eml", euro + euro + "\n");
    const std::string path = message("m.eml", euro + "\ninsert " + inner + "\n" + euro + "\n");
    const std::string whole = extract(path).text;
    for (std::size_t limit = 0; limit < whole.size(); ++limit) {
        QobExtractOptions options = defaultOptions();
        options.maxOutput = limit;
        const Outcome outcome = extract(path, options);
        std::size_t expected = limit;
        while ((static_cast<unsigned char>(whole[expected]) & 0xC0U) == 0x80U) {
            --expected;
        }
        EXPECT_EQ(outcome.text, whole.substr(0, expected)) << limit;
        EXPECT_EQ(outcome.code, EML_ERR_LIMIT) << limit;
    }
}

TEST_F(Nesting, ReportsTheReachedLimitOnce) {
    QobExtractOptions options = defaultOptions();
    options.maxOutput = 40;
    EXPECT_THAT(extract(chain(3), options).noticeSummary(), ElementsAre("3005@0"));
}

} // namespace
