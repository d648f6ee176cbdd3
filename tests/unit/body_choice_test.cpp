// SPDX-License-Identifier: MIT
// The body reader: which reader a message's type and boundary choose.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>

#include "emlcomm/body_reader.h"
#include "emlcontent/field_finders.h"
#include "support/filter_fixture.h"

namespace {

// A body in which every reader leaves its own traces.
constexpr const char *kBody = "Content-Transfer-Encoding: base64\r\n--b\r\n.\r\nx\r\n";

struct Traces {
    int32_t partEncoding; // kept by a reader of part headers that does not know the boundary
    bool abandoned;       // "." ended the body
    int32_t digestEntries;
    size_t htmlFiles;
    bool wroteText;

    bool operator==(const Traces &) const = default;
};

constexpr Traces kMixed = {0, true, 0, 0, false};
constexpr Traces kAlternative = {EML_TE_BASE64, false, 0, 0, false};
constexpr Traces kDigest = {0, false, 1, 0, true};
constexpr Traces kText = {0, false, 0, 0, true};
constexpr Traces kHtml = {0, false, 0, 1, false};
constexpr Traces kNothing = {0, false, 0, 0, false};

Traces readBody(int32_t contentType, const char *boundary) {
    FilterFixture f;
    f.load(kBody);
    f.handle.contentType = contentType;
    std::strcpy(f.handle.boundary, boundary);
    EXPECT_EQ(EMLReadContent(&f.handle), EML_OK);
    EXPECT_GE(eml::filePosition(&f.handle), f.handle.fileSize) << "the block is used up";
    const auto htmlFiles =
        std::count_if(f.host.inserts.begin(), f.host.inserts.end(), [](const InsertCall &call) {
            return call.name.find(".htm") != std::string::npos;
        });
    return {f.handle.partTransferEncoding, f.handle.blockStart == f.handle.fileSize,
            f.handle.attachmentCount, static_cast<size_t>(htmlFiles), !f.output().empty()};
}

TEST(BodyChoice, WithABoundaryGoesByTheType) {
    struct Row {
        int32_t contentType;
        Traces traces;
    };
    const Row rows[] = {
        {EML_CT_OTHER, kMixed},
        {EML_CT_MULTIPART_MIXED, kMixed},
        {EML_CT_MULTIPART_REPORT, kMixed},
        {EML_CT_MULTIPART_ALTERNATIVE, kAlternative},
        {EML_CT_MULTIPART_RELATED, kAlternative},
        {EML_CT_MULTIPART_DIGEST, kDigest},
        {EML_CT_DIGEST_TWIN, kDigest},
        {EML_CT_TEXT_PLAIN, kText},
        {EML_CT_APPLICATION, kNothing},
        {EML_CT_IMAGE_JPEG, kNothing},
        {EML_CT_IMAGE_GIF, kNothing},
        {EML_CT_MESSAGE_RFC822, kNothing},
        {99, kNothing},
    };
    for (const Row &row : rows) {
        EXPECT_TRUE(readBody(row.contentType, "b") == row.traces) << row.contentType;
    }
    EXPECT_TRUE(readBody(EML_CT_TEXT_HTML, "b") == kHtml);
}

TEST(BodyChoice, WithoutABoundaryReadsASinglePart) {
    struct Row {
        int32_t contentType;
        Traces traces;
    };
    const Row rows[] = {
        {EML_CT_TEXT_PLAIN, kText},           {EML_CT_TEXT_HTML, kHtml},
        {EML_CT_MULTIPART_MIXED, kHtml},      {EML_CT_OTHER, kText},
        {EML_CT_APPLICATION, kNothing},       {EML_CT_MULTIPART_ALTERNATIVE, kNothing},
        {EML_CT_MULTIPART_RELATED, kNothing}, {EML_CT_MULTIPART_REPORT, kNothing},
        {EML_CT_MULTIPART_DIGEST, kNothing},  {EML_CT_IMAGE_GIF, kNothing},
    };
    for (const Row &row : rows) {
        EXPECT_TRUE(readBody(row.contentType, "") == row.traces) << row.contentType;
    }
}

TEST(BodyChoice, TypeWithoutAReaderUsesTheBlockUp) {
    FilterFixture f;
    f.load(std::string(20000, 'x'));
    f.handle.contentType = EML_CT_APPLICATION;
    std::strcpy(f.handle.boundary, "b");
    EXPECT_EQ(EMLReadContent(&f.handle), EML_OK);
    EXPECT_EQ(f.handle.blockPos, kBlockSize);
}

TEST(BodyChoice, EmptyBodyIsReadByEveryReader) {
    for (int32_t contentType = 0; contentType <= EML_CT_DIGEST_TWIN; ++contentType) {
        for (const char *boundary : {"", "b"}) {
            FilterFixture f;
            f.load("");
            f.handle.contentType = contentType;
            std::strcpy(f.handle.boundary, boundary);
            EXPECT_EQ(EMLReadContent(&f.handle), EML_OK);
            EXPECT_EQ(f.output(), "");
            EXPECT_FALSE(f.host.called("QOB_FileOpen"));
        }
    }
}

TEST(BodyChoice, BlockThatCannotBeReloadedEndsEveryWalk) {
    for (const int32_t type : {EML_CT_MULTIPART_MIXED, EML_CT_MULTIPART_ALTERNATIVE,
                               EML_CT_MULTIPART_DIGEST, EML_CT_TEXT_PLAIN, EML_CT_TEXT_HTML}) {
        FilterFixture f;
        // The block's last byte is a line end, so that the rest is loaded behind it.
        f.load(std::string(kBlockSize - 1, 'x') + "\nrest\n");
        f.handle.contentType = type;
        std::strcpy(f.handle.boundary, "b");
        f.host.failCall("QOB_malloc", 1);
        EXPECT_EQ(EMLReadContent(&f.handle), EML_ERR_MEMORY) << type;
        EXPECT_EQ(f.output(), "");
        EXPECT_EQ(f.host.openFiles(), 2); // input and output
    }
}

// Whole messages of three blocks without structure: the driver must come to an end.
TEST(BodyChoice, NoTypeMakesTheDriverRunForever) {
    for (const char *type : {"text/plain", "text/html", "application/pdf", "multipart/mixed",
                             "multipart/related", "multipart/alternative", "multipart/report",
                             "multipart/digest", "image/jpeg", "image/gif", "x/y"}) {
        for (const char *boundary : {"", "; boundary=\"b\""}) {
            for (const char *unit :
                 {"x", "\r\n\r\n123456789", "--b\r\n", "--b--\r\n", ".\r\n", " y\r\n", "=\r\n"}) {
                std::string body;
                while (body.size() < 2U * kBlockSize) {
                    body += unit;
                }
                ScriptedHost host;
                const Extraction e = extractToFile(host, defaultParams(),
                                                   std::string("From: a\r\nContent-Type: ") + type +
                                                       boundary + "\r\n\r\n" + body);
                EXPECT_EQ(e.code, EML_OK) << type << boundary << unit;
                EXPECT_EQ(host.liveAllocations(), 0U);
                EXPECT_EQ(host.openFiles(), 0);
            }
        }
    }
}

} // namespace
