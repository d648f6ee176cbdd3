// SPDX-License-Identifier: MIT
// TNEF containers that are damaged or made to exhaust the reader: what can be read stays, the
// damage is reported once, nothing is printed.
#include <gmock/gmock.h>

#include <random>
#include <string>

#include "filter_fixture.h"
#include "tnef_writer.h"

namespace qob::tests {
namespace {

using testing::ElementsAre;
using testing::Field;

auto damage() {
    return ElementsAre(Field(&Notice::code, QOB_ERR_DAMAGED));
}

class TnefHostile : public FilterTest {
protected:
    TnefHostile() { params_.flags = EML_FLAG_KEEP_GOING; }

    void expectOrderlyEnd(const std::string &bytes, const std::string &what) {
        params_.flags |= EML_FLAG_NO_HANDOVER; // the members themselves are not at issue
        const Outcome outcome = runStream(TNEF_FILTER, bytes);
        int damaged = 0;
        for (const Notice &notice : outcome.notices) {
            damaged += notice.code == QOB_ERR_DAMAGED && notice.path == inputPath() ? 1 : 0;
        }
        EXPECT_TRUE(outcome.code == EML_OK || outcome.code == QOB_ERR_DAMAGED)
            << what << ": " << outcome.code;
        EXPECT_LE(damaged, 1) << what;
        EXPECT_TRUE(outcome.code != QOB_ERR_DAMAGED || damaged == 1) << what;
    }
};

std::string sample() {
    return tnefStart() + attribute(kCodePageTag, little(1252, 8)) +
           attribute(kSubjectTag, zeroEnded("Minutes")) +
           attribute(kMessagePropertiesTag,
                     propertyList({numberProperty(0x3FDE, 1252),
                                   property(0x1009, 0x0102, packedRtf("{\\rtf1 the body}")),
                                   property(0x1013, 0x0102, "<p>the body</p>")})) +
           attachment("notes.txt", "the notes\n") + attachment("more.txt", "more\n");
}

TEST_F(TnefHostile, EveryTruncationEndsInOrder) {
    const std::string whole = sample();
    testing::internal::CaptureStdout();
    for (std::size_t length = 0; length < whole.size(); ++length) {
        expectOrderlyEnd(whole.substr(0, length), "cut at " + std::to_string(length));
    }
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "");
}

TEST_F(TnefHostile, RandomDamageEndsInOrder) {
    std::mt19937 random(20260712);
    const std::string whole = sample();
    testing::internal::CaptureStdout();
    for (int round = 0; round < 500; ++round) {
        std::string damaged = whole;
        for (unsigned flips = 1 + random() % 8; flips > 0; --flips) {
            damaged[random() % damaged.size()] = static_cast<char>(random());
        }
        expectOrderlyEnd(damaged, "round " + std::to_string(round));
    }
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "");
}

TEST_F(TnefHostile, EveryExtremeLengthEndsInOrder) {
    const std::string whole = sample();
    for (std::size_t offset = 0; offset + 4 <= whole.size(); ++offset) {
        for (const uint32_t value : {0U, 0x7FFFFFFFU, 0xFFFFFFFFU}) {
            std::string damaged = whole;
            damaged.replace(offset, 4, little(value, 4));
            expectOrderlyEnd(damaged, std::to_string(value) + " at " + std::to_string(offset));
        }
    }
}

TEST_F(TnefHostile, KeepsTheTextBeforeTheDamage) {
    const std::string whole = tnefStart() + attribute(kSubjectTag, zeroEnded("Minutes")) +
                              attribute(kBodyTag, zeroEnded("body")) +
                              attachment("notes.txt", "the notes\n");
    const Outcome outcome = run(TNEF_FILTER, whole.substr(0, whole.find("the notes") + 5));
    EXPECT_EQ(outcome.code, EML_OK);
    EXPECT_EQ(outcome.text, "Subject: Minutes\n\nbody\n\nthe n\n\n");
    EXPECT_THAT(outcome.notices, damage());
    EXPECT_EQ(outcome.notices[0].reason,
              "the TNEF container is damaged; the text of what could be read is there");
}

TEST_F(TnefHostile, WhatIsNoContainerIsReportedOnceAsDamaged) {
    for (const std::string &bytes :
         {std::string(), std::string("no container"), little(0x223E9F78, 3)}) {
        const Outcome outcome = run(TNEF_FILTER, bytes);
        EXPECT_EQ(outcome.code, QOB_ERR_DAMAGED);
        EXPECT_FALSE(outcome.outputExists);
        EXPECT_THAT(outcome.notices, damage());
        EXPECT_EQ(outcome.notices[0].reason, "the TNEF container is damaged and gave no text");
    }
}

TEST_F(TnefHostile, MillionsOfEmptyAttributesEndSoon) {
    const std::string bytes = tnefStart() + repeated(attribute(0x00068006, ""), 2000000) +
                              attribute(kBodyTag, zeroEnded("body"));
    EXPECT_EQ(textOf(TNEF_FILTER, bytes), "body\n");
}

TEST_F(TnefHostile, MillionsOfValuesEndSoon) {
    const std::string values =
        little(0x101E, 2) + little(0x6000, 2) + little(2000000, 4) + std::string(8000000, '\0');
    EXPECT_EQ(textOf(TNEF_FILTER,
                     tnefStart() + attribute(kMessagePropertiesTag,
                                             propertyList({values, property(0x1000, 0x001E,
                                                                            zeroEnded("body"))}))),
              "body\n");
}

} // namespace
} // namespace qob::tests
