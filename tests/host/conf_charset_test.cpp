// SPDX-License-Identifier: MIT
// Promises of charset names: what each reads and writes.
#include <string>
#include <string_view>

#include <gtest/gtest.h>

#include "conf_convert.h"
#include "qob_charset_codes.h"

namespace {

using namespace std::string_view_literals;

struct Reading {
    const char *charset;
    std::string_view bytes;
    std::string_view text;
};

void expectReadings(const std::vector<Reading> &rows) {
    for (const Reading &row : rows) {
        EXPECT_EQ(convert(row.charset, row.bytes), row.text) << row.charset;
    }
}

TEST(SourceName, OfTheFrameworkReadsItsCharset) {
    expectReadings({
        {"ChineseGBK", "\xC4\xE3\xBA\xC3", "你好"},
        {"ChineseBIG5", "\xA7\x41\xA6\x6E", "你好"},
        {"KoreanKSC", "\xBE\xC8\xB3\xE7", "안녕"},
        {"WINDOWS31J", "\x93\xFA\x96\x7B", "日本"},
        {"EUC-JP", "\xC6\xFC\xCB\xDC", "日本"},
        {"ISO-2022-JP", "\x1B$BF|K\\\x1B(B", "日本"},
        {"UTF-8", "日本", "日本"},
        {"UTF-7", "Hi +ZeVnLA-!", "Hi 日本!"},
        {"HZ-GB-2312", "~{Dc:C~}!", "你好!"},
        {"ISO-8859-1", "Gr\xFC\xDF", "Grüß"},
        {"UTF-16", "\x65\xE5\x67\x2C", "日本"},
        {"ISO-10646-UCS-2", "\x65\xE5\x67\x2C", "日本"},
        {"ISO-10646-UCS-4", "\0\0\x65\xE5"sv, "日"},
        {"EUC-JP-FIX", "\xC6\xFC\0A\0\xB1\xB0\x21"sv, "日Aｱ丂"},
    });
}

TEST(SourceName, ReadsTheUsualSuperset) {
    expectReadings({
        {"ChineseGBK", "\x81\x30\x86\x30", "¸"}, // four bytes: GB 18030
        {"gb2312", "\x81\x40", "丂"},            // GBK
        {"GBK", "\x80", "€"},                    // code page 936
        {"euc-kr", "\x81\x41", "갂"},            // windows-949
        {"ks_c_5601-1987", "\x81\x41", "갂"},
        {"KoreanKSC", "\x81\x41", "갂"},
        {"ISO-8859-1", "\x93\x80\x94", "“€”"}, // windows-1252
        {"latin1", "\x85", "…"},
        {"ISO-8859-9", "\x80\xFE", "€ş"},        // windows-1254
        {"tis-620", "\x80\xA1", "€ก"},           // windows-874
        {"Shift_JIS", "\x87\x40\xFA\x40", "①ⅰ"}, // vendor rows of windows-31J
        {"ChineseBIG5", "\xF9\xD6", "碁"},       // windows-950
    });
}

TEST(SourceName, OfICUAreKnownBesides) {
    expectReadings({
        {"koi8-r", "\xF0\xD2\xC9", "При"},
        {"windows-1251", "\xCF\xF0\xE8", "При"},
        {"cp1250", "\xB9", "ą"},
        {"iso-8859-15", "\xA4", "€"},
        {"iso-8859-7", "\xE1", "α"},
        {"Big5-HKSCS", "\xA7\x41", "你"},
        {"GB18030", "\x94\x39\xFC\x36", "😀"},
        {"ISO-2022-KR",
         "\x0E"
         "0!\x0F!",
         "가!"},
        {"macintosh", "\x8E", "é"},
        {"windows-1255", "\xF9", "ש"},
        {"IBM850", "\x82", "é"},
        {"eucJP-ms", "\xB0\xA1", "亜"},
        {"cp50221", "\x1B$B-!\x1B(B", "①"},
        {"unicode-1-1-utf-8", "é", "é"},
    });
}

TEST(SourceName, IsTakenWithoutRegardToCaseBlanksAndQuotes) {
    for (const char *name :
         {"KOI8-R", "koi8r", " koi8-r ", "\"koi8-r\"", "'koi8-r'", "koi8-r;x=y", "chinesegbk"}) {
        EXPECT_EQ(convert(name, "\xC1"), name == "chinesegbk"sv ? "\uFFFD" : "а") << name;
    }
}

// The seven characters that other tables of Shift_JIS place elsewhere, and what ASCII keeps.
TEST(Windows31J, MapsAsTheWindowsTable) {
    expectReadings({
        {"WINDOWS31J", "\x81\x60", "\uFF5E"},
        {"WINDOWS31J", "\x81\x5C", "\u2015"},
        {"WINDOWS31J", "\x81\x61", "\u2225"},
        {"WINDOWS31J", "\x81\x7C", "\uFF0D"},
        {"WINDOWS31J", "\x81\x91", "\uFFE0"},
        {"WINDOWS31J", "\x81\x92", "\uFFE1"},
        {"WINDOWS31J", "\x81\xCA", "\uFFE2"},
        {"WINDOWS31J", "\xFA\x55", "\uFFE4"},
        {"WINDOWS31J", "\\~", "\\~"},
        {"WINDOWS31J", "\xB1", "ｱ"},
        {"WINDOWS31J", "\x1A\x1C\x7F", "\x1A\x1C\x7F"},
    });
}

TEST(ISO2022JP, ReadsWhatMailPutsIntoIt) {
    expectReadings({
        {"ISO-2022-JP", "\x1B$@F|\x1B(J!", "日!"}, // JIS C 6226
        {"ISO-2022-JP", "\x1B(I12\x1B(B.", "ｱｲ."}, // JIS X 0201 katakana
        {"ISO-2022-JP",
         "\x0E"
         "12\x0F.",
         "ｱｲ."},                                           // the same, shifted
        {"ISO-2022-JP", "\x1B$B-!|q!A\x1B(B", "①ⅰ\uFF5E"}, // vendor rows
        {"ISO-2022-JP", "\x1B$(D\"/\x1B(B", "˘"},          // JIS X 0212
        {"ISO-2022-JP", "\x1B$BF|", "日"},                 // not returned to ASCII
    });
}

TEST(StatefulSource, BeginsEveryPieceInItsInitialState) {
    EXPECT_EQ(convert("ISO-2022-JP", "\x1B$BF|"), "日");
    EXPECT_EQ(convert("ISO-2022-JP", "F|"), "F|");
    EXPECT_EQ(convert("HZ-GB-2312", "~{Dc"), "你");
    EXPECT_EQ(convert("HZ-GB-2312", "Dc"), "Dc");
    EXPECT_EQ(convert("UTF-7", "+ZeU"), "日");
    EXPECT_EQ(convert("UTF-7", "ZeU"), "ZeU");
}

TEST(UnknownName, IsReadAsUtf8WhereThatIsValid) {
    const Language korean("ko");
    for (const char *name : {"", "x-unknown", "8bit", "UTF-16,version=1", "../../etc/passwd", "*0",
                             "\xE6\x97\xA5", "us-ascii"}) {
        EXPECT_EQ(convert(name, "é 日本 😀"), "é 日本 😀") << name;
    }
}

TEST(UnknownName, IsReadInTheDefaultCharsetOfTheLanguageElse) {
    const Reading rows[] = {
        {"cn", "\xC4\xE3", "你"}, {"Simplified Chinese", "\xC4\xE3", "你"},
        {"tw", "\xA7\x41", "你"}, {"Traditional Chinese", "\xA7\x41", "你"},
        {"jp", "\x93\xFA", "日"}, {"Japanese", "\x93\xFA", "日"},
        {"ko", "\xBE\xC8", "안"}, {"Korean", "\xBE\xC8", "안"},
        {"en", "\xE9.", "é."},    {"English", "\xE9.", "é."},
        {"", "\x93\xFA", "日"},   {"EN", "\x93\xFA", "日"},
    };
    for (const Reading &row : rows) {
        const Language language(row.charset);
        EXPECT_EQ(convert("", row.bytes), row.text) << row.charset;
        EXPECT_EQ(convert("no such charset", row.bytes), row.text) << row.charset;
        EXPECT_EQ(convert("us-ascii", row.bytes), row.text) << row.charset;
    }
}

TEST(UnknownName, TakesUtf8CutAtEitherEndForUtf8) {
    const Language english("en");
    EXPECT_EQ(convert("", "日本\xE6\x97"), "日本\uFFFD");
    EXPECT_EQ(convert("", "\x97\xA5本"), "\uFFFD\uFFFD本");
    EXPECT_EQ(convert("", "a\xC3"), "aÃ");
    EXPECT_EQ(convert("", "\xA9 b"), "© b");
}

TEST(UnknownName, DoesNotTakeBrokenUtf8ForUtf8) {
    const Language english("en");
    for (std::string_view bytes :
         {"é\xC0\xAF"sv, "é\xED\xA0\x80"sv, "é\xF4\x90\x80\x80"sv, "é\xE0\x80\x80"sv, "é\xF5"sv,
          "é\xF0\x80\x80\x80"sv, "é\x80."sv}) {
        EXPECT_TRUE(convert("", bytes)->starts_with("Ã©")) << bytes;
    }
}

TEST(Language, IsTheThreadsOwnAndKeptByValue) {
    const Language outer("ko");
    {
        std::string name = "Japanese";
        const Language inner(name.c_str());
        name = "changed";
        EXPECT_STREQ(qob_conf_language(), "Japanese");
    }
    EXPECT_STREQ(qob_conf_language(), "ko");
    qob_conf_set_language(nullptr);
    EXPECT_STREQ(qob_conf_language(), "");
    qob_conf_set_language(std::string(1000, 'x').c_str());
    EXPECT_EQ(qob_conf_language(), std::string(255, 'x'));
}

TEST(SourceName, FailsOnlyWithControlBytes) {
    for (const char *name : {"utf-8\n", "\x01", "a\x7F", "\t", "utf\x1F-8"}) {
        EXPECT_EQ(convert(name, "text"), std::nullopt);
    }
    for (const char *name : {"", " ", "\xFF\xFE", "%s%n", "utf-8 or so"}) {
        EXPECT_EQ(convert(name, "text"), "text") << name;
    }
}

TEST(SourceName, ThousandsOfThemAreAnsweredAlike) {
    for (int i = 0; i < 3000; ++i) {
        const std::string name = "nobody-" + std::to_string(i);
        ASSERT_EQ(convert(name.c_str(), "é"), "é");
        ASSERT_EQ(convert("koi8-r", "\xC1"), "а");
    }
}

struct Writing {
    const char *output;
    std::string_view text;
    std::string_view bytes;
};

TEST(OutputName, WritesItsCharsetAndNoMark) {
    const Writing rows[] = {
        {"UTF-8", "é日😀", "é日😀"},
        {"UTF-16", "a日", "\0a\x65\xE5"sv},
        {"UTF-16BE", "a", "\0a"sv},
        {"UTF-16LE", "a日", "a\0\xE5\x65"sv},
        {"UnicodeBig", "a", "\0a"sv},
        {"UTF-32", "a", "\0\0\0a"sv},
        {"ISO-10646-UCS-2", "a", "\0a"sv},
        {"ISO-10646-UCS-4", "a", "\0\0\0a"sv},
        {"ChineseGBK", "你a",
         "\xC4\xE3"
         "a"},
        {"GB18030", "😀", "\x94\x39\xFC\x36"},
        {"ChineseBIG5", "你", "\xA7\x41"},
        {"KoreanKSC", "갂", "\x81\x41"},
        {"WINDOWS31J", "日\uFF5E\u301C", "\x93\xFA\x81\x60\x81\x60"},
        {"EUC-JP", "日", "\xC6\xFC"},
        {"ISO-2022-JP", "日a", "\x1B$BF|\x1B(Ba"},
        {"HZ-GB-2312", "~a你b好\n", "~~a~{Dc~}b~{:C~}\n"},
        {"UTF-7", "日", "+ZeU-"},
        {"ISO-8859-1", "é", "\xE9"},
        {"US-ASCII", "a", "a"},
    };
    for (const Writing &row : rows) {
        EXPECT_EQ(convert("UTF-8", row.text, {.output = row.output}), row.bytes) << row.output;
    }
}

TEST(OutputName, IsItsOwnCharsetNotTheSuperset) {
    EXPECT_EQ(convert("UTF-8", "€", {.output = "ISO-8859-1"}), "?");
    EXPECT_EQ(convert("UTF-8", "😀", {.output = "ChineseGBK"}), "?");
    EXPECT_EQ(convert("UTF-8", "é", {.output = "US-ASCII"}), "?");
}

TEST(OutputName, ReturnsToTheInitialStateAtTheEndOfEveryPiece) {
    for (int i = 0; i < 2; ++i) {
        EXPECT_EQ(convert("UTF-8", "日", {.output = "ISO-2022-JP"}), "\x1B$BF|\x1B(B");
        EXPECT_EQ(convert("UTF-8", "你", {.output = "HZ-GB-2312"}), "~{Dc~}");
    }
}

TEST(OutputName, ThatNobodyKnowsIsRefused) {
    for (const char *name : {"x-unknown", "EUC-JP-FIX", " ", "UTF-8,x"}) {
        EXPECT_EQ(convert("UTF-8", "text", {.output = name}), std::nullopt) << name;
    }
}

TEST(OutputName, IsReadNoFurtherThanItsTerminatorOr256Bytes) {
    const auto shortName = std::make_unique<char[]>(6);
    std::memcpy(shortName.get(), "UTF-8", 6);
    EXPECT_EQ(convert("UTF-8", "é", {.output = shortName.get()}), "é");
    const std::vector<char> unterminated(256, 'x');
    EXPECT_EQ(convert("UTF-8", "é", {.output = unterminated.data()}), std::nullopt);
}

TEST(OutputCode, CountsWhenTheNameIsEmpty) {
    const auto withCode = [](std::uint32_t code) {
        return convert("UTF-8", "日", {.output = "", .code = code});
    };
    EXPECT_EQ(withCode(QOB_CHARSET_UNSET), "日");
    EXPECT_EQ(withCode(QOB_CHARSET_UTF8), "日");
    EXPECT_EQ(withCode(QOB_CHARSET_WINDOWS31J), "\x93\xFA");
    EXPECT_EQ(withCode(QOB_CHARSET_UTF16LE), "\xE5\x65");
    EXPECT_EQ(withCode(4711), std::nullopt);
    EXPECT_EQ(convert("UTF-8", "日", {.output = nullptr, .code = QOB_CHARSET_EUC_JP}), "\xC6\xFC");
    EXPECT_EQ(convert("UTF-8", "日", {.output = "UTF-8", .code = QOB_CHARSET_EUC_JP}), "日");
}

TEST(OutputCode, NamesACharsetThatCanBeWritten) {
    for (std::uint32_t code :
         {QOB_CHARSET_UNSET, QOB_CHARSET_WINDOWS31J, QOB_CHARSET_GBK, QOB_CHARSET_KSC,
          QOB_CHARSET_BIG5, QOB_CHARSET_UTF16LE, QOB_CHARSET_UTF16BE, QOB_CHARSET_WINDOWS1252,
          QOB_CHARSET_UTF32LE, QOB_CHARSET_UTF32BE, QOB_CHARSET_ASCII, QOB_CHARSET_EUC_JP,
          QOB_CHARSET_LATIN1, QOB_CHARSET_ISO_2022_JP, QOB_CHARSET_HZ, QOB_CHARSET_GB18030,
          QOB_CHARSET_UTF7, QOB_CHARSET_UTF8}) {
        EXPECT_NE(qob_charset_name(code), nullptr) << code;
        EXPECT_NE(qob_charset_output("", code), nullptr) << code;
    }
    EXPECT_EQ(qob_charset_name(4711), nullptr);
    EXPECT_EQ(qob_charset_output(nullptr, 4711), nullptr);
    EXPECT_EQ(qob_charset_output("x-unknown", 0), nullptr);
    EXPECT_STREQ(qob_charset_output("UTF-16", 0), "UTF-16BE");
}

} // namespace
