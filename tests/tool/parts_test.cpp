// SPDX-License-Identifier: MIT
// The lines on standard error, and the version in a library's bytes.
#include <string>

#include <gtest/gtest.h>

#include "console/library_version.h"
#include "console/report.h"
#include "qob_extract.h"

namespace {

using namespace std::string_literals;
using emltext::failureLine;

TEST(FailureLine, NamesFileCodeMeaningAndReason) {
    EXPECT_EQ(failureLine("a.eml", 0, QOB_ERR_DAMAGED, "the page tree has a loop"),
              "emltext: a.eml: QOB_ERR_DAMAGED (4004): the file is damaged: its text is missing or "
              "not complete (the page tree has a loop)");
}

TEST(FailureLine, NamesTheAttachment) {
    EXPECT_EQ(failureLine("a.eml", 3, QOB_ERR_ENCRYPTED, ""),
              "emltext: a.eml: attachment 3: QOB_ERR_ENCRYPTED (4005): the file is encrypted and "
              "gave no text");
}

TEST(FailureLine, DoesNotSayTheSameTwice) {
    EXPECT_EQ(failureLine("a.eml", 0, EML_ERR_MEMORY, qob_result_text(EML_ERR_MEMORY)),
              "emltext: a.eml: EML_ERR_MEMORY (3000): there is not enough memory");
}

TEST(FailureLine, KnowsTheCodesOfWorkers) {
    EXPECT_EQ(failureLine("a.eml", 0, emltext::kWorkerCrashed, "signal 11"),
              "emltext: a.eml: EMLTEXT_ERR_CRASH (5001): the process that read the message ended "
              "unexpectedly (signal 11)");
    EXPECT_EQ(emltext::codeName(emltext::kWorkerTimeout), "EMLTEXT_ERR_TIMEOUT");
    EXPECT_EQ(emltext::codeName(emltext::kWorkerMemory), "EMLTEXT_ERR_MEMORY");
    EXPECT_EQ(emltext::codeName(emltext::kWorkerLost), "EMLTEXT_ERR_WORKER");
}

std::string displayed(const std::string &path, uint64_t index) {
    emltext::Job job;
    job.path = path;
    job.index = index;
    return emltext::displayName(job);
}

TEST(DisplayName, TellsAMessageOfAnMboxByItsIndex) {
    EXPECT_EQ(displayed("a.eml", 0), "a.eml");
    EXPECT_EQ(displayed("-", 0), "standard input");
    EXPECT_EQ(displayed("box", 7), "box message 7");
}

TEST(DisplayName, DoesNotSendControlsToTheTerminal) {
    EXPECT_EQ(displayed("a\nb\x1B[2J\x7F", 0), "a?b?[2J?");
}

TEST(IsWorthTelling, OfAttachmentsWhenTheyAreDamaged) {
    using emltext::Detail;
    using emltext::isWorthTelling;
    EXPECT_TRUE(isWorthTelling({1, QOB_ERR_DAMAGED, ""}, Detail::kDamage));
    EXPECT_FALSE(isWorthTelling({1, QOB_ERR_NO_FILTER, ""}, Detail::kDamage));
    EXPECT_FALSE(isWorthTelling({1, QOB_ERR_DAMAGED, ""}, Detail::kMessages));
    EXPECT_TRUE(isWorthTelling({1, QOB_ERR_NO_FILTER, ""}, Detail::kEverything));
}

TEST(IsWorthTelling, AlwaysOfMessages) {
    EXPECT_TRUE(emltext::isWorthTelling({0, QOB_ERR_NO_FILTER, ""}, emltext::Detail::kMessages));
}

TEST(VersionIn, IsTheTextBehindTheMarkUpToTheNul) {
    EXPECT_EQ(emltext::versionIn("\x7F"
                                 "ELF\0@(#)qob_txeml 5.0.0 (build 1a2b)\0more"s),
              "qob_txeml 5.0.0 (build 1a2b)");
}

TEST(VersionIn, IsNothingWithoutTheMarkOrTheNul) {
    EXPECT_EQ(emltext::versionIn("qob_txeml 5.0.0\0"s), std::nullopt);
    EXPECT_EQ(emltext::versionIn("@(#)qob_txeml 5.0.0"), std::nullopt);
    EXPECT_EQ(emltext::versionIn(""), std::nullopt);
}

} // namespace
