// SPDX-License-Identifier: MIT
// The lines on standard error, and the version in a library's bytes.
#include <string>

#include <gtest/gtest.h>

#include "library_version.h"
#include "qob_extract.h"
#include "report.h"

namespace {

using namespace std::string_literals;
using emltext::failureLine;

TEST(FailureLine, NamesFileCodeMeaningAndReason) {
    EXPECT_EQ(failureLine("a.eml", 0, QOB_ERR_DAMAGED, "the page tree has a loop"),
              "emltext: a.eml: QOB_ERR_DAMAGED (4004): the file is damaged and gave no text (the "
              "page tree has a loop)");
}

TEST(FailureLine, NamesTheAttachment) {
    EXPECT_EQ(failureLine("a.eml", 3, QOB_ERR_ENCRYPTED, nullptr),
              "emltext: a.eml: attachment 3: QOB_ERR_ENCRYPTED (4005): the file is encrypted and "
              "gave no text");
}

TEST(FailureLine, DoesNotSayTheSameTwice) {
    EXPECT_EQ(failureLine("a.eml", 0, EML_ERR_MEMORY, qob_result_text(EML_ERR_MEMORY)),
              "emltext: a.eml: EML_ERR_MEMORY (3000): there is not enough memory");
}

TEST(IsWorthTelling, OfEverythingButUnreadableAttachmentsAndTheOutput) {
    EXPECT_TRUE(emltext::isWorthTelling({"a", 1, QOB_ERR_DAMAGED, ""}));
    EXPECT_TRUE(emltext::isWorthTelling({"a", 0, QOB_ERR_NO_FILTER, ""}));
    EXPECT_FALSE(emltext::isWorthTelling({"a", 1, QOB_ERR_NO_FILTER, ""}));
    EXPECT_FALSE(emltext::isWorthTelling({"a", 0, QOB_ERR_WRITE, ""}));
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
