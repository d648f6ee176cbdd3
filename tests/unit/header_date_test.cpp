// SPDX-License-Identifier: MIT
// The header reader: the Date line, written last or in place.
#include <gtest/gtest.h>

#include <cstring>

#include "support/header_reading.h"

namespace {

constexpr const char *kFive = "From: f\r\nTo: t\r\nCc: c\r\nBcc: b\r\nSubject: s\r\n";
constexpr const char *kFiveText = "From: f\nTo: t\nCc: c\nBcc: b\nSubject: s\n";

// "Date: xxx..." of `length` characters.
std::string dateLine(size_t length) {
    return "Date: " + std::string(length - 6, 'x');
}

TEST(HeaderDate, StandsLastWhereverItCame) {
    const HeaderRow rows[] = {
        {"at the end", "From: a\r\nTo: b\r\nSubject: s\r\nDate: d\r\n\r\n",
         "From: a\nTo: b\nSubject: s\nDate: d\n"},
        {"at the beginning", "Date: d\r\nFrom: a\r\n\r\n", "From: a\nDate: d\n"},
        {"before the fifth field",
         "From: f\r\nTo: t\r\nCc: c\r\nBcc: b\r\nDate: d\r\nSubject: s\r\n\r\n",
         "From: f\nTo: t\nCc: c\nBcc: b\nSubject: s\nDate: d\n"},
        {"as it stands in the file", "From: a\r\ndATE:  d\r\n\r\n", "From: a\ndATE:  d\n"},
        {"the later one of two", "From: a\r\nDate: first and long\r\nDate: 2\r\n\r\n",
         "From: a\nDate: 2\n"},
        {"the folded rest is lost", "From: a\r\nDate: d\r\n e\r\n\r\n", "From: a\nDate: d\n"},
        {"without any label before it", "Date: d\r\n", "Date: d\n"},
        {"a line end instead when there is none", "From: a\r\n\r\n", "From: a\n\n"},
    };
    for (const HeaderRow &row : rows) {
        expectHeader(row);
    }
}

TEST(HeaderDate, StandsInPlaceBehindAllFiveFields) {
    const HeaderRun run(std::string(kFive) + "Date: d\r\n\r\n");
    EXPECT_EQ(run.code, EML_OK);
    EXPECT_EQ(run.text, std::string(kFiveText) + "Date: d\n");
}

TEST(HeaderDate, WaitsWhileAnyOfTheFiveIsMissing) {
    const std::string fields[] = {"From: f", "To: t", "Cc: c", "Bcc: b", "Subject: s"};
    for (const std::string &missing : fields) {
        std::string header;
        std::string text;
        for (const std::string &field : fields) {
            header += field == missing ? "" : field + "\r\n";
            text += field == missing ? "" : field + "\n";
        }
        const HeaderRun run(header + "Date: d\r\n" + missing + "\r\n\r\n");
        EXPECT_EQ(run.text, text + missing + "\nDate: d\n");
    }
}

TEST(HeaderDate, InPlaceIsNotWrittenAgain) {
    const HeaderRun run(std::string(kFive) + "Date: d\r\nDate: e\r\nX: y\r\n\r\n");
    EXPECT_EQ(run.text, std::string(kFiveText) + "Date: d\n");
}

TEST(HeaderDate, InPlaceIsFollowedByLaterLabelsOnNewLines) {
    const HeaderRun run(std::string(kFive) + "Date: d\r\nSubject: t\r\n\r\n");
    EXPECT_EQ(run.text, std::string(kFiveText) + "Date: d\n\nSubject: t");
}

TEST(HeaderDate, IsCutTo64BytesAtTheEnd) {
    for (const size_t length : {6U, 63U, 64U, 65U, 79U, 80U, 81U, 2047U, 2048U, 4000U}) {
        const HeaderRun run("From: a\r\n" + dateLine(length) + "\r\n\r\n");
        EXPECT_EQ(run.code, EML_OK);
        EXPECT_EQ(run.text, "From: a\n" + dateLine(length).substr(0, 64) + "\n") << length;
    }
}

TEST(HeaderDate, IsWrittenWholeInPlace) {
    for (const size_t length : {64U, 65U, 256U, 257U, 2046U}) {
        const HeaderRun run(kFive + dateLine(length) + "\r\n\r\n");
        EXPECT_EQ(run.text, kFiveText + dateLine(length) + "\n") << length;
    }
}

TEST(HeaderDate, InPlaceMayGrowFourfoldInConversion) {
    FilterFixture f;
    f.load(kFive + dateLine(2000) + "\r\n\r\n");
    f.host.convert = [](const std::string &, const std::string &input) {
        return input.substr(0, 5) == "Date:" ? std::string(4 * input.size() + 1, 'y') : input;
    };
    EXPECT_EQ(EMLReadHeader(&f.handle), EML_OK);
    EXPECT_EQ(f.output(), kFiveText + std::string(8001, 'y') + "\n");
}

TEST(HeaderDate, IsReadAsLatin1) {
    FilterFixture f;
    std::strcpy(f.handle.defaultCharset, "KoreanKSC");
    f.load("From: a\r\nDate: d\r\n\r\n");
    EXPECT_EQ(EMLReadHeader(&f.handle), EML_OK);
    EXPECT_EQ(convertedPieces(f.host), "L{From: }KoreanKSC{a}L{Date: d}");
}

TEST(HeaderDate, ConvertsAlways64BytesAtTheEnd) {
    FilterFixture f;
    f.load("From: a\r\nDate: d\r\n\r\n");
    f.host.stripControlCodes = false;
    EXPECT_EQ(EMLReadHeader(&f.handle), EML_OK);
    EXPECT_EQ(f.output(), "From: a\nDate: d" + std::string(57, '\0') + "\n");
}

TEST(HeaderDate, OfALaterLineLeavesNothingOfAnEarlierOne) {
    FilterFixture f;
    f.load("From: a\r\nDate: 1234567890\r\nDate: 2\r\n\r\n");
    f.host.stripControlCodes = false;
    EXPECT_EQ(EMLReadHeader(&f.handle), EML_OK);
    EXPECT_EQ(f.output(), "From: a\nDate: 2" + std::string(57, '\0') + "\n");
}

} // namespace
