// SPDX-License-Identifier: MIT
// Text bodies on a host whose services fail: the code, and what is left of the files.
#include <gtest/gtest.h>

#include "support/failure_sweep.h"
#include "support/text_body.h"

namespace {

const char *const kLines[] = {"x=41\r\ny\r\n", "QUJD\r\nREVG\r\n", "x=41\r\ny\r\n", "x\r\ny\r\n"};
constexpr int32_t kEncodings[] = {0, EML_TE_BASE64, EML_TE_QUOTED_PRINTABLE, EML_TE_OTHER};
const std::vector<std::string> kNone = {};

std::string linesFor(int32_t encoding) {
    return kLines[encoding];
}

// A body whose first decoder call runs out of memory.
struct DecoderFailure : TextBodyFixture {
    explicit DecoderFailure(const BodyHead &head) : TextBodyFixture(head) {
        load(linesFor(head.encoding));
        host.failCall("QOB_malloc", 1);
        code = EMLReadContent(&handle);
    }
    int32_t code = -1;
};

TEST(BodyFailures, DecoderIntoTheTextFile) {
    for (const char *boundary : {"", "b"}) {
        const DecoderFailure base64({.encoding = EML_TE_BASE64, .boundary = boundary});
        EXPECT_EQ(base64.code, EML_ERR_MEMORY);
        EXPECT_EQ(base64.leftovers(), kNone);
        EXPECT_EQ(base64.host.openFiles(), 2); // input and output

        const DecoderFailure quoted({.encoding = EML_TE_QUOTED_PRINTABLE, .boundary = boundary});
        EXPECT_EQ(quoted.code, EML_ERR_MEMORY);
        EXPECT_EQ(quoted.leftovers(), std::vector<std::string>{"/tmp/t1"}); // left as it is
        EXPECT_EQ(quoted.host.openFiles(), 2);
    }
}

TEST(BodyFailures, DecoderIntoTheHtmlFile) {
    struct Row {
        int32_t encoding;
        const char *boundary;
        int32_t code;
    };
    const Row rows[] = {{EML_TE_BASE64, "", EML_ERR_MEMORY},
                        {EML_TE_BASE64, "b", EML_OK},
                        {EML_TE_QUOTED_PRINTABLE, "", EML_OK},
                        {EML_TE_QUOTED_PRINTABLE, "b", EML_OK}};
    for (const Row &row : rows) {
        const DecoderFailure f(
            {.contentType = EML_CT_TEXT_HTML, .encoding = row.encoding, .boundary = row.boundary});
        EXPECT_EQ(f.code, row.code) << row.encoding << row.boundary;
        EXPECT_EQ(f.leftovers(), kNone);
        EXPECT_EQ(f.host.openFiles(), 2);
        EXPECT_TRUE(f.host.inserts.empty());
        EXPECT_LT(f.handle.blockPos, f.handle.blockLength) << "the call ended at once";
    }
}

TEST(BodyFailures, DecoderIntoTheOutputFile) {
    for (const int32_t encoding : {EML_TE_BASE64, EML_TE_QUOTED_PRINTABLE}) {
        const DecoderFailure f({.contentType = EML_CT_OTHER, .encoding = encoding});
        EXPECT_EQ(f.code, EML_ERR_MEMORY);
        EXPECT_EQ(f.handle.outputFile, nullptr);
        EXPECT_EQ(f.host.openFiles(), 1); // input
        EXPECT_EQ(f.leftovers(), kNone);
    }
}

TEST(BodyFailures, RawWriteToTheTextFileIsNotChecked) {
    TextBodyFixture f({});
    f.host.failWritesTo("t1", 1);
    EXPECT_EQ(f.read("a\r\nb\r\nc\r\n"), EML_OK);
    EXPECT_EQ(f.output(), "bc");
}

TEST(BodyFailures, RawWriteToTheHtmlFileLosesTheDocument) {
    for (const char *boundary : {"", "b"}) {
        TextBodyFixture f({.contentType = EML_CT_TEXT_HTML, .boundary = boundary});
        f.host.failWritesTo(".htm", 3); // META, a, b
        EXPECT_EQ(f.read("a\r\nb\r\nc\r\n"), EML_OK);
        EXPECT_EQ(f.leftovers(), kNone);
        EXPECT_EQ(f.host.openFiles(), 2);
        EXPECT_TRUE(f.host.inserts.empty());
        EXPECT_EQ(f.handle.blockPos, 6); // behind b
        EXPECT_EQ(f.handle.htmlPending, 0);
    }
}

TEST(BodyFailures, ShortRawWriteToTheHtmlFileIsTaken) {
    TextBodyFixture f({.contentType = EML_CT_TEXT_HTML});
    f.host.shortWriteLength = 1;
    f.host.failWritesTo(".htm", 2);
    EXPECT_EQ(f.read("abc\r\nd\r\n"), EML_OK);
    EXPECT_EQ(f.host.inserts.at(0).content, "<META CONTENT=\"text/html;charset=utf-8\">ad");
}

TEST(BodyFailures, RawWriteToTheOutputEndsTheCallWithoutAnError) {
    TextBodyFixture file({.contentType = EML_CT_OTHER});
    file.host.failWritesTo(kOutputName, 2);
    EXPECT_EQ(file.read("a\r\nb\r\nc\r\n"), EML_OK);
    EXPECT_EQ(file.output(), "a");
    EXPECT_EQ(file.handle.blockPos, 6);
    EXPECT_NE(file.handle.outputFile, nullptr);

    TextBodyFixture stream({.contentType = EML_CT_OTHER});
    stream.useStream();
    stream.load("a\r\nb\r\nc\r\n");
    stream.host.failCall("QOB_WriteStream", 2);
    EXPECT_EQ(EMLReadContent(&stream.handle), EML_OK);
    EXPECT_EQ(stream.output(), "a");
    EXPECT_EQ(stream.handle.blockPos, 6);
    EXPECT_EQ(stream.leftovers(), kNone);
}

TEST(BodyFailures, OutputThatCannotBeOpened) {
    TextBodyFixture f({.contentType = EML_CT_OTHER});
    QOB_FileClose(f.handle.outputFile);
    f.handle.outputFile = nullptr;
    f.load("a\r\n");
    f.host.failCall("QOB_FileOpen", 2); // behind the text file
    EXPECT_EQ(EMLReadContent(&f.handle), EML_ERR_INPUT);
    EXPECT_EQ(f.handle.outputOpenFailed, 1U);
    EXPECT_EQ(f.leftovers(), kNone);
    EXPECT_EQ(f.host.openFiles(), 1);
}

TEST(BodyFailures, TextFileThatCannotBeMade) {
    for (const char *service : {"QOB_ASC_tmpnam", "QOB_FileOpen"}) {
        for (const char *boundary : {"", "b"}) {
            TextBodyFixture f({.boundary = boundary});
            f.load("a\r\n");
            f.host.failCall(service, 1);
            EXPECT_EQ(EMLReadContent(&f.handle), EML_ERR_INPUT) << service;
            EXPECT_EQ(f.output(), "");
            EXPECT_EQ(f.leftovers(), kNone);
        }
    }
}

TEST(BodyFailures, TextFileThatCannotBeOpenedAgain) {
    TextBodyFixture f({});
    f.load("a\r\n");
    f.host.failCall("QOB_FileOpen", 2);
    EXPECT_EQ(EMLReadContent(&f.handle), EML_ERR_INPUT);
    EXPECT_EQ(f.host.removed, std::vector<std::string>{"/tmp/t1"});
    EXPECT_EQ(f.leftovers(), kNone);
    EXPECT_EQ(f.host.openFiles(), 2);
}

TEST(BodyFailures, TextWithoutABuffer) {
    TextBodyFixture f({});
    f.load("a\r\n");
    f.host.failCall("QOB_malloc", 1);
    EXPECT_EQ(EMLReadContent(&f.handle), EML_ERR_NOBUF);
    EXPECT_EQ(f.host.removed, std::vector<std::string>{"/tmp/t1"});
    EXPECT_EQ(f.leftovers(), kNone);
    EXPECT_EQ(f.host.openFiles(), 2);
}

TEST(BodyFailures, TextThatCannotBeConvertedIsLost) {
    TextBodyFixture f({});
    f.load("a\r\n");
    f.host.failCall("QOB_malloc", 2);
    EXPECT_EQ(EMLReadContent(&f.handle), EML_OK);
    EXPECT_EQ(f.output(), "");
    EXPECT_EQ(f.leftovers(), kNone);
}

TEST(BodyFailures, TextFileOfNoTellableSizeIsRemovedUnread) {
    TextBodyFixture f({});
    f.load("a\r\n");
    f.host.failCall("QOB_FileTell", 1);
    EXPECT_EQ(EMLReadContent(&f.handle), EML_OK);
    EXPECT_EQ(f.output(), "");
    EXPECT_EQ(f.leftovers(), kNone);
    EXPECT_EQ(f.host.openFiles(), 2);
}

TEST(BodyFailures, TextFailureRemovesTheHtmlFileToo) {
    struct Row {
        const char *service;
        int n;
        int32_t code;
    };
    for (const Row &row :
         {Row{"QOB_FileOpen", 3, EML_ERR_INPUT}, Row{"QOB_malloc", 1, EML_ERR_NOBUF}}) {
        TextBodyFixture f({.contentType = EML_CT_TEXT_HTML, .boundary = "b"});
        f.load("<p>\r\n\r\n");
        f.host.failCall(row.service, row.n);
        EXPECT_EQ(EMLReadContent(&f.handle), row.code);
        EXPECT_EQ(f.leftovers(), kNone);
        EXPECT_EQ(f.host.openFiles(), 2);
        EXPECT_TRUE(f.host.inserts.empty());
    }
}

TEST(BodyFailures, HtmlFileThatCannotBeMade) {
    for (const char *service : {"QOB_ASC_tmpnam", "QOB_FileOpen"}) {
        TextBodyFixture f({.contentType = EML_CT_TEXT_HTML});
        f.load("<p>\r\n");
        f.host.failCall(service, 1);
        EXPECT_EQ(EMLReadContent(&f.handle), EML_ERR_MEMORY) << service;
        EXPECT_EQ(f.leftovers(), kNone);
        EXPECT_EQ(f.host.openFiles(), 2);
    }
}

TEST(BodyFailures, HtmlFileWhoseNameWouldBeTooLong) {
    for (const bool fits : {true, false}) {
        TextBodyFixture f({.contentType = EML_CT_TEXT_HTML});
        // The name is the directory, "t1" and ".htm": 4095 or 4096 characters.
        f.host.tmpDirectory = "/" + std::string(fits ? 4088 : 4089, 'd');
        EXPECT_EQ(f.read("<p>\r\n"), fits ? EML_OK : EML_ERR_MEMORY);
        EXPECT_EQ(f.host.called("QOB_FileOpen"), fits);
        EXPECT_EQ(f.host.inserts.size(), fits ? 1U : 0U);
    }
}

TEST(BodyFailures, OldHtmlFileThatCannotBeTakenOver) {
    struct Row {
        const char *promise;
        const char *service;
        int n;
    };
    for (const Row &row : {Row{"opened", "QOB_FileOpen", 1}, Row{"read", "QOB_malloc", 1},
                           Row{"named", "QOB_ASC_tmpnam", 1}, Row{"moved", "QOB_FileOpen", 2}}) {
        SCOPED_TRACE(row.promise);
        TextBodyFixture f({.contentType = EML_CT_TEXT_HTML});
        f.handle.htmlPending = 1;
        std::strcpy(f.handle.htmlTempName, "/tmp/old.htm");
        f.host.files["/tmp/old.htm"] = "old";
        f.load("<p>\r\n");
        f.host.failCall(row.service, row.n);
        EXPECT_EQ(EMLReadContent(&f.handle), EML_ERR_MEMORY);
        EXPECT_EQ(f.leftovers(), kNone);
        EXPECT_EQ(f.host.openFiles(), 2);
        EXPECT_STREQ(f.handle.htmlTempName, "");
    }
}

TEST(BodyFailures, OldHtmlFileThatIsLostIsNotLookedForByAnEmptyName) {
    TextBodyFixture f({.contentType = EML_CT_TEXT_HTML});
    f.handle.htmlPending = 1; // the document was lost when a write failed
    EXPECT_EQ(f.read("<p>\r\n"), EML_ERR_MEMORY);
    EXPECT_TRUE(f.host.removed.empty());
    EXPECT_FALSE(f.host.called("QOB_FileOpen"));
}

TEST(BodyFailures, InsertRecordWithoutMemory) {
    TextBodyFixture f({.contentType = EML_CT_TEXT_HTML});
    f.load("<p>\r\n");
    f.host.failCall("QOB_malloc", 1);
    EXPECT_EQ(EMLReadContent(&f.handle), EML_ERR_MEMORY);
    EXPECT_TRUE(f.host.inserts.empty());
    EXPECT_EQ(f.leftovers(), kNone);
}

TEST(BodyFailures, BlockThatCannotBeReloaded) {
    for (const int32_t type : {EML_CT_TEXT_PLAIN, EML_CT_TEXT_HTML, EML_CT_OTHER}) {
        for (const char *boundary : {"", "b"}) {
            TextBodyFixture f({.contentType = type, .boundary = boundary});
            // The block's last byte is a line end, so that the rest is loaded behind it.
            f.load(std::string(kBlockSize - 1, 'x') + "\nrest\n");
            f.host.failCall("QOB_malloc", 1);
            EXPECT_EQ(EMLReadContent(&f.handle), EML_ERR_MEMORY) << type << boundary;
            EXPECT_EQ(f.handle.readBuffer, nullptr);
            EXPECT_EQ(f.leftovers(), kNone);
            EXPECT_EQ(f.host.openFiles(), 2);
        }
    }
}

void sweepBody(const BodyHead &head, bool stream) {
    const std::string body = linesFor(head.encoding) + "\r\n" + linesFor(head.encoding);
    SweptWork work = {.prepare =
                          [head, stream, body](FilterFixture &f) {
                              if (stream) {
                                  f.useStream();
                              }
                              f.handle.contentType = head.contentType;
                              f.handle.transferEncoding = head.encoding;
                              std::strcpy(f.handle.charset, head.charset);
                              std::strcpy(f.handle.boundary, head.boundary);
                              f.params.flags &= ~static_cast<uint32_t>(EML_FLAG_KEEP_GOING);
                              f.load(body);
                          },
                      .work = [](FilterFixture &f) { return EMLReadContent(&f.handle); },
                      .codes = {EML_OK, EML_ERR_NOBUF, EML_ERR_INPUT, EML_ERR_MEMORY, 4242}};
    if (head.encoding == EML_TE_QUOTED_PRINTABLE) {
        work.leftovers = {"/tmp/t1"}; // left as it is when its decoder fails
    }
    sweepAllServices(work);
}

TEST(BodyFailures, EveryServiceInTurn) {
    for (const int32_t type : {EML_CT_TEXT_PLAIN, EML_CT_TEXT_HTML, EML_CT_OTHER,
                               EML_CT_MULTIPART_MIXED, EML_CT_IMAGE_GIF}) {
        for (const int32_t encoding : kEncodings) {
            for (const char *boundary : {"", "b"}) {
                const BodyHead head = {
                    .contentType = type, .encoding = encoding, .boundary = boundary};
                sweepBody(head, false);
                sweepBody(head, true);
            }
        }
    }
}

TEST(BodyFailures, EveryServiceInTurnOverSeveralBlocks) {
    std::string message = "From: a\r\nContent-Type: text/html\r\n\r\n";
    for (int i = 0; i < 400; ++i) {
        message += std::string(98, 'x') + "\r\n";
    }
    for (const char *service : {"QOB_malloc", "QOB_FileOpen", "QOB_FileTell", "QOB_FileWrite",
                                "QOB_ASC_tmpnam", "insert"}) {
        int n = 1;
        for (; n < 2000; ++n) {
            SCOPED_TRACE(std::string(service) + ", failing call " + std::to_string(n));
            ScriptedHost host;
            host.failCall(service, n);
            extractToFile(host, defaultParams(), message);
            EXPECT_EQ(host.filesBut({kInputName, kOutputName}), kNone);
            EXPECT_EQ(host.liveAllocations(), 0U);
            EXPECT_EQ(host.openFiles(), 0);
            if (host.count(service) < n) {
                break;
            }
        }
        EXPECT_LT(n, 2000) << service;
    }
}

} // namespace
