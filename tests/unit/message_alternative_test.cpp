// SPDX-License-Identifier: MIT
// A message that is an alternative itself: which alternative reaches the output, and where the walk
// ends.
#include "support/text_walker_fixture.h"

namespace {

constexpr int32_t kPlain = EML_CT_TEXT_PLAIN;
constexpr int32_t kHtml = EML_CT_TEXT_HTML;

struct MessageFixture : TextWalkerFixture {
    explicit MessageFixture(int32_t partType = kPlain) {
        std::strcpy(handle.boundary, "outer");
        std::strcpy(handle.partBoundary, "inner");
        handle.contentType = EML_CT_MULTIPART_ALTERNATIVE;
        handle.partContentType = partType;
        std::strcpy(handle.partCharset, "utf-8");
        setCharset("UTF-8");
    }
};

const std::string kMeta = meta("utf-8");
const std::string kEncoding = "Content-Transfer-Encoding: 7bit";
const std::string kPlainHeader = crlf({"Content-Type: text/plain; charset=utf-8", kEncoding, ""});
const std::string kHtmlHeader = crlf({"Content-Type: text/html; charset=utf-8", kEncoding, ""});
const std::string kFirst = crlf({kEncoding, "", "one"}); // of either type

struct Row {
    const char *promise;
    int32_t partType;
    std::string text;
    std::string output;
    std::string unread;
};

const Row kRows[] = {
    {"plain text alone is written at the closing delimiter", kPlain,
     kFirst + crlf({"--outer--", "rest"}), "one|", "rest\r\n"},
    {"HTML alone is handed over there", kHtml, kFirst + crlf({"--outer--", "rest"}),
     "{" + kMeta + "one}", "rest\r\n"},
    {"plain text that a message delimiter follows is dropped", kPlain,
     kFirst + crlf({"--outer"}) + kHtmlHeader + crlf({"two", "--outer--", "rest"}),
     "{" + kMeta + "two}", "rest\r\n"},
    {"plain text that an inner delimiter follows is dropped", kPlain,
     kFirst + crlf({"--inner"}) + kHtmlHeader + crlf({"two", "--inner--", "rest"}),
     "{" + kMeta + "two}", "rest\r\n"},
    {"of two plain texts the last counts", kPlain,
     kFirst + crlf({"--outer"}) + kPlainHeader + crlf({"two", "--outer--", "rest"}), "two|",
     "rest\r\n"},
    {"a message delimiter behind HTML ends the walk", kHtml,
     kFirst + crlf({"--outer"}) + kPlainHeader + crlf({"two", "--outer--"}), "{" + kMeta + "one}",
     kPlainHeader + crlf({"two", "--outer--"})},
    {"an inner delimiter behind HTML hands it over, and the walk goes on", kHtml,
     kFirst + crlf({"--inner"}) + kPlainHeader + crlf({"two", "--outer--", "rest"}),
     "{" + kMeta + "one}two|", "rest\r\n"},
    {"only the first HTML of a walk is declared", kHtml,
     kFirst + crlf({"--inner"}) + kHtmlHeader + crlf({"two", "--outer--", "rest"}),
     "{" + kMeta + "one}{two}", "rest\r\n"},
    {"HTML at an inner closing delimiter is handed over", kHtml,
     kFirst + crlf({"--inner--", "rest"}), "{" + kMeta + "one}", "rest\r\n"},
    {"behind a part of another type a message delimiter is read over, and does not end the body",
     kPlain,
     crlf({"Content-Type: image/gif", "", "x", "--outer"}) + kPlainHeader +
         crlf({"two", "--outer--", "rest"}),
     "|two|", "rest\r\n"},
    {"and a closing one ends the walk", kPlain,
     crlf({"Content-Type: image/gif", "", "x", "--outer--", "rest"}), "", "rest\r\n"},
    {"as does an inner closing one", kPlain,
     crlf({"Content-Type: image/gif", "", "x", "--inner--", "rest"}), "", "rest\r\n"},
    {"at the end of the file HTML is handed over", kHtml, kFirst, "{" + kMeta + "one}", ""},
    {"at the end of the file plain text is dropped", kPlain, kFirst, "", ""},
    {"an input that is used up at once", kHtml, "", "", ""},
    {"a boundary line in any case gives the inner boundary", kPlain,
     crlf({" BOUNDARY=\"late\""}) + kFirst + crlf({"--late"}) + kHtmlHeader +
         crlf({"two", "--late--", "rest"}),
     "{" + kMeta + "two}", "rest\r\n"},
    {"a transfer-encoding line in front of an inner delimiter costs the next text", kPlain,
     kFirst + crlf({"Content-Transfer-Encoding: x", "--inner"}) + kPlainHeader +
         crlf({"lost", "--outer--", "", "--outer--", "rest"}),
     "", "rest\r\n"},
    {"HTML behind a file that was not opened is dropped too", kHtml,
     kFirst + crlf({"Content-Transfer-Encoding: x", "--inner"}) + kHtmlHeader +
         crlf({"lost", "--outer--", "rest"}),
     "{" + kMeta + "one}", "rest\r\n"},
};

TEST(MessageAlternative, DecidesWhatReachesTheOutput) {
    for (const Row &row : kRows) {
        SCOPED_TRACE(row.promise);
        for (const bool stream : {false, true}) {
            MessageFixture f(row.partType);
            if (stream) {
                f.useStream();
            }
            EXPECT_EQ(f.walk(Mix_Content_Only, row.text), EML_OK);
            EXPECT_EQ(f.output(), row.output);
            EXPECT_EQ(f.unread(), row.unread);
            f.expectNothingLeft();
        }
    }
}

TEST(MessageAlternative, ReadsPlainTextBackBeforeItIsThrownAway) {
    MessageFixture f;
    EXPECT_EQ(f.walk(Mix_Content_Only, kFirst + crlf({"--inner"}) + kTail), EML_OK);
    EXPECT_TRUE(f.host.called("QOB_FileOpen /tmp/t1.htm rb"));
    EXPECT_EQ(f.host.removed, std::vector<std::string>{"/tmp/t1.htm"});
}

enum class Effect { kIsText, kDropsText, kLeavesText, kWritesText };

struct DelimiterRow {
    std::string line;
    Effect effect;
};

const DelimiterRow kDelimiterRows[] = {
    {"--inner", Effect::kDropsText},
    {"--inner x", Effect::kDropsText},
    {"--inner-", Effect::kDropsText},
    {"xxinner", Effect::kDropsText},
    {"--inner--", Effect::kLeavesText},
    {"--inner -", Effect::kLeavesText},
    {"--inner--x", Effect::kLeavesText},
    {"--outer", Effect::kDropsText},
    {"--outer x", Effect::kDropsText},
    {"--outer-", Effect::kDropsText},
    {"--outer--", Effect::kWritesText},
    {"--outer -", Effect::kWritesText},
    {"xxouter--", Effect::kWritesText},
    {" --outer--", Effect::kIsText},
    {"--OUTER--", Effect::kIsText},
    {"--oute", Effect::kIsText},
    {"-", Effect::kIsText},
};

TEST(MessageAlternative, TellsDelimitersByTheTextBehindTheBoundary) {
    for (const DelimiterRow &row : kDelimiterRows) {
        SCOPED_TRACE(row.line);
        MessageFixture f;
        EXPECT_EQ(f.walk(Mix_Content_Only, kFirst + crlf({row.line, "two", "--outer--", "rest"})),
                  EML_OK);
        switch (row.effect) {
        case Effect::kIsText:
            EXPECT_EQ(f.output(), "one|" + row.line + "|two|");
            break;
        case Effect::kDropsText: // and "two" is a header line
            EXPECT_EQ(f.output(), "");
            break;
        case Effect::kLeavesText: {
            EXPECT_EQ(f.output(), "");
            EXPECT_EQ(f.leftFiles(), std::vector<std::string>{"/tmp/t1.htm"});
            EXPECT_EQ(f.host.files["/tmp/t1.htm"], "one|");
            break;
        }
        case Effect::kWritesText:
            EXPECT_EQ(f.output(), "one|");
            break;
        }
        const bool ended = row.effect == Effect::kLeavesText || row.effect == Effect::kWritesText;
        // A dropped text is an empty one at the closing delimiter, which then ends nothing.
        const std::string rest = row.effect == Effect::kDropsText ? "" : "rest\r\n";
        EXPECT_EQ(f.unread(), ended ? crlf({"two", "--outer--", "rest"}) : rest);
        f.expectAllReleased();
    }
}

TEST(MessageAlternative, FindsDelimitersInAHeaderBehindBlanks) {
    MessageFixture f;
    EXPECT_EQ(f.walk(Mix_Content_Only,
                     crlf({"Content-Type: image/gif", "X-Header: y", "  --inner--", "rest"})),
              EML_OK);
    EXPECT_EQ(f.unread(), "rest\r\n");
}

TEST(MessageAlternative, TestsNoDelimitersInAMessageOfAnotherType) {
    MessageFixture f(kHtml);
    f.handle.contentType = EML_CT_MULTIPART_MIXED;
    EXPECT_EQ(f.walk(Mix_Content_Only, crlf({"", "--inner", "--outer--"})), EML_OK);
    EXPECT_EQ(f.output(), "{" + kMeta + "|--inner--outer--}");
}

struct SizeRow {
    const char *promise;
    std::string part;
    const char *late; // a line behind the closing delimiter, and what it comes to
    const char *output;
    bool goesOn;
};

const SizeRow kSizeRows[] = {
    {"no file", crlf({"Content-Transfer-Encoding: base64", ""}), "bGF0", "lat", true},
    {"an empty file", crlf({"Content-Transfer-Encoding: quoted-printable", "", "="}), "late",
     "late|", true},
    {"one byte", crlf({""}), "late", "", false},
    {"two bytes", crlf({"", ""}), "late", "late|", true},
    {"three bytes", crlf({"", "", ""}), "late", "|||", false},
};

TEST(MessageAlternative, WritesPlainTextOfMoreThanTwoBytesAndGoesOnBehindNoneOrTwo) {
    for (const SizeRow &row : kSizeRows) {
        SCOPED_TRACE(row.promise);
        MessageFixture f;
        const std::string behind = crlf({row.late, "--outer--", "rest"});
        EXPECT_EQ(f.walk(Mix_Content_Only, row.part + crlf({"--outer--"}) + behind), EML_OK);
        EXPECT_EQ(f.output(), row.output);
        EXPECT_EQ(f.unread(), row.goesOn ? "rest\r\n" : behind);
        f.expectNothingLeft();
    }
}

// ---- "NextPart" lines ----

const std::string kNextPart = "------=_NextPart_000";

TEST(MessageAlternative, EndsAtTheBodyLineBehindANextPartLineAndLeavesPlainTextInItsFile) {
    const struct {
        const char *line;
        const char *left;
    } kNextRows[] = {{"two", "one|"}, {"", "one||"}};
    for (const auto &row : kNextRows) {
        SCOPED_TRACE(row.line);
        MessageFixture f;
        EXPECT_EQ(f.walk(Mix_Content_Only, kFirst + crlf({kNextPart, row.line, "rest"})), EML_OK);
        EXPECT_EQ(f.output(), "");
        EXPECT_EQ(f.unread(), "rest\r\n");
        EXPECT_EQ(f.leftFiles(), std::vector<std::string>{"/tmp/t1.htm"});
        EXPECT_EQ(f.host.files["/tmp/t1.htm"], row.left);
        f.expectAllReleased();
    }
}

const Row kNextPartRows[] = {
    {"HTML is handed over", kHtml, kFirst + crlf({kNextPart, "two", "rest"}), "{" + kMeta + "one}",
     "rest\r\n"},
    {"an empty line is written first", kHtml, kFirst + crlf({kNextPart, "", "rest"}),
     "{" + kMeta + "one|}", "rest\r\n"},
    {"the mark is forgotten when a file is opened", kPlain,
     crlf({kNextPart}) + kFirst + crlf({"--outer--", "rest"}), "one|", "rest\r\n"},
    {"in other letters it is text", kPlain,
     kFirst + crlf({"------=_nextpart_000", "--outer--", "rest"}), "one|------=_nextpart_000|",
     "rest\r\n"},
    {"the first two characters are not looked at", kHtml,
     kFirst + crlf({"xx----=_NextPart_", "two", "rest"}), "{" + kMeta + "one}", "rest\r\n"},
};

TEST(MessageAlternative, KnowsNextPartLines) {
    for (const Row &row : kNextPartRows) {
        SCOPED_TRACE(row.promise);
        MessageFixture f(row.partType);
        EXPECT_EQ(f.walk(Mix_Content_Only, row.text), EML_OK);
        EXPECT_EQ(f.output(), row.output);
        EXPECT_EQ(f.unread(), row.unread);
        f.expectNothingLeft();
    }
}

TEST(MessageAlternative, ConvertsPlainTextInOnePiece) {
    MessageFixture f;
    EXPECT_EQ(f.walk(Mix_Content_Only, crlf({"Content-Transfer-Encoding: base64", "", "YeOB",
                                             "gmI=", "", "--outer--"})),
              EML_OK);
    ASSERT_FALSE(f.host.conversions.empty());
    EXPECT_EQ(f.host.conversions.back().input, "a\xE3\x81\x82"
                                               "b|");
    EXPECT_EQ(f.handle.textWritten, 1U);
}

TEST(MessageAlternative, ReadsPartsLongerThanABlockAndLinesLongerThanTheBuffer) {
    // Only line ends tell where a long line was cut, at the buffer's or the block's end.
    std::string body;
    std::string expected;
    for (int i = 0; i < 9; ++i) {
        body += std::string(1900, 'x') + "\r\n";
        expected += std::string(1900, 'x');
    }
    body += std::string(4000, 'y') + "\r\n";
    expected += std::string(4000, 'y');
    MessageFixture f;
    EXPECT_EQ(f.walk(Mix_Content_Only, crlf({kEncoding, ""}) + body + "--outer--\r\n"), EML_OK);
    std::string text = f.output();
    text.erase(std::remove(text.begin(), text.end(), '|'), text.end());
    EXPECT_EQ(text, expected);
    EXPECT_EQ(f.handle.lastBlock, 0);
}

} // namespace
