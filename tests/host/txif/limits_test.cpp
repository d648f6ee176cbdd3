// SPDX-License-Identifier: MIT
// The limits over one outermost call: each stops its branch, keeps the text so far, is reported
// once and changes no result.
#include "qob_limits.h"

#include <string>

#include <gmock/gmock.h>

#include "filter_loader.h"
#include "support.h"

namespace {

using namespace txif_test;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::Not;

class LimitsOfACall : public ScriptedFilters {
protected:
    // A message that inserts the file `count` times.
    std::string inserting(const std::string &path, int count) const {
        std::string script;
        for (int i = 0; i < count; ++i) {
            script += "insert " + path + "\n";
        }
        return message("outer.eml", script + "after\n");
    }
};

std::string repeated(const std::string &piece, int count) {
    std::string text;
    for (int i = 0; i < count; ++i) {
        text += piece;
    }
    return text;
}

TEST_F(LimitsOfACall, LetExactlySoManyPartsThrough) {
    QobExtractOptions options = defaultOptions();
    options.maxParts = 3;
    const Outcome outcome = extract(inserting(file("a.txt", "part\n"), 3), options);
    EXPECT_EQ(outcome.text, kHeaderText + repeated("part\n", 3) + "after\n");
    EXPECT_THAT(outcome.notices, IsEmpty());
}

TEST_F(LimitsOfACall, LeaveOutEveryPartBeyondAndReportTheFirst) {
    QobExtractOptions options = defaultOptions();
    options.maxParts = 3;
    const Outcome outcome = extract(inserting(file("a.txt", "part\n"), 7), options);
    EXPECT_EQ(outcome.code, EML_OK);
    EXPECT_EQ(outcome.text, kHeaderText + repeated("part\n", 3) + "after\n");
    EXPECT_THAT(outcome.noticeSummary(), ElementsAre("4010@4"));
    EXPECT_EQ(outcome.result.attachmentsFailed, 1U);
    EXPECT_EQ(outcome.result.attachmentCode, QOB_ERR_PARTS);
}

TEST_F(LimitsOfACall, CountThePartsOfInsertedMessages) {
    const std::string text = file("a.txt", "part\n");
    const std::string inner =
        message("inner.eml", "insert " + text + "\ninsert " + text + "\ninnermost\n");
    QobExtractOptions options = defaultOptions();
    options.maxParts = 3;
    EXPECT_THAT(extract(inserting(inner, 1), options).notices, IsEmpty());
    options.maxParts = 2;
    const Outcome outcome = extract(inserting(inner, 1), options);
    EXPECT_THAT(outcome.text, HasSubstr("part\ninnermost\nafter\n"));
    EXPECT_THAT(outcome.noticeSummary(), ElementsAre("4010@1"));
}

TEST_F(LimitsOfACall, DoNotCountBodiesAsParts) {
    const std::string body = file("body.htm", "<html>\n");
    const std::string text = file("a.txt", "part\n");
    QobExtractOptions options = defaultOptions();
    options.maxParts = 1;
    const Outcome outcome = extract(
        message("m.eml", repeated("insert-body " + body + "\n", 3) + "insert " + text + "\n"),
        options);
    EXPECT_THAT(outcome.notices, IsEmpty());
    EXPECT_THAT(outcome.text, HasSubstr("<html>\n<html>\n<html>\npart\n"));
}

TEST_F(LimitsOfACall, OfZeroPartsAreNone) {
    QobExtractOptions options = defaultOptions();
    options.maxParts = 0;
    EXPECT_THAT(extract(inserting(file("a.txt", "part\n"), 20), options).notices, IsEmpty());
}

TEST_F(LimitsOfACall, InsertNothingAnyMoreWhenTheTimeIsOver) {
    const std::string text = file("a.txt", "part\n");
    const Outcome outcome = extract(message("m.eml", "insert " + text + "\nwait 61000\ninsert " +
                                                         text + "\ninsert " + text + "\nafter\n"));
    EXPECT_EQ(outcome.code, EML_OK);
    EXPECT_EQ(outcome.text, std::string(kHeaderText) + "part\nafter\n");
    EXPECT_THAT(outcome.noticeSummary(), ElementsAre("4013@2"));
}

TEST_F(LimitsOfACall, DoNotMindTheTimeBeforeItIsOver) {
    const std::string text = file("a.txt", "part\n");
    const Outcome outcome = extract(message("m.eml", "wait 50000\ninsert " + text + "\n"));
    EXPECT_EQ(outcome.text, std::string(kHeaderText) + "part\n");
    EXPECT_THAT(outcome.notices, IsEmpty());
}

TEST_F(LimitsOfACall, KeepTheResultOfAMessageWhoseBodyTookTooLong) {
    const std::string body = file("body.htm", "<html>\nwait 61000\ntime\nnot reached\n");
    const Outcome outcome = extract(message("m.eml", "insert-body " + body + "\nafter\n"));
    EXPECT_EQ(outcome.code, EML_OK);
    EXPECT_EQ(outcome.text, std::string(kHeaderText) + "<html>\nafter\n");
    EXPECT_THAT(outcome.noticeSummary(), ElementsAre("4013@0"));
}

TEST_F(LimitsOfACall, EndAFilterThatLooksAtTheTime) {
    const std::string slow = file("slow.txt", "first\nwait 61000\ntime\nsecond\n");
    const Outcome outcome = extract(inserting(slow, 2));
    EXPECT_EQ(outcome.text, std::string(kHeaderText) + "first\nafter\n");
    EXPECT_THAT(outcome.noticeSummary(), ElementsAre("4013@1"));
}

TEST_F(LimitsOfACall, GiveEachCallItsOwnTime) {
    const std::string path = message("m.eml", "wait 50000\nleft\n");
    for (int i = 0; i < 3; ++i) {
        EXPECT_THAT(extract(path).text, ::testing::ContainsRegex("left=(10000|9[0-9][0-9][0-9])"));
    }
}

TEST_F(LimitsOfACall, LetExactlySoManyUnpackedBytesThrough) {
    QobExtractOptions options = defaultOptions();
    options.maxUnpacked = 100;
    const std::string half = file("half.txt", "unpack 50 OF 50\nread\n");
    const Outcome outcome = extract(inserting(half, 2), options);
    EXPECT_EQ(outcome.text, std::string(kHeaderText) + "read\nread\nafter\n");
    EXPECT_THAT(outcome.notices, IsEmpty());
}

TEST_F(LimitsOfACall, EndWhatUnpacksBeyondAndReadOnWhatIsNotPacked) {
    QobExtractOptions options = defaultOptions();
    options.maxUnpacked = 100;
    const std::string part = file("part.txt", "unpack 34 OF 50\nread\n");
    const std::string text = file("text.txt", "text\n");
    const Outcome outcome = extract(
        message("m.eml", repeated("insert " + part + "\n", 5) + "insert " + text + "\n"), options);
    EXPECT_EQ(outcome.code, EML_OK);
    EXPECT_EQ(outcome.text, std::string(kHeaderText) + "read\nread\ntext\n");
    EXPECT_THAT(outcome.noticeSummary(), ElementsAre("4011@3"));
    EXPECT_EQ(outcome.result.attachmentsFailed, 3U);
}

TEST_F(LimitsOfACall, EndAFileThatGrowsBeyondItsRatio) {
    const std::string large = file("large.txt", "unpack 2000000 OF 10000\nread\n");
    const std::string bomb = file("bomb.txt", "unpack 2000001 OF 10000\nread\n");
    const Outcome outcome = extract(message("m.eml", "insert " + large + "\ninsert " + bomb +
                                                         "\ninsert " + bomb + "\nafter\n"));
    EXPECT_EQ(outcome.code, EML_OK);
    EXPECT_EQ(outcome.text, std::string(kHeaderText) + "read\nafter\n");
    EXPECT_THAT(outcome.noticeSummary(), ElementsAre("4012@2"));
}

TEST_F(LimitsOfACall, EndTheCallThatDoesNotGoOn) {
    QobExtractOptions options = defaultOptions();
    options.keepGoing = 0;
    options.maxParts = 1;
    const Outcome outcome = extract(inserting(file("a.txt", "part\n"), 2), options);
    EXPECT_EQ(outcome.code, QOB_ERR_PARTS);
    EXPECT_EQ(outcome.text, std::string(kHeaderText) + "part\n");
    EXPECT_THAT(outcome.noticeSummary(), ElementsAre("4010@2"));
}

TEST_F(LimitsOfACall, MetByTheFileItselfKeepItsText) {
    const std::string path = file("a.txt", "text\nunpack 2000000000 OF 2000000000\n");
    const Outcome outcome = extract(path);
    EXPECT_EQ(outcome.code, EML_OK);
    EXPECT_EQ(outcome.text, "text\n");
    EXPECT_THAT(outcome.notices,
                ElementsAre(Notice{path, 0, QOB_ERR_UNPACKED,
                                   "more than 1073741824 bytes were unpacked, the rest is left "
                                   "out"}));
}

TEST_F(LimitsOfACall, AreReportedEachForItself) {
    QobExtractOptions options = defaultOptions();
    options.maxUnpacked = 10;
    options.maxParts = 2;
    const Outcome outcome = extract(inserting(file("a.txt", "unpack 11 OF 11\n"), 4), options);
    EXPECT_THAT(outcome.noticeSummary(), ElementsAre("4011@1", "4010@3"));
}

// ---- without a top-level call ----

TEST(LimitsOfNoCall, AreNotMet) {
    EXPECT_EQ(qob_limits_part(), EML_OK);
    EXPECT_EQ(qob_limits_unpacked(UINT64_MAX, 1), EML_OK);
    EXPECT_EQ(qob_limits_time(), EML_OK);
    EXPECT_EQ(qob_limits_stopped(), EML_OK);
    EXPECT_EQ(qob_limits_milliseconds_left(), UINT64_MAX);
}

TEST(LimitsOfAnEntryPoint, AreTheDefaultsAndBeginWithEachCall) {
    HostParams params{};
    Notices notices;
    for (int call = 0; call < 2; ++call) {
        ASSERT_EQ(qob_limits_enter("input", &params, notices.callback()), 1);
        EXPECT_EQ(qob_limits_enter("inner", &params, notices.callback()), 0);
        for (uint32_t part = 0; part < QOB_DEFAULT_MAX_PARTS; ++part) {
            ASSERT_EQ(qob_limits_part(), EML_OK);
        }
        EXPECT_EQ(qob_limits_part(), QOB_ERR_PARTS);
        EXPECT_EQ(qob_limits_part(), QOB_ERR_PARTS);
        qob_limits_leave();
    }
    EXPECT_THAT(notices.summary(), ElementsAre("4010@0", "4010@0"));
    EXPECT_EQ(notices.all()[0].path, "input");
}

} // namespace
