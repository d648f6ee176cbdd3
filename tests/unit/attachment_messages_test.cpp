// SPDX-License-Identifier: MIT
// Attachments in whole messages, in file and in stream mode.
#include "support/attachment_messages.h"

namespace {

// A label as it stands in the output.
std::string label(int number, const std::string &name) {
    return "\nAttach" + std::to_string(number) + ":\nattachmemt_name: " + name + "\n\n";
}

struct MessageRow {
    const char *what;
    std::string message;
    std::string text; // behind the header's
};

void expectText(const MessageRow &row) {
    for (const bool stream : {false, true}) {
        for (const bool crLf : {false, true}) {
            ScriptedHost host;
            host.insert = insertedText;
            const HostParams params = defaultParams();
            const Extraction e =
                extract(host, params, crLf ? withCrLf(row.message) : row.message, stream);
            EXPECT_EQ(e.code, EML_OK) << row.what;
            EXPECT_EQ(e.text, kHeadText + row.text) << row.what;
            expectCleanHost(host);
        }
    }
}

TEST(MixedMessage, HasItsAttachmentsLabelledInOrder) {
    expectText({"", kTwoAttachments,
                "Hello!\n" + label(1, "one.png") + "<one\n>" + label(2, "two.pdf") + "<two\n>"});
}

TEST(MixedMessage, HandsTheAttachmentsOverAsFilesOfTheirKind) {
    ScriptedHost host;
    const HostParams params = defaultParams();
    EXPECT_EQ(extractToFile(host, params, kTwoAttachments).code, EML_OK);
    ASSERT_EQ(host.inserts.size(), 2U);
    EXPECT_EQ(host.inserts[0].name, kAttachBase + "1");
    EXPECT_EQ(host.inserts[1].name, kAttachBase + "1.eml"); // any application part
    EXPECT_EQ(host.inserts[0].session.attachmentNumber, 0U);
    EXPECT_EQ(host.inserts[1].session.attachmentNumber, 1U);
    EXPECT_STREQ(host.inserts[1].session.name, "Attach");
}

TEST(MixedMessage, FindsTheNameOfAPartInEveryPlace) {
    const MessageRow rows[] = {
        {"before the type",
         messageOf("multipart/mixed", "--b1\n"
                                      "Content-Disposition: attachment; filename=\"a.txt\"\n"
                                      "Content-Type: text/plain; name=\"b.txt\"\n"
                                      "\n"
                                      "hello\n"),
         label(1, "a.txt") + "<hello\n>"},
        {"before the type of a message",
         messageOf("multipart/mixed", "--b1\n"
                                      "Content-Disposition: attachment; filename=\"a.eml\"\n"
                                      "Content-Type: message/rfc822\n"
                                      "\n"
                                      "hello\n"),
         label(1, "a.eml") + "<hello\n>"},
        {"on the line below the type",
         messageOf("multipart/mixed", "--b1\n"
                                      "Content-Type: text/plain;\n"
                                      " name=\"a.txt\"\n"
                                      "Content-Disposition: inline;\n"
                                      "\tfilename=\"a.txt\"\n"
                                      "\n"
                                      "hello\n"),
         label(1, "a.txt") + "<hello\n>"},
        {"in the type alone: the first paragraph is lost",
         messageOf("multipart/mixed", "--b1\n"
                                      "Content-Type: image/png; name=\"a.png\"\n"
                                      "\n"
                                      "lost\n"
                                      "\n"
                                      "hello\n"),
         label(1, "a.png") + "<hello\n>"},
        {"nowhere, in an application part",
         messageOf("multipart/mixed", "--b1\n"
                                      "Content-Type: application/octet-stream\n"
                                      "Content-Transfer-Encoding: base64\n"
                                      "\n"
                                      "aGVsbG8h\n"),
         label(1, "attachment.eml") + "<hello!>"},
        {"nowhere, in an embedded message",
         messageOf("multipart/mixed", "--b1\n"
                                      "Content-Type: message/rfc822\n"
                                      "\n"
                                      "From: x\n"
                                      "\n"
                                      "hello\n"),
         label(1, "attachment.eml") + "<From: x\n\nhello\n>"},
        {"nowhere, in an image",
         messageOf("multipart/mixed", "--b1\n"
                                      "Content-Type: image/png\n"
                                      "\n"
                                      "lost\n"),
         ""},
    };
    for (const MessageRow &row : rows) {
        expectText(row);
    }
}

TEST(MixedMessage, EndsTheAttachmentAtTheMessageDelimiter) {
    const MessageRow rows[] = {
        {"text behind an attachment",
         messageOf("multipart/mixed", "--b1\n"
                                      "Content-Type: image/png; name=\"a\"\n"
                                      "Content-Disposition: attachment; filename=\"a\"\n"
                                      "\n"
                                      "hello\n"
                                      "--b1\n"
                                      "Content-Type: text/plain; charset=us-ascii\n"
                                      "Content-Transfer-Encoding: 7bit\n"
                                      "\n"
                                      "Bye\n"),
         label(1, "a") + "<hello\n>Bye\n"},
        {"the closing delimiter of an inner multipart whose boundary no header gave",
         messageOf("multipart/mixed", "--b1\n"
                                      "Content-Type: image/png\n"
                                      "\n"
                                      "--b1\n"
                                      "Content-Type: multipart/mixed\n"
                                      "\n"
                                      "--in\n"
                                      "Content-Type: image/png; name=\"a\"\n"
                                      "Content-Disposition: attachment; filename=\"a\"\n"
                                      "\n"
                                      "hello\n"
                                      "--in--\n"
                                      "--b1\n"
                                      "Content-Type: image/png; name=\"z\"\n"
                                      "Content-Disposition: attachment; filename=\"z\"\n"
                                      "\n"
                                      "again\n"),
         label(1, "a") + "<hello\n>" + label(2, "z") + "<again\n>"},
        {"that of an inner multipart in the first part is text",
         messageOf("multipart/mixed", "--b1\n"
                                      "Content-Type: multipart/mixed\n"
                                      "\n"
                                      "--in\n"
                                      "Content-Type: image/png; name=\"a\"\n"
                                      "Content-Disposition: attachment; filename=\"a\"\n"
                                      "\n"
                                      "hello\n"
                                      "--in--\n"),
         label(1, "a") + "<hello\n--in--\n>"},
        {"an inner multipart whose boundary is known: its delimiters count as text",
         messageOf("multipart/mixed", "--b1\n"
                                      "Content-Type: multipart/mixed; boundary=\"in\"\n"
                                      "\n"
                                      "--in\n"
                                      "Content-Type: image/png; name=\"a\"\n"
                                      "Content-Disposition: attachment; filename=\"a\"\n"
                                      "\n"
                                      "hello\n"
                                      "--in--\n"),
         label(1, "a") + "<hello\n--in--\n>"},
    };
    for (const MessageRow &row : rows) {
        expectText(row);
    }
}

TEST(ReportMessage, HandsOverTheReturnedMessageOnly) {
    expectText({"",
                messageOf("multipart/report", "--b1\n"
                                              "Content-Type: message/delivery-status\n"
                                              "\n"
                                              "Status: 5.0.0\n"
                                              "\n"
                                              "--b1\n"
                                              "Content-Type: message/rfc822\n"
                                              "\n"
                                              "From: x\n"
                                              "\n"
                                              "hello\n"),
                label(1, "attachment.eml") + "<From: x\n\nhello\n>"});
}

TEST(AttachmentOfAWholeMessage, IsTheSameWhereverBlocksEnd) {
    std::string body;
    for (int n = 0; body.size() < 17000; ++n) {
        body += std::string(static_cast<size_t>(n) % 76, 'x') + "\n";
    }
    const std::string header = "Content-Type: image/png; name=\"a\"\n"
                               "Content-Disposition: attachment; filename=\"a\"\n";
    for (size_t shift = 0; shift < 80; ++shift) {
        for (const bool stream : {false, true}) {
            ScriptedHost host;
            host.insert = insertedText;
            const HostParams params = defaultParams();
            const Extraction e = extract(
                host, params,
                messageOf("multipart/mixed",
                          "--b1\n" + header + "X: " + std::string(shift, 'x') + "\n\n" + body),
                stream);
            EXPECT_EQ(e.code, EML_OK);
            EXPECT_TRUE(e.text == kHeadText + label(1, "a") + "<" + body + ">") << shift;
        }
    }
}

TEST(AttachmentOfAWholeMessage, ThatTheHostRefusesEndsTheCallOrIsReportedAtItsEnd) {
    for (const bool stream : {false, true}) {
        for (const bool keepGoing : {false, true}) {
            ScriptedHost host;
            host.insert = insertedText;
            host.failCall("insert", 1);
            HostParams params = defaultParams();
            params.flags = 0xA | (keepGoing ? EML_FLAG_KEEP_GOING : 0);
            const Extraction e = extract(host, params, kTwoAttachments, stream);
            EXPECT_EQ(e.code, 4242);
            EXPECT_EQ(e.outputKept, stream || keepGoing);
            const std::string first = kHeadText + "Hello!\n" + label(1, "one.png");
            const std::string second = label(2, "two.pdf") + "<two\n>";
            if (e.outputKept) {
                EXPECT_EQ(e.text, keepGoing ? first + second : first);
            }
            expectCleanHost(host);
        }
    }
}

} // namespace
