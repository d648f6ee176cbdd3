// SPDX-License-Identifier: MIT
// The input check: the default charset of each language, and whether a file exists.
#include "emlcomm/input_check.h"

#include <cstring>
#include <string>

#include "support/filter_fixture.h"

namespace {

std::string defaultCharsetOf(const std::string &language) {
    FilterFixture f;
    std::memset(f.params.language, 0, sizeof(f.params.language));
    std::memcpy(f.params.language, language.data(), language.size());
    std::memset(f.handle.defaultCharset, '#', sizeof(f.handle.defaultCharset));
    EXPECT_EQ(IsEMLFile(&f.handle), 0);
    return f.handle.defaultCharset;
}

TEST(IsEMLFile, ChoosesTheDefaultCharsetOfTheLanguage) {
    struct Row {
        std::string language;
        const char *charset;
    };
    const Row rows[] = {
        {"cn", "ChineseGBK"},      {"Simplified Chinese", "ChineseGBK"},
        {"tw", "ChineseBIG5"},     {"Traditional Chinese", "ChineseBIG5"},
        {"jp", "WINDOWS31J"},      {"Japanese", "WINDOWS31J"},
        {"Korean", "KoreanKSC"},   {"ko", "KoreanKSC"},
        {"English", "ISO-8859-1"}, {"en", "ISO-8859-1"},
    };
    for (const Row &row : rows) {
        EXPECT_EQ(defaultCharsetOf(row.language), row.charset) << row.language;
    }
}

TEST(IsEMLFile, TakesJapaneseForEveryOtherLanguage) {
    for (const std::string language :
         {"", "EN", "english", "ENGLISH", "kr", "KO", "CN", "e", "eng", "English ", " en", "en\n",
          "Chinese", "simplified chinese", "French", "ja"}) {
        EXPECT_EQ(defaultCharsetOf(language), "WINDOWS31J") << language;
    }
}

TEST(IsEMLFile, ReadsALanguageFieldThatIsFullToItsEnd) {
    EXPECT_EQ(defaultCharsetOf("en" + std::string(254, 'x')), "WINDOWS31J");
}

TEST(IsEMLFile, DoesNotLookAtTheInput) {
    FilterFixture f;
    EXPECT_EQ(IsEMLFile(&f.handle), 0);
    EXPECT_TRUE(f.host.calls.empty());
    EXPECT_TRUE(f.host.counts.empty());
}

TEST(EmlCheckFile, TellsWhetherAFileExists) {
    ScriptedHost host;
    host.files["/tmp/here"] = "";
    EXPECT_EQ(EmlCheckFile("/tmp/here"), 1);
    EXPECT_EQ(EmlCheckFile("/tmp/not here"), 0);
    EXPECT_EQ(EmlCheckFile(""), 0);
    EXPECT_EQ(host.count("QOB_FindFile"), 3);
}

} // namespace
