// SPDX-License-Identifier: MIT
// Plain text files: every charset, every kind of line end.
#include <string>

#include "filter_fixture.h"

namespace qob::tests {
namespace {

class TextFilter : public FilterTest {
protected:
    std::string read(std::string_view bytes) { return textOf(TEXT_FILTER, bytes); }
};

TEST_F(TextFilter, CopiesTextAsItIs) {
    EXPECT_EQ(read("one\n\n\n  two\tthree"), "one\n\n\n  two\tthree");
    EXPECT_EQ(read(""), "");
}

TEST_F(TextFilter, TurnsEveryLineEndIntoTheHosts) {
    EXPECT_EQ(read("a\r\nb\rc\nd\r\r\ne\ff\vg"), "a\nb\nc\nd\n\ne\nf\ng");
    params_.options = EML_OPT_NEWLINE_2;
    EXPECT_EQ(read("a\r\nb\rc\nd"), "a\r\nb\r\nc\r\nd");
}

TEST_F(TextFilter, LeavesControlCodesOut) {
    EXPECT_EQ(read(std::string_view("a\0b\x01"
                                    "c\x7F"
                                    "d\x1A",
                                    8)),
              "abcd");
}

TEST_F(TextFilter, ReadsByteOrderMarks) {
    EXPECT_EQ(read("\xEF\xBB\xBF日"), "日");
    EXPECT_EQ(read("\xFF\xFE" + encoded("UTF-16LE", "a日")), "a日");
    EXPECT_EQ(read("\xFE\xFF" + encoded("UTF-16BE", "a日")), "a日");
    EXPECT_EQ(read(std::string("\xFF\xFE\0\0", 4) + encoded("UTF-32LE", "a😀")), "a😀");
    EXPECT_EQ(read(std::string("\0\0\xFE\xFF", 4) + encoded("UTF-32BE", "a😀")), "a😀");
    EXPECT_EQ(read("\xFF\xFE"), "");
}

TEST_F(TextFilter, ReadsUtf16WithoutMark) {
    EXPECT_EQ(read(encoded("UTF-16LE", "Hello\r\n")), "Hello\n");
    EXPECT_EQ(read(encoded("UTF-16BE", "Hello\r\n")), "Hello\n");
    EXPECT_EQ(read(encoded("UTF-16LE", "日本語\n")), "日本語\n");
    EXPECT_EQ(read(encoded("UTF-16BE", "日本語のメール 1\n")), "日本語のメール 1\n");
}

TEST_F(TextFilter, ReplacesBrokenUtf16) {
    EXPECT_EQ(read(std::string("\xFF\xFE"
                               "a\0\x3D\xD8"
                               "b\0\x00\xDE"
                               "c",
                               11)),
              "a\uFFFDb\uFFFD\uFFFD");
}

TEST_F(TextFilter, ReadsUtf8CutOffAtItsEnd) {
    EXPECT_EQ(read("日本\xE8\xAA"), "日本\uFFFD");
}

TEST_F(TextFilter, KeepsCharactersWholeAcrossPieces) {
    // Pieces of 65,536 and 16,384 bytes are cut inside characters and between CR and LF.
    for (const std::size_t shift : {0U, 1U, 2U, 3U}) {
        const std::string start = repeated("x", shift);
        EXPECT_EQ(read(start + repeated("漢字", 50000)) == start + repeated("漢字", 50000), true);
        EXPECT_EQ(read(start + repeated("\r\n", 50000)) == start + repeated("\n", 50000), true);
        const std::string utf16 = "\xFF\xFE" + encoded("UTF-16LE", start + repeated("😀a", 50000));
        EXPECT_EQ(read(utf16) == start + repeated("😀a", 50000), true);
    }
}

TEST_F(TextFilter, KeepsShiftStateAcrossPieces) {
    const std::string japanese = encoded("ISO-2022-JP", repeated("漢字", 40000));
    EXPECT_EQ(read(japanese) == repeated("漢字", 40000), true);
}

TEST_F(TextFilter, FindsEightBitTextFarIntoTheFile) {
    setLanguage("Korean");
    const std::string ascii = repeated("plain text\n", 60000);
    EXPECT_EQ(read(ascii + encoded("windows-949", "안녕하세요")) == ascii + "안녕하세요", true);
}

} // namespace
} // namespace qob::tests
