// SPDX-License-Identifier: MIT
// Promises of the file and memory services.
#include <array>
#include <cstdint>
#include <cstring>
#include <string>

#include <fcntl.h>
#include <unistd.h>

#include <gtest/gtest.h>

#include "qob_host.h"
#include "temp_folder.h"

namespace {

// A file that is `size` bytes long without taking the room.
std::string sparseFile(const TempFolder &folder, off_t size) {
    std::string path = folder.write("sparse", "");
    if (::truncate(path.c_str(), size) != 0) {
        throw std::runtime_error("cannot make a sparse file: " + path);
    }
    return path;
}

std::string readAll(QobFile *file) {
    std::array<char, 64> buffer{};
    const int32_t length = QOB_FileRead(buffer.data(), 1, buffer.size(), file);
    return {buffer.data(), static_cast<std::size_t>(length)};
}

TEST(FileOpen, FailsForNamesAndModesThatAreNone) {
    const TempFolder folder;
    const std::string path = folder.write("a", "x");
    EXPECT_EQ(QOB_FileOpen(nullptr, "rb"), nullptr);
    EXPECT_EQ(QOB_FileOpen("", "rb"), nullptr);
    EXPECT_EQ(QOB_FileOpen(folder.file("missing").c_str(), "rb"), nullptr);
    for (const char *mode : {"", "x", "rbwb", "rq", "b"}) {
        EXPECT_EQ(QOB_FileOpen(path.c_str(), mode), nullptr) << mode;
    }
    EXPECT_EQ(QOB_FileOpen(path.c_str(), nullptr), nullptr);
}

TEST(FileOpen, RefusesADirectory) {
    const TempFolder folder;
    EXPECT_EQ(QOB_FileOpen(folder.path().c_str(), "rb"), nullptr);
    EXPECT_EQ(errno, EISDIR);
}

TEST(FileOpen, IsNotInheritedByOtherPrograms) {
    const TempFolder folder;
    const std::string path = folder.write("a", "x");
    QobFile *file = QOB_FileOpen(path.c_str(), "rb");
    ASSERT_NE(file, nullptr);
    bool found = false;
    for (const auto &entry : std::filesystem::directory_iterator("/proc/self/fd")) {
        std::error_code gone;
        if (std::filesystem::read_symlink(entry, gone) != path) {
            continue;
        }
        found = true;
        EXPECT_NE(::fcntl(std::stoi(entry.path().filename()), F_GETFD) & FD_CLOEXEC, 0);
    }
    EXPECT_TRUE(found);
    QOB_FileClose(file);
}

TEST(FileWrite, WritesItemsAndTellsHowMany) {
    const TempFolder folder;
    QobFile *file = QOB_FileOpen(folder.file("a").c_str(), "wb");
    ASSERT_NE(file, nullptr);
    EXPECT_EQ(QOB_FileWrite("abcdef", 2, 3, file), 3);
    EXPECT_EQ(QOB_FileWrite("gh", 1, 2, file), 2);
    EXPECT_EQ(QOB_FileClose(file), 0);
    EXPECT_EQ(contentOf(folder.file("a")), "abcdefgh");
}

TEST(FileWrite, WritesNothingForACountOfZeroOrLess) {
    const TempFolder folder;
    QobFile *file = QOB_FileOpen(folder.file("a").c_str(), "wb");
    ASSERT_NE(file, nullptr);
    EXPECT_EQ(QOB_FileWrite("abc", 1, 0, file), 0);
    EXPECT_EQ(QOB_FileWrite("abc", 1, -2, file), 0);
    EXPECT_EQ(QOB_FileWrite("abc", 1, INT32_MIN, file), 0);
    EXPECT_EQ(QOB_FileWrite("abc", 0, 3, file), 0);
    EXPECT_EQ(QOB_FileWrite("abc", -1, 3, file), 0);
    EXPECT_EQ(QOB_FileClose(file), 0);
    EXPECT_EQ(contentOf(folder.file("a")), "");
}

TEST(FileWrite, AFullDiskIsReportedByCloseAtTheLatest) {
    QobFile *file = QOB_FileOpen("/dev/full", "wb");
    ASSERT_NE(file, nullptr);
    QOB_FileWrite("abc", 1, 3, file);
    EXPECT_NE(QOB_FileClose(file), 0);
}

TEST(FileRead, StopsAtTheEnd) {
    const TempFolder folder;
    QobFile *file = QOB_FileOpen(folder.write("a", "abcde").c_str(), "rb");
    ASSERT_NE(file, nullptr);
    std::array<char, 8> buffer{};
    EXPECT_EQ(QOB_FileRead(buffer.data(), 2, 4, file), 2);
    EXPECT_EQ(QOB_FileRead(buffer.data(), 1, 8, file), 0);
    EXPECT_EQ(QOB_FileRead(buffer.data(), 1, -1, file), 0);
    QOB_FileClose(file);
}

TEST(FileRead, AndWriteMayAlternateWithoutASeek) {
    const TempFolder folder;
    QobFile *file = QOB_FileOpen(folder.file("a").c_str(), "wb+");
    ASSERT_NE(file, nullptr);
    EXPECT_EQ(QOB_FileWrite("abcdef", 1, 6, file), 6);
    EXPECT_EQ(QOB_FileSeek(file, 0, 0), 0);
    std::array<char, 2> buffer{};
    EXPECT_EQ(QOB_FileRead(buffer.data(), 1, 2, file), 2);
    EXPECT_EQ(QOB_FileWrite("XY", 1, 2, file), 2);
    EXPECT_EQ(readAll(file), "ef");
    EXPECT_EQ(QOB_FileClose(file), 0);
    EXPECT_EQ(contentOf(folder.file("a")), "abXYef");
}

TEST(FileSeek, CountsFromStartPositionAndEnd) {
    const TempFolder folder;
    QobFile *file = QOB_FileOpen(folder.write("a", "abcdef").c_str(), "rb");
    ASSERT_NE(file, nullptr);
    EXPECT_EQ(QOB_FileSeek(file, 4, 0), 0);
    EXPECT_EQ(QOB_FileTell(file), 4);
    EXPECT_EQ(QOB_FileSeek(file, -1, 1), 0);
    EXPECT_EQ(QOB_FileTell(file), 3);
    EXPECT_EQ(QOB_FileSeek(file, -2, 2), 0);
    EXPECT_EQ(readAll(file), "ef");
    QOB_FileClose(file);
}

TEST(FileSeek, KeepsThePositionWhenItFails) {
    const TempFolder folder;
    QobFile *file = QOB_FileOpen(folder.write("a", "abcdef").c_str(), "rb");
    ASSERT_NE(file, nullptr);
    QOB_FileSeek(file, 2, 0);
    EXPECT_NE(QOB_FileSeek(file, -1, 0), 0);
    EXPECT_NE(QOB_FileSeek(file, 0, 3), 0);
    EXPECT_NE(QOB_FileSeek(file, 0, -1), 0);
    EXPECT_EQ(QOB_FileTell(file), 2);
    QOB_FileClose(file);
}

TEST(FileTell, IsMinusOneBeyondTwoGiB) {
    const TempFolder folder;
    QobFile *file = QOB_FileOpen(sparseFile(folder, off_t{1} << 31U).c_str(), "rb");
    ASSERT_NE(file, nullptr);
    EXPECT_EQ(QOB_FileSeek(file, -1, 2), 0);
    EXPECT_EQ(QOB_FileTell(file), INT32_MAX);
    EXPECT_EQ(QOB_FileSeek(file, 0, 2), 0);
    EXPECT_EQ(QOB_FileTell(file), -1);
    QOB_FileClose(file);
}

TEST(FileTellSize, KeepsThePosition) {
    const TempFolder folder;
    QobFile *file = QOB_FileOpen(folder.write("a", "abcdef").c_str(), "rb");
    ASSERT_NE(file, nullptr);
    QOB_FileSeek(file, 2, 0);
    EXPECT_EQ(QOB_FileTellSize(file), 6U);
    EXPECT_EQ(QOB_FileTell(file), 2);
    EXPECT_EQ(readAll(file), "cdef");
    QOB_FileClose(file);
}

TEST(FileTellSize, CountsWhatIsStillBuffered) {
    const TempFolder folder;
    QobFile *file = QOB_FileOpen(folder.file("a").c_str(), "wb");
    ASSERT_NE(file, nullptr);
    QOB_FileWrite("abc", 1, 3, file);
    EXPECT_EQ(QOB_FileTellSize(file), 3U);
    QOB_FileWrite("d", 1, 1, file);
    EXPECT_EQ(QOB_FileTellSize(file), 4U);
    QOB_FileClose(file);
}

TEST(FileTellSize, TellsSizesUpToFourGiB) {
    const TempFolder folder;
    QobFile *file = QOB_FileOpen(sparseFile(folder, 0xFFFFFFFE).c_str(), "rb");
    ASSERT_NE(file, nullptr);
    EXPECT_EQ(QOB_FileTellSize(file), 0xFFFFFFFEU);
    QOB_FileClose(file);
    file = QOB_FileOpen(sparseFile(folder, 0x100000000).c_str(), "rb");
    ASSERT_NE(file, nullptr);
    EXPECT_EQ(QOB_FileTellSize(file), 0xFFFFFFFFU);
    QOB_FileClose(file);
}

TEST(FileTellSize, IsUnknownForWhatIsNoRegularFile) {
    QobFile *file = QOB_FileOpen("/dev/null", "rb");
    ASSERT_NE(file, nullptr);
    EXPECT_EQ(QOB_FileTellSize(file), 0xFFFFFFFFU);
    QOB_FileClose(file);
}

void expectDead(QobFile *file) {
    char byte = 'x';
    EXPECT_EQ(QOB_FileRead(&byte, 1, 1, file), 0);
    EXPECT_EQ(QOB_FileWrite(&byte, 1, 1, file), 0);
    EXPECT_NE(QOB_FileSeek(file, 0, 0), 0);
    EXPECT_EQ(QOB_FileTell(file), -1);
    EXPECT_EQ(QOB_FileTellSize(file), 0xFFFFFFFFU);
    EXPECT_NE(QOB_FileClose(file), 0);
}

TEST(FileHandle, ThatIsNoneMakesEveryCallFail) {
    alignas(16) std::array<char, 64> notAFile{};
    expectDead(nullptr);
    expectDead(reinterpret_cast<QobFile *>(notAFile.data()));
    expectDead(reinterpret_cast<QobFile *>(notAFile.data() + 1));
    expectDead(reinterpret_cast<QobFile *>(UINTPTR_MAX)); // NOLINT(performance-no-int-to-ptr)
}

TEST(FileHandle, ClosedBeforeDoesNotTouchTheFileOpenedAfterIt) {
    const TempFolder folder;
    QobFile *first = QOB_FileOpen(folder.write("a", "first").c_str(), "rb");
    ASSERT_NE(first, nullptr);
    EXPECT_EQ(QOB_FileClose(first), 0);
    QobFile *second = QOB_FileOpen(folder.write("b", "second").c_str(), "rb");
    ASSERT_NE(second, nullptr);
    EXPECT_NE(first, second);
    expectDead(first);
    EXPECT_EQ(readAll(second), "second");
    EXPECT_EQ(QOB_FileClose(second), 0);
}

TEST(FileHandle, HundredsMayBeOpenTogether) {
    const TempFolder folder;
    const std::string path = folder.write("a", "x");
    std::vector<QobFile *> files;
    files.reserve(700);
    for (int i = 0; i < 700; ++i) {
        files.push_back(QOB_FileOpen(path.c_str(), "rb"));
    }
    for (QobFile *file : files) {
        EXPECT_EQ(readAll(file), "x");
        EXPECT_EQ(QOB_FileClose(file), 0);
    }
}

TEST(FindFile, TellsWhetherTheNameIsTaken) {
    const TempFolder folder;
    EXPECT_EQ(QOB_FindFile(folder.file("a").c_str()), -1);
    EXPECT_NE(QOB_FindFile(folder.write("a", "").c_str()), -1);
    std::filesystem::create_symlink("nowhere", folder.file("link"));
    EXPECT_NE(QOB_FindFile(folder.file("link").c_str()), -1);
    EXPECT_EQ(QOB_FindFile(""), -1);
    EXPECT_EQ(QOB_FindFile(nullptr), -1);
}

TEST(Remove, DeletesFilesAndNothingElse) {
    const TempFolder folder;
    EXPECT_EQ(QOB_ASC_remove(folder.write("a", "x").c_str()), 0);
    EXPECT_FALSE(std::filesystem::exists(folder.file("a")));
    EXPECT_NE(QOB_ASC_remove(folder.file("a").c_str()), 0);
    std::filesystem::create_directory(folder.file("empty"));
    EXPECT_NE(QOB_ASC_remove(folder.file("empty").c_str()), 0);
    EXPECT_NE(QOB_ASC_remove(""), 0);
    EXPECT_NE(QOB_ASC_remove(nullptr), 0);
}

TEST(Memory, GrowsAndKeepsItsContent) {
    auto *block = static_cast<char *>(QOB_malloc(4));
    ASSERT_NE(block, nullptr);
    std::memcpy(block, "abc", 4);
    block = static_cast<char *>(QOB_realloc(block, 4000));
    ASSERT_NE(block, nullptr);
    EXPECT_STREQ(block, "abc");
    QOB_free(block);
    QOB_free(nullptr);
}

TEST(Memory, ABlockShrunkToNothingIsStillABlock) {
    void *block = QOB_realloc(QOB_malloc(8), 0);
    EXPECT_NE(block, nullptr);
    QOB_free(block);
}

} // namespace
