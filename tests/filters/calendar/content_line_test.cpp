// SPDX-License-Identifier: MIT
// Content lines: their parts, escapes and folds.
#include "content_line.h"

#include <gmock/gmock.h>

#include "filter_fixture.h"
#include "unfolder.h"

namespace qob::filters {
namespace {

using testing::ElementsAre;

std::vector<std::string> unfold(std::string_view bytes, std::size_t pieceSize) {
    std::vector<std::string> lines;
    Unfolder unfolder;
    const auto keep = [&lines](std::string_view line) { lines.emplace_back(line); };
    for (std::size_t at = 0; at < bytes.size(); at += pieceSize) {
        unfolder.feed(bytes.substr(at, pieceSize), keep);
    }
    unfolder.finish(keep);
    return lines;
}

TEST(ContentLine, HasNameParametersAndValue) {
    const auto line = parseContentLine("Tel;type=work,\"a;b:c,d\";X=:+1:2");
    ASSERT_TRUE(line);
    EXPECT_EQ(line->name, "TEL");
    ASSERT_EQ(line->parameters.size(), 2U);
    EXPECT_EQ(line->parameters[0].name, "TYPE");
    EXPECT_THAT(line->parameters[0].values, ElementsAre("work", "a;b:c,d"));
    EXPECT_EQ(line->value, "+1:2");
}

TEST(ContentLine, GroupIsNoPartOfTheName) {
    EXPECT_EQ(parseContentLine("item1.TEL:1")->name, "TEL");
}

TEST(ContentLine, ValueWithoutANameIsAParameter) {
    const auto line = parseContentLine("TEL;WORK;FAX:1");
    ASSERT_EQ(line->parameters.size(), 2U);
    EXPECT_EQ(line->parameters[0].name, "");
    EXPECT_THAT(line->parameters[0].values, ElementsAre("WORK"));
    EXPECT_EQ(line->value, "1");
}

TEST(ContentLine, CaretsInParametersAreEscapes) {
    EXPECT_EQ(parseContentLine("A;CN=^'Jo^' ^^ ^n^x:v")->parameter("CN"), "\"Jo\" ^ \n^x");
}

TEST(ContentLine, OtherLinesAreNone) {
    for (const char *line :
         {"", ":", "no colon", "NAME;P=v", "NAME", " :x", "NAME;P=\"a:b", "=:"}) {
        EXPECT_FALSE(parseContentLine(line)) << line;
    }
}

TEST(ContentLine, EscapesStandForCharacters) {
    EXPECT_EQ(unescaped("a\\nb\\Nc\\,\\;\\\\\\:d\\x\\"), "a\nb\nc,;\\:d\\x\\");
}

TEST(ContentLine, PartsAreDividedWhereNothingIsEscaped) {
    EXPECT_THAT(partsOf("a;b\\;c;;d", ';'), ElementsAre("a", "b;c", "", "d"));
    EXPECT_THAT(partsOf("", ';'), ElementsAre(""));
    EXPECT_THAT(partsOf("a\\", ';'), ElementsAre("a\\"));
}

TEST(Unfolder, JoinsLinesInPiecesOfAnySize) {
    constexpr std::string_view kFile =
        "a:1\r\n 2\r\n\t3\n\nb;QUOTED-PRINTABLE:x=\r\ny\r\nc:=\r\nd:4\r \n e";
    for (std::size_t size = 1; size <= kFile.size(); ++size) {
        EXPECT_THAT(unfold(kFile, size),
                    ElementsAre("a:123", "", "b;QUOTED-PRINTABLE:xy", "c:=", "d:4e"))
            << size;
    }
}

TEST(Unfolder, CutsALineThatIsTooLong) {
    const std::string line(Unfolder::kMaxLine + 10, 'x');
    EXPECT_THAT(unfold(line + "\nb", 65536), ElementsAre(testing::SizeIs(Unfolder::kMaxLine), "b"));
}

} // namespace
} // namespace qob::filters
