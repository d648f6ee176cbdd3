// SPDX-License-Identifier: MIT
// Charset names: from what messages say to what the converter knows.
#include <cstring>
#include <string>

#include "emlcomm/charset.h"
#include "support/exact_text.h"
#include "support/filter_fixture.h"

namespace {

struct NameRow {
    std::string given;
    std::string expected;
};

// TranType on a field of exactly its size whose bytes behind the name are `behind`.
std::string normalised(const std::string &name, const std::string &behind = "") {
    std::string field = name + '\0' + behind;
    field.resize(kCharsetNameSize, '\0');
    std::vector<char> buffer = exactBytes(field);
    ExtractionHandle handle = {};
    EXPECT_EQ(TranType(&handle, buffer.data()), 0);
    return buffer.data();
}

TEST(MessageCharset, BecomesAConverterName) {
    const NameRow rows[] = {
        {"ISO-2022-JP", "ISO-2022-JP"},
        {"GB2312", "ChineseGBK"},
        {"GBK", "ChineseGBK"},
        {"BIG5", "ChineseBIG5"},
        {"UTF-8", "UTF-8"},
        {"KS_C_5601-1987", "KoreanKSC"},
        {"EUC-KR", "KoreanKSC"},
        {"ISO-8859-1", "ISO-8859-1"},
        {"UTF-7", "UTF-7"},
        {"HZ-GB-2312", "HZ-GB-2312"},
    };
    for (const NameRow &row : rows) {
        SCOPED_TRACE(row.given);
        std::string lower = row.given;
        for (char &c : lower) {
            c = static_cast<char>(std::tolower(c));
        }
        EXPECT_EQ(normalised(row.given), row.expected);
        EXPECT_EQ(normalised(lower), row.expected);
        EXPECT_EQ(normalised(" " + lower), row.expected);
        EXPECT_EQ(normalised(" \t\r\n " + lower), row.expected);
        EXPECT_EQ(normalised(lower + "-suffix"), row.expected);
        EXPECT_EQ(normalised(lower + "; format=flowed"), row.expected);
        // One letter short, or with something in front, it is another name.
        const std::string shorter = row.given.substr(0, row.given.size() - 1);
        EXPECT_EQ(normalised(shorter), shorter);
        EXPECT_EQ(normalised("x-" + lower), "x-" + lower);
    }
}

TEST(MessageCharset, MatchesByItsBeginning) {
    const NameRow rows[] = {
        {"big5-hkscs", "ChineseBIG5"}, {"iso-8859-15", "ISO-8859-1"},
        {"ISO-8859-10", "ISO-8859-1"}, {"iso-2022-jp-2", "ISO-2022-JP"},
        {"gbk2", "ChineseGBK"},        {"gb2312-80", "ChineseGBK"},
        {"euc-krx", "KoreanKSC"},
    };
    for (const NameRow &row : rows) {
        EXPECT_EQ(normalised(row.given), row.expected) << row.given;
    }
}

TEST(MessageCharset, UnknownStaysAsItIsWithoutLeadingBlanks) {
    const NameRow rows[] = {
        {" koi8-r", "koi8-r"},
        {"\t\r\n KOI8-r", "KOI8-r"},
        {"iso-8859-2", "iso-8859-2"},
        {"utf8", "utf8"},
        {"Shift_JIS", "Shift_JIS"},
        {"gb18030", "gb18030"},
        {"windows-1252 ", "windows-1252 "},
        {"abcdefghijklmnopqrstuvwxyz01234", "abcdefghijklmnopqrstuvwxyz01234"},
        {"", ""},
        {"   ", ""},
        {" \xE9t\xE9", "\xE9t\xE9"},
    };
    for (const NameRow &row : rows) {
        EXPECT_EQ(normalised(row.given), row.expected) << row.given;
    }
}

TEST(MessageCharset, UnicodeIsUtf16OnlyBeforeALeftoverUt) {
    EXPECT_EQ(normalised("UNICODE", "UT"), "UTF-16");
    EXPECT_EQ(normalised("unicode", "ut"), "UTF-16");
    EXPECT_EQ(normalised("Unicode", "uTf-8"), "UTF-16");
    EXPECT_EQ(normalised(" unicode", "ut"), "UTF-16");
    EXPECT_EQ(normalised("unicode"), "unicode");
    EXPECT_EQ(normalised("unicode", "ux"), "unicode");
    EXPECT_EQ(normalised("unicode", "xt"), "unicode");
    EXPECT_EQ(normalised("unicodeUT"), "unicodeUT");
    EXPECT_EQ(normalised("unicode-1-1"), "unicode-1-1");
    EXPECT_EQ(normalised("unicod", "EUT"), "unicod");
}

TEST(MessageCharset, LooksTwoBytesBehindTheLongestName) {
    // 24 blanks and the name fill 31 characters; the two bytes behind are still in the field.
    EXPECT_EQ(normalised(std::string(24, ' ') + "unicode", "UT"), "UTF-16");
    EXPECT_EQ(normalised(std::string(24, ' ') + "unicode"), "unicode");
}

TEST(MessageCharset, OtherNamesEndAtTheirTerminator) {
    EXPECT_EQ(normalised("gb", "2312"), "gb");
    EXPECT_EQ(normalised("", "utf-8"), "");
}

TEST(MessageCharset, IsTakenFromTheMessageField) {
    FilterFixture f;
    std::strcpy(f.handle.charset, " gb2312");
    EXPECT_EQ(eml::useMessageCharset(&f.handle), 0);
    EXPECT_STREQ(f.handle.charsetName, "ChineseGBK");
    EXPECT_STREQ(f.handle.charset, " gb2312");
}

TEST(MessageCharset, IsTakenFromThePartFieldWithItsLeftovers) {
    FilterFixture f;
    std::memcpy(f.handle.partCharset, "unicode\0ut", 10);
    EXPECT_EQ(eml::usePartCharset(&f.handle), 0);
    EXPECT_STREQ(f.handle.charsetName, "UTF-16");
    std::strcpy(f.handle.partCharset, "abcdefghijklmnopqrstuvwxyz01234");
    EXPECT_EQ(eml::usePartCharset(&f.handle), 0);
    EXPECT_STREQ(f.handle.charsetName, "abcdefghijklmnopqrstuvwxyz01234");
}

// TransCharset on an output buffer that holds `before`.
std::string mapped(const std::string &alias, const std::string &before) {
    std::vector<char> out = exactString(before);
    out.resize(20, 'j');
    const std::vector<char> given = exactString(alias);
    TransCharset(given.data(), out.data());
    const std::string name = out.data();
    EXPECT_EQ(std::string(out.begin() + static_cast<long>(std::max(name.size(), before.size())) + 1,
                          out.end()),
              std::string(19 - std::max(name.size(), before.size()), 'j'));
    return name;
}

const NameRow kAliasRows[] = {
    {"csGB2312", "ChineseGBK"},
    {"GB2312", "ChineseGBK"},
    {"Extended_UNIX_Code_Packed_Format_for_Japanese", "EUC-JP"},
    {"csEUCPkdFmtJapanese", "EUC-JP"},
    {"EUC-JP", "EUC-JP"},
    {"KS_C_5601-1987", "KoreanKSC"},
    {"ks_c_5601-1987", "KoreanKSC"},
    {"csBig5", "ChineseBIG5"},
    {"Big5", "ChineseBIG5"},
    {"UTF-8", "UTF-8"},
    {"UTF-16", "UTF-16"},
    {"Windows-31J", "WINDOWS31J"},
    {"csWindows31J", "WINDOWS31J"},
    {"Extended_UNIX_Code_Fixed_Width_for_Japanese", "EUC-JP-FIX"},
    {"csEUCFixWidJapanese", "EUC-JP-FIX"},
    {"Shift_JIS", "KoreanKSC"},
    {"MS_Kanji", "KoreanKSC"},
    {"csShiftJIS", "KoreanKSC"},
    {"ISO-2022-JP", "ISO-2022-JP"},
    {"csISO2022JP", "ISO-2022-JP"},
    {"ISO-10646-UCS-2", "ISO-10646-UCS-2"},
    {"csUnicode", "ISO-10646-UCS-2"},
    {"ISO-10646-UCS-4", "ISO-10646-UCS-4"},
    {"csUCS4", "ISO-10646-UCS-4"},
    {"ISO-8859-1:1987", "ISO-8859-1"},
    {"csISOLatin1", "ISO-8859-1"},
    {"CP819", "ISO-8859-1"},
    {"IBM819", "ISO-8859-1"},
    {"l1", "ISO-8859-1"},
    {"ISO-8859-1", "ISO-8859-1"},
    {"latin1", "ISO-8859-1"},
    {"iso-ir-100", "ISO-8859-1"},
};

TEST(CharsetAlias, BecomesAConverterName) {
    ASSERT_EQ(std::size(kAliasRows), 32U);
    for (const NameRow &row : kAliasRows) {
        SCOPED_TRACE(row.given);
        EXPECT_EQ(mapped(row.given, "old"), row.expected);
        EXPECT_EQ(mapped(row.given + "-suffix", "old"), row.expected);
        EXPECT_EQ(mapped(" " + row.given, "old"), "old");
        const std::string shorter = row.given.substr(0, row.given.size() - 1);
        // The longer row for ISO-8859-1 shortens to the shorter one.
        EXPECT_EQ(mapped(shorter, "old"), shorter == "ISO-8859-1:198" ? "ISO-8859-1" : "old");
    }
}

TEST(CharsetAlias, IsCaseSensitive) {
    for (const char *alias : {"gb2312", "euc-jp", "Ks_C_5601-1987", "big5", "utf-8", "windows-31j",
                              "shift_jis", "iso-2022-jp", "iso-8859-1", "Latin1", "L1", "cp819"}) {
        EXPECT_EQ(mapped(alias, "old"), "old") << alias;
    }
}

TEST(CharsetAlias, UnknownLeavesTheOutputAlone) {
    EXPECT_EQ(mapped("latin2", "old"), "old");
    EXPECT_EQ(mapped("", "old"), "old");
    EXPECT_EQ(mapped("UTF-7", ""), "");
}

} // namespace
