// SPDX-License-Identifier: MIT
// Attachments and digests in messages made to break a reader.
#include <set>

#include "support/attachment_messages.h"

namespace {

// Codes that a call may end with when no service fails.
const std::set<int32_t> kKnownCodes = {EML_OK, EML_ERR_FORMAT};

// Checks that no memory, open file or attachment is left. The file of a text part that the end of
// the message cuts off stays, for the host to clear.
void expectNoAttachmentLeft(const ScriptedHost &host) {
    EXPECT_EQ(host.liveAllocations(), 0U);
    EXPECT_EQ(host.openFiles(), 0);
    for (const std::string &name : host.filesBut({kInputName, kOutputName})) {
        EXPECT_EQ(name.find(".eml"), std::string::npos) << name;
    }
}

// Extracts in both modes, checks what is left, and returns the text of file mode.
std::string survive(const std::string &message, const std::string &what) {
    std::string text;
    for (const bool stream : {false, true}) {
        ScriptedHost host;
        host.insert = insertedText;
        const HostParams params = defaultParams();
        const Extraction e = extract(host, params, message, stream);
        EXPECT_EQ(kKnownCodes.count(e.code), 1U) << what << ": " << e.code;
        expectNoAttachmentLeft(host);
        if (!stream) {
            text = e.text;
        } else if (e.code == EML_OK) {
            EXPECT_TRUE(e.text == text) << what;
        }
    }
    return text;
}

std::string part(const std::string &name, const std::string &body) {
    return "--b1\nContent-Type: image/png; name=\"a\"\nContent-Disposition: attachment; "
           "filename=\"" +
           name + "\"\n\n" + body + "\n";
}

size_t countOf(const std::string &text, const std::string &needle) {
    size_t count = 0;
    for (size_t at = text.find(needle); at != std::string::npos; at = text.find(needle, at + 1)) {
        ++count;
    }
    return count;
}

TEST(HostileMessage, CutAnywhereIsSurvived) {
    for (const std::string &message : {kTwoAttachments, kDigest}) {
        for (size_t length = 0; length < message.size() - 100; ++length) {
            survive(message.substr(0, length), std::to_string(length));
        }
    }
}

TEST(HostileMessage, WithAnyByteReplacedIsSurvived) {
    for (const std::string &message : {kTwoAttachments, kDigest}) {
        for (const char c : {'\0', '\n', '"', '-'}) {
            for (size_t at = 0; at < message.size() - 100; ++at) {
                std::string changed = message;
                changed[at] = c;
                survive(changed, std::to_string(at));
            }
        }
    }
}

TEST(HostileMessage, WithALongLineAnywhereIsSurvived) {
    for (const std::string &message : {kTwoAttachments, kDigest}) {
        for (const char c : {'x', '-', '"'}) {
            for (const size_t length : {2047U, 2048U, 17000U}) {
                const std::string line = std::string(length, c) + "\n";
                for (size_t at = message.find('\n'); at != std::string::npos;
                     at = message.find('\n', at + 1)) {
                    std::string longer = message;
                    survive(longer.insert(at + 1, line), std::to_string(at));
                }
            }
        }
    }
}

TEST(HostileMessage, WithABoundaryOfAnyLengthIsSurvived) {
    for (size_t length = 0; length <= 200; ++length) {
        const std::string boundary(length, 'q');
        const std::string text =
            survive("From: a@b\nContent-Type: multipart/mixed; boundary=\"" + boundary +
                        "\"\n\n--" + boundary + part("a", "hello").substr(4) + "--" + boundary +
                        "--\n\n" + std::string(200, '.') + "\n",
                    std::to_string(length));
        EXPECT_EQ(countOf(text, "Attach1:\nattachmemt_name: a\n\n<hello\n>"),
                  length >= 1 && length <= 79 ? 1U : 0U)
            << length;
    }
}

TEST(HostileMessage, WithANameOf2000BytesHasItWhole) {
    for (const size_t length : {200U, 2000U, 2003U}) {
        const std::string name(length, 'n');
        const std::string text = survive(messageOf("multipart/mixed", part(name, "hello")), "");
        EXPECT_EQ(countOf(text, "attachmemt_name: " + name + "\n\n<hello\n>"), 1U) << length;
    }
    survive(messageOf("multipart/mixed", part(std::string(5000, 'n'), "hello")), "5000");
}

TEST(HostileMessage, WithoutEndHasItsPartsAllTheSame) {
    std::string parts;
    for (int n = 0; n < 1000; ++n) {
        parts += part("a", "x");
    }
    std::string message = messageOf("multipart/mixed", parts);
    message.resize(message.size() - 109); // without the closing delimiter
    const std::string text = survive(message, "");
    EXPECT_EQ(countOf(text, "<x\n>"), 1000U);
    EXPECT_EQ(countOf(text, "\nAttach1000:\n"), 1U);
}

// The boundary takes the line made of the name parameter for a delimiter, at every empty line.
TEST(HostileMessage, WithANameThatIsADelimiterIsReadInLinearTime) {
    std::string message = "From: a@b\nContent-Type: multipart/mixed; boundary=\"lename\"\n\n"
                          "--lename\nContent-Type: image/png; name=\"a\"\n";
    while (message.size() < 500000) {
        message += std::string(2000, 'n') + "\n" + std::string(2000, 'n') + "\n name=\"\n" +
                   std::string(8000, '\n');
    }
    EXPECT_EQ(survive(message, ""), "From: a@b\n\n\nContent: \n");
}

TEST(HostileMessage, WithInnerBoundariesWithoutNumberIsSurvived) {
    std::string parts;
    for (int n = 0; n < 200; ++n) {
        const std::string boundary = "in" + std::to_string(n);
        parts += "--b1\nContent-Type: multipart/mixed; boundary=\"" + boundary + "\"\n\n--" +
                 boundary + "\nContent-Type: message/rfc822\n\nContent-Type: multipart/digest\n";
    }
    survive(messageOf("multipart/mixed", parts), "mixed");
    survive(messageOf("multipart/digest", parts), "digest");
}

TEST(HostileMessage, WithManyDigestEntriesWithoutASubjectHasThemAll) {
    std::string entries;
    for (int n = 0; n < 1000; ++n) {
        entries += "--b1\nx\n";
    }
    const std::string text = survive(messageOf("multipart/digest", entries), "");
    EXPECT_EQ(countOf(text, "attachmemt_name: attachment.eml\n\n<x\n>"), 1000U);
}

// From 10,000 on the number is as many NUL bytes as the last one had digits.
TEST(HostileMessage, With10001AttachmentsHasThemAll) {
    std::string parts;
    for (int n = 0; n < 10001; ++n) {
        parts += part("a", "x");
    }
    ScriptedHost host;
    host.stripControlCodes = false;
    host.insert = insertedText;
    const HostParams params = defaultParams();
    const Extraction e = extractToFile(host, params, messageOf("multipart/mixed", parts));
    EXPECT_EQ(e.code, EML_OK);
    EXPECT_EQ(countOf(e.text, "<x\n>"), 10001U);
    EXPECT_EQ(countOf(e.text, "\nAttach9999:\n"), 1U);
    EXPECT_EQ(countOf(e.text, "\nAttach" + std::string(4, '\0') + ":\n"), 2U);
    EXPECT_EQ(host.inserts.back().session.attachmentNumber, 10000U);
    expectCleanHost(host);
}

TEST(HostileMessage, LeavesNothingBehindWhateverFails) {
    for (const char *service :
         {"QOB_malloc", "QOB_realloc", "QOB_FileOpen", "QOB_FileWrite", "QOB_FileRead",
          "QOB_FileSeek", "QOB_FileTell", "QOB_FileClose", "QOB_FindFile", "QOB_ASC_tmpnam",
          "QOB_ASC_tmpnam1", "cconvInitConvert", "cconvChgCharset", "cconvConvert", "insert",
          "qob_logfopen", "QOB_WriteStream"}) {
        for (const bool stream : {false, true}) {
            for (int n = 1; n < 600; ++n) {
                ScriptedHost host;
                host.insert = insertedText;
                host.logging = true;
                host.failCall(service, n);
                HostParams params = defaultParams();
                params.flags = EML_FLAG_ATTACHMENTS | EML_FLAG_BOUND_TMPNAM;
                const Extraction e = extract(host, params, kTwoAttachments, stream);
                if (host.count(service) < n) {
                    break;
                }
                EXPECT_EQ(e.outputKept, stream || e.code == EML_OK) << service << " " << n;
                const std::set<int32_t> documented = {
                    EML_OK,         EML_ERR_NOBUF,  EML_ERR_INPUT,       EML_ERR_OUTPUT,
                    EML_ERR_MEMORY, EML_ERR_FORMAT, EML_ERR_SHORT_WRITE, 4242};
                EXPECT_EQ(documented.count(e.code), 1U) << service << " " << n << ": " << e.code;
                expectCleanHost(host);
            }
        }
    }
}

} // namespace
