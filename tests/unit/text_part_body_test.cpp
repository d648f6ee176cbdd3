// SPDX-License-Identifier: MIT
// A text part of a mixed message: what becomes of its body lines.
#include "support/text_walker_fixture.h"

namespace {

// A part whose header is already over but for the empty line.
struct BodyFixture : TextWalkerFixture {
    explicit BodyFixture(int32_t type = EML_CT_TEXT_PLAIN, int32_t encoding = 0) {
        std::strcpy(handle.boundary, "edge");
        handle.partContentType = type;
        handle.partTransferEncoding = encoding;
        setCharset("UTF-8");
    }
    int32_t walkBody(std::string_view body) {
        return walk(Mix_Content_OnePart, "\r\n" + std::string(body));
    }
};

enum class Fate { kEndsThePart, kIsIgnored, kIsText };

struct BoundaryRow {
    std::string line;
    Fate fate;
};

const BoundaryRow kBoundaryRows[] = {
    {"--edge", Fate::kEndsThePart},
    {"--edge--", Fate::kEndsThePart},
    {"--edge-- trailing", Fate::kEndsThePart},
    {"--edge -", Fate::kEndsThePart},
    {"xyedge", Fate::kEndsThePart},
    {std::string("--edge\0more", 11), Fate::kEndsThePart},
    {"--edge-", Fate::kIsIgnored},
    {"--edge ", Fate::kIsIgnored},
    {"--edge2", Fate::kIsIgnored},
    {"--edge and on", Fate::kIsIgnored},
    {"--EDGE", Fate::kIsText},
    {"--edg", Fate::kIsText},
    {" --edge", Fate::kIsText},
    {"edge", Fate::kIsText},
    {"--", Fate::kIsText},
    {"-", Fate::kIsText},
};

TEST(TextPartBody, EndsAtItsBoundaryOnly) {
    for (const BoundaryRow &row : kBoundaryRows) {
        SCOPED_TRACE(row.line);
        BodyFixture f;
        EXPECT_EQ(f.walkBody(crlf({row.line, "more", "--edge", "rest"})), EML_OK);
        const bool ends = row.fate == Fate::kEndsThePart;
        const std::string written = row.fate == Fate::kIsText ? row.line + "\n" : "";
        EXPECT_EQ(f.output(), ends ? "\n" : "\n" + written + "more\n");
        EXPECT_EQ(f.unread(), ends ? crlf({"more", "--edge", "rest"}) : crlf({"rest"}));
        f.expectNothingLeft();
    }
}

TEST(TextPartBody, DropsDescriptionLines) {
    BodyFixture f;
    EXPECT_EQ(f.walkBody(crlf({"Content-description: x", "CONTENT-DESCRIPTION:y",
                               " Content-description: z", "Content-description", "--edge"})),
              EML_OK);
    EXPECT_EQ(f.output(), "\n Content-description: z\nContent-description\n");
}

TEST(TextPartBody, OfPlainTextIsWrittenLineByLine) {
    BodyFixture f;
    EXPECT_EQ(f.walkBody(crlf({"one", "", "  two ", "--edge"})), EML_OK);
    EXPECT_EQ(f.output(), "\none\n\n  two \n");
    EXPECT_EQ(f.host.count("QOB_ASC_tmpnam"), 0);
    f.expectNothingLeft();
}

TEST(TextPartBody, OfUnencodedPlainTextIsConvertedFromThePartsCharset) {
    BodyFixture f;
    f.setCharset("KoreanKSC");
    f.host.convert = [](const std::string &source, const std::string &input) {
        return std::optional<std::string>(source.substr(0, 1) + input);
    };
    EXPECT_EQ(f.walkBody(crlf({"x", "--edge"})), EML_OK);
    EXPECT_EQ(f.output(), "\nKx\n");
}

TEST(TextPartBody, LosesOnlyTheLineThatCannotBeConverted) {
    BodyFixture f;
    f.host.convert = [](const std::string & /*source*/, const std::string &input) {
        return input == "bad" ? std::nullopt : std::optional<std::string>(input);
    };
    EXPECT_EQ(f.walkBody(crlf({"a", "bad", "b", "--edge"})), EML_OK);
    EXPECT_EQ(f.output(), "\na\n\nb\n");
}

TEST(TextPartBody, OfBase64IsConvertedInOnePieceAtTheBoundary) {
    BodyFixture f(EML_CT_TEXT_PLAIN, EML_TE_BASE64);
    // "a" and a three-byte character split across the two lines, then "b".
    EXPECT_EQ(f.walkBody(crlf({"YeOB", "gmI=", "", "--edge", "rest"})), EML_OK);
    int pieces = 0;
    for (const ConversionCall &call : f.host.conversions) {
        if (call.record.textConversion == 1) {
            ++pieces;
            EXPECT_EQ(call.input, "a\xE3\x81\x82"
                                  "b");
            EXPECT_EQ(call.source, "UTF-8");
        }
    }
    EXPECT_EQ(pieces, 1);
    // Line ends of the body are written before the text, which comes at the boundary.
    EXPECT_EQ(f.output(), "\n\na\xE3\x81\x82"
                          "b");
    EXPECT_EQ(f.unread(), "rest\r\n");
    EXPECT_EQ(f.handle.textWritten, 1U);
    f.expectNothingLeft();
}

TEST(TextPartBody, OfQuotedPrintableIsCollectedAndWrittenAtTheBoundary) {
    BodyFixture f(EML_CT_TEXT_PLAIN, EML_TE_QUOTED_PRINTABLE);
    EXPECT_EQ(f.walkBody(crlf({"caf=C3=", "=A9", "", "end", "--edge--", "rest"})), EML_OK);
    EXPECT_EQ(f.output(), "\n\ncaf\xC3\xA9|end|");
    EXPECT_EQ(f.unread(), "rest\r\n");
    f.expectNothingLeft();
}

TEST(TextPartBody, OpensTheCollectingFileOnFirstNeed) {
    BodyFixture f(EML_CT_TEXT_PLAIN, EML_TE_BASE64);
    EXPECT_EQ(f.walkBody(crlf({"", "", "--edge"})), EML_OK);
    EXPECT_EQ(f.host.count("QOB_ASC_tmpnam"), 0);
    EXPECT_EQ(f.output(), "\n\n\n");
    f.expectNothingLeft();
}

TEST(TextPartBody, KeepsOneCollectingFileOverASecondTransferEncodingLine) {
    BodyFixture f(EML_CT_TEXT_PLAIN, EML_TE_BASE64);
    EXPECT_EQ(f.walkBody(crlf({"QUJD", "Content-Transfer-Encoding: back to the header",
                               "Content-Transfer-Encoding: base64", "", "REVG", "--edge"})),
              EML_OK);
    EXPECT_EQ(f.host.count("QOB_ASC_tmpnam"), 1);
    EXPECT_EQ(f.output(), "\nABCDEF");
    f.expectNothingLeft();
}

TEST(TextPartBody, RemovesACollectingFileThatANewEncodingLeftUnflushed) {
    BodyFixture f(EML_CT_TEXT_PLAIN, EML_TE_BASE64);
    EXPECT_EQ(f.walkBody(crlf({"QUJD", "Content-Transfer-Encoding: back to the header",
                               "Content-Transfer-Encoding: 7bit", "", "raw", "--edge"})),
              EML_OK);
    EXPECT_EQ(f.output(), "\nraw\n");
    EXPECT_EQ(f.host.removed, std::vector<std::string>{"/tmp/t1"});
    f.expectNothingLeft();
}

TEST(TextPartBody, OfAnotherTypeIsIgnored) {
    BodyFixture f(EML_CT_IMAGE_GIF);
    EXPECT_EQ(f.walkBody(crlf({"a", "", "b", "--edge", "rest"})), EML_OK);
    EXPECT_EQ(f.output(), "");
    EXPECT_EQ(f.unread(), "rest\r\n");
}

struct HtmlRow {
    const char *promise;
    int32_t encoding;
    std::string body;
    const char *output;
};

const HtmlRow kHtmlRows[] = {
    {"raw lines are joined without line ends", 0, crlf({"<p>a", "b</p>", "--edge"}),
     "\n{<HTML><p>ab</p>}"},
    {"empty lines go to the output, not into the file", 0,
     crlf({"<p>a", "", "", "b</p>", "--edge--"}), "\n\n\n{<HTML><p>ab</p>}"},
    {"the opening is written even when the document brings its own", 0,
     crlf({"<HTML><BODY>", "--edge"}), "\n{<HTML><HTML><BODY>}"},
    {"base64", EML_TE_BASE64, crlf({"PGI+", "--edge"}), "\n{<HTML><b>}"},
    {"quoted-printable", EML_TE_QUOTED_PRINTABLE, crlf({"=3Cb=", "=3E", "x", "--edge"}),
     "\n{<HTML><b>|x|}"},
    {"a part without body lines but the first empty one", 0, crlf({"--edge"}), "\n{<HTML>}"},
};

TEST(TextPartBody, OfHtmlIsCollectedBehindTheOpeningTagAlone) {
    for (const HtmlRow &row : kHtmlRows) {
        SCOPED_TRACE(row.promise);
        BodyFixture f(EML_CT_TEXT_HTML, row.encoding);
        std::strcpy(f.handle.partCharset, "shift_jis"); // never reaches the file
        EXPECT_EQ(f.walkBody(row.body), EML_OK);
        EXPECT_EQ(f.output(), row.output);
        EXPECT_TRUE(f.host.called("QOB_FileOpen /tmp/t1.htm wb+"));
        f.expectNothingLeft();
    }
}

TEST(TextPartBody, OfHtmlWithoutAnyLineIsAnEmptyFile) {
    BodyFixture f(EML_CT_TEXT_HTML);
    EXPECT_EQ(f.walk(Mix_Content_OnePart,
                     crlf({"Content-Transfer-Encoding: 7bit", "", "--edge", "rest"})),
              EML_OK);
    EXPECT_EQ(f.output(), "{}");
    EXPECT_EQ(f.unread(), "rest\r\n");
}

TEST(TextPartBody, PassesOverTheOutputLimit) {
    BodyFixture f;
    f.setLimit(4);
    EXPECT_EQ(f.walkBody(crlf({"Hello", "World", "--edge", "rest"})), EML_OK);
    EXPECT_EQ(f.output(), "\nHel");
    EXPECT_EQ(f.handle.limitReached, 1U);
    EXPECT_EQ(f.unread(), "rest\r\n");
}

TEST(TextPartBody, TakesLongLinesInPiecesOf2047Bytes) {
    const struct {
        size_t length;
        std::vector<size_t> pieces;
    } kRows[] = {{2046, {2046}}, {2047, {2047}}, {2048, {2047, 1}}, {4000, {2047, 1953}}};
    for (const auto &row : kRows) {
        SCOPED_TRACE(row.length);
        std::string expected = "\n";
        for (const size_t piece : row.pieces) {
            expected += std::string(piece, 'x') + "\n";
        }
        BodyFixture f;
        EXPECT_EQ(f.walkBody(crlf({std::string(row.length, 'x'), "--edge"})), EML_OK);
        EXPECT_EQ(f.output(), expected);
    }
}

TEST(TextPartBody, KeepsBytesBehindANul) {
    BodyFixture f;
    EXPECT_EQ(f.walkBody(crlf({std::string_view("a\0b", 3), std::string_view("\0", 1), "--edge"})),
              EML_OK);
    EXPECT_EQ(f.output(), "\nab\n\n"); // the host's control-code stripping dropped the NULs
}

TEST(TextPartBody, MovesTheBlockSoThatNoShortLineIsCut) {
    // Lines of 77 bytes, at every offset to the block's end.
    for (size_t offset = 0; offset < 79; ++offset) {
        std::string body;
        std::string expected = "\n";
        const auto add = [&body, &expected](const std::string &line) {
            body += line + "\r\n";
            expected += line + "\n";
        };
        for (int i = 0; i < 8; ++i) {
            add(std::string(1900, 'f'));
        }
        add(std::string(offset, 'o'));
        for (int i = 0; i < 20; ++i) {
            std::string line = std::to_string(i) + ":";
            line.resize(77, 'x');
            add(line);
        }
        BodyFixture f;
        ASSERT_EQ(f.walkBody(body + "--edge\r\nrest"), EML_OK);
        ASSERT_EQ(f.output(), expected) << "offset " << offset;
        EXPECT_EQ(f.unread(), "rest");
        EXPECT_EQ(f.handle.lastBlock, 0); // the walkers leave it alone
    }
}

TEST(TextPartBody, FailsWith3000WhenTheNextBlockCannotBeHad) {
    BodyFixture f(EML_CT_IMAGE_GIF);
    f.load("\r\n" + std::string(17000, '\n') + "--edge\r\n");
    f.host.failCall("QOB_malloc", 1);
    EXPECT_EQ(Mix_Content_OnePart(&f.handle), 3000);
    EXPECT_EQ(f.handle.readBuffer, nullptr);
    EXPECT_EQ(Mix_Content_OnePart(&f.handle), 3000);
    f.expectNothingLeft();
}

} // namespace
