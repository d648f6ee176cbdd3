// SPDX-License-Identifier: MIT
// Promises of temporary names and extraction scopes.
#include <array>
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <set>
#include <string>
#include <string_view>
#include <thread>

#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <gtest/gtest.h>

#include "qob_host.h"
#include "qob_scope.h"
#include "temp_folder.h"

namespace {

namespace fs = std::filesystem;
using Name = std::array<char, 4096>;

std::string newName() {
    Name name{};
    return QOB_ASC_tmpnam(name.data()) == 0 ? name.data() : "";
}

std::string newNameFor(const char *basePath) {
    Name name{};
    return QOB_ASC_tmpnam1(basePath, name.data()) == 0 ? name.data() : "";
}

std::string aliasOf(const std::string &path) {
    Name alias{};
    return qob_scope_alias(path.c_str(), alias.data()) == 0 ? alias.data() : "";
}

std::string folderOf(const std::string &path) {
    return fs::path(path).parent_path();
}

std::size_t openDescriptors() {
    const fs::directory_iterator entries("/proc/self/fd");
    return static_cast<std::size_t>(std::distance(begin(entries), end(entries)));
}

// $TMPDIR for one test.
class TempRoot {
public:
    explicit TempRoot(const std::string &path) {
        const char *former = std::getenv("TMPDIR");
        if (former != nullptr) {
            former_ = former;
        }
        ::setenv("TMPDIR", path.c_str(), 1);
    }
    TempRoot(const TempRoot &) = delete;
    TempRoot &operator=(const TempRoot &) = delete;
    ~TempRoot() {
        if (former_.empty()) {
            ::unsetenv("TMPDIR");
        } else {
            ::setenv("TMPDIR", former_.c_str(), 1);
        }
    }

private:
    std::string former_;
};

TEST(Scope, MakesAPrivateDirectoryInTheGivenRoot) {
    const TempFolder folder;
    ASSERT_EQ(qob_scope_enter(folder.path().c_str()), 0);
    const std::string directory = qob_scope_directory();
    EXPECT_EQ(folderOf(directory), folder.path());
    struct stat status {};
    ASSERT_EQ(::stat(directory.c_str(), &status), 0);
    EXPECT_EQ(status.st_mode & 07777U, 0700U);
    qob_scope_leave();
    EXPECT_FALSE(fs::exists(directory));
}

TEST(Scope, TakesTMPDIRWhenNoRootIsGiven) {
    const TempFolder folder;
    const TempRoot root(folder.path());
    ASSERT_EQ(qob_scope_enter(nullptr), 0);
    EXPECT_EQ(folderOf(qob_scope_directory()), folder.path());
    qob_scope_leave();
}

TEST(Scope, TakesSlashTmpWhenTMPDIRIsEmpty) {
    const TempRoot root("");
    ASSERT_EQ(qob_scope_enter(nullptr), 0);
    EXPECT_EQ(folderOf(qob_scope_directory()), fs::canonical("/tmp"));
    qob_scope_leave();
}

TEST(Scope, IsNotEnteredWhenTheRootIsMissing) {
    errno = 0;
    EXPECT_EQ(qob_scope_enter("/nowhere/at/all"), -1);
    EXPECT_EQ(errno, ENOENT);
    EXPECT_EQ(qob_scope_depth(), 0U);
    EXPECT_EQ(qob_scope_directory(), nullptr);
}

TEST(Scope, IsARefusalWhenTheRootIsGoneAndADirectoryIsNeeded) {
    const TempFolder folder;
    const std::string root = folder.file("root");
    fs::create_directory(root);
    ASSERT_EQ(qob_scope_enter(root.c_str()), 0);
    qob_scope_leave();
    fs::remove(root);
    if (qob_scope_enter(root.c_str()) == 0) {
        errno = 0;
        EXPECT_EQ(qob_scope_directory(), nullptr);
        EXPECT_EQ(errno, ENOENT);
        qob_scope_leave();
    }
    EXPECT_EQ(qob_scope_enter(root.c_str()), -1);
    fs::create_directory(root);
    ASSERT_EQ(qob_scope_enter(root.c_str()), 0);
    EXPECT_NE(qob_scope_directory(), nullptr);
    qob_scope_leave();
}

TEST(Scope, TakesARootWithSlashesBehindIt) {
    const TempFolder folder;
    ASSERT_EQ(qob_scope_enter((folder.path() + "//").c_str()), 0);
    EXPECT_EQ(folderOf(qob_scope_directory()), folder.path());
    qob_scope_leave();
}

TEST(Scope, HoldsAfterAChangeOfDirectory) {
    const TempFolder folder;
    const fs::path former = fs::current_path();
    fs::current_path(folder.path());
    ASSERT_EQ(qob_scope_enter("."), 0);
    fs::current_path(former);
    EXPECT_EQ(folderOf(qob_scope_directory()), fs::canonical(folder.path()));
    qob_scope_leave();
}

TEST(Scope, HasNothingOfTheOneBefore) {
    const TempFolder folder;
    const std::string path = folder.write("a.eml", "text");
    ASSERT_EQ(qob_scope_enter(folder.path().c_str()), 0);
    const std::string directory = qob_scope_directory();
    const std::string alias = aliasOf(path);
    qob_scope_leave();
    ASSERT_EQ(qob_scope_enter(folder.path().c_str()), 0);
    EXPECT_EQ(folder.entries(), 1U);
    EXPECT_EQ(qob_scope_real_path(alias.c_str()), alias);
    EXPECT_NE(qob_scope_directory(), directory);
    qob_scope_leave();
}

TEST(Scope, HasAnotherNameInAForkedProcess) {
    const TempFolder folder;
    const auto nextName = [&folder] {
        EXPECT_EQ(qob_scope_enter(folder.path().c_str()), 0);
        std::string name = newName();
        qob_scope_leave();
        return name;
    };
    nextName();
    const pid_t child = ::fork();
    if (child == 0) {
        folder.write("child", nextName());
        ::_exit(0);
    }
    ASSERT_EQ(::waitpid(child, nullptr, 0), child);
    const std::string name = nextName();
    EXPECT_FALSE(contentOf(folder.file("child")).empty());
    EXPECT_NE(contentOf(folder.file("child")), name);
}

TEST(Scope, LeavingWithoutOneDoesNothing) {
    qob_scope_leave();
    EXPECT_EQ(qob_scope_depth(), 0U);
}

TEST(Scope, NestsWithDirectoriesSideBySide) {
    const TempFolder folder;
    ASSERT_EQ(qob_scope_enter(folder.path().c_str()), 0);
    const std::string outer = qob_scope_directory();
    for (uint32_t level = 2; level <= 50; ++level) {
        ASSERT_EQ(qob_scope_enter(nullptr), 0);
        EXPECT_EQ(qob_scope_depth(), level);
        EXPECT_EQ(folderOf(qob_scope_directory()), folder.path());
    }
    while (qob_scope_depth() > 1) {
        qob_scope_leave();
    }
    EXPECT_EQ(qob_scope_directory(), outer);
    EXPECT_EQ(folder.entries(), 1U);
    qob_scope_leave();
    EXPECT_EQ(folder.entries(), 0U);
}

TEST(Scope, RemovesWhatIsLeftAndFollowsNoLink) {
    const TempFolder folder;
    fs::create_directory(folder.file("precious"));
    folder.write("precious/letter", "dear");
    ASSERT_EQ(qob_scope_enter(folder.path().c_str()), 0);
    const fs::path directory = qob_scope_directory();
    fs::create_directories(directory / "a/b/c");
    std::ofstream(directory / "a/b/c/file") << "x";
    fs::create_symlink(folder.file("precious"), directory / "a/b/link");
    qob_scope_leave();
    EXPECT_FALSE(fs::exists(directory));
    EXPECT_EQ(contentOf(folder.file("precious/letter")), "dear");
}

TEST(Scope, ClosesWhatWasLeftOpenInIt) {
    const TempFolder folder;
    const std::string path = folder.write("a", "abc");
    QobFile *before = QOB_FileOpen(path.c_str(), "rb");
    const std::size_t open = openDescriptors();
    ASSERT_EQ(qob_scope_enter(folder.path().c_str()), 0);
    QobFile *outer = QOB_FileOpen(path.c_str(), "rb");
    ASSERT_EQ(qob_scope_enter(nullptr), 0);
    QobFile *left = QOB_FileOpen(path.c_str(), "rb");
    QobFile *closed = QOB_FileOpen(path.c_str(), "rb");
    EXPECT_EQ(QOB_FileClose(closed), 0);
    qob_scope_leave();
    EXPECT_EQ(QOB_FileTell(left), -1);
    EXPECT_EQ(QOB_FileTell(outer), 0);
    qob_scope_leave();
    EXPECT_EQ(QOB_FileTell(outer), -1);
    EXPECT_EQ(openDescriptors(), open);
    EXPECT_EQ(QOB_FileClose(before), 0);
}

TEST(Scope, AFileOfTheOuterScopeMayBeClosedInTheInner) {
    const TempFolder folder;
    ASSERT_EQ(qob_scope_enter(folder.path().c_str()), 0);
    QobFile *file = QOB_FileOpen(folder.write("a", "abc").c_str(), "rb");
    ASSERT_EQ(qob_scope_enter(nullptr), 0);
    EXPECT_EQ(QOB_FileClose(file), 0);
    qob_scope_leave();
    qob_scope_leave();
}

TEST(Scope, AFileClosedOnAnotherThreadDoesNotHoldUpLeaving) {
    const TempFolder folder;
    ASSERT_EQ(qob_scope_enter(folder.path().c_str()), 0);
    QobFile *file = QOB_FileOpen(folder.write("a", "abc").c_str(), "rb");
    std::thread([file] { EXPECT_EQ(QOB_FileClose(file), 0); }).join();
    qob_scope_leave();
    EXPECT_EQ(qob_scope_depth(), 0U);
}

TEST(Scope, BelongsToItsThread) {
    const TempFolder folder;
    ASSERT_EQ(qob_scope_enter(folder.path().c_str()), 0);
    std::thread([] {
        EXPECT_EQ(qob_scope_depth(), 0U);
        EXPECT_EQ(qob_scope_directory(), nullptr);
    }).join();
    qob_scope_leave();
}

TEST(Scope, TwoThreadsWorkSideBySide) {
    const TempFolder folder;
    const auto work = [&folder] {
        for (int round = 0; round < 100; ++round) {
            ASSERT_EQ(qob_scope_enter(folder.path().c_str()), 0);
            for (int i = 0; i < 20; ++i) {
                const std::string name = newName();
                QobFile *file = QOB_FileOpen(name.c_str(), "wb+");
                ASSERT_NE(file, nullptr);
                EXPECT_EQ(QOB_FileWrite(name.data(), 1, static_cast<int32_t>(name.size()), file),
                          static_cast<int32_t>(name.size()));
                EXPECT_EQ(QOB_FileTellSize(file), name.size());
                if (i % 2 == 0) {
                    EXPECT_EQ(QOB_FileClose(file), 0);
                }
            }
            qob_scope_leave();
        }
    };
    std::thread other(work);
    work();
    other.join();
    EXPECT_EQ(folder.entries(), 0U);
}

TEST(TemporaryName, LiesInTheScopeIsShortAndIsNoFileYet) {
    const TempFolder folder;
    ASSERT_EQ(qob_scope_enter(folder.path().c_str()), 0);
    const std::string directory = qob_scope_directory();
    for (const std::string &name : {newName(), newNameFor("/mail/out.txt")}) {
        EXPECT_EQ(folderOf(name), directory);
        EXPECT_LE(name.size(), directory.size() + 12) << name;
        EXPECT_FALSE(fs::exists(name));
    }
    qob_scope_leave();
}

TEST(TemporaryName, StaysShortForALongBasePath) {
    const TempFolder folder;
    ASSERT_EQ(qob_scope_enter(folder.path().c_str()), 0);
    const std::string longPath = "/" + std::string(4000, 'x');
    const std::string name = newNameFor(longPath.c_str());
    EXPECT_LE(name.size(), std::strlen(qob_scope_directory()) + 12) << name;
    qob_scope_leave();
}

TEST(TemporaryName, CarriesATagOfTheBasePath) {
    const TempFolder folder;
    ASSERT_EQ(qob_scope_enter(folder.path().c_str()), 0);
    const auto tag = [](const std::string &name) { return name.substr(name.rfind('-')); };
    EXPECT_EQ(tag(newNameFor("/mail/a")), tag(newNameFor("/mail/a")));
    EXPECT_NE(tag(newNameFor("/mail/a")), tag(newNameFor("/mail/b")));
    EXPECT_FALSE(newNameFor(nullptr).empty());
    EXPECT_FALSE(newNameFor("").empty());
    qob_scope_leave();
}

TEST(TemporaryName, IsNeverGivenOutTwice) {
    const TempFolder folder;
    std::set<std::string> names;
    std::size_t given = 0;
    for (int scope = 0; scope < 3; ++scope) {
        for (int i = 0; i < 500; ++i, given += 2) {
            names.insert(newName());
            names.insert(newNameFor("/mail/out.txt"));
        }
        ASSERT_EQ(qob_scope_enter(folder.path().c_str()), 0);
    }
    while (qob_scope_depth() > 0) {
        qob_scope_leave();
    }
    EXPECT_EQ(names.size(), given);
    EXPECT_FALSE(names.contains(""));
}

TEST(TemporaryName, OutsideScopesLiesInTMPDIRAndCannotBeGuessed) {
    const TempFolder folder;
    const TempRoot root(folder.path());
    const std::string first = newName();
    const std::string second = newName();
    EXPECT_EQ(folderOf(first), folder.path());
    EXPECT_GE(fs::path(first).filename().string().size(), 20U);
    EXPECT_NE(first.substr(0, first.rfind('-')), second.substr(0, second.rfind('-')));
    EXPECT_EQ(folder.entries(), 0U);
}

TEST(TemporaryName, ThatWouldBeTooLongFailsAndIsEmpty) {
    const TempRoot root("/" + std::string(4090, 'x'));
    Name name{'x'};
    EXPECT_NE(QOB_ASC_tmpnam(name.data()), 0);
    EXPECT_STREQ(name.data(), "");
    EXPECT_NE(QOB_ASC_tmpnam1("/a", name.data()), 0);
    EXPECT_STREQ(name.data(), "");
}

TEST(Alias, StandsForTheFileUnderAShortName) {
    const TempFolder folder;
    const std::string path = folder.write(std::string(200, 'n') + ".eml", "Subject: x");
    ASSERT_EQ(qob_scope_enter(folder.path().c_str()), 0);
    const std::string alias = aliasOf(path);
    EXPECT_EQ(folderOf(alias), qob_scope_directory());
    EXPECT_LE(fs::path(alias).filename().string().size(), 8U);
    EXPECT_TRUE(alias.ends_with(".eml"));
    EXPECT_EQ(contentOf(alias), "Subject: x");
    EXPECT_EQ(qob_scope_real_path(alias.c_str()), path);
    qob_scope_leave();
    EXPECT_TRUE(fs::exists(path));
}

TEST(Alias, KeepsOnlyEndingsThatAreWordsOfUpToEightCharacters) {
    const TempFolder folder;
    ASSERT_EQ(qob_scope_enter(folder.path().c_str()), 0);
    const std::pair<const char *, const char *> rows[] = {
        {"/m/a.eml", ".eml"},   {"/m/a.b.HTM", ".HTM"}, {"/m/a.12345678", ".12345678"},
        {"/m/a.123456789", ""}, {"/m/a", ""},           {"/m/a.", ""},
        {"/m.eml/a", ""},       {"/m/a.e l", ""},       {"/m/.eml", ".eml"},
    };
    for (const auto &[path, ending] : rows) {
        EXPECT_EQ(fs::path("x" + fs::path(aliasOf(path)).filename().string()).extension(), ending)
            << path;
    }
    qob_scope_leave();
}

TEST(Alias, OfARelativePathHoldsAfterAChangeOfDirectory) {
    const TempFolder folder;
    folder.write("a.eml", "text");
    const fs::path former = fs::current_path();
    fs::current_path(folder.path());
    ASSERT_EQ(qob_scope_enter(nullptr), 0);
    const std::string alias = aliasOf("a.eml");
    fs::current_path(former);
    EXPECT_EQ(contentOf(alias), "text");
    EXPECT_STREQ(qob_scope_real_path(alias.c_str()), "a.eml");
    qob_scope_leave();
}

TEST(Alias, OfAnAliasStandsForTheFirstPath) {
    const TempFolder folder;
    const std::string path = folder.write("a.eml", "text");
    ASSERT_EQ(qob_scope_enter(folder.path().c_str()), 0);
    const std::string outer = aliasOf(path);
    ASSERT_EQ(qob_scope_enter(nullptr), 0);
    const std::string inner = aliasOf(outer);
    EXPECT_EQ(contentOf(inner), "text");
    EXPECT_EQ(qob_scope_real_path(inner.c_str()), path);
    qob_scope_leave();
    qob_scope_leave();
}

TEST(Alias, RemovedDoesNotTouchTheFile) {
    const TempFolder folder;
    const std::string path = folder.write("a.eml", "text");
    ASSERT_EQ(qob_scope_enter(folder.path().c_str()), 0);
    EXPECT_EQ(QOB_ASC_remove(aliasOf(path).c_str()), 0);
    qob_scope_leave();
    EXPECT_EQ(contentOf(path), "text");
}

TEST(Alias, FailsOutsideScopesAndForNoPath) {
    Name alias{'x'};
    EXPECT_EQ(qob_scope_alias("/m/a.eml", alias.data()), -1);
    EXPECT_STREQ(alias.data(), "");
    const TempFolder folder;
    ASSERT_EQ(qob_scope_enter(folder.path().c_str()), 0);
    EXPECT_EQ(qob_scope_alias("", alias.data()), -1);
    EXPECT_EQ(qob_scope_alias(nullptr, alias.data()), -1);
    EXPECT_EQ(qob_scope_alias(("/" + std::string(5000, 'x')).c_str(), alias.data()), -1);
    EXPECT_STREQ(alias.data(), "");
    qob_scope_leave();
}

TEST(RealPath, OfWhatIsNoAliasIsThePathItself) {
    const char *path = "/mail/a.eml";
    EXPECT_EQ(qob_scope_real_path(path), path);
    EXPECT_EQ(qob_scope_real_path(nullptr), nullptr);
}

} // namespace
