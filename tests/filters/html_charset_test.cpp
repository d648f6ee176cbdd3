// SPDX-License-Identifier: MIT
// In which charset a page is read: the e-mail filter's META, the byte order mark, the page's own
// declaration, UTF-8, a guess; in this order.
#include <string>

#include "filter_fixture.h"
#include "html_charset.h"

namespace qob::tests {
namespace {

using filters::mailPrefix;
using filters::ownCharset;

const std::string kOwnLatin1 = "<meta http-equiv=Content-Type content='text/html; "
                               "charset=iso-8859-1'>";

std::string prefix(const std::string &charset) {
    return "<META CONTENT=\"text/html;charset=" + charset + "\">";
}

class HtmlCharset : public FilterTest {
protected:
    std::string read(const std::string &page) { return textOf(HTML_FILTER, page); }
};

TEST_F(HtmlCharset, MailPrefixWinsOverTheOwnDeclaration) {
    EXPECT_EQ(read(prefix("shift_jis") + kOwnLatin1 + encoded("Shift_JIS", "日本語")), "日本語\n");
}

TEST_F(HtmlCharset, MailPrefixWinsOverTheByteOrderMark) {
    EXPECT_EQ(read(prefix("iso-8859-1") + "\xEF\xBB\xBF" + "a"), "ï»¿a\n");
}

TEST_F(HtmlCharset, MailPrefixWithoutNameCountsForNothing) {
    EXPECT_EQ(read(prefix("") + kOwnLatin1 + "caf\xE9"), "café\n");
}

TEST_F(HtmlCharset, MailPrefixWithUnknownNameCountsForNothing) {
    EXPECT_EQ(read(prefix("x-nonsense") + "<meta charset=koi8-r>" + encoded("KOI8-R", "мир")),
              "мир\n");
}

TEST_F(HtmlCharset, MailPrefixCutAtBracketInTheNameIsNoText) {
    EXPECT_EQ(read("<META CONTENT=\"text/html;charset=x>caf\xC3\xA9 \"quoted\""),
              "café \"quoted\"\n");
}

TEST_F(HtmlCharset, RootTagBeforeTheByteOrderMarkIsSkipped) {
    EXPECT_EQ(read("<HTML>\xEF\xBB\xBF<p>a\xC3\xA9"), "aé\n");
    EXPECT_EQ(read("<HTML>\xFF\xFE" + encoded("UTF-16LE", "<p>aé")), "aé\n");
}

TEST_F(HtmlCharset, ByteOrderMarkWinsOverTheOwnDeclaration) {
    EXPECT_EQ(read("\xEF\xBB\xBF" + kOwnLatin1 + "\xC3\xA9"), "é\n");
    EXPECT_EQ(read("\xFE\xFF" + encoded("UTF-16BE", kOwnLatin1 + "日")), "日\n");
}

TEST_F(HtmlCharset, OwnDeclarationWinsOverValidUtf8) {
    EXPECT_EQ(read(kOwnLatin1 + "\xC3\xA9"), "Ã©\n");
}

TEST_F(HtmlCharset, DeclarationInThePageDoesNotChangeItAgain) {
    EXPECT_EQ(read(prefix("shift_jis") + encoded("Shift_JIS", "日本") +
                   "<meta charset=iso-8859-1>" + encoded("Shift_JIS", "語")),
              "日本語\n");
}

TEST_F(HtmlCharset, Utf16ThatIsNoneIsPassedOver) {
    EXPECT_EQ(read(prefix("utf-16") + "caf\xC3\xA9"), "café\n");
    EXPECT_EQ(read("<meta charset=utf-16>caf\xC3\xA9"), "café\n");
}

TEST_F(HtmlCharset, AsciiWithEightBitBytesIsPassedOver) {
    EXPECT_EQ(read(prefix("us-ascii") + "caf\xC3\xA9"), "café\n");
}

TEST_F(HtmlCharset, DeclaredUtf16IsReadWithAndWithoutMark) {
    EXPECT_EQ(read(prefix("utf-16") + "\xFF\xFE" + encoded("UTF-16LE", "日 a")), "日 a\n");
    EXPECT_EQ(read(prefix("utf-16") + encoded("UTF-16BE", "日 a")), "日 a\n");
}

TEST_F(HtmlCharset, UndeclaredValidUtf8IsUtf8) {
    setLanguage("Japanese");
    EXPECT_EQ(read("<HTML><p>日本語 café"), "日本語 café\n");
}

TEST_F(HtmlCharset, UndeclaredTextGoesByTheLanguage) {
    setLanguage("Korean");
    EXPECT_EQ(read("<HTML><p>" + encoded("windows-949", "안녕하세요")), "안녕하세요\n");
}

TEST_F(HtmlCharset, MalformedBytesAreReplaced) {
    EXPECT_EQ(read(prefix("utf-8") + "a\xFF"
                                     "b\xC3"),
              "a\uFFFDb\uFFFD\n");
}

struct LabelCase {
    const char *label;
    const char *bytes;
    const char *text;
};

TEST_F(HtmlCharset, LabelsAreReadAsTheirSupersets) {
    const LabelCase cases[] = {
        {"iso-8859-1", "\x93q\x94", "“q”\n"},     // windows-1252
        {"gb2312", "\x81\x40", "丂\n"},           // GBK
        {"GBK", "\x81\x30\x81\x30", "\u0080\n"},  // GB18030
        {"ks_c_5601-1987", "\x81\x41", "갂\n"},   // windows-949
        {"euc-kr", "\x81\x41", "갂\n"},           // windows-949
        {"shift_jis", "\x87\x40", "①\n"},         // windows-31J
        {"big5", "\xF9\xD6", "碁\n"},             // windows-950
        {"iso-2022-jp", "\x1B$B-!\x1B(B", "①\n"}, // with the vendor rows
        {"\xE3", "caf\xC3\xA9", "café\n"},        // no name at all
    };
    for (const LabelCase &c : cases) {
        EXPECT_EQ(read(prefix(c.label) + c.bytes), c.text) << c.label;
    }
}

TEST(MailPrefix, IsReadAtTheStartOnly) {
    EXPECT_EQ(mailPrefix("<META CONTENT=\"text/html;charset=utf-8\"><p>").charset, "utf-8");
    EXPECT_EQ(mailPrefix("<META CONTENT=\"text/html;charset=utf-8\"><p>").length, 40U);
    EXPECT_EQ(mailPrefix(" <META CONTENT=\"text/html;charset=utf-8\">").length, 0U);
    EXPECT_EQ(mailPrefix("<META CONTENT=\"text/html;charset=utf-8").length, 0U);
    EXPECT_EQ(mailPrefix("<HTML><p>").length, 6U);
    EXPECT_EQ(mailPrefix("<html><p>").length, 0U);
}

TEST(OwnCharset, IsFoundInEveryForm) {
    EXPECT_EQ(ownCharset("<html><META CHARSET='koi8-r'>"), "koi8-r");
    EXPECT_EQ(ownCharset("<meta http-equiv=x content=\"text/html; charset = 'big5'\">"), "big5");
    EXPECT_EQ(ownCharset("<meta content=text/html;charset=big5 http-equiv=x>"), "big5");
    EXPECT_EQ(ownCharset("<meta name=a content=b><meta charset=big5>"), "big5");
    EXPECT_EQ(ownCharset("<meta charset=nonsense><meta charset=big5>"), "big5");
}

TEST(OwnCharset, IsNotFoundWhereItIsNone) {
    EXPECT_EQ(ownCharset("<!-- <meta charset=big5> -->"), "");
    EXPECT_EQ(ownCharset("<!-- <meta charset=big5>"), "");
    EXPECT_EQ(ownCharset("<metadata charset=big5>"), "");
    EXPECT_EQ(ownCharset("<p charset=big5>"), "");
    EXPECT_EQ(ownCharset("<meta charset"), "");
    EXPECT_EQ(ownCharset("<meta =\"><"), "");
    EXPECT_EQ(ownCharset("<meta"), "");
    EXPECT_EQ(ownCharset("<"), "");
}

} // namespace
} // namespace qob::tests
