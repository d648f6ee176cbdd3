// SPDX-License-Identifier: MIT
// What is left out in front of a message that another one brought.
#include "message_lead.h"

#include <gtest/gtest.h>

namespace {

using qob::messageLead;

constexpr std::string_view kMessage = "From: a@example.org\r\nSubject: x\r\n\r\nbody\r\n";

struct Row {
    const char *name;
    std::string lead;
};

TEST(MessageLead, IsAnEmptyOrContentOnlyPartHeader) {
    const Row rows[] = {
        {"an empty line", "\r\n"},
        {"several empty lines", "\n\n\n"},
        {"a type", "Content-Type: message/rfc822\r\n\r\n"},
        {"folded fields in any case", "CONTENT-TYPE: message/rfc822;\r\n x=y\r\n"
                                      "content-disposition: inline\r\n\r\n"},
        {"carriage returns alone", "Content-Type: message/rfc822\r\r"},
    };
    for (const Row &row : rows) {
        EXPECT_EQ(messageLead(row.lead + std::string(kMessage)), row.lead.size()) << row.name;
    }
}

TEST(MessageLead, IsNothingWhereNoMessageFollowsOrNothingStandsInFront) {
    EXPECT_EQ(messageLead(kMessage), 0U);
    EXPECT_EQ(messageLead(""), 0U);
    EXPECT_EQ(messageLead("\r\n"), 0U);
    EXPECT_EQ(messageLead("\r\njust text\r\n"), 0U);
    EXPECT_EQ(messageLead("Content-Type: text/plain\r\n"), 0U);
    EXPECT_EQ(messageLead("Content-Type: text/plain"), 0U);
    EXPECT_EQ(messageLead("Content-Type: text/plain\r\nFrom: a@example.org\r\n\r\nbody"), 0U)
        << "the header of the message itself";
}

} // namespace
