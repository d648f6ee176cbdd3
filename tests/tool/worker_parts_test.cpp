// SPDX-License-Identifier: MIT
// The quoting of mbox files, and frames that nobody should have sent.
#include <array>
#include <ostream>
#include <string>
#include <string_view>

#include <sys/socket.h>
#include <unistd.h>

#include <gtest/gtest.h>

#include "worker/input_copy.h"
#include "worker/worker_protocol.h"

namespace {

using namespace emltext;

std::string unquoted(std::string_view text, std::size_t pieceSize) {
    FromUnquoter unquoter;
    std::string result;
    while (!text.empty()) {
        result += unquoter.feed(text.substr(0, pieceSize));
        text.remove_prefix(std::min(pieceSize, text.size()));
    }
    return result + std::string(unquoter.end());
}

struct Quoted {
    const char *name;
    const char *text;
    const char *expected;
};

void PrintTo(const Quoted &quoted, std::ostream *out) {
    *out << quoted.name;
}

class UnquotedMbox : public ::testing::TestWithParam<Quoted> {};

TEST_P(UnquotedMbox, IsTheSameInPiecesOfAnySize) {
    for (const std::size_t pieceSize : {1U, 2U, 3U, 5U, 100U}) {
        EXPECT_EQ(unquoted(GetParam().text, pieceSize), GetParam().expected) << pieceSize;
    }
}

INSTANTIATE_TEST_SUITE_P(
    All, UnquotedMbox,
    ::testing::Values(
        Quoted{"Nothing", "", ""}, Quoted{"Text", "text\n", "text\n"},
        Quoted{"OneMarkIsTakenOff", ">From a\n>>From b\nFrom c\n", "From a\n>From b\nFrom c\n"},
        Quoted{"OnlyAtTheBeginning", "text >From a\n> From b\n>Front\n",
               "text >From a\n> From b\n>Front\n"},
        Quoted{"MarksAlone", ">>>\n>\n>", ">>>\n>\n>"}, Quoted{"CutWord", ">Fro", ">Fro"},
        Quoted{"WithoutABlank", ">>>From", ">>>From"}, Quoted{"AtTheEnd", ">From ", "From "},
        Quoted{"BehindAnotherWord", ">F>From \n>From\n", ">F>From \n>From\n"},
        Quoted{"CrLf", "\r\n>From a\r\n\r\n>From b", "\r\nFrom a\r\n\r\nFrom b"}));

class Frames : public ::testing::Test {
protected:
    void SetUp() override { ASSERT_EQ(socketpair(AF_UNIX, SOCK_SEQPACKET, 0, ends_.data()), 0); }
    void TearDown() override {
        close(ends_[0]);
        close(ends_[1]);
    }
    Received received() { return receiveReport(ends_[0], report_); }

    std::array<int, 2> ends_{};
    WorkerReport report_;
};

TEST_F(Frames, CarryAReport) {
    WorkerReport sent;
    sent.note = {7, -1, "because"};
    sent.outcome.bytesOut = uint64_t{1} << 40U;
    sent.outcome.truncated = true;
    sendReport(ends_[1], sent);
    ASSERT_EQ(received(), Received::kFrame);
    EXPECT_EQ(report_.kind, WorkerReport::Kind::kResult);
    EXPECT_EQ(report_.note.attachment, 7U);
    EXPECT_EQ(report_.note.code, -1);
    EXPECT_EQ(report_.note.reason, "because");
    EXPECT_EQ(report_.outcome.bytesOut, uint64_t{1} << 40U);
    EXPECT_TRUE(report_.outcome.truncated);
    EXPECT_EQ(received(), Received::kNothing);
}

TEST_F(Frames, CutALongReason) {
    WorkerReport sent;
    sent.note.reason = std::string(5000, 'x');
    sendReport(ends_[1], sent);
    ASSERT_EQ(received(), Received::kFrame);
    EXPECT_EQ(report_.note.reason.size(), kMaxReason);
}

TEST_F(Frames, CarryAJobAndItsFiles) {
    Job job;
    job.sequence = 9;
    job.path = "mail/a.eml";
    job.offset = 5;
    ASSERT_TRUE(sendJob(ends_[0], job, STDOUT_FILENO, STDIN_FILENO));
    ReceivedJob got;
    ASSERT_TRUE(receiveJob(ends_[1], got));
    EXPECT_EQ(got.job.sequence, 9U);
    EXPECT_EQ(got.job.path, "mail/a.eml");
    EXPECT_EQ(got.job.offset, 5U);
    EXPECT_GT(got.output, 2);
    EXPECT_GT(got.input, 2);
    close(got.output);
    close(got.input);
}

TEST_F(Frames, ThatAreNoneEndTheConversation) {
    const std::array<std::string, 4> none = {"x", std::string(12, '\xFF'), std::string(5000, '\0'),
                                             std::string(54, '\xFF')};
    for (const std::string &frame : none) {
        ASSERT_GT(send(ends_[1], frame.data(), frame.size(), 0), 0);
        EXPECT_EQ(received(), Received::kEnd) << frame.size();
    }
    shutdown(ends_[1], SHUT_WR);
    EXPECT_EQ(received(), Received::kEnd);
}

TEST_F(Frames, CannotBeSentToNobody) {
    close(ends_[1]);
    EXPECT_FALSE(sendJob(ends_[0], Job{}, STDOUT_FILENO, -1));
    ends_[1] = dup(ends_[0]);
}

} // namespace
