// SPDX-License-Identifier: MIT
// Promises of temporary files in a scope: small ones are in memory, and nobody notices who asks the
// host for them.
#include <array>
#include <cerrno>
#include <csignal>
#include <string>
#include <thread>
#include <vector>

#include <sys/resource.h>
#include <unistd.h>

#include <gtest/gtest.h>

#include "qob_host.h"
#include "qob_scope.h"
#include "temp_folder.h"

namespace {

namespace fs = std::filesystem;

// A folder with a scope in it.
class TempFile : public testing::Test {
protected:
    void SetUp() override { ASSERT_EQ(qob_scope_enter(folder.path().c_str()), 0); }
    void TearDown() override {
        while (qob_scope_depth() > 0) {
            qob_scope_leave();
        }
        EXPECT_EQ(folder.entries(), 0U);
    }

    static std::string newName() {
        std::array<char, 4096> name{};
        return QOB_ASC_tmpnam(name.data()) == 0 ? name.data() : "";
    }

    static std::string written(const std::string &content) {
        std::string name = newName();
        QobFile *file = QOB_FileOpen(name.c_str(), "wb");
        EXPECT_EQ(QOB_FileWrite(content.data(), 1, static_cast<int32_t>(content.size()), file),
                  static_cast<int32_t>(content.size()));
        EXPECT_EQ(QOB_FileClose(file), 0);
        return name;
    }

    static std::string readBack(const std::string &name) {
        std::string content(200000, '\0');
        QobFile *file = QOB_FileOpen(name.c_str(), "rb");
        const int32_t size = QOB_FileRead(content.data(), 1, 200000, file);
        QOB_FileClose(file);
        content.resize(static_cast<std::size_t>(size));
        return content;
    }

