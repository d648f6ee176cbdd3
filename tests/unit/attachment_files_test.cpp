// SPDX-License-Identifier: MIT
// Names and numbers of attachments.
#include "emlcontent/attachment_files.h"

#include <cstring>

#include "emlcomm/input_check.h"
#include "support/filter_fixture.h"

namespace {

std::string nextName(FilterFixture &f) {
    char name[kPathSize] = {};
    EXPECT_EQ(GetAttachtempfile(&f.handle, name), name);
    return name;
}

TEST(AttachmentFileName, IsTheBaseNameAndTheLowestFreeNumber) {
    FilterFixture f;
    std::strcpy(f.handle.attachTmpName, "/tmp/base");
    EXPECT_EQ(nextName(f), "/tmp/base1");
    f.host.files["/tmp/base1"] = "";
    f.host.files["/tmp/base2"] = "";
    EXPECT_EQ(nextName(f), "/tmp/base3");
    EXPECT_EQ(nextName(f), "/tmp/base3");
    f.host.files.erase("/tmp/base1");
    EXPECT_EQ(nextName(f), "/tmp/base1");
}

TEST(AttachmentFileName, GoesPastNineWithoutLeadingZeros) {
    FilterFixture f;
    std::strcpy(f.handle.attachTmpName, "x");
    for (int n = 1; n <= 11; ++n) {
        f.host.files["x" + std::to_string(n)] = "";
    }
    EXPECT_EQ(nextName(f), "x12");
}

TEST(AttachmentFileName, OfAnEmptyBaseIsTheNumber) {
    FilterFixture f;
    f.handle.attachTmpName[0] = '\0';
    EXPECT_EQ(nextName(f), "1");
}

TEST(AttachmentFileName, FillsTheWholePath) {
    FilterFixture f;
    const std::string base(4094, 'p');
    std::strcpy(f.handle.attachTmpName, base.c_str());
    EXPECT_EQ(nextName(f), base + "1");
}

TEST(AttachmentFileName, IsABareNameWhenNoNumberFits) {
    FilterFixture f;
    std::strcpy(f.handle.attachTmpName, std::string(4095, 'p').c_str());
    EXPECT_EQ(nextName(f), "attachment");
}

TEST(AttachmentFileName, IsABareNameWhenTheFreeNumberNoLongerFits) {
    FilterFixture f;
    const std::string base(4094, 'p');
    std::strcpy(f.handle.attachTmpName, base.c_str());
    for (int n = 1; n <= 9; ++n) {
        f.host.files[base + std::to_string(n)] = "";
    }
    EXPECT_EQ(nextName(f), "attachment");
}

TEST(OpenAttachmentFile, AppendsEmlForMessagesOnly) {
    FilterFixture f;
    eml::TempFile plain;
    ASSERT_EQ(eml::openAttachmentFile(&f.handle, plain, false), EML_OK);
    EXPECT_TRUE(f.host.called("QOB_FileOpen /tmp/in.emlin.eml1 wb+"));
    eml::discardTempFile(plain);
    eml::TempFile message;
    ASSERT_EQ(eml::openAttachmentFile(&f.handle, message, true), EML_OK);
    EXPECT_TRUE(f.host.called("QOB_FileOpen /tmp/in.emlin.eml1.eml wb+"));
    eml::discardTempFile(message);
}

TEST(OpenAttachmentFile, FailsWithoutAnOpenWhenTheEndingDoesNotFit) {
    FilterFixture f;
    std::strcpy(f.handle.attachTmpName, std::string(4092, 'p').c_str());
    eml::TempFile file;
    EXPECT_EQ(eml::openAttachmentFile(&f.handle, file, true), EML_ERR_INPUT);
    EXPECT_EQ(f.host.count("QOB_FileOpen"), 0);
    EXPECT_FALSE(file.exists());
    EXPECT_EQ(eml::openAttachmentFile(&f.handle, file, false), EML_OK);
    eml::discardTempFile(file);
}

TEST(AttachmentDigits, AreTheDecimalNumber) {
    const struct {
        int32_t count;
        const char *digits;
    } rows[] = {{0, "0"},     {7, "7"},       {9, "9"},       {10, "10"},
                {42, "42"},   {99, "99"},     {100, "100"},   {305, "305"},
                {999, "999"}, {1000, "1000"}, {1009, "1009"}, {9999, "9999"}};
    for (const auto &row : rows) {
        FilterFixture f;
        std::memset(f.handle.attachmentDigits, 'z', sizeof(f.handle.attachmentDigits));
        f.handle.attachmentCount = row.count;
        WriteNum(&f.handle);
        char expected[10] = {};
        std::strcpy(expected, row.digits);
        EXPECT_EQ(std::memcmp(f.handle.attachmentDigits, expected, sizeof(expected)), 0)
            << row.count;
        EXPECT_EQ(f.handle.attachmentDigitsLength, static_cast<int32_t>(std::strlen(row.digits)))
            << row.count;
    }
}

TEST(AttachmentDigits, AreEmptyWithTheOldLengthFrom10000On) {
    for (const int32_t count : {10000, 10001, 123456, 2147483647}) {
        for (const int32_t oldLength : {0, 1, 4}) {
            FilterFixture f;
            std::memset(f.handle.attachmentDigits, 'z', sizeof(f.handle.attachmentDigits));
            f.handle.attachmentDigitsLength = oldLength;
            f.handle.attachmentCount = count;
            WriteNum(&f.handle);
            const char cleared[10] = {};
            EXPECT_EQ(std::memcmp(f.handle.attachmentDigits, cleared, sizeof(cleared)), 0) << count;
            EXPECT_EQ(f.handle.attachmentDigitsLength, oldLength) << count;
        }
    }
}

TEST(LowerCase, ChangesAsciiLettersOnly) {
    const struct {
        const char *text;
        const char *lowered;
    } rows[] = {{"", ""},
                {"ReadMe.TXT", "readme.txt"},
                {"AZaz09", "azaz09"},
                {"@[`{", "@[`{"},
                {"\xC3\x84\xFF", "\xC3\x84\xFF"}};
    for (const auto &row : rows) {
        std::string text = row.text;
        Eml_byteLow(text.data());
        EXPECT_EQ(text, row.lowered);
    }
}

TEST(CmpFileType, IsAlwaysZeroAndLeavesTheNameAlone) {
    FilterFixture f;
    EXPECT_EQ(CmpFileType(&f.handle, nullptr), 0);
    EXPECT_EQ(CmpFileType(nullptr, ""), 0);
    for (const size_t length : {5U, 71U, 72U, 73U, 5000U}) {
        const std::string name(length, 'N');
        EXPECT_EQ(CmpFileType(&f.handle, name.c_str()), 0);
        EXPECT_EQ(name, std::string(length, 'N'));
    }
}

TEST(EmlCheckFile, TellsWhetherAFileExists) {
    FilterFixture f;
    EXPECT_EQ(EmlCheckFile("/tmp/none"), 0);
    f.host.files["/tmp/some"] = "";
    EXPECT_EQ(EmlCheckFile("/tmp/some"), 1);
}

} // namespace
