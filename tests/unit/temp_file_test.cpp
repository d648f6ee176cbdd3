// SPDX-License-Identifier: MIT
// Temporary files: made, filled, read back, removed.
#include "emlcomm/temp_file.h"

#include <gtest/gtest.h>

#include <cstring>

#include "emlcontent/field_finders.h"
#include "support/filter_fixture.h"

namespace {

using eml::RawLineEnd;
using eml::ReadBack;
using eml::TempFile;

struct TempFileTest : testing::Test {
    TempFileTest() { f.load(""); }
    FilterFixture f;
    TempFile temp = {};
};

TEST_F(TempFileTest, OpensUnderATemporaryNameWithTheEnding) {
    ASSERT_TRUE(eml::openTempFile(&f.handle, temp, ".htm", "wb+"));
    EXPECT_STREQ(temp.name, "/tmp/t1.htm");
    EXPECT_TRUE(f.host.called("QOB_FileOpen /tmp/t1.htm wb+"));
    eml::discardTempFile(temp);
}

TEST_F(TempFileTest, TakesANameBoundToTheSession) {
    f.params.flags = EML_FLAG_BOUND_TMPNAM;
    ASSERT_TRUE(eml::openTempFile(&f.handle, temp, "", "wb"));
    EXPECT_STREQ(temp.name, "/tmp/b1");
    EXPECT_TRUE(f.host.called(std::string("QOB_ASC_tmpnam1 ") + kOutputName));
    eml::discardTempFile(temp);
}

TEST_F(TempFileTest, LeavesNothingWhenItCannotBeOpened) {
    for (const char *service : {"QOB_ASC_tmpnam", "QOB_FileOpen"}) {
        f.host.counts.clear();
        f.host.failCall(service, 1);
        EXPECT_FALSE(eml::openTempFile(&f.handle, temp, ".htm", "wb+")) << service;
        EXPECT_FALSE(temp.isOpen());
        EXPECT_FALSE(temp.exists());
        f.host.failures.clear();
    }
}

TEST_F(TempFileTest, RefusesANameOf4096Characters) {
    std::memset(temp.name, 'x', kPathSize - 5);
    EXPECT_TRUE(eml::openNamedFile(temp, ".htm", "wb"));
    EXPECT_EQ(std::strlen(temp.name), kPathSize - 1);
    eml::discardTempFile(temp);

    f.host.calls.clear();
    std::memset(temp.name, 'x', kPathSize - 4);
    EXPECT_FALSE(eml::openNamedFile(temp, ".htm", "wb"));
    EXPECT_FALSE(f.host.called("QOB_FileOpen"));
    EXPECT_FALSE(temp.exists());
}

TEST_F(TempFileTest, OutlivesItsHandleUntilDiscarded) {
    ASSERT_TRUE(eml::openTempFile(&f.handle, temp, "", "wb"));
    eml::closeTempFile(temp);
    eml::closeTempFile(temp);
    EXPECT_TRUE(temp.exists());
    EXPECT_EQ(f.host.files.count("/tmp/t1"), 1U);
    eml::discardTempFile(temp);
    eml::discardTempFile(temp);
    EXPECT_FALSE(temp.exists());
    EXPECT_EQ(f.host.removed, std::vector<std::string>{"/tmp/t1"});
}

TEST_F(TempFileTest, IsReadBackWhole) {
    f.host.files["/tmp/x"] = std::string("a\0b", 3);
    eml::Buffer text;
    uint32_t length = 0;
    EXPECT_EQ(eml::readWholeFile("/tmp/x", text, length), ReadBack::kDone);
    EXPECT_EQ(std::string(text.get(), length), std::string("a\0b", 3));
    EXPECT_EQ(f.host.openFiles(), 2);
}

TEST_F(TempFileTest, ReadBackEmptyGivesNoText) {
    f.host.files["/tmp/x"] = "";
    eml::Buffer text;
    uint32_t length = 7;
    EXPECT_EQ(eml::readWholeFile("/tmp/x", text, length), ReadBack::kDone);
    EXPECT_EQ(text, nullptr);
    EXPECT_EQ(length, 0U);
}

TEST_F(TempFileTest, ReadBackTellsWhatFailed) {
    struct Row {
        const char *service;
        ReadBack result;
    };
    for (const Row &row :
         {Row{"QOB_FileOpen", ReadBack::kNotOpened}, Row{"QOB_malloc", ReadBack::kNoBuffer},
          Row{"QOB_FileTell", ReadBack::kDone}}) {
        f.host.files["/tmp/x"] = "abc";
        f.host.counts.clear();
        f.host.failCall(row.service, 1);
        eml::Buffer text;
        uint32_t length = 7;
        EXPECT_EQ(eml::readWholeFile("/tmp/x", text, length), row.result) << row.service;
        EXPECT_EQ(text, nullptr);
        EXPECT_EQ(length, 0U);
        EXPECT_EQ(f.host.openFiles(), 2);
        f.host.failures.clear();
    }
}

TEST_F(TempFileTest, FlushOfAFileNeverMadeIsNothing) {
    EXPECT_EQ(eml::flushCollectedText(&f.handle, temp), ReadBack::kDone);
    EXPECT_FALSE(f.host.called("QOB_FileOpen"));
    EXPECT_TRUE(f.host.removed.empty());
}

TEST_F(TempFileTest, FlushConvertsTheTextAndRemovesTheFile) {
    ASSERT_TRUE(eml::openTempFile(&f.handle, temp, "", "wb"));
    QOB_FileWrite("text", 1, 4, temp.file);
    std::strcpy(f.handle.charsetName, "ChineseGBK");
    EXPECT_EQ(eml::flushCollectedText(&f.handle, temp), ReadBack::kDone);
    EXPECT_EQ(f.output(), "text");
    EXPECT_EQ(f.host.conversions.at(0).source, "ChineseGBK");
    EXPECT_EQ(f.host.files.count("/tmp/t1"), 0U);
    EXPECT_FALSE(temp.exists());
}

TEST_F(TempFileTest, TakesALineInItsEncoding) {
    struct Row {
        const char *promise;
        const char *line;
        int32_t encoding;
        RawLineEnd lineEnd;
        const char *content;
    };
    const Row rows[] = {
        {"raw", "ab", 0, RawLineEnd::kNone, "ab"},
        {"raw with a line end", "ab", EML_TE_OTHER, RawLineEnd::kAdd, "ab\n"},
        {"base64 gets no line end", "QUJD", EML_TE_BASE64, RawLineEnd::kAdd, "ABC"},
        {"quoted-printable has its own", "=41", EML_TE_QUOTED_PRINTABLE, RawLineEnd::kAdd, "A\n"},
    };
    for (const Row &row : rows) {
        SCOPED_TRACE(row.promise);
        TempFile target = {};
        ASSERT_TRUE(eml::openTempFile(&f.handle, target, "", "wb"));
        f.handle.lineLength = static_cast<int32_t>(std::strlen(row.line));
        f.handle.lineEndSeen = 1;
        const eml::LineDecoding decoding =
            eml::decodeLine(&f.handle, row.line, row.encoding, target.file, row.lineEnd);
        EXPECT_EQ(decoding.code, EML_OK);
        EXPECT_EQ(decoding.raw, eml::RawWrite::kWhole);
        EXPECT_EQ(f.host.files[target.name], row.content);
        eml::discardTempFile(target);
    }
}

TEST_F(TempFileTest, TellsAShortWriteFromNoneAtAll) {
    ASSERT_TRUE(eml::openTempFile(&f.handle, temp, "", "wb"));
    f.host.failWritesTo("t1", 1);
    f.host.shortWriteLength = 1;
    const auto shorter = eml::decodeLine(&f.handle, "ab", 0, temp.file, RawLineEnd::kNone);
    EXPECT_EQ(shorter.raw, eml::RawWrite::kPart);

    f.host.failWritesTo("t1", 1);
    f.host.shortWriteLength = 0;
    const auto none = eml::decodeLine(&f.handle, "ab", 0, temp.file, RawLineEnd::kNone);
    EXPECT_EQ(none.raw, eml::RawWrite::kNothing);
    eml::discardTempFile(temp);
}

TEST_F(TempFileTest, NullFileTakesNothingAndIsNoShortWrite) {
    for (const int32_t encoding :
         {int32_t{0}, int32_t{EML_TE_BASE64}, int32_t{EML_TE_QUOTED_PRINTABLE}}) {
        const auto decoding =
            eml::decodeLine(&f.handle, "QUJD", encoding, nullptr, RawLineEnd::kAdd);
        EXPECT_EQ(decoding.code, EML_OK);
        EXPECT_EQ(decoding.raw, eml::RawWrite::kWhole) << encoding;
    }
}

TEST_F(TempFileTest, MetaElementOfTheLongestCharset) {
    ASSERT_TRUE(eml::openTempFile(&f.handle, temp, "", "wb"));
    const std::string charset(kPartCharsetSize - 1, 'c');
    eml::writeMetaTag(temp.file, charset, false);
    EXPECT_EQ(f.host.files["/tmp/t1"], "<META CONTENT=\"text/html;charset=" + charset + "\">");
    eml::discardTempFile(temp);
}

TEST_F(TempFileTest, MetaElementStopsBehindTheFirstTagOnlyWhenAsked) {
    ASSERT_TRUE(eml::openTempFile(&f.handle, temp, "", "wb"));
    eml::writeMetaTag(temp.file, "a>b", true);
    eml::writeMetaTag(temp.file, "a>b", false);
    EXPECT_EQ(f.host.files["/tmp/t1"], "<META CONTENT=\"text/html;charset=a>"
                                       "<META CONTENT=\"text/html;charset=a>b\">");
    eml::discardTempFile(temp);
}

TEST_F(TempFileTest, InsertionWithoutAModeGivesTheCallersResult) {
    f.handle.fileMode = 0;
    EXPECT_EQ(eml::insertFileText(&f.handle, "/tmp/x", &f.params, 5), 5);
    EXPECT_TRUE(f.host.inserts.empty());
}

} // namespace