    TempFolder folder;
};

TEST_F(TempFile, ThatIsSmallIsReadBackWithoutADirectory) {
    const std::string name = written("text");
    EXPECT_EQ(readBack(name), "text");
    EXPECT_NE(QOB_FindFile(name.c_str()), -1);
    EXPECT_EQ(folder.entries(), 0U);
}

TEST_F(TempFile, ThatIsRemovedIsGone) {
    const std::string name = written("text");
    EXPECT_EQ(QOB_ASC_remove(name.c_str()), 0);
    EXPECT_EQ(QOB_FindFile(name.c_str()), -1);
    EXPECT_EQ(QOB_FileOpen(name.c_str(), "rb"), nullptr);
    EXPECT_NE(QOB_ASC_remove(name.c_str()), 0);
}

TEST_F(TempFile, ThatWasNeverMadeIsNotThere) {
    const std::string name = newName();
    EXPECT_EQ(QOB_FindFile(name.c_str()), -1);
    errno = 0;
    EXPECT_EQ(QOB_FileOpen(name.c_str(), "rb"), nullptr);
    EXPECT_EQ(errno, ENOENT);
    EXPECT_EQ(folder.entries(), 0U);
}

TEST_F(TempFile, ThatGrowsLiesOnDiskInAPrivateDirectory) {
    const std::string text(150000, 'x');
    const std::string name = written(text);
    EXPECT_EQ(contentOf(name), text);
    EXPECT_EQ(fs::status(fs::path(name).parent_path()).permissions(), fs::perms::owner_all);
}

TEST_F(TempFile, ThatIsStoredIsThereForEverybody) {
    const std::string name = written("text");
    EXPECT_EQ(qob_scope_store(name.c_str()), 0);
    EXPECT_EQ(contentOf(name), "text");
    EXPECT_EQ(readBack(name), "text");
    EXPECT_EQ(QOB_ASC_remove(name.c_str()), 0);
    EXPECT_FALSE(fs::exists(name));
}

TEST_F(TempFile, OfTheOuterScopeIsSeenInTheInner) {
    const std::string name = written("text");
    ASSERT_EQ(qob_scope_enter(nullptr), 0);
    EXPECT_EQ(readBack(name), "text");
    qob_scope_leave();
    EXPECT_EQ(readBack(name), "text");
}

TEST_F(TempFile, IsReadByManyAtOnce) {
    const std::string name = written("text");
    QobFile *first = QOB_FileOpen(name.c_str(), "rb");
    QobFile *second = QOB_FileOpen(name.c_str(), "rb");
    std::array<char, 4> bytes{};
    EXPECT_EQ(QOB_FileRead(bytes.data(), 1, 3, first), 3);
    EXPECT_EQ(QOB_FileRead(bytes.data(), 1, 4, second), 4);
    EXPECT_EQ(QOB_FileTell(first), 3);
    EXPECT_EQ(QOB_FileClose(first), 0);
    EXPECT_EQ(QOB_FileClose(second), 0);
}

TEST_F(TempFile, ThatIsWrittenWhileOthersReadGivesThemTheNewBytes) {
    const std::string name = written("text");
    QobFile *reader = QOB_FileOpen(name.c_str(), "rb");
    QobFile *writer = QOB_FileOpen(name.c_str(), "rb+");
    ASSERT_NE(writer, nullptr);
    EXPECT_EQ(QOB_FileWrite("TEXT", 1, 4, writer), 4);
    EXPECT_EQ(QOB_FileClose(writer), 0);
    std::array<char, 4> bytes{};
    EXPECT_EQ(QOB_FileRead(bytes.data(), 1, 4, reader), 4);
    EXPECT_EQ(std::string(bytes.data(), 4), "TEXT");
    EXPECT_EQ(QOB_FileClose(reader), 0);
}

TEST_F(TempFile, ThatIsRemovedWhileItIsOpenCanStillBeUsed) {
    const std::string name = newName();
    QobFile *file = QOB_FileOpen(name.c_str(), "wb+");
    EXPECT_EQ(QOB_FileWrite("text", 1, 4, file), 4);
    EXPECT_EQ(QOB_ASC_remove(name.c_str()), 0);
    EXPECT_EQ(QOB_FindFile(name.c_str()), -1);
    EXPECT_EQ(QOB_FileSeek(file, 1, 0), 0);
    std::array<char, 4> bytes{};
    EXPECT_EQ(QOB_FileRead(bytes.data(), 1, 4, file), 3);
    EXPECT_EQ(QOB_FileClose(file), 0);
}

TEST_F(TempFile, MayBeFilledAndClosedOnAnotherThread) {
    const std::string name = newName();
    QobFile *file = QOB_FileOpen(name.c_str(), "wb");
    std::thread([file] {
        const std::string text(200000, 'y');
        EXPECT_EQ(QOB_FileWrite(text.data(), 1, 200000, file), 200000);
        EXPECT_EQ(QOB_FileClose(file), 0);
    }).join();
    EXPECT_EQ(readBack(name).size(), 200000U);
}

TEST_F(TempFile, OfManySmallOnesTheLaterLieOnDisk) {
    std::vector<std::string> names;
    names.reserve(40);
    for (int i = 0; i < 40; ++i) {
        names.push_back(written(std::to_string(i)));
    }
    EXPECT_FALSE(fs::exists(names.front()));
    EXPECT_TRUE(fs::exists(names.back()));
    for (int i = 0; i < 40; ++i) {
        EXPECT_EQ(readBack(names[static_cast<std::size_t>(i)]), std::to_string(i));
    }
}

TEST_F(TempFile, ThatSomebodyElseMadeIsOpenedAndEmptiedOnDisk) {
    const std::string name = std::string(qob_scope_directory()) + "/mine";
    std::ofstream(name) << "longer text";
    QobFile *file = QOB_FileOpen(name.c_str(), "wb");
    EXPECT_EQ(QOB_FileWrite("x", 1, 1, file), 1);
    EXPECT_EQ(QOB_FileClose(file), 0);
    EXPECT_EQ(contentOf(name), "x");
}

TEST_F(TempFile, ThatFindsNoRoomOnDiskIsReportedByTheWriteAndTheClose) {
    const auto former = std::signal(SIGXFSZ, SIG_IGN);
    rlimit before{};
    getrlimit(RLIMIT_FSIZE, &before);
    const rlimit small{100000, before.rlim_max};
    setrlimit(RLIMIT_FSIZE, &small);
    const std::string text(200000, 'x');
    QobFile *file = QOB_FileOpen(newName().c_str(), "wb");
    EXPECT_LT(QOB_FileWrite(text.data(), 1, 200000, file), 200000);
    EXPECT_NE(QOB_FileClose(file), 0);
    setrlimit(RLIMIT_FSIZE, &before);
    static_cast<void>(std::signal(SIGXFSZ, former));
}

TEST_F(TempFile, ThatGrowsWhereNoDirectoryCanBeMadeFailsAndLosesNothingElse) {
    const TempFolder gone;
    const std::string root = gone.file("root");
    fs::create_directory(root);
    ASSERT_EQ(qob_scope_enter(root.c_str()), 0);
    const std::string small = written("small");
    fs::remove(root);
    const std::string text(200000, 'x');
    QobFile *file = QOB_FileOpen(newName().c_str(), "wb");
    EXPECT_LT(QOB_FileWrite(text.data(), 1, 200000, file), 200000);
    EXPECT_NE(QOB_FileClose(file), 0);
    EXPECT_EQ(qob_scope_directory(), nullptr);
    EXPECT_NE(qob_scope_store(small.c_str()), 0);
    EXPECT_EQ(readBack(small), "small");
}

TEST_F(TempFile, HasAnAliasThatOpensIt) {
    const std::string name = newName() + std::string(120, 'n') + ".htm";
    QobFile *file = QOB_FileOpen(name.c_str(), "wb");
    QOB_FileWrite("text", 1, 4, file);
    QOB_FileClose(file);
    ASSERT_EQ(qob_scope_enter(nullptr), 0);
    std::array<char, 4096> alias{};
    ASSERT_EQ(qob_scope_alias(name.c_str(), alias.data()), 0);
    EXPECT_EQ(readBack(alias.data()), "text");
    EXPECT_EQ(qob_scope_real_path(alias.data()), name);
    EXPECT_NE(QOB_FindFile(alias.data()), -1);
    EXPECT_EQ(qob_scope_store(alias.data()), 0);
    EXPECT_EQ(contentOf(alias.data()), "text");
    EXPECT_EQ(QOB_ASC_remove(alias.data()), 0);
    EXPECT_EQ(readBack(name), "text");
}

TEST_F(TempFile, HasAnAliasWhoseRemovalLeavesIt) {
    const std::string name = written("text");
    std::array<char, 4096> alias{};
    ASSERT_EQ(qob_scope_alias(name.c_str(), alias.data()), 0);
    EXPECT_EQ(QOB_ASC_remove(alias.data()), 0);
    EXPECT_EQ(QOB_FindFile(alias.data()), -1);
    EXPECT_EQ(readBack(name), "text");
}

TEST_F(TempFile, ClosedToBeReopenedBeginsAnew) {
    const TempFolder other;
    const std::string path = other.write("a", "abcdef");
    std::array<char, 6> bytes{};
    QobFile *file = QOB_FileOpen(path.c_str(), "rb");
    EXPECT_EQ(QOB_FileRead(bytes.data(), 1, 3, file), 3);
    qob_file_close_to_reopen(file, path.c_str());
    EXPECT_EQ(QOB_FileTell(file), -1);
    QobFile *again = QOB_FileOpen(path.c_str(), "rb");
    EXPECT_NE(again, file);
    EXPECT_EQ(QOB_FileTell(again), 0);
    EXPECT_EQ(QOB_FileRead(bytes.data(), 1, 6, again), 6);
    EXPECT_EQ(std::string(bytes.data(), 6), "abcdef");
    EXPECT_EQ(QOB_FileClose(again), 0);
}

TEST_F(TempFile, ClosedToBeReopenedTellsItsSizeAsItGrows) {
    const TempFolder other;
    const std::string path = other.write("a", "abcdef");
    qob_file_close_to_reopen(QOB_FileOpen(path.c_str(), "rb"), path.c_str());
    QobFile *again = QOB_FileOpen(path.c_str(), "rb");
    EXPECT_EQ(QOB_FileTellSize(again), 6U);
    other.write("a", "abcdefghi");
    EXPECT_EQ(QOB_FileTellSize(again), 9U);
    EXPECT_EQ(QOB_FileSeek(again, -1, 2), 0);
    EXPECT_EQ(QOB_FileTell(again), 8);
    EXPECT_EQ(QOB_FileClose(again), 0);
}

TEST_F(TempFile, ClosedToBeReopenedTellsItsSizeInMemory) {
    const std::string name = written("text");
    qob_file_close_to_reopen(QOB_FileOpen(name.c_str(), "rb"), name.c_str());
    QobFile *again = QOB_FileOpen(name.c_str(), "rb");
    ASSERT_EQ(qob_scope_store(name.c_str()), 0);
    EXPECT_EQ(QOB_FileTellSize(again), 4U);
    EXPECT_EQ(QOB_FileClose(again), 0);
}

TEST_F(TempFile, ClosedToBeReopenedIsClosedWithTheScope) {
    const TempFolder other;
    const std::string path = other.write("a", "abc");
    const auto open = [] {
        const fs::directory_iterator entries("/proc/self/fd");
        return std::distance(begin(entries), end(entries));
    };
    const auto before = open();
    qob_file_close_to_reopen(QOB_FileOpen(path.c_str(), "rb"), path.c_str());
    qob_scope_leave();
    EXPECT_EQ(open(), before);
}

} // namespace
