// SPDX-License-Identifier: MIT
// Failures inside the digest walker: its code, and what it cleans up.
#include <cstring>
#include <set>

#include "emlcontent/part_walkers.h"
#include "support/walker_fixture.h"

namespace {

const std::string kMore = "\n" + std::string(200, '.') + "\n";
const std::string kFile = kAttachBase + "1.eml";

struct DigestFixture : WalkerFixture {
    DigestFixture() {
        handle.contentType = EML_CT_MULTIPART_DIGEST;
        std::strcpy(handle.boundary, "d");
        handle.attachmentCount = 1;
    }
};

// The labels off, so that the first buffer of a walk is the name's.
struct QuietFixture : DigestFixture {
    QuietFixture() { params.flags = kFlagsNoLabels; }
};

TEST(DigestFailure, OfTheNameBufferIs3000) {
    DigestFixture f;
    f.load("Subject: x\n--d" + kMore);
    f.host.failCall("QOB_malloc", 1);
    EXPECT_EQ(Mix_attach_list(&f.handle), EML_ERR_MEMORY);
    EXPECT_EQ(f.output(), "");
    EXPECT_TRUE(f.host.removed.empty());
    f.expectNothingLeft();
}

TEST(DigestFailure, OfTheFileIs22) {
    DigestFixture f;
    f.load("Subject: x\n--d" + kMore);
    f.host.failCall("QOB_FileOpen", 1);
    EXPECT_EQ(Mix_attach_list(&f.handle), EML_ERR_INPUT);
    EXPECT_EQ(f.output(), "\nAttach1:");
    EXPECT_TRUE(f.host.removed.empty());
    f.expectNothingLeft();
}

TEST(DigestFailure, OfARawWriteIs24) {
    for (const int32_t length : {0, 3}) {
        QuietFixture f;
        f.load("body\nmore\n--d" + kMore);
        f.host.failWritesTo(".eml1.eml", 3); // the second line; its line ends are writes too
        f.host.shortWriteLength = length;
        EXPECT_EQ(Mix_attach_list(&f.handle), EML_ERR_SHORT_WRITE);
        EXPECT_EQ(f.host.removed, std::vector<std::string>{kFile});
        EXPECT_TRUE(f.host.inserts.empty());
        f.expectNothingLeft();
    }
}

TEST(DigestFailure, OfALineEndIsNotLookedAt) {
    QuietFixture f;
    f.load("body\n\nmore\n--d" + kMore);
    f.host.failWritesTo(".eml1.eml", 2);
    EXPECT_EQ(Mix_attach_list(&f.handle), 1);
    EXPECT_EQ(f.handedOver(), "body\nmore\n");
}

TEST(DigestFailure, OfTheBase64DecoderIs3000) {
    for (const int n : {2, 3}) { // behind the name's buffer: the decoder's two
        QuietFixture f;
        f.handle.partTransferEncoding = EML_TE_BASE64;
        f.load("aGVsbG8h\n--d" + kMore);
        f.host.failCall("QOB_malloc", n);
        EXPECT_EQ(Mix_attach_list(&f.handle), EML_ERR_MEMORY);
        EXPECT_EQ(f.host.removed, std::vector<std::string>{kFile});
        f.expectNothingLeft();
    }
}

TEST(DigestFailure, OfTheQuotedPrintableDecoderCostsALine) {
    QuietFixture f;
    f.handle.partTransferEncoding = EML_TE_QUOTED_PRINTABLE;
    f.load("one\ntwo\n--d" + kMore);
    f.host.failCall("QOB_malloc", 2);
    EXPECT_EQ(Mix_attach_list(&f.handle), 1);
    EXPECT_EQ(f.handedOver(), "two\n");
}

TEST(DigestFailure, OfTheDisplayNameIs3000AndRemovesTheFile) {
    int ended = 0;
    for (int n = 2; n < 100; ++n) {
        DigestFixture f;
        f.load("Subject: x\n--d" + kMore);
        f.host.failCall("QOB_malloc", n);
        const int32_t code = Mix_attach_list(&f.handle);
        if (f.host.count("QOB_malloc") < n) {
            break;
        }
        EXPECT_TRUE(code == 1 || code == EML_ERR_MEMORY) << code;
        if (code == EML_ERR_MEMORY) {
            ++ended;
            EXPECT_EQ(f.host.removed, std::vector<std::string>{kFile}) << n;
            EXPECT_EQ(f.handle.encodedWordFlag, 0) << n;
        }
        f.expectNothingLeft();
    }
    EXPECT_EQ(ended, 2);
}

TEST(DigestFailure, OfTheHostIsReturnedOrStored) {
    for (const uint32_t flags : {0x2U, 0xAU, 0x12U, 0x1AU}) {
        DigestFixture f;
        f.params.flags = flags;
        f.host.insertResult = 4711;
        f.load("body\n--d");
        const bool keepsGoing = (flags & EML_FLAG_KEEP_GOING) != 0;
        EXPECT_EQ(Mix_attach_list(&f.handle), keepsGoing ? 1 : 4711) << flags;
        EXPECT_EQ(f.handle.result, keepsGoing ? 4711 : 0) << flags;
        EXPECT_EQ(f.host.removed, std::vector<std::string>{kFile}) << flags;
        f.expectNothingLeft();
    }
}

TEST(DigestFailure, OfTheBlockBehindADelimiterIs3000) {
    // The delimiter's line end is the last byte of the input: going back to it loads it anew.
    QuietFixture f;
    std::strcpy(f.handle.boundary, std::string(79, 'd').c_str());
    f.load("--" + std::string(79, 'd') + "\n");
    f.host.failCall("QOB_malloc", 3);
    EXPECT_EQ(Mix_attach_list(&f.handle), EML_ERR_MEMORY);
    EXPECT_EQ(f.handle.readBuffer, nullptr);
    f.expectNothingLeft();
}

TEST(DigestFailure, OfAnyServiceLeavesNothingBehind) {
    const std::string entries[] = {
        "Subject: =?utf-8?Q?caf=C3=A9?=\n\nbody\n--in\nx\n--d\n",
        "From: x\n\n" + std::string(20000, 'x') + "\n--d",
    };
    const std::set<int32_t> documented = {1, EML_ERR_MEMORY, EML_ERR_INPUT, EML_ERR_SHORT_WRITE,
                                          4242};
    for (const std::string &entry : entries) {
        for (const char *service :
             {"QOB_malloc", "QOB_FileOpen", "QOB_FileWrite", "QOB_FileRead", "QOB_FileSeek",
              "QOB_FileClose", "QOB_FindFile", "cconvInitConvert", "cconvChgCharset",
              "cconvConvert", "insert"}) {
            for (const auto failure :
                 {ScriptedHost::Failure::kOnce, ScriptedHost::Failure::kFromThere}) {
                for (int n = 1; n < 100; ++n) {
                    DigestFixture f;
                    f.params.flags = EML_FLAG_ATTACHMENTS;
                    f.load(entry);
                    f.host.failCall(service, n, failure);
                    const int32_t code = Mix_attach_list(&f.handle);
                    if (f.host.count(service) < n) {
                        break;
                    }
                    EXPECT_EQ(documented.count(code), 1U) << service << " " << n << ": " << code;
                    f.expectNothingLeft();
                }
            }
        }
    }
}

} // namespace
