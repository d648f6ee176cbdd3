// SPDX-License-Identifier: MIT
// Messages made to exhaust the host: with too many attachments, nested too deep, and with HTML that
// no parser's stack would hold.
#include <string>

#include <gmock/gmock.h>

#include "real_extraction.h"

namespace {

using namespace hostile_test;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::Not;

std::string messageWithParts(int count) {
    std::string message = "From: a@example.org\nMIME-Version: 1.0\n"
                          "Content-Type: multipart/mixed; boundary=\"b\"\n\n";
    for (int i = 1; i <= count; ++i) {
        message += "--b\nContent-Type: text/plain; name=\"a.txt\"\n"
                   "Content-Disposition: attachment; filename=\"a.txt\"\n\nthis is part " +
                   std::to_string(i) + ".\n";
    }
    return message + "--b--\n";
}

// A message with a message attached, and so on; the innermost one is `level` levels down.
std::string nestedMessage(int level) {
    std::string message = "From: a@example.org\n\ninnermost\n";
    for (int i = level; i > 0; --i) {
        const std::string boundary = "=_level_" + std::to_string(i) + "_";
        message =
            "From: a@example.org\nMIME-Version: 1.0\nContent-Type: multipart/mixed; boundary=\"" +
            boundary + "\"\n\n--" + boundary +
            "\nContent-Type: message/rfc822; name=\"m.eml\"\n"
            "Content-Disposition: attachment; filename=\"m.eml\"\n\n" +
            message + "\n--" + boundary + "--\n";
    }
    return message;
}

TEST(HostileMessage, Of10000AttachmentsIsReadWhole) {
    const Extracted extracted = extract(messageWithParts(10000));
    EXPECT_EQ(extracted.code, EML_OK);
    EXPECT_THAT(extracted.text, HasSubstr("this is part 10000."));
    EXPECT_THAT(extracted.notices, IsEmpty());
}

TEST(HostileMessage, Of10001AttachmentsLosesTheLastAndSaysSoOnce) {
    const Extracted extracted = extract(messageWithParts(10001));
    EXPECT_EQ(extracted.code, EML_OK);
    EXPECT_THAT(extracted.text, HasSubstr("this is part 10000."));
    EXPECT_THAT(extracted.text, Not(HasSubstr("this is part 10001.")));
    EXPECT_THAT(extracted.notices, ElementsAre("4010@10001"));
}

TEST(HostileMessage, FiftyLevelsDeepIsReadWhole) {
    const Extracted extracted = extract(nestedMessage(50));
    EXPECT_THAT(extracted.text, HasSubstr("innermost"));
    EXPECT_THAT(extracted.notices, IsEmpty());
}

TEST(HostileMessage, FiftyOneLevelsDeepLosesTheInnermostAndSaysSoOnce) {
    const Extracted extracted = extract(nestedMessage(51));
    EXPECT_EQ(extracted.code, EML_OK);
    EXPECT_THAT(extracted.text, Not(HasSubstr("innermost")));
    EXPECT_THAT(extracted.notices, ElementsAre("4003@1"));
}

TEST(HostileMessage, WithHtmlNested100000DeepIsRead) {
    std::string html;
    for (int i = 0; i < 100000; ++i) {
        html += "<div>\n";
    }
    const Extracted extracted = extract("From: a@example.org\nContent-Type: text/html\n\n<html>" +
                                        html + "bottom</html>\n");
    EXPECT_EQ(extracted.code, EML_OK);
    EXPECT_THAT(extracted.text, HasSubstr("bottom"));
    EXPECT_THAT(extracted.notices, IsEmpty());
}

} // namespace
