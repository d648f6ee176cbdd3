// SPDX-License-Identifier: MIT
// Promises of the log services.
#include <array>
#include <string>
#include <thread>
#include <vector>

#include <gtest/gtest.h>

#include "qob_host.h"
#include "qob_scope.h"
#include "temp_folder.h"

namespace {

using Name = std::array<char, 4096>;

std::string logNameOf(const char *path, const char *module) {
    Name name{'x'};
    GetLogFileName(path, module, name.data());
    return name.data();
}

TEST(LogName, IsThePathTheModuleAndLog) {
    EXPECT_EQ(logNameOf("/mail/out.txt", "eml"), "/mail/out.txt.eml.log");
    EXPECT_EQ(logNameOf("out.txt", "eml"), "out.txt.eml.log");
}

TEST(LogName, OfAnAliasLiesBesideTheRealFile) {
    const TempFolder folder;
    const std::string path = folder.write("letter.eml", "");
    ASSERT_EQ(qob_scope_enter(folder.path().c_str()), 0);
    Name alias{};
    ASSERT_EQ(qob_scope_alias(path.c_str(), alias.data()), 0);
    EXPECT_EQ(logNameOf(alias.data(), "eml"), path + ".eml.log");
    qob_scope_leave();
}

TEST(LogName, FillsTheBufferToItsEndAndIsEmptyBeyond) {
    const std::string longest(4095 - 8, 'x');
    EXPECT_EQ(logNameOf(longest.c_str(), "eml"), longest + ".eml.log");
    EXPECT_EQ(logNameOf((longest + "x").c_str(), "eml"), "");
}

TEST(LogName, OfNoPathIsEmpty) {
    EXPECT_EQ(logNameOf(nullptr, "eml"), "");
    EXPECT_EQ(logNameOf("", "eml"), "");
    EXPECT_EQ(logNameOf("/a", nullptr), "/a..log");
}

TEST(LogOpen, NeedsTheOption) {
    const TempFolder folder;
    EXPECT_EQ(qob_logfopen(~EML_OPT_LOG, folder.file("log").c_str()), nullptr);
    EXPECT_EQ(folder.entries(), 0U);
}

TEST(LogOpen, FailsWithoutAUsableName) {
    EXPECT_EQ(qob_logfopen(EML_OPT_LOG, nullptr), nullptr);
    EXPECT_EQ(qob_logfopen(EML_OPT_LOG, ""), nullptr);
    EXPECT_EQ(qob_logfopen(EML_OPT_LOG, "/nowhere/at/all"), nullptr);
}

TEST(LogOpen, BeginsTheLogAnew) {
    const TempFolder folder;
    const std::string path = folder.write("log", "of the last run");
    QobLog *log = qob_logfopen(EML_OPT_LOG, path.c_str());
    ASSERT_NE(log, nullptr);
    qob_logfclose(EML_OPT_LOG, log);
    EXPECT_EQ(contentOf(path), "");
}

TEST(LogPrint, IsOnDiskWhenTheCallReturns) {
    const TempFolder folder;
    QobLog *log = qob_logfopen(EML_OPT_LOG, folder.file("log").c_str());
    ASSERT_NE(log, nullptr);
    EXPECT_EQ(qob_logfprintf(EML_OPT_LOG, log, "check file finish %d.\r\n", 0), 22);
    EXPECT_EQ(contentOf(folder.file("log")), "check file finish 0.\r\n");
    qob_logfclose(EML_OPT_LOG, log);
}

TEST(LogPrint, ReportsAFullDisk) {
    QobLog *log = qob_logfopen(EML_OPT_LOG, "/dev/full");
    ASSERT_NE(log, nullptr);
    EXPECT_EQ(qob_logfprintf(EML_OPT_LOG, log, "x"), -1);
    qob_logfclose(EML_OPT_LOG, log);
}

TEST(LogPrint, WithoutALogDoesNothing) {
    EXPECT_EQ(qob_logfprintf(EML_OPT_LOG, nullptr, "%d", 1), 0);
}

TEST(LogClose, AcceptsNullAndAClosedLog) {
    const TempFolder folder;
    QobLog *log = qob_logfopen(EML_OPT_LOG, folder.file("log").c_str());
    ASSERT_NE(log, nullptr);
    qob_logfclose(EML_OPT_LOG, nullptr);
    qob_logfclose(EML_OPT_LOG, log);
    qob_logfclose(EML_OPT_LOG, log);
    EXPECT_EQ(qob_logfprintf(EML_OPT_LOG, log, "late"), 0);
    EXPECT_EQ(contentOf(folder.file("log")), "");
}

TEST(LogClose, TwiceDoesNotTouchALogOpenedInBetween) {
    const TempFolder folder;
    QobLog *first = qob_logfopen(EML_OPT_LOG, folder.file("a").c_str());
    qob_logfclose(EML_OPT_LOG, first);
    QobLog *second = qob_logfopen(EML_OPT_LOG, folder.file("b").c_str());
    ASSERT_NE(second, nullptr);
    qob_logfclose(EML_OPT_LOG, first);
    EXPECT_EQ(qob_logfprintf(EML_OPT_LOG, second, "still open"), 10);
    qob_logfclose(EML_OPT_LOG, second);
    EXPECT_EQ(contentOf(folder.file("b")), "still open");
}

TEST(Log, ServesTwoThreads) {
    const TempFolder folder;
    const auto work = [&folder](const std::string &name) {
        for (int round = 0; round < 300; ++round) {
            QobLog *log = qob_logfopen(EML_OPT_LOG, folder.file(name).c_str());
            ASSERT_NE(log, nullptr);
            EXPECT_EQ(qob_logfprintf(EML_OPT_LOG, log, "%s", name.c_str()), 1);
            qob_logfclose(EML_OPT_LOG, log);
            qob_logfclose(EML_OPT_LOG, log);
        }
    };
    std::thread other(work, "a");
    work("b");
    other.join();
    EXPECT_EQ(contentOf(folder.file("a")), "a");
    EXPECT_EQ(contentOf(folder.file("b")), "b");
}

} // namespace
