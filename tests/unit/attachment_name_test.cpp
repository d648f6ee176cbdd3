// SPDX-License-Identifier: MIT
// Display names of attachments, taken from part headers.
#include "emlcontent/attachment_name.h"

#include <cstring>

#include "emlcomm/chars.h"
#include "support/walker_fixture.h"

namespace {

using namespace std::string_literals;

// The name of `line`, which is in the line buffer, above `next` in the block.
std::string nameOf(WalkerFixture &f, const std::string &line, const std::string &next) {
    f.loadAt(line + "\n", next);
    std::memset(f.handle.lineBuffer, 0, kLineBufferSize);
    std::memcpy(f.handle.lineBuffer, line.data(), line.size());
    std::string name(kAttachNameSize, '\0');
    eml::copyFileName(&f.handle, {f.handle.lineBuffer, line.size()}, name.data());
    EXPECT_EQ(name.back(), '\0');
    return name.c_str();
}

TEST(AttachmentFileNameValue, IsTheLastQuotedTextOfTheLine) {
    const struct {
        const char *what;
        const char *line;
        const char *next;
        const char *name;
    } rows[] = {
        {"one", "Content-Disposition: attachment; filename=\"a.txt\"", "x\"", "a.txt"},
        {"later longer", "name=\"x\"; filename=\"yy.txt\"", "x\"", "yy.txt"},
        {"later shorter", "filename=\"longer.txt\"; x=\"s\"", "x\"", "s"},
        {"empty", "filename=\"\"", "x\"", ""},
        {"later empty", "filename=\"a\"; y=\"\"", "x\"", ""},
        {"closed, then unclosed", "a=\"x\"; filename=\"yz", "next\"", "yz"},
        {"quotes of another kind", "filename=\"it's\"", "", "it's"},
        {"folded", "filename=\"long", "\t name.txt\"; z=1\nmore", "longname.txt"},
        {"folded, not closed there", "filename=\"long", " name.txt\nmore", "longname.txt"},
        {"folded onto nothing", "filename=\"long", "", "long"},
        {"folded onto an empty line", "filename=\"long", "\nbody", "long"},
        {"folded directly behind the quote", "filename=\"", "  a.txt\"", "a.txt"},
        {"unquoted", "filename=a.txt", "Content-ID: 1\n", "Content-ID: 1"},
        {"unquoted, a quote below", "filename=a.txt", " x \"y\"\n", "x "},
    };
    for (const auto &row : rows) {
        WalkerFixture f;
        EXPECT_EQ(nameOf(f, row.line, row.next), row.name) << row.what;
        EXPECT_EQ(f.unread(), row.next) << row.what;
    }
}

TEST(AttachmentFileNameValue, TakesAtMost290BytesOfTheLineBelow) {
    for (const size_t blanks : {0U, 2U}) {
        WalkerFixture f;
        EXPECT_EQ(nameOf(f, "filename=\"x", std::string(blanks, ' ') + std::string(400, 'n')),
                  "x" + std::string(290 - blanks, 'n'));
    }
}

TEST(AttachmentFileNameValue, IsCutAtTheNameBuffer) {
    const std::string opening = "filename=\"";
    const std::string line = opening + std::string(2047 - opening.size(), 'q');
    WalkerFixture f;
    EXPECT_EQ(nameOf(f, line, std::string(290, 'n')),
              std::string(2047 - opening.size(), 'q') + std::string(opening.size(), 'n'));
}

TEST(AttachmentFileNameValue, EndsAtANul) {
    WalkerFixture f;
    EXPECT_EQ(nameOf(f, "filename=\"a\0b\""s, "c\"\n"), "ac");
}

TEST(UnnamedAttachment, IsCalledAttachment) {
    char name[kAttachNameSize] = {};
    eml::copyUnnamed(name, false);
    EXPECT_STREQ(name, "attachment");
    eml::copyUnnamed(name, true);
    EXPECT_STREQ(name, "attachment.eml");
}

TEST(NamesFile, LooksForTwoSpellings) {
    const struct {
        std::string line;
        bool names;
    } rows[] = {{"filename=x", true},  {"a; FileName=\"x\"", true}, {"Filename=x", false},
                {"FILENAME=x", false}, {"filename =x", false},      {"filename*=x", false},
                {"", false},           {"a\0filename=x"s, false}};
    for (const auto &row : rows) {
        EXPECT_EQ(eml::namesFile(row.line), row.names) << row.line;
    }
}

TEST(NameParameter, BecomesAFilenameLine) {
    const struct {
        const char *what;
        std::string read;
        std::string unread;
        const char *line; // null: none, the line in hand stays
    } rows[] = {
        {"on the type line", "Content-Type: image/png; name=\"a.png\"\n\n", "body",
         "filename=\"a.png\""},
        {"up to a semicolon", "name=\"a.png\"; x=y\n", "", "filename=\"a.png\""},
        {"up to a CR", "name=\"a.png\"\r\n\r\n", "", "filename=\"a.png\""},
        {"a semicolon in quotes", "name=\"a;b\"\n", "", "filename=\"a"},
        {"to the end of the block", "name=\"a", "", "filename=\"a"},
        {"inside filename=", "X: filename=\"f\"\n", "", "filename=\"f\""},
        {"any other parameter of that ending", "X: surname=\"f\"\n", "", "filename=\"f\""},
        {"the first one", "a: name=\"one\"\nb: name=\"two\"\n", "", "filename=\"one\""},
        {"the first with a quote", "a: name=one\nb: name=\"two\"\n", "", "filename=\"two\""},
        {"a blank before the quote", "a: name= \"x\"\n", "", nullptr},
        {"capitals", "a: Name=\"x\"\n", "", nullptr},
        {"only behind the position", "a\n", "name=\"x\"\n", nullptr},
        {"at the position", "", "name=\"x\"\n", nullptr},
        {"behind a NUL", "a\0name=\"x\"\n"s, "", nullptr},
        {"none", "abc\n", "def", nullptr},
    };
    for (const auto &row : rows) {
        WalkerFixture f;
        f.loadAt(row.read, row.unread);
        std::strcpy(f.handle.lineBuffer, "as before");
        f.handle.lineLength = 9;
        EXPECT_EQ(eml::replaceLineByName(&f.handle), row.line != nullptr) << row.what;
        const std::string expected = row.line != nullptr ? row.line : "as before";
        EXPECT_EQ(f.handle.lineBuffer, expected) << row.what;
        EXPECT_EQ(f.handle.lineLength, static_cast<int32_t>(expected.size())) << row.what;
        EXPECT_EQ(f.unread(), row.unread) << row.what;
    }
}

TEST(NameParameter, IsCutToTheLineBuffer) {
    WalkerFixture f;
    f.loadAt("name=\"" + std::string(3000, 'n') + "\"\n", "");
    ASSERT_TRUE(eml::replaceLineByName(&f.handle));
    EXPECT_EQ(f.handle.lineLength, 2047);
    EXPECT_EQ(f.handle.lineBuffer, "filename=\"" + std::string(2037, 'n'));
}

} // namespace
