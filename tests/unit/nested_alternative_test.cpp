// SPDX-License-Identifier: MIT
// An alternative inside another multipart: which alternative reaches the output, and where the walk
// ends.
#include "support/text_walker_fixture.h"

namespace {

struct NestedFixture : TextWalkerFixture {
    NestedFixture() {
        std::strcpy(handle.boundary, "outer");
        std::strcpy(handle.partBoundary, "inner");
        handle.partContentType = EML_CT_MULTIPART_ALTERNATIVE;
        setCharset("ISO-8859-1");
    }
};

std::string plainPart(std::string_view text, std::string_view encoding = "7bit") {
    return crlf({"--inner", "Content-Type: text/plain; charset=utf-8",
                 "Content-Transfer-Encoding: " + std::string(encoding), ""}) +
           std::string(text);
}
std::string htmlPart(std::string_view text, std::string_view encoding = "7bit") {
    return crlf({"--inner", "Content-Type: text/html; charset=utf-8",
                 "Content-Transfer-Encoding: " + std::string(encoding), ""}) +
           std::string(text);
}
std::string otherPart(std::string_view type) {
    return crlf({"--inner", "Content-Type: " + std::string(type), "", "data"});
}
const std::string kClose = crlf({"--inner--", "consumed", "rest"});

struct Row {
    const char *promise;
    std::string parts;
    const char *output;
};

const Row kAlternativeRows[] = {
    {"plain text alone is written", plainPart("a\r\n\r\nb\r\n"), "a||b|"},
    {"HTML alone is handed over", htmlPart("<html>\r\n"), "{<html>}"},
    {"plain text gives way to the HTML behind it", plainPart("a\r\n") + htmlPart("<html>\r\n"),
     "{<html>}"},
    {"HTML first: both reach the output", htmlPart("<html>\r\n") + plainPart("a\r\n"),
     "{<html>}a|"},
    {"plain, HTML, plain: the second plain text counts",
     plainPart("a\r\n") + htmlPart("<html>\r\n") + plainPart("b\r\n"), "{<html>}b|"},
    {"a second plain alternative takes the place of the first",
     plainPart("a\r\n") + plainPart("b\r\n"), "b|"},
    {"every HTML alternative is handed over", htmlPart("<html>1\r\n") + htmlPart("<html>2\r\n"),
     "{<html>1}{<html>2}"},
    {"a part of an unknown type in between changes nothing",
     plainPart("a\r\n") + otherPart("audio/wav"), "a|"},
    {"plain base64", plainPart("YeOB\r\ngmI=\r\n\r\n", "base64"),
     "a\xE3\x81\x82"
     "b|"},
    {"plain quoted-printable", plainPart("a=\r\nb=3D\r\n", "quoted-printable"), "ab=|"},
    {"HTML base64", htmlPart("PGI+\r\n\r\n", "base64"), "{<HTML><b>|}"},
    {"HTML quoted-printable", htmlPart("=3Cb=\r\n=3E\r\n", "quoted-printable"), "{<HTML><b>|}"},
    {"raw HTML lines are joined", htmlPart("<html>\r\n<p>a\r\nb\r\n\r\nc\r\n"), "{<html><p>ab|c}"},
    {"an empty plain alternative", plainPart(""), ""},
    {"an empty HTML alternative is an empty file", htmlPart(""), "{}"},
    {"no alternative at all", "", ""},
};

TEST(NestedAlternative, DecidesWhatReachesTheOutput) {
    for (const Row &row : kAlternativeRows) {
        SCOPED_TRACE(row.promise);
        for (const bool stream : {false, true}) {
            NestedFixture f;
            if (stream) {
                f.useStream();
            }
            EXPECT_EQ(f.walk(Mix_Content_alter, row.parts + kClose), EML_OK);
            EXPECT_EQ(f.output(), row.output);
            EXPECT_EQ(f.unread(), "rest\r\n");
            EXPECT_EQ(f.handle.inNestedPart, 1);
            f.expectNothingLeft();
        }
    }
}

TEST(NestedAlternative, RemovesThePlainTextWhenTheHtmlTypeLineIsSeen) {
    NestedFixture f;
    EXPECT_EQ(f.walk(Mix_Content_alter,
                     plainPart("a\r\n") + crlf({"--inner", "Content-Type: text/html"})),
              EML_OK);
    EXPECT_EQ(f.host.removed, std::vector<std::string>{"/tmp/t1"});
    EXPECT_EQ(f.output(), "");
}

const Row kPrefixRows[] = {
    {"a document that begins with its own tag", htmlPart("<HTML>x\r\n"), "{<HTML>x}"},
    {"in any case, with attributes", htmlPart("<hTmL lang=x>\r\n"), "{<hTmL lang=x>}"},
    {"a document that begins otherwise", htmlPart("<p>\r\n"), "{<HTML><p>}"},
    {"a blank before the tag", htmlPart(" <html>\r\n"), "{<HTML> <html>}"},
    {"an empty first line", htmlPart("\r\n<html>\r\n"), "{<HTML>|<html>}"},
    {"encoded text is not looked into", htmlPart("PEhUTUw+\r\n\r\n", "base64"), "{<HTML><HTML>|}"},
    {"only the first HTML alternative of a walk gets it", htmlPart("a\r\n") + htmlPart("b\r\n"),
     "{<HTML>a}{b}"},
};

TEST(NestedAlternative, PutsTheBareOpeningTagBeforeHtmlThatLacksIt) {
    for (const Row &row : kPrefixRows) {
        SCOPED_TRACE(row.promise);
        NestedFixture f;
        EXPECT_EQ(f.walk(Mix_Content_alter, row.parts + kClose), EML_OK);
        EXPECT_EQ(f.output(), row.output);
        EXPECT_TRUE(f.host.called("QOB_FileOpen /tmp/t1.htm wb+"));
    }
}

TEST(NestedAlternative, GoesOnWithHtmlBehindATransferEncodingLineInIt) {
    NestedFixture f;
    EXPECT_EQ(f.walk(Mix_Content_alter,
                     htmlPart("<html>\r\nContent-Transfer-Encoding: base64\r\n  raw\r\n") + kClose),
              EML_OK);
    // The line itself is not analysed; the lines below count from their first non-blank.
    EXPECT_EQ(f.output(), "{<html>raw}");
}

// ---- delimiters in a plain body ----

enum class Effect { kNone, kLeavesBody, kEndsWalk, kIsText };

struct DelimiterRow {
    std::string line;
    Effect effect;
};

const DelimiterRow kDelimiterRows[] = {
    {"--inner", Effect::kLeavesBody},  {"xxinner", Effect::kLeavesBody},
    {"--inner--", Effect::kEndsWalk},  {"xxinner--", Effect::kEndsWalk},
    {"--inner--x", Effect::kEndsWalk}, {"--innerx-", Effect::kEndsWalk},
    {"--inner-", Effect::kNone},       {"--inner x", Effect::kNone},
    {"--outer", Effect::kLeavesBody},  {"--outer--", Effect::kEndsWalk},
    {"--outer x", Effect::kNone},      {"--outer -", Effect::kEndsWalk},
    {"--INNER", Effect::kIsText},      {" --inner--", Effect::kIsText},
    {"--inne", Effect::kIsText},       {"-", Effect::kIsText},
};

TEST(NestedAlternative, TellsDelimitersByTheTextBehindTheBoundary) {
    for (const DelimiterRow &row : kDelimiterRows) {
        SCOPED_TRACE(row.line);
        NestedFixture f;
        EXPECT_EQ(f.walk(Mix_Content_alter,
                         plainPart("a\r\n") + crlf({row.line, "b", "--inner--", "", "rest"})),
                  EML_OK);
        std::string expected = "a|";
        if (row.effect == Effect::kIsText) {
            expected += row.line + "|";
        }
        if (row.effect == Effect::kIsText || row.effect == Effect::kNone) {
            expected += "b|";
        }
        EXPECT_EQ(f.output(), expected);
        // The line below the closing delimiter, here "b", is consumed with it.
        const bool ended = row.effect == Effect::kEndsWalk;
        EXPECT_EQ(f.unread(), ended ? crlf({"--inner--", "", "rest"}) : crlf({"rest"}));
        EXPECT_EQ(f.handle.inNestedPart, 1);
        f.expectNothingLeft();
    }
}

TEST(NestedAlternative, FindsDelimitersInAHeaderBehindBlanks) {
    NestedFixture f;
    EXPECT_EQ(f.walk(Mix_Content_alter,
                     plainPart("a\r\n") +
                         crlf({"--inner", "X-Header: y", "  --inner--", "consumed", "rest"})),
              EML_OK);
    EXPECT_EQ(f.output(), "a|");
    EXPECT_EQ(f.unread(), "rest\r\n");
}

TEST(NestedAlternative, IsNotEndedByAPlainOuterDelimiter) {
    NestedFixture f;
    EXPECT_EQ(f.walk(Mix_Content_alter,
                     htmlPart("<html>\r\n") + crlf({"--outer", "x", "", "y"}) + kClose),
              EML_OK);
    // The HTML file stays open, and what follows goes into it.
    EXPECT_EQ(f.output(), "{<html>x|y}");
    EXPECT_EQ(f.unread(), "rest\r\n");
}

TEST(NestedAlternative, TakesEveryLineForADelimiterWhileTheBoundaryIsEmpty) {
    NestedFixture f;
    f.handle.partBoundary[0] = '\0';
    EXPECT_EQ(f.walk(Mix_Content_alter, crlf({"--inner", "abc", "abc-", "consumed", "rest"})),
              EML_OK);
    EXPECT_EQ(f.unread(), "rest\r\n"); // the fourth character of "abc-" closed it
}

struct TypeRow {
    const char *type;
    const char *delimiter;
    bool left;
};

constexpr TypeRow kLastTypeRows[] = {
    {"image/jpeg", "--inner--", true},
    {"image/gif", "--inner--", true},
    {"message/rfc822", "--inner--", true},
    {"message/delivery-status", "--inner--", true},
    {"application/pdf", "--inner--", false},
    {"multipart/mixed", "--inner--", false},
    {"multipart/appledouble", "--inner--", false},
    {"image/png", "--inner--", false},
    {"image/gif", "--outer--", false},
    {"message/rfc822", "--outer--", false},
};

TEST(NestedAlternative, LeavesThePlainTextBehindWhenAnImageOrMessageEndsTheWalk) {
    for (const TypeRow &row : kLastTypeRows) {
        SCOPED_TRACE(std::string(row.type) + " " + row.delimiter);
        NestedFixture f;
        EXPECT_EQ(f.walk(Mix_Content_alter, plainPart("a\r\n") + otherPart(row.type) +
                                                crlf({row.delimiter, "consumed", "rest"})),
                  EML_OK);
        EXPECT_EQ(f.output(), row.left ? "" : "a|");
        EXPECT_EQ(f.unread(), "rest\r\n");
        if (row.left) {
            EXPECT_EQ(f.leftFiles(), std::vector<std::string>{"/tmp/t1"});
            EXPECT_EQ(f.host.files["/tmp/t1"], "a|");
            EXPECT_EQ(f.host.openFiles(), f.ownFiles() + 1); // not closed either
        } else {
            f.expectNothingLeft();
        }
    }
}

TEST(NestedAlternative, WritesThePlainTextThatATransferEncodingLineClosed) {
    NestedFixture f;
    EXPECT_EQ(
        f.walk(Mix_Content_alter, plainPart("a\r\n") +
                                      crlf({"--inner", "Content-Type: application/pdf",
                                            "Content-Transfer-Encoding: base64", "", "QUJD"}) +
                                      kClose),
        EML_OK);
    EXPECT_EQ(f.output(), "a|");
    f.expectNothingLeft();
}

// The encoding line of the part in between closes the text's file, so the HTML finds none to
// remove.
TEST(NestedAlternative, DropsPlainTextThatWasClosedBeforeTheHtmlThatEndsTheWalk) {
    const std::string between = crlf(
        {"--inner", "Content-Type: audio/wav", "Content-Transfer-Encoding: base64", "", "data"});
    for (const char *close : {"--inner--", "--outer--"}) {
        SCOPED_TRACE(close);
        NestedFixture f;
        EXPECT_EQ(f.walk(Mix_Content_alter, plainPart("a\r\n") + between + htmlPart("<html>\r\n") +
                                                crlf({close, "consumed", "rest"})),
                  EML_OK);
        EXPECT_EQ(f.output(), "{<html>}");
        f.expectNothingLeft();
    }
}

TEST(NestedAlternative, AtTheEndOfTheFileHandsOverHtmlAndDropsPlainText) {
    const Row kRows[] = {
        {"plain", plainPart("a\r\n"), ""},
        {"HTML", htmlPart("<html>\r\n"), "{<html>}"},
        {"HTML header only", htmlPart(""), "{}"},
        {"HTML, then a plain part", htmlPart("<html>\r\n") + plainPart("a\r\n"), "{<html>}"},
        {"nothing", "", ""},
    };
    for (const Row &row : kRows) {
        SCOPED_TRACE(row.promise);
        NestedFixture f;
        EXPECT_EQ(f.walk(Mix_Content_alter, row.parts), EML_OK);
        EXPECT_EQ(f.output(), row.output);
        EXPECT_EQ(f.handle.inNestedPart, 0);
        f.expectNothingLeft();
    }
}

TEST(NestedAlternative, ReadsPartsLongerThanABlock) {
    std::string body;
    std::string expected;
    for (int i = 0; i < 500; ++i) {
        const std::string line = std::to_string(i) + std::string(static_cast<size_t>(i % 75), 'x');
        body += line + "\r\n";
        expected += line + "|";
    }
    NestedFixture f;
    EXPECT_EQ(f.walk(Mix_Content_alter, plainPart(body) + kClose), EML_OK);
    EXPECT_EQ(f.output(), expected);
    EXPECT_EQ(f.handle.lastBlock, 0);
}

TEST(NestedAlternative, TakesLongLinesInPieces) {
    NestedFixture f;
    EXPECT_EQ(f.walk(Mix_Content_alter, plainPart(std::string(4000, 'x') + "\r\n") + kClose),
              EML_OK);
    EXPECT_EQ(f.output(), std::string(2047, 'x') + "|" + std::string(1953, 'x') + "|");
}

TEST(NestedAlternative, TakesABoundaryOfTheFieldsFullLength) {
    const std::string longest(79, 'b');
    NestedFixture f;
    std::strcpy(f.handle.partBoundary, longest.c_str());
    const std::string delimiter = "--" + longest;
    EXPECT_EQ(f.walk(Mix_Content_alter,
                     crlf({delimiter, "Content-Type: text/plain; charset=utf-8",
                           "Content-Transfer-Encoding: 7bit", "", "a", delimiter + "--", "", "x"})),
              EML_OK);
    EXPECT_EQ(f.output(), "a|");
}

} // namespace
