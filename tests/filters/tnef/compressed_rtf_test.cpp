// SPDX-License-Identifier: MIT
// RTF out of MAPI's compression, and input that would lead the library out of its buffers.
#include "compressed_rtf.h"

#include <gtest/gtest.h>

#include <random>

#include "filter_fixture.h"
#include "tnef_writer.h"

namespace qob::tests {
namespace {

using tnef::unpackRtf;

std::string rtfOf(uint32_t kind, std::size_t length, std::string_view payload) {
    return little(payload.size() + 12, 4) + little(length, 4) + little(kind, 4) + little(0, 4) +
           std::string(payload);
}

constexpr uint32_t kPacked = 0x75465A4C;
constexpr uint32_t kStored = 0x414C454D;

TEST(CompressedRtf, UnpacksLiterals) {
    EXPECT_EQ(unpackRtf(packedRtf("{\\rtf1 Hello, world}")), "{\\rtf1 Hello, world}");
}

TEST(CompressedRtf, UnpacksReferencesIntoTheKnownStart) {
    // "{\rtf1\ansi" stands at the start of the dictionary: offset 0, eleven characters.
    const std::string payload = std::string("\1", 1) + std::string("\x00\x09", 2) + " x}";
    EXPECT_EQ(unpackRtf(rtfOf(kPacked, 14, payload)), "{\\rtf1\\ansi x}");
}

TEST(CompressedRtf, GivesStoredTextAsItIs) {
    EXPECT_EQ(unpackRtf(rtfOf(kStored, 8, "{\\rtf1 }")), "{\\rtf1 }");
    EXPECT_EQ(unpackRtf(rtfOf(kStored, 100000, "{\\rtf1 }")), "{\\rtf1 }");
}

TEST(CompressedRtf, OfCutInputGivesWhatComesBefore) {
    const std::string whole = packedRtf("{\\rtf1 Hello, world}");
    EXPECT_EQ(unpackRtf(whole.substr(0, whole.size() - 6)), "{\\rtf1 Hello, w");
}

TEST(CompressedRtf, IsEmptyForWhatIsNone) {
    EXPECT_EQ(unpackRtf(""), "");
    EXPECT_EQ(unpackRtf(std::string(15, '\0')), "");
    EXPECT_EQ(unpackRtf(rtfOf(kPacked, 10, "")), "");
    EXPECT_EQ(unpackRtf(rtfOf(kPacked, 0, "abc")), "");
    EXPECT_EQ(unpackRtf(rtfOf(0x12345678, 10, "abcdefghij")), "");
}

TEST(CompressedRtf, AnnouncedLengthsAreNotBelieved) {
    EXPECT_EQ(unpackRtf(rtfOf(kPacked, 0xFFFFFFFF, std::string("\0abc", 4))), "abc");
    EXPECT_LE(unpackRtf(rtfOf(kPacked, 0x7FFFFFFF, std::string(1000, '\xFF'))).size(), 17 * 1000U);
}

TEST(CompressedRtf, RandomInputPrintsNothingAndStaysInItsBuffers) {
    std::mt19937 random(7);
    testing::internal::CaptureStdout();
    for (int round = 0; round < 20000; ++round) {
        std::string payload;
        for (std::size_t left = random() % 64; left > 0; --left) {
            payload.push_back(static_cast<char>(random()));
        }
        const std::size_t length = random() % 2 == 0 ? random() : random() % 600;
        const std::string text = unpackRtf(rtfOf(kPacked, length, payload));
        ASSERT_LE(text.size(), 17 * (payload.size() + 17));
    }
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "");
}

} // namespace
} // namespace qob::tests
