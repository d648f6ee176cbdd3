// SPDX-License-Identifier: MIT
// winmail.dat in a message, from the message to the text of what is in it.
#include <gmock/gmock.h>

#include <string>

#include "extracted_message.h"
#include "filter_fixture.h"
#include "tnef_writer.h"

namespace qob::tests {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;

TEST(AttachedTnef, GivesItsBodyAndItsAttachmentsUnderTheirNames) {
    const Extracted extracted = extractedMessage(
        {{"winmail.dat", tnefStart() + attribute(kSubjectTag, zeroEnded("Minutes")) +
                             attribute(kBodyTag, zeroEnded("the body")) +
                             attachment("notes.txt", "the notes\n")},
         {"after.txt", "behind\n"}});
    EXPECT_EQ(extracted.code, EML_OK);
    EXPECT_EQ(extracted.text, "\nAttach1:\nattachmemt_name: winmail.dat\n\n"
                              "Subject: Minutes\n\nthe body\n\nnotes.txt\nthe notes\n\n"
                              "\nAttach2:\nattachmemt_name: after.txt\n\nbehind\n\n");
    EXPECT_THAT(extracted.notices, IsEmpty());
}

TEST(AttachedTnef, StopsAtTheNumberOfParts) {
    const auto limited = [](uint32_t parts) {
        return extractedMessage({{"winmail.dat", tnefStart() + attachment("a.txt", "first\n") +
                                                     attachment("b.txt", "second\n")}},
                                [parts](QobExtractOptions &options) { options.maxParts = parts; });
    };
    EXPECT_THAT(limited(3).text, HasSubstr("second"));
    EXPECT_THAT(limited(3).notices, IsEmpty());
    EXPECT_THAT(limited(2).text, HasSubstr("first"));
    EXPECT_THAT(limited(2).text, Not(HasSubstr("second")));
    EXPECT_THAT(limited(2).notices,
                ElementsAre(testing::Field(&AttachmentNotice::code, QOB_ERR_PARTS)));
}

TEST(AttachedTnef, StopsAtTheDepth) {
    const auto nested = [](int levels) {
        std::string inner = tnefStart() + attribute(kBodyTag, zeroEnded("innermost"));
        for (int i = 1; i < levels; ++i) {
            inner = tnefStart() + attachment("inner.dat", inner);
        }
        return extractedMessage({{"winmail.dat", inner}});
    };
    EXPECT_THAT(nested(50).text, HasSubstr("innermost"));
    EXPECT_THAT(nested(50).notices, IsEmpty());
    EXPECT_THAT(nested(51).text, Not(HasSubstr("innermost")));
    EXPECT_THAT(nested(51).notices,
                ElementsAre(testing::Field(&AttachmentNotice::code, QOB_ERR_DEPTH)));
}

} // namespace
} // namespace qob::tests
