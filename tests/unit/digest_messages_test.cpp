// SPDX-License-Identifier: MIT
// Digests as whole messages, in file and in stream mode.
#include "support/attachment_messages.h"

namespace {

const std::string kFirst = "\nAttach1:\nattachmemt_name:  first.eml\n\n"
                           "<From: x\nSubject: first\n\nOne\n>";
const std::string kSecond = "\nAttach2:\nattachmemt_name: attachment.eml\n\n"
                            "<From: y\n\nTwo\n>";

TEST(DigestMessage, HasEachEntryHandedOverAsAMessage) {
    for (const bool stream : {false, true}) {
        for (const std::string &message : {kDigest, withCrLf(kDigest)}) {
            ScriptedHost host;
            host.insert = insertedText;
            const HostParams params = defaultParams();
            const Extraction e = extract(host, params, message, stream);
            EXPECT_EQ(e.code, EML_OK);
            EXPECT_EQ(e.text, kHeadText + kFirst + kSecond);
            ASSERT_EQ(host.inserts.size(), 2U);
            EXPECT_EQ(host.inserts[1].name, kAttachBase + "1.eml");
            EXPECT_EQ(host.inserts[1].session.attachmentNumber, 1U);
            expectCleanHost(host);
        }
    }
}

TEST(DigestMessage, IsReadEntryByEntry) {
    const std::string digest = "From: a@b\nSubject: s\nContent-Type: multipart/digest; "
                               "boundary=\"b1\"\n\n";
    const std::string one = "\nAttach1:\nattachmemt_name: attachment.eml\n\n";
    const std::string two = "\nAttach2:\nattachmemt_name: attachment.eml\n\n";
    const struct {
        const char *what;
        std::string body;
        std::string text;
    } rows[] = {
        {"no entry", "preamble\n", ""},
        {"no body", "", ""},
        {"an empty entry", "--b1\n--b1--\n", one + "<>"},
        {"no closing delimiter", "--b1\nOne\n--b1\nTwo\n", one + "<One\n>" + two + "<Two\n>"},
        {"an open delimiter at the end", "--b1\nOne\n--b1\n", one + "<One\n>" + two + "<>"},
        {"the same without a line end", "--b1\nOne\n--b1", one + "<One\n>" + two + "<>"},
        {"the empty line behind a delimiter is part of the entry", "--b1\n\nFrom: x\n--b1--\n",
         one + "<\nFrom: x\n>"},
        {"other dash lines between entries", "--x\n----------\n--b1\nOne\n--b1--\n",
         one + "<One\n>"},
        {"entries behind the closing delimiter", "--b1\nOne\n--b1--\n--b1\nTwo\n",
         one + "<One\n>" + two + "<Two\n>"},
        {"the epilogue is no text", "--b1\nOne\n--b1--\nepilogue\n", one + "<One\n>"},
        {"an inner multipart loses its delimiters", "--b1\n--in\nOne\n--in--\n--b1--\n",
         one + "<One\n>"},
    };
    for (const auto &row : rows) {
        for (const bool stream : {false, true}) {
            for (const std::string &message : {digest + row.body, withCrLf(digest + row.body)}) {
                ScriptedHost host;
                host.insert = insertedText;
                const HostParams params = defaultParams();
                const Extraction e = extract(host, params, message, stream);
                EXPECT_EQ(e.code, EML_OK) << row.what;
                EXPECT_EQ(e.text, kHeadText + row.text) << row.what;
                expectCleanHost(host);
            }
        }
    }
}

TEST(DigestMessage, GoesOnBehindAnEntryThatFails) {
    const struct {
        const char *service;
        int n;
        uint32_t flags;
        std::string text;
        int32_t code;
    } rows[] = {
        {"insert", 1, 0x0A, "\nAttach1:\nattachmemt_name:  first.eml\n\n" + kSecond, EML_OK},
        {"insert", 1, 0x1A, "\nAttach1:\nattachmemt_name:  first.eml\n\n" + kSecond, 4242},
        {"QOB_FileOpen", 3, 0x0A, "\nAttach1:" + kSecond, EML_OK},
    };
    for (const auto &row : rows) {
        ScriptedHost host;
        host.insert = insertedText;
        host.failCall(row.service, row.n);
        HostParams params = defaultParams();
        params.flags = row.flags;
        const Extraction e = extractToFile(host, params, kDigest);
        EXPECT_EQ(e.code, row.code) << row.service;
        EXPECT_TRUE(e.outputKept) << row.service;
        EXPECT_EQ(e.text, kHeadText + row.text) << row.service;
        expectCleanHost(host);
    }
}

TEST(DigestMessage, GoesOnBehindAnEntryThatCannotBeWritten) {
    ScriptedHost host;
    host.insert = insertedText;
    host.failWritesTo(".eml1.eml", 1);
    const HostParams params = defaultParams();
    const Extraction e = extractToFile(host, params, kDigest);
    EXPECT_EQ(e.code, EML_OK);
    EXPECT_EQ(e.text, kHeadText + "\nAttach1:\nattachmemt_name:  first.eml\n\n" + kSecond);
    expectCleanHost(host);
}

TEST(DigestMessage, IsTheSameWhereverBlocksEnd) {
    for (size_t length = 16384 - 120; length < 16384 + 20; ++length) {
        std::string entry;
        while (entry.size() + 1000 < length) {
            entry += std::string(75, 'x') + "\n";
        }
        while (entry.size() + 50 < length) {
            entry += "xxxxxxxxx\n";
        }
        entry += std::string(length - entry.size() - 1, 'x') + "\n";
        ScriptedHost host;
        host.insert = insertedText;
        const HostParams params = defaultParams();
        const Extraction e = extractToFile(
            host, params, messageOf("multipart/digest", "--b1\n" + entry + "--b1\nTwo\n"));
        EXPECT_EQ(e.code, EML_OK);
        EXPECT_TRUE(e.text == kHeadText + "\nAttach1:\nattachmemt_name: attachment.eml\n\n<" +
                                  entry + ">\nAttach2:\nattachmemt_name: attachment.eml\n\n<Two\n>")
            << length;
    }
}

TEST(DigestMessage, LeavesNothingBehindWhateverFails) {
    for (const char *service :
         {"QOB_malloc", "QOB_realloc", "QOB_FileOpen", "QOB_FileWrite", "QOB_FileRead",
          "QOB_FileSeek", "QOB_FileTell", "QOB_FileClose", "QOB_FindFile", "QOB_ASC_tmpnam",
          "cconvInitConvert", "cconvChgCharset", "cconvConvert", "insert", "qob_logfopen",
          "QOB_WriteStream"}) {
        for (const bool stream : {false, true}) {
            for (int n = 1; n < 400; ++n) {
                ScriptedHost host;
                host.insert = insertedText;
                host.logging = true;
                host.failCall(service, n);
                HostParams params = defaultParams();
                params.flags = EML_FLAG_ATTACHMENTS;
                const Extraction e = extract(host, params, kDigest, stream);
                if (host.count(service) < n) {
                    break;
                }
                EXPECT_EQ(e.outputKept, stream || e.code == EML_OK) << service << " " << n;
                EXPECT_TRUE(e.code == EML_OK || e.code == EML_ERR_MEMORY ||
                            e.code == EML_ERR_INPUT || e.code == EML_ERR_OUTPUT ||
                            e.code == EML_ERR_FORMAT)
                    << service << " " << n << ": " << e.code;
                expectCleanHost(host);
            }
        }
    }
}

} // namespace
