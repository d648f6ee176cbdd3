// SPDX-License-Identifier: MIT
// The name that all attachment files of a call are derived from.
#include <algorithm>
#include <cstring>
#include <iterator>
#include <string>

#include "emlcomm/driver.h"
#include "support/filter_fixture.h"

namespace {

std::string baseNameFor(const char *inputPath, const char *tmpName) {
    FilterFixture f;
    EmlGetAttachTmpName(&f.handle, inputPath, tmpName);
    return f.handle.attachTmpName;
}

struct NameRow {
    const char *name;
    const char *inputPath;
    const char *tmpName;
    const char *result;
};

class AttachmentBaseName : public testing::TestWithParam<NameRow> {};

TEST_P(AttachmentBaseName, IsTheDirectoryAndTheDoubledBaseName) {
    const NameRow &row = GetParam();
    EXPECT_EQ(baseNameFor(row.inputPath, row.tmpName), row.result);
}

const NameRow kNameRows[] = {
    {"InBothDirectories", "/mail/in/a.eml", "/tmp/Qx12", "/tmp/a.emla.eml"},
    {"DeepDirectory", "/mail/a.eml", "/var/tmp/x/Qx12", "/var/tmp/x/a.emla.eml"},
    {"RootDirectory", "/mail/a.eml", "/Qx12", "/a.emla.eml"},
    {"TmpNameEndsInSlash", "/mail/a.eml", "/tmp/", "/tmp/a.emla.eml"},
    {"NoDirectories", "a.eml", "Qx12", "./a.emla.eml"},
    {"NoTmpName", "/mail/a.eml", "", "./a.emla.eml"},
    {"InputWithoutDirectory", "a.eml", "/tmp/Qx12", "/tmp/a.emla.eml"},
    {"InputEndsInSlash", "/mail/in/", "/tmp/Qx12", "/tmp/"},
    {"EmptyInput", "", "/tmp/Qx12", "/tmp/"},
    {"InputWithoutEnding", "/mail/a", "/tmp/Qx12", "/tmp/aa"},
    {"NullInput", nullptr, "/tmp/Qx12", "/tmp/"},
    {"NullTmpName", "/mail/in/a.eml", nullptr, "/mail/in/a.eml"},
    {"NullTmpNameAndInput", nullptr, nullptr, "Attach.eml"},
};

INSTANTIATE_TEST_SUITE_P(Rows, AttachmentBaseName, testing::ValuesIn(kNameRows),
                         [](const auto &row) { return row.param.name; });

// A name of which directory + base name + base name, or the first two alone, hit 4095 characters.
TEST(AttachmentBaseNameLength, IsAtMost4095Characters) {
    struct Row {
        size_t directory; // with its slashes
        size_t base;
        bool fits;
    };
    const Row rows[] = {
        {5, 2045, true},  // 4095 with both
        {6, 2045, false}, // 4096 with both
        {5, 2046, false}, // 4097 with both
        {5, 4090, false}, // 4095 with one
        {5, 4091, false}, // 4096 with one
        {4093, 1, true},  // 4095 with both
        {4094, 1, false}, // 4096 with both
        {4095, 0, true},  // nothing to append
        {4095, 1, false},
    };
    for (const Row &row : rows) {
        const std::string directory = "/" + std::string(row.directory - 2, 'd') + "/";
        const std::string base(row.base, 'b');
        EXPECT_EQ(baseNameFor(("/in/" + base).c_str(), directory.c_str()),
                  row.fits ? directory + base + base : "./Attach.eml")
            << row.directory << " + 2 x " << row.base;
    }
}

TEST(AttachmentBaseNameLength, ClearsTheWholeFieldForTheFallback) {
    FilterFixture f;
    std::memset(f.handle.attachTmpName, '#', sizeof(f.handle.attachTmpName));
    const std::string input(4096, 'b');
    EmlGetAttachTmpName(&f.handle, input.c_str(), "/tmp/Qx12");
    EXPECT_STREQ(f.handle.attachTmpName, "./Attach.eml");
    EXPECT_TRUE(std::all_of(f.handle.attachTmpName + std::strlen("./Attach.eml"),
                            std::end(f.handle.attachTmpName), [](char c) { return c == '\0'; }));
}

TEST(AttachmentBaseNameLength, CutsAnInputPathThatIsTakenWhole) {
    const std::string input(5000, 'b');
    EXPECT_EQ(baseNameFor(input.c_str(), nullptr), std::string(4095, 'b'));
}

TEST(EmlStrCat, Appends) {
    char dst[kPathSize] = "abc";
    EXPECT_EQ(EmlStrCat(dst, "def"), 1);
    EXPECT_STREQ(dst, "abcdef");
    EXPECT_EQ(EmlStrCat(dst, ""), 1);
    EXPECT_STREQ(dst, "abcdef");
}

TEST(EmlStrCat, FillsUpTo4095CharactersAndRefusesMore) {
    char dst[kPathSize] = "abcde";
    EXPECT_EQ(EmlStrCat(dst, std::string(4091, 'x').c_str()), 0);
    EXPECT_STREQ(dst, "abcde");
    EXPECT_EQ(EmlStrCat(dst, std::string(4090, 'x').c_str()), 1);
    EXPECT_EQ(std::strlen(dst), 4095U);
    EXPECT_EQ(EmlStrCat(dst, "y"), 0);
    EXPECT_EQ(EmlStrCat(dst, ""), 1);
}

} // namespace
