// SPDX-License-Identifier: MIT
// Output files take the place of another file when they are complete, and not before.
#include <cerrno>
#include <string>

#include <sys/stat.h>
#include <unistd.h>

#include <gmock/gmock.h>

#include "support.h"

namespace {

using namespace txif_test;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

class OutputFile : public ScriptedFilters {
protected:
    static bool write(QobOutputFile *output, const std::string &text) {
        return qob_output_write(output, text.data(), static_cast<uint32_t>(text.size())) != 0;
    }
    static mode_t modeOf(const std::string &path) {
        struct stat status {};
        stat(path.c_str(), &status);
        return status.st_mode & 07777;
    }
};

TEST_F(OutputFile, AppearsWhenItIsCommitted) {
    const std::string path = files() + "/out";
    QobOutputFile *output = qob_output_open(path.c_str());
    EXPECT_TRUE(write(output, "text"));
    EXPECT_NE(access(path.c_str(), F_OK), 0);
    EXPECT_EQ(qob_output_close(output, 1), 0);
    EXPECT_EQ(contentOf(path), "text");
    EXPECT_THAT(namesIn(files()), ElementsAre("out"));
}

TEST_F(OutputFile, LeavesNothingWhenItIsNotCommitted) {
    QobOutputFile *output = qob_output_open((files() + "/out").c_str());
    EXPECT_TRUE(write(output, "text"));
    EXPECT_EQ(qob_output_close(output, 0), 0);
    EXPECT_THAT(namesIn(files()), IsEmpty());
}

TEST_F(OutputFile, KeepsTheOldContentUntilItIsCommitted) {
    const std::string path = file("out", "old");
    QobOutputFile *output = qob_output_open(path.c_str());
    EXPECT_TRUE(write(output, "new"));
    EXPECT_EQ(contentOf(path), "old");
    EXPECT_EQ(qob_output_close(output, 1), 0);
    EXPECT_EQ(contentOf(path), "new");
}

TEST_F(OutputFile, KeepsThePermissionsOfTheFileItReplaces) {
    const std::string path = file("out", "old");
    chmod(path.c_str(), 0604);
    QobOutputFile *output = qob_output_open(path.c_str());
    EXPECT_EQ(qob_output_close(output, 1), 0);
    EXPECT_EQ(modeOf(path), 0604U);
}

TEST_F(OutputFile, IsCreatedWithThePermissionsThatTheUmaskLeaves) {
    const std::string path = files() + "/out";
    const mode_t former = umask(027);
    QobOutputFile *output = qob_output_open(path.c_str());
    umask(former);
    EXPECT_EQ(qob_output_close(output, 1), 0);
    EXPECT_EQ(modeOf(path), 0640U);
}

TEST_F(OutputFile, ReplacesWhereASymbolicLinkLeads) {
    const std::string path = file("out", "old");
    const std::string link = files() + "/link";
    ASSERT_EQ(symlink(path.c_str(), link.c_str()), 0);
    QobOutputFile *output = qob_output_open(link.c_str());
    EXPECT_TRUE(write(output, "new"));
    EXPECT_EQ(qob_output_close(output, 1), 0);
    EXPECT_EQ(contentOf(path), "new");
    struct stat status {};
    lstat(link.c_str(), &status);
    EXPECT_TRUE(S_ISLNK(status.st_mode));
}

TEST_F(OutputFile, OnADeviceIsWrittenInPlace) {
    QobOutputFile *output = qob_output_open("/dev/null");
    EXPECT_TRUE(write(output, "text"));
    EXPECT_EQ(qob_output_close(output, 1), 0);
    struct stat status {};
    stat("/dev/null", &status);
    EXPECT_TRUE(S_ISCHR(status.st_mode));
}

TEST_F(OutputFile, TellsAtTheLatestWhenItIsClosedThatTheDiskIsFull) {
    QobOutputFile *output = qob_output_open("/dev/full");
    write(output, "text");
    EXPECT_EQ(qob_output_close(output, 1), -1);
    EXPECT_EQ(errno, ENOSPC);
}

TEST_F(OutputFile, RefusesFurtherTextAfterAFailedWrite) {
    QobOutputFile *output = qob_output_open("/dev/full");
    EXPECT_FALSE(write(output, std::string(1000000, 'x')));
    EXPECT_FALSE(write(output, "x"));
    EXPECT_EQ(qob_output_close(output, 0), 0);
}

TEST_F(OutputFile, CannotBeADirectoryOrWithoutAName) {
    EXPECT_EQ(qob_output_open(files().c_str()), nullptr);
    EXPECT_EQ(errno, EISDIR);
    EXPECT_EQ(qob_output_open(""), nullptr);
    EXPECT_EQ(qob_output_open(nullptr), nullptr);
    EXPECT_EQ(qob_output_close(nullptr, 1), 0);
}

TEST_F(OutputFile, MayHaveTheLongestNameThatThereIs) {
    const std::string path = files() + "/" + std::string(255, 'n');
    QobOutputFile *output = qob_output_open(path.c_str());
    ASSERT_NE(output, nullptr);
    EXPECT_TRUE(write(output, "text"));
    EXPECT_EQ(qob_output_close(output, 1), 0);
    EXPECT_EQ(contentOf(path), "text");
}

} // namespace
