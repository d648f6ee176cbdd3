// SPDX-License-Identifier: MIT
// Bodies without a boundary that are not HTML: plain text, and bodies of an unknown type.
#include <gtest/gtest.h>

#include "support/text_body.h"

namespace {

TEST(SinglePart, PlainTextIsDecodedAndItsLinesAreJoined) {
    const BodyRow rows[] = {
        {"lines of a paragraph", 0, "a\r\nb\r\n", "ab"},
        {"an empty line breaks them", EML_TE_OTHER, "a\r\nb\r\n\r\nc\r\n", "ab\nc"},
        {"each empty line", 0, "\r\n\r\na\r\n\r\n\r\nb", "\n\na\n\nb"},
        {"a line of blanks is not empty", 0, "a\r\n \r\nb\r\n", "a b"},
        {"a dot is text", 0, "a\r\n.\r\nb\r\n", "a.b"},
        {"dashes are text", 0, "a\r\n--b\r\n", "a--b"},
        {"base64", EML_TE_BASE64, "aGVs\r\nbG8=\r\n\r\n", "hello\n"},
        {"base64 lines are joined", EML_TE_BASE64, "QUJD\r\nREVG\r\n", "ABCDEF"},
        {"quoted-printable keeps its line ends", EML_TE_QUOTED_PRINTABLE,
         "a=3Db=\r\nc\r\n\r\nd\r\n", "a=bc\n\nd\n"},
        {"quoted-printable without a last line end", EML_TE_QUOTED_PRINTABLE, "a\r\nb", "a\n"},
    };
    for (const BodyRow &row : rows) {
        SCOPED_TRACE(row.promise);
        TextBodyFixture f({.encoding = row.encoding});
        EXPECT_EQ(f.read(row.body), EML_OK);
        EXPECT_EQ(f.output(), row.text);
        EXPECT_EQ(f.leftovers(), std::vector<std::string>());
        EXPECT_EQ(f.host.removed, std::vector<std::string>{"/tmp/t1"});
    }
}

TEST(SinglePart, PlainTextIsConvertedInOnePiece) {
    // The two bytes of e-acute stand on two base64 lines.
    TextBodyFixture f({.encoding = EML_TE_BASE64, .charset = "gb2312"});
    EXPECT_EQ(f.read("YWLD\r\nqWNk\r\n"), EML_OK);
    const auto conversions = f.textConversions();
    ASSERT_EQ(conversions.size(), 1U);
    EXPECT_EQ(conversions[0].source, "ChineseGBK");
    EXPECT_EQ(conversions[0].input, "ab\xC3\xA9"
                                    "cd");
    EXPECT_EQ(f.handle.textWritten, 1U);
}

TEST(SinglePart, PlainTextGoesToTheStream) {
    TextBodyFixture f({});
    f.useStream();
    EXPECT_EQ(f.read("a\r\nb\r\n\r\nc\r\n"), EML_OK);
    EXPECT_EQ(f.output(), "ab\nc");
    EXPECT_EQ(f.leftovers(), std::vector<std::string>());
}

TEST(SinglePart, TemporaryNameIsBoundToTheSessionWhenAsked) {
    for (const bool stream : {false, true}) {
        TextBodyFixture f({});
        if (stream) {
            f.useStream();
        }
        f.params.flags |= EML_FLAG_BOUND_TMPNAM;
        EXPECT_EQ(f.read("a\r\n"), EML_OK);
        EXPECT_TRUE(f.host.called(std::string("QOB_ASC_tmpnam1 ") + f.session.path));
        EXPECT_EQ(f.host.count("QOB_ASC_tmpnam"), 0);
        EXPECT_TRUE(f.host.called("QOB_FileOpen /tmp/b1 wb"));
        EXPECT_EQ(f.output(), "a");
    }
}

TEST(SinglePart, TextInAnUnknownCharsetIsLeftOut) {
    TextBodyFixture f({.charset = "x-none"});
    f.host.unknownCharsets = {"x-none"};
    EXPECT_EQ(f.read("a\r\n"), EML_OK);
    EXPECT_EQ(f.output(), "");
    EXPECT_EQ(f.handle.textWritten, 0U);
    EXPECT_EQ(f.leftovers(), std::vector<std::string>());
}

TEST(SinglePart, ReachedLimitCutsTheText) {
    TextBodyFixture f({});
    f.setLimit(3);
    EXPECT_EQ(f.read("abcdef\r\n"), EML_OK);
    EXPECT_EQ(f.output(), "abc");
    EXPECT_EQ(f.handle.limitReached, 1U);
}

TEST(SinglePart, OtherTypesGiveNoText) {
    for (const int32_t type :
         {EML_CT_APPLICATION, EML_CT_MULTIPART_ALTERNATIVE, EML_CT_MULTIPART_RELATED,
          EML_CT_MULTIPART_REPORT, EML_CT_IMAGE_JPEG, EML_CT_IMAGE_GIF, EML_CT_MULTIPART_DIGEST}) {
        TextBodyFixture f({.contentType = type, .encoding = EML_TE_BASE64});
        EXPECT_EQ(f.read("QUJD\r\n\r\nREVG\r\n"), EML_OK);
        EXPECT_EQ(f.output(), "") << type;
        EXPECT_EQ(f.leftovers(), std::vector<std::string>());
        EXPECT_EQ(f.handle.blockPos, f.handle.blockLength);
    }
}

TEST(SinglePart, LongLinesAndNulBytesAreKept) {
    using namespace std::string_literals;
    for (const size_t length : {2046U, 2047U, 2048U, 4000U, 16000U}) {
        TextBodyFixture f({});
        EXPECT_EQ(f.read(std::string(length, 'x') + "\r\ny\r\n"), EML_OK);
        EXPECT_EQ(f.output(), std::string(length, 'x') + "y") << length;
    }
    TextBodyFixture f({});
    f.host.stripControlCodes = false;
    EXPECT_EQ(f.read("a\0b\r\n\0\r\nc"s), EML_OK);
    EXPECT_EQ(f.output(), "a\0b\0c"s);
}

// The text of a whole message with this plain body.
std::string textOf(const std::string &body, const char *header = "") {
    const std::string written = "From: a\n\n\nContent: \n";
    ScriptedHost host;
    const Extraction e = extractToFile(host, defaultParams(),
                                       std::string("From: a\r\nContent-Type: text/plain\r\n") +
                                           header + "\r\n" + body);
    EXPECT_EQ(e.code, EML_OK);
    EXPECT_EQ(e.text.substr(0, written.size()), written);
    EXPECT_EQ(host.filesBut({kInputName, kOutputName}), std::vector<std::string>());
    EXPECT_EQ(host.liveAllocations(), 0U);
    EXPECT_EQ(host.openFiles(), 0);
    return e.text.substr(written.size());
}

TEST(SinglePart, OfManyBlocksComesOutWhole) {
    std::string body;
    std::string text;
    for (int i = 0; i < 900; ++i) {
        const std::string line = std::to_string(1000 + i) + std::string(94, 'x');
        body += line + "\r\n";
        text += line;
    }
    EXPECT_TRUE(textOf(body) == text);
}

TEST(SinglePart, BlockEndInsideALineIsNotSeen) {
    const std::string line(3000, 'x');
    const std::string body = std::string(static_cast<size_t>(kBlockSize) - 1000, 'y') + line;
    EXPECT_TRUE(textOf(body + "\r\n\r\nz\r\n") == body + "\nz");
}

TEST(SinglePart, LineEndAtTheBeginningOfABlockIsAnEmptyLine) {
    // The line ran into the end of its block, so nothing tells that this is its line end.
    const std::string block(static_cast<size_t>(kBlockSize), 'x');
    EXPECT_TRUE(textOf(block + "\r\ny\r\n") == block + "\ny");
}

TEST(SinglePart, Base64LineCutByABlockEndIsDecodedInTwo) {
    // Both pieces are whole groups, as those of lines of 76 characters mostly are.
    std::string body;
    std::string text;
    for (int i = 0; i < 500; ++i) {
        for (int group = 0; group < 19; ++group) {
            body += "QUJD";
            text += "ABC";
        }
        body += "\r\n";
    }
    EXPECT_TRUE(textOf(body, "Content-Transfer-Encoding: base64\r\n") == text);
}

constexpr BodyHead kUntyped = {.contentType = EML_CT_OTHER};

TEST(UntypedBody, GoesIntoTheOutputUnconverted) {
    const BodyRow rows[] = {
        {"raw lines, joined", 0, "a\r\nb\r\n\r\nc\r\n", "abc"},
        {"another encoding", EML_TE_OTHER, "a\r\nb\r\n", "ab"},
        {"base64", EML_TE_BASE64, "QUJD\r\n\r\nREVG\r\n", "ABCDEF"},
        {"quoted-printable", EML_TE_QUOTED_PRINTABLE, "a=3D=\r\nb\r\n\r\nc\r\n", "a=b\nc\n"},
        {"empty lines", 0, "\r\n\r\n", ""},
    };
    for (const BodyRow &row : rows) {
        SCOPED_TRACE(row.promise);
        TextBodyFixture f({.contentType = EML_CT_OTHER, .encoding = row.encoding});
        f.host.convert = [](const std::string &, const std::string &) { return std::string("?"); };
        EXPECT_EQ(f.read(row.body), EML_OK);
        EXPECT_EQ(f.output(), row.text);
        EXPECT_TRUE(f.textConversions().empty());
        EXPECT_EQ(f.leftovers(), std::vector<std::string>());
    }
}

TEST(UntypedBody, KeepsNulBytes) {
    using namespace std::string_literals;
    TextBodyFixture f(kUntyped);
    EXPECT_EQ(f.read("a\0b\r\n\0\r\n"s), EML_OK);
    EXPECT_EQ(f.output(), "a\0b\0"s);
}

TEST(UntypedBody, IsOutsideTheLimit) {
    TextBodyFixture f(kUntyped);
    f.setLimit(1);
    EXPECT_EQ(f.read("abc\r\n"), EML_OK);
    EXPECT_EQ(f.output(), "abc");
    EXPECT_EQ(f.handle.outputCount, 0U);
}

TEST(UntypedBody, OpensTheOutputWhenItIsNotYet) {
    TextBodyFixture f(kUntyped);
    QOB_FileClose(f.handle.outputFile);
    f.handle.outputFile = nullptr;
    f.load("abc\r\n");
    EXPECT_EQ(EMLReadContent(&f.handle), EML_OK);
    EXPECT_TRUE(f.host.called(std::string("QOB_FileOpen ") + kOutputName + " wb"));
    EXPECT_EQ(f.output(), "abc");
}

TEST(UntypedBody, GoesRawIntoTheStreamLineByLine) {
    TextBodyFixture f(kUntyped);
    f.useStream();
    EXPECT_EQ(f.read("ab\r\nc\r\n"), EML_OK);
    EXPECT_EQ(f.output(), "abc");
    EXPECT_TRUE(f.host.called("QOB_WriteStream 2"));
    EXPECT_TRUE(f.host.called("QOB_WriteStream 1"));
}

TEST(UntypedBody, EncodedHasNoFileToGoToInStreamMode) {
    for (const int32_t encoding : {EML_TE_BASE64, EML_TE_QUOTED_PRINTABLE}) {
        TextBodyFixture f({.contentType = EML_CT_OTHER, .encoding = encoding});
        f.useStream();
        EXPECT_EQ(f.read("QUJD\r\n"), EML_OK);
        EXPECT_EQ(f.output(), "");
    }
}

} // namespace
