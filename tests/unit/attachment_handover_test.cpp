// SPDX-License-Identifier: MIT
// The hand-over of an attachment to the host: what the host is told, and what its answer does.
#include <cstring>

#include "emlcontent/part_walkers.h"
#include "support/walker_fixture.h"

namespace {

constexpr const char *kPart = "X: filename=\"a\"\n\nhello\n--b--\n";
constexpr const char *kLabel = "\nAttach1:\nattachmemt_name: a\n\n";
const std::string kFile = kAttachBase + "1";

// Walks kPart; the flags are those of the row.
int32_t walk(WalkerFixture &f, uint32_t flags) {
    f.params.flags = flags;
    f.load(kPart);
    const int32_t code = Mix_attach(&f.handle);
    f.expectNothingLeft();
    return code;
}

TEST(HandOver, PassesTheHostsOwnRecords) {
    WalkerFixture f;
    int callback = 0;
    f.handle.errCallback = &callback;
    f.handle.attachmentCount = 6;
    EXPECT_EQ(walk(f, 2), EML_OK);
    ASSERT_EQ(f.host.inserts.size(), 1U);
    const InsertCall &call = f.host.inserts[0];
    EXPECT_EQ(call.name, kFile);
    EXPECT_TRUE(call.sameParams);
    EXPECT_EQ(call.callback, &callback);
    EXPECT_STREQ(call.session.path, kOutputName);
    EXPECT_EQ(call.session.attachmentNumber, 6U);
    EXPECT_FALSE(call.toStream);
}

TEST(HandOver, GoesToTheStreamInStreamMode) {
    WalkerFixture f;
    f.useStream();
    EXPECT_EQ(walk(f, 2), EML_OK);
    ASSERT_EQ(f.host.inserts.size(), 1U);
    EXPECT_TRUE(f.host.inserts[0].toStream);
    EXPECT_EQ(f.output(), std::string(kLabel) + "<hello\n>");
}

TEST(HandOver, IsSkippedInNeitherMode) {
    WalkerFixture f;
    f.handle.fileMode = 0;
    EXPECT_EQ(walk(f, 2), EML_OK);
    EXPECT_TRUE(f.host.inserts.empty());
    EXPECT_EQ(f.host.removed, std::vector<std::string>{kFile});
}

TEST(HandOver, ClosesTheFileBeforeAndRemovesItAfter) {
    WalkerFixture f;
    EXPECT_EQ(walk(f, 2), EML_OK);
    std::vector<std::string> steps;
    for (const std::string &call : f.host.calls) {
        if (call == "QOB_FileClose " + kFile || call == "insert " + kFile ||
            call == "QOB_ASC_remove " + kFile) {
            steps.push_back(call);
        }
    }
    EXPECT_EQ(steps, (std::vector<std::string>{"QOB_FileClose " + kFile, "insert " + kFile,
                                               "QOB_ASC_remove " + kFile}));
}

TEST(HandOver, ObeysTheFlags) {
    const std::string label = kLabel;
    const struct {
        uint32_t flags;
        std::string output;
    } rows[] = {
        {0x0, ""},
        {0x2, label + "<hello\n>"},
        {0x4, ""},
        {0x6, label},
        {0x8002, "<hello\n>"},
        {0x8006, ""},
        {0x8000, ""},
        {0x1F, label},
        {0x1D, ""},
        {0x1B, label + "<hello\n>"},
        {0x801B, "<hello\n>"},
        {0x801F, ""},
    };
    for (const auto &row : rows) {
        WalkerFixture f;
        EXPECT_EQ(walk(f, row.flags), EML_OK) << row.flags;
        EXPECT_EQ(f.output(), row.output) << row.flags;
        EXPECT_EQ(f.handle.attachmentCount, 1) << row.flags;
        EXPECT_EQ(f.host.removed, std::vector<std::string>{kFile}) << row.flags;
    }
}

TEST(HandOver, TellsTheNumberOnlyWithFlag2) {
    for (const uint32_t flags : {0x2U, 0x6U, 0x8002U, 0x0U, 0x8U}) {
        WalkerFixture f;
        f.session.attachmentNumber = 77;
        f.handle.attachmentCount = 3;
        EXPECT_EQ(walk(f, flags), EML_OK);
        EXPECT_EQ(f.session.attachmentNumber, (flags & 2U) != 0 ? 3U : 77U) << flags;
    }
}

TEST(HandOver, OfNoFileTellsTheNumberAndDoesNothing) {
    WalkerFixture f;
    f.session.savedOutputCount = 5;
    f.handle.outputCount = 9;
    f.load("\nhello\n--b--\n");
    EXPECT_EQ(Mix_attach(&f.handle), EML_OK);
    EXPECT_EQ(f.session.attachmentNumber, 0xFFFFFFFFU);
    EXPECT_EQ(f.session.savedOutputCount, 5U);
    EXPECT_TRUE(f.host.inserts.empty());
    EXPECT_TRUE(f.host.removed.empty());
}

TEST(HandOver, SharesTheOutputCountWithFlag8) {
    WalkerFixture f;
    f.setLimit(1000);
    f.session.savedOutputCount = 777;
    EXPECT_EQ(walk(f, 0x2 | 0x8), EML_OK);
    EXPECT_EQ(f.host.inserts[0].session.savedOutputCount, std::strlen(kLabel));
    EXPECT_EQ(f.handle.outputCount, std::strlen(kLabel) + 8); // "<hello\n>"
}

TEST(HandOver, SharesTheOutputCountAlsoWhenNothingIsHandedOver) {
    WalkerFixture f;
    f.setLimit(1000);
    f.session.savedOutputCount = 777;
    EXPECT_EQ(walk(f, 0x2 | 0x4 | 0x8), EML_OK);
    EXPECT_EQ(f.session.savedOutputCount, std::strlen(kLabel));
    EXPECT_EQ(f.handle.outputCount, std::strlen(kLabel));
}

TEST(HandOver, KeepsTheOutputCountToItselfWithoutFlag8) {
    WalkerFixture f;
    f.setLimit(1000);
    f.session.savedOutputCount = 777;
    EXPECT_EQ(walk(f, 0x2), EML_OK);
    EXPECT_EQ(f.host.inserts[0].session.savedOutputCount, 777U);
    EXPECT_EQ(f.handle.outputCount, std::strlen(kLabel));
}

TEST(HandOver, ReturnsTheHostsError) {
    for (const uint32_t flags : {0x2U, 0xAU, 0x8002U}) {
        WalkerFixture f;
        f.host.insertResult = 4711;
        EXPECT_EQ(walk(f, flags), 4711) << flags;
        EXPECT_EQ(f.handle.result, 0);
        EXPECT_EQ(f.host.removed, std::vector<std::string>{kFile});
    }
}

TEST(HandOver, StoresTheHostsErrorWithFlag10) {
    for (const uint32_t flags : {0x12U, 0x1AU, 0x8012U}) {
        WalkerFixture f;
        f.setLimit(1000);
        f.host.insertResult = 4711;
        EXPECT_EQ(walk(f, flags), EML_OK) << flags;
        EXPECT_EQ(f.handle.result, 4711);
        const size_t label = (flags & 0x8000U) != 0 ? 0 : std::strlen(kLabel);
        EXPECT_EQ(f.handle.outputCount, label + ((flags & 8U) != 0 ? 8 : 0)) << flags;
        EXPECT_EQ(f.host.removed, std::vector<std::string>{kFile});
    }
}

TEST(HandOver, OfALaterSuccessKeepsTheStoredError) {
    WalkerFixture f;
    f.params.flags = 0x12;
    f.load(std::string(kPart) + kPart);
    f.host.failCall("insert", 1);
    EXPECT_EQ(Mix_attach(&f.handle), EML_OK);
    EXPECT_EQ(Mix_attach(&f.handle), EML_OK);
    EXPECT_EQ(f.host.inserts.size(), 2U);
    EXPECT_EQ(f.handle.result, 4242);
}

} // namespace
