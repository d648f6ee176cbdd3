// SPDX-License-Identifier: MIT
// Failures inside the attachment walker: its code, and what it cleans up.
#include <cstring>
#include <set>

#include "emlcontent/part_walkers.h"
#include "support/walker_fixture.h"

namespace {

// Text behind the part, so that the block need not be moved.
const std::string kMore = "\n" + std::string(200, '.') + "\n";
const std::string kNamed = "X: filename=\"a\"\n\n";

// The labels off, so that the first buffer of a walk is the name's.
struct QuietFixture : WalkerFixture {
    QuietFixture() { params.flags = kFlagsNoLabels; }
};

TEST(AttachmentFailure, OfTheNameBufferIs3000) {
    QuietFixture f;
    f.load(kNamed + "hello\n--b--" + kMore);
    f.host.failCall("QOB_malloc", 1);
    EXPECT_EQ(Mix_attach(&f.handle), EML_ERR_MEMORY);
    EXPECT_EQ(f.host.count("QOB_FileOpen"), 0);
    EXPECT_TRUE(f.host.removed.empty());
    f.expectNothingLeft();
}

TEST(AttachmentFailure, OfTheFileIs22) {
    for (const char *part : {"X: filename=\"a\"\n\nhello\n--b--\n", "\nhello\n--b--\n"}) {
        WalkerFixture f;
        f.handle.partContentType = EML_CT_MESSAGE_RFC822;
        f.load(part);
        f.host.failCall("QOB_FileOpen", 1);
        EXPECT_EQ(Mix_attach(&f.handle), EML_ERR_INPUT);
        EXPECT_EQ(f.output(), "\nAttach1:"); // the number is written before the file is opened
        EXPECT_TRUE(f.host.removed.empty());
        EXPECT_TRUE(f.host.inserts.empty());
        f.expectNothingLeft();
    }
}

TEST(AttachmentFailure, OfARawWriteIs24) {
    const int32_t taken[] = {0, 1, 4};
    for (const int32_t length : taken) {
        QuietFixture f;
        f.load(kNamed + "hello\n--b--" + kMore);
        f.host.failWritesTo("eml1", 1);
        f.host.shortWriteLength = length;
        EXPECT_EQ(Mix_attach(&f.handle), EML_ERR_SHORT_WRITE) << length;
        EXPECT_EQ(f.host.removed, std::vector<std::string>{kAttachBase + "1"});
        EXPECT_TRUE(f.host.inserts.empty());
        f.expectNothingLeft();
    }
}

TEST(AttachmentFailure, OfALineEndIsNotLookedAt) {
    QuietFixture f;
    f.load(kNamed + "hello\n\nyou\n--b--" + kMore);
    f.host.failWritesTo("eml1", 2);
    EXPECT_EQ(Mix_attach(&f.handle), EML_OK);
    EXPECT_EQ(f.handedOver(), "hello\nyou\n");
}

TEST(AttachmentFailure, OfTheBase64DecoderIs3000) {
    for (const bool nested : {false, true}) {
        for (const int n : {2, 3}) { // behind the name's buffer: the decoder's two
            QuietFixture f;
            f.handle.inNestedPart = nested ? 1 : 0;
            f.handle.partTransferEncoding = nested ? 0 : EML_TE_BASE64;
            f.handle.nestedTransferEncoding = nested ? EML_TE_BASE64 : 0;
            f.load(kNamed + "aGVsbG8h\n--b--" + kMore);
            f.host.failCall("QOB_malloc", n);
            EXPECT_EQ(Mix_attach(&f.handle), EML_ERR_MEMORY);
            EXPECT_EQ(f.host.removed, std::vector<std::string>{kAttachBase + "1"});
            EXPECT_TRUE(f.host.inserts.empty());
            f.expectNothingLeft();
        }
    }
}

TEST(AttachmentFailure, OfTheQuotedPrintableDecoderCostsThePartsLineOnly) {
    for (const int n : {2, 3, 4}) {
        QuietFixture f;
        f.handle.partTransferEncoding = EML_TE_QUOTED_PRINTABLE;
        f.load(kNamed + "one\ntwo\n--b--" + kMore);
        f.host.failCall("QOB_malloc", n);
        EXPECT_EQ(Mix_attach(&f.handle), EML_OK) << n;
        EXPECT_EQ(f.host.inserts.size(), 1U) << n;
        EXPECT_NE(f.handedOver().find("two\n"), std::string::npos) << n;
        f.expectNothingLeft();
    }
}

TEST(AttachmentFailure, OfTheQuotedPrintableDecoderEndsANestedPart) {
    for (const int n : {2, 3, 4}) {
        QuietFixture f;
        f.handle.inNestedPart = 1;
        f.handle.nestedTransferEncoding = EML_TE_QUOTED_PRINTABLE;
        f.load(kNamed + "one\ntwo\n--b--" + kMore);
        f.host.failCall("QOB_malloc", n);
        EXPECT_EQ(Mix_attach(&f.handle), EML_ERR_MEMORY) << n;
        EXPECT_EQ(f.host.removed, std::vector<std::string>{kAttachBase + "1"});
        f.expectNothingLeft();
    }
}

TEST(AttachmentFailure, OfTheDisplayNameIs3000AndRemovesTheFile) {
    // Of the buffers that a walk asks for, some are for text that is left out when it cannot be
    // converted; those of the name end the walk.
    int ended = 0;
    for (int n = 1; n < 100; ++n) {
        WalkerFixture f;
        f.load(kNamed + "hello\n--b--" + kMore);
        f.host.failCall("QOB_malloc", n);
        const int32_t code = Mix_attach(&f.handle);
        if (f.host.count("QOB_malloc") < n) {
            break;
        }
        if (code == EML_ERR_MEMORY && f.host.called("QOB_FileOpen")) {
            ++ended;
            EXPECT_EQ(f.host.removed, std::vector<std::string>{kAttachBase + "1"}) << n;
            EXPECT_TRUE(f.host.inserts.empty()) << n;
            EXPECT_EQ(f.handle.encodedWordFlag, 0) << n;
        }
        f.expectNothingLeft();
    }
    EXPECT_EQ(ended, 2);
}

TEST(AttachmentFailure, OfAMovedBlockIs3000) {
    const std::string lines(40000, '\n');
    for (const char *header : {"X: filename=\"a\"\n\n", "\n"}) {
        QuietFixture f;
        f.load(header + lines + "--b--\n");
        f.host.failCall("QOB_malloc", header[0] == 'X' ? 2 : 1);
        EXPECT_EQ(Mix_attach(&f.handle), EML_ERR_MEMORY);
        EXPECT_EQ(f.handle.readBuffer, nullptr);
        f.expectNothingLeft();
    }
}

// Every call of every service in turn, over parts of each kind.
TEST(AttachmentFailure, OfAnyServiceLeavesNothingBehind) {
    const std::string parts[] = {
        "X: filename=\"a\n b\"\nContent-Transfer-Encoding: base64\n\naGVsbG8h\naGk=\n\n--b--\n",
        "X: filename=\"=?utf-8?B?w6k=?=\"\nContent-Transfer-Encoding: quoted-printable\n\n"
        "h=65=\nllo\n\nx\n--b--\n",
        "Content-Disposition: attachment\n charset=\"utf-8\"\n\nFrom: x\n\nhello\n",
        "\n" + std::string(20000, 'x') + "\n--b--\n",
    };
    const std::set<int32_t> documented = {EML_OK, EML_ERR_MEMORY, EML_ERR_INPUT,
                                          EML_ERR_SHORT_WRITE, 4242};
    for (const std::string &part : parts) {
        for (const char *service :
             {"QOB_malloc", "QOB_realloc", "QOB_FileOpen", "QOB_FileWrite", "QOB_FileRead",
              "QOB_FileSeek", "QOB_FileClose", "QOB_FindFile", "cconvInitConvert",
              "cconvChgCharset", "cconvConvert", "insert"}) {
            for (const auto failure :
                 {ScriptedHost::Failure::kOnce, ScriptedHost::Failure::kFromThere}) {
                for (int n = 1; n < 300; ++n) {
                    WalkerFixture f;
                    f.params.flags = EML_FLAG_ATTACHMENTS | EML_FLAG_SHARE_COUNT;
                    f.handle.partContentType = EML_CT_MESSAGE_RFC822;
                    f.load(part);
                    f.host.failCall(service, n, failure);
                    const int32_t code = Mix_attach(&f.handle);
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
