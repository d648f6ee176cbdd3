// SPDX-License-Identifier: MIT
// Lines that a walker reads ahead, below a transfer-encoding line or a closing delimiter, and whose
// line end is the last byte of the block: the walk ends when there is no memory for the next block.
#include <cstring>
#include <string>

#include "support/text_walker_fixture.h"

namespace {

struct Row {
    const char *promise;
    Walker walker;
    int32_t partType;
    std::string before; // lines up to the one that is read ahead
};

// `before` behind as many other header lines as put the line end of a line of 200 characters below
// it on the last byte of the block.
std::string upToBlockEnd(const std::string &before) {
    const std::string readAhead = "Content-Long: " + std::string(186, 'x');
    const size_t room = 16383 - before.size() - readAhead.size();
    std::string text;
    while (room - text.size() > 200) {
        text += "X-Pad: " + std::string(91, 'x') + "\r\n";
    }
    text += std::string(room - text.size() - 2, 'y') + "\r\n";
    return text + before + readAhead + "\r\nrest\r\n";
}

const std::string kPlainHead = "Content-Type: text/plain;\r\n\tcharset=\"utf-8\"\r\n";
const std::string kEncoding = "Content-Transfer-Encoding: 7bit\r\n";

TEST(LineReadAhead, EndsTheWalkWithoutMemoryForTheNextBlock) {
    const Row rows[] = {
        {"nested alternative, below the transfer encoding", Mix_Content_alter,
         EML_CT_MULTIPART_ALTERNATIVE, kPlainHead + kEncoding},
        {"nested alternative, below the closing delimiter", Mix_Content_alter,
         EML_CT_MULTIPART_ALTERNATIVE, "--inner--\r\n"},
        {"message alternative, below the transfer encoding", Mix_Content_Only, EML_CT_TEXT_PLAIN,
         kEncoding},
        {"message alternative, below a Content- line there", Mix_Content_Only, EML_CT_TEXT_PLAIN,
         kEncoding + "Content-ID: <x>\r\n"},
        {"text part, below the transfer encoding", Mix_Content_OnePart, EML_CT_TEXT_PLAIN,
         "charset=\"utf-8\"\r\n" + kEncoding},
    };
    for (const Row &row : rows) {
        SCOPED_TRACE(row.promise);
        TextWalkerFixture f;
        std::strcpy(f.handle.boundary, "outer");
        std::strcpy(f.handle.partBoundary, "inner");
        f.handle.contentType = EML_CT_MULTIPART_ALTERNATIVE;
        f.handle.partContentType = row.partType;
        f.load(upToBlockEnd(row.before));
        ASSERT_EQ(f.handle.readBuffer[16383], '\r');
        f.host.failCall("QOB_malloc", 1);
        EXPECT_EQ(row.walker(&f.handle), EML_ERR_MEMORY);
        EXPECT_EQ(f.host.count("QOB_malloc"), 1);
        EXPECT_EQ(f.output(), "");
        f.expectNothingLeft();
    }
}

} // namespace
