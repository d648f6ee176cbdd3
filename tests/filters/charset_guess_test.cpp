// SPDX-License-Identifier: MIT
// Unlabelled text: the charset by its bytes and by the language of the extraction.
#include <ostream>
#include <string>

#include "charset.h"
#include "filter_fixture.h"

namespace qob::tests {
namespace {

struct GuessCase {
    const char *language;
    const char *charset;
    const char *text;
};

void PrintTo(const GuessCase &c, std::ostream *out) {
    *out << '"' << c.text << "\" in " << c.charset << ", language \"" << c.language << '"';
}

class CharsetGuess : public FilterTest, public testing::WithParamInterface<GuessCase> {};

TEST_P(CharsetGuess, ReadsTheText) {
    setLanguage(GetParam().language);
    EXPECT_EQ(textOf(TEXT_FILTER, encoded(GetParam().charset, GetParam().text)), GetParam().text);
}

constexpr GuessCase kShortTextsInTheLanguagesOwnCharset[] = {
    {"Japanese", "windows-31j", "こんにちは"},
    {"jp", "windows-31j", "日本"},
    {"", "windows-31j", "会議のお知らせ"},
    {"Simplified Chinese", "GB18030", "你好"},
    {"cn", "GB18030", "请查收附件"},
    {"Traditional Chinese", "windows-950", "你好"},
    {"tw", "windows-950", "請查收附件"},
    {"Korean", "windows-949", "안녕하세요"},
    {"ko", "windows-949", "첨부 파일"},
    {"English", "windows-1252", "Café"},
    {"en", "windows-1252", "“Quoted” – naïve résumé"},
};

constexpr GuessCase kOtherCharsetsThanTheLanguages[] = {
    {"Japanese", "EUC-JP", "日本語のメールです。よろしくお願いいたします。"},
    {"Japanese", "windows-1252", "Le café est fermé cet été, à bientôt."},
    {"Japanese", "windows-1252", "Die Straße ist groß und die Tür öffnet sich nicht."},
    {"Japanese", "windows-1251", "Привет, это письмо на русском языке."},
    {"English", "windows-31j", "日本語のメールです。よろしくお願いいたします。"},
    {"English", "GB18030", "你好，这是一封中文邮件，请查收附件。"},
    {"English", "windows-950", "這是一封中文郵件，請查收附件。"},
    {"English", "windows-949", "한국어 메일입니다. 첨부 파일을 확인해 주십시오."},
    {"English", "KOI8-R", "Привет, это письмо на русском языке."},
    {"Korean", "windows-31j", "日本語のメールです。よろしくお願いいたします。"},
    {"Simplified Chinese", "EUC-JP", "日本語のメールです。よろしくお願いいたします。"},
    {"Traditional Chinese", "GB18030", "你好，这是一封中文邮件，请查收附件。"},
};

constexpr GuessCase kCharsetsThatShowThemselves[] = {
    {"Korean", "UTF-8", "é"},
    {"Japanese", "UTF-8", "plain ASCII"},
    {"English", "ISO-2022-JP", "日本語のメール"},
    {"English", "ISO-2022-KR", "한국어"},
    {"Korean", "UTF-16LE", "日本 a"},
};

INSTANTIATE_TEST_SUITE_P(ShortTextsInTheLanguagesOwnCharset, CharsetGuess,
                         testing::ValuesIn(kShortTextsInTheLanguagesOwnCharset));
INSTANTIATE_TEST_SUITE_P(OtherCharsetsThanTheLanguages, CharsetGuess,
                         testing::ValuesIn(kOtherCharsetsThanTheLanguages));
INSTANTIATE_TEST_SUITE_P(CharsetsThatShowThemselves, CharsetGuess,
                         testing::ValuesIn(kCharsetsThatShowThemselves));

TEST(CharsetOfLabel, RefusesWhatNamesNoCharset) {
    for (const char *label : {"", " ", "nonsense", "../../etc/passwd", "utf 8\n;", "=",
                              "a-label-that-is-far-too-long-to-be-any-charset"}) {
        EXPECT_FALSE(filters::charsetOfLabel(label).has_value()) << label;
    }
    EXPECT_FALSE(filters::charsetOfLabel(std::string_view("utf-8\0x", 7)).has_value());
}

TEST(CharsetOfLabel, KnowsTheHostsNames) {
    EXPECT_EQ(filters::charsetOfLabel("ChineseGBK"), "gb18030");
    EXPECT_EQ(filters::charsetOfLabel("KoreanKSC"), "windows-949");
    EXPECT_EQ(filters::charsetOfLabel("ChineseBIG5"), "windows-950");
    EXPECT_EQ(filters::charsetOfLabel("WINDOWS31J"), "windows-31j");
    EXPECT_EQ(filters::charsetOfLabel(" 'UTF8' "), "UTF-8");
}

} // namespace
} // namespace qob::tests
