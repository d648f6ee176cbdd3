// SPDX-License-Identifier: MIT
// The body reader over the parts of a mixed message: which part goes to which walker.
#include <gtest/gtest.h>

#include "support/failure_sweep.h"
#include "support/part_headers.h"

namespace {

// Which walker a part went to, as its traces tell.
enum class Walker { kSkipped, kText, kHtml, kAlternative, kAttachment, kMessage };

std::ostream &operator<<(std::ostream &out, Walker walker) {
    return out << static_cast<int>(walker);
}

Walker walkerOf(const PartHeaders &m) {
    if (m.handle.attachmentCount > 0) {
        const std::string &name = m.host.inserts.at(0).name;
        return name.substr(name.size() - 2) == "l1" ? Walker::kAttachment : Walker::kMessage;
    }
    if (!m.host.inserts.empty()) {
        return Walker::kHtml;
    }
    return m.output().empty() ? Walker::kSkipped : Walker::kText;
}

// A part that any walker can make something of.
std::string partOf(const std::string &typeLine, const std::string &nextLine = "X: y") {
    return typeLine + "\r\n" + nextLine +
           "\r\nContent-Disposition: attachment; filename=\"f\"\r\n\r\n\r\nhello\r\n--b--\r\n";
}

TEST(MixedDispatch, GoesByThePartsType) {
    struct Row {
        const char *type;
        Walker walker;
        int32_t hasName; // afterwards
    };
    const Row rows[] = {
        {"text/plain; charset=utf-8", Walker::kText, 1},
        {"TEXT/HTML; charset=utf-8", Walker::kHtml, 1},
        {"text/enriched; charset=utf-8", Walker::kHtml, 1},
        {"application/pdf", Walker::kMessage, 1},
        {"message/rfc822", Walker::kMessage, 1},
        {"image/jpeg", Walker::kSkipped, 0},
        {"image/gif", Walker::kSkipped, 0},
        {"multipart/mixed", Walker::kSkipped, 0},
        {"multipart/appledouble", Walker::kSkipped, 0},
        {"message/delivery-status", Walker::kSkipped, 0},
        {"audio/midi", Walker::kSkipped, 0},
        {"", Walker::kSkipped, 0},
    };
    for (const Row &row : rows) {
        MixedMessage m;
        EXPECT_EQ(m.read(partOf(std::string("Content-Type: ") + row.type)), EML_OK);
        EXPECT_EQ(walkerOf(m), row.walker) << row.type;
        EXPECT_EQ(m.handle.partHasName, row.hasName) << row.type;
    }
}

TEST(MixedDispatch, AlternativeAndRelatedPartsGoToTheirWalker) {
    for (const char *type : {"multipart/alternative", "multipart/related"}) {
        MixedMessage m;
        EXPECT_EQ(m.read(std::string("--b\r\nContent-Type: ") + type +
                         "; boundary=\"in\"\r\n\r\n--in\r\nContent-Type: text/html; "
                         "charset=utf-8\r\n\r\n<p>\r\n--in--\r\n--b--\r\n"),
                  EML_OK);
        EXPECT_EQ(walkerOf(m), Walker::kHtml) << type;
        EXPECT_EQ(m.handle.partHasName, 1) << type;
    }
}

TEST(MixedDispatch, PartWithANameIsAnAttachment) {
    struct Row {
        const char *promise;
        const char *type;
        const char *nextLine;
        bool named;
    };
    const std::string far(250, 'x');
    const std::string farther(251, 'x');
    const std::string nameIn255 = "X" + far + "name";
    const std::string nameBehind = "X" + farther + "name";
    const Row rows[] = {
        {"name on the line", "image/gif; name=g", "X: y", true},
        {"Name on the line", "image/gif; Name=g", "X: y", true},
        {"name on the next line", "image/gif", " name=g", true},
        {"Name on the next line", "image/gif", "X: Name", true},
        {"NAME is none", "image/gif; NAME=g", "X: NAME", false},
        {"filename on the next line", "image/gif", "Content-Disposition: inline; filename=g", true},
        {"anything that holds the word", "image/gif", "X: surnames", true},
        {"within 255 bytes", "image/gif", nameIn255.c_str(), true},
        {"behind them", "image/gif", nameBehind.c_str(), false},
        {"no name", "image/gif", "X: y", false},
    };
    for (const Row &row : rows) {
        SCOPED_TRACE(row.promise);
        MixedMessage m;
        EXPECT_EQ(m.read(partOf(std::string("Content-Type: ") + row.type, row.nextLine)), EML_OK);
        EXPECT_EQ(walkerOf(m), row.named ? Walker::kAttachment : Walker::kSkipped);
        EXPECT_EQ(m.handle.partHasName, row.named ? 1 : 0);
    }
}

TEST(MixedDispatch, TextWithANameIsAnAttachment) {
    for (const char *type : {"text/plain", "text/html", "multipart/alternative"}) {
        MixedMessage m;
        EXPECT_EQ(m.read(partOf(std::string("Content-Type: ") + type + "; name=g")), EML_OK);
        EXPECT_EQ(walkerOf(m), Walker::kAttachment) << type;
    }
}

TEST(MixedDispatch, ApplicationIsTypedAsAnEmbeddedMessage) {
    for (const char *type : {"application/pdf", "application/pdf; name=g"}) {
        MixedMessage m;
        EXPECT_EQ(m.read(partOf(std::string("Content-Type: ") + type)), EML_OK);
        EXPECT_EQ(m.handle.partContentType, EML_CT_MESSAGE_RFC822) << type;
        EXPECT_EQ(m.host.inserts.at(0).name, "/tmp/in.emlin.eml1.eml") << type;
    }
}

TEST(MixedDispatch, EverythingInsideANestedMessageIsAnAttachment) {
    struct Row {
        const char *type;
        Walker walker;
    };
    const Row rows[] = {
        {"text/plain; charset=utf-8", Walker::kAttachment}, {"image/gif", Walker::kAttachment},
        {"message/delivery-status", Walker::kAttachment},   {"application/pdf", Walker::kMessage},
        {"multipart/alternative", Walker::kAttachment},     {"audio/midi", Walker::kAttachment},
    };
    for (const Row &row : rows) {
        MixedMessage m;
        m.handle.nestedContentType = EML_CT_MESSAGE_RFC822;
        EXPECT_EQ(m.read(partOf(std::string("Content-Type: ") + row.type)), EML_OK);
        EXPECT_EQ(walkerOf(m), row.walker) << row.type;
        EXPECT_EQ(m.handle.partHasName, 1) << row.type;
    }
}

TEST(MixedDispatch, DeliveryStatusIsNeverNamed) {
    MixedMessage m;
    EXPECT_EQ(m.read(partOf("Content-Type: message/delivery-status; name=g")), EML_OK);
    EXPECT_EQ(walkerOf(m), Walker::kSkipped);
    EXPECT_EQ(m.handle.partHasName, 0);
}

TEST(MixedDispatch, FoldedLineMayStillMakeAnAttachment) {
    struct Row {
        const char *folded;
        Walker walker;
    };
    const Row rows[] = {
        {" 0123456789abcmessage/rfc822", Walker::kMessage},
        {" 0123456789abcimage/gif; Name=x", Walker::kAttachment},
        {" 0123456789abcapplication/pdf", Walker::kSkipped},
        {" 0123456789abctext/plain", Walker::kSkipped},
    };
    for (const Row &row : rows) {
        MixedMessage m;
        EXPECT_EQ(
            m.read(std::string("Content-Type: audio/midi;\r\n X: y;\r\n") + partOf(row.folded)),
            EML_OK);
        EXPECT_EQ(walkerOf(m), row.walker) << row.folded;
    }
}

TEST(MixedDispatch, ReportsAndUntypedMessagesAreWalkedAlike) {
    for (const int32_t type : {EML_CT_MULTIPART_REPORT, EML_CT_OTHER}) {
        PartHeaders m(type);
        EXPECT_EQ(m.read("--b\r\n" + partOf("Content-Type: text/plain; charset=utf-8")), EML_OK);
        EXPECT_EQ(walkerOf(m), Walker::kText) << type;
    }
}

TEST(MixedDispatch, NameBeforeTheTypeIsReadAgainForTheAttachment) {
    MixedMessage m;
    EXPECT_EQ(m.read("--b\r\nContent-Disposition: attachment; filename=\"a.pdf\"\r\n"
                     "Content-Type: application/pdf\r\n\r\n\r\n%PDF\r\n--b--\r\n"),
              EML_OK);
    EXPECT_EQ(m.handle.rereadPending, 0);
    EXPECT_EQ(m.host.inserts.size(), 1U);
    EXPECT_NE(m.output().find("attachmemt_name: a.pdf\n"), std::string::npos) << m.output();
}

TEST(MixedDispatch, RereadingStaysMarkedUntilAnAttachmentTakesIt) {
    MixedMessage m;
    EXPECT_EQ(m.read("--b\r\nContent-Disposition: inline; filename=\"a\"\r\n"
                     "Content-Type: text/plain; charset=utf-8\r\n\r\nhello\r\n--b--\r\n"),
              EML_OK);
    EXPECT_EQ(m.output(), "\nhello\n");
    EXPECT_EQ(m.handle.rereadPending, 1);
}

TEST(MixedDispatch, WalkersErrorEndsTheCall) {
    MixedMessage text;
    text.load("Content-Type: text/plain; charset=utf-8\r\nContent-Transfer-Encoding: base64\r\n"
              "\r\nQUJD\r\n--b\r\nContent-Type: application/x\r\n\r\n\r\ny\r\n--b--\r\n");
    text.host.failCall("QOB_FileOpen", 1);
    EXPECT_EQ(EMLReadContent(&text.handle), EML_ERR_INPUT);
    EXPECT_TRUE(text.host.inserts.empty());

    MixedMessage attachment;
    attachment.load(partOf("Content-Type: application/pdf"));
    attachment.host.failCall("QOB_FileOpen", 1);
    EXPECT_EQ(EMLReadContent(&attachment.handle), EML_ERR_INPUT);
    EXPECT_EQ(attachment.handle.rereadPending, 0);
}

TEST(MixedDispatch, EveryServiceInTurn) {
    std::string body = "--b\r\n" + partOf("Content-Type: application/pdf") + "--b\r\n" +
                       partOf("Content-Type: text/html; charset=utf-8") +
                       "--b\r\nContent-Type: text/plain; charset=utf-8\r\n\r\nplain\r\n--b--\r\n";
    sweepAllServices({.prepare =
                          [body](FilterFixture &f) {
                              f.handle.contentType = EML_CT_MULTIPART_MIXED;
                              std::strcpy(f.handle.boundary, "b");
                              f.params.flags &= ~static_cast<uint32_t>(EML_FLAG_KEEP_GOING);
                              f.load(body);
                          },
                      .work = [](FilterFixture &f) { return EMLReadContent(&f.handle); },
                      .codes = {EML_OK, EML_ERR_MEMORY, EML_ERR_INPUT, EML_ERR_SHORT_WRITE, 4242}});
}

TEST(MixedDispatch, ThousandsOfPartsAndOfBoundaries) {
    std::string message = "From: a\r\nContent-Type: multipart/mixed; boundary=\"b\"\r\n\r\n";
    for (int i = 0; i < 3000; ++i) {
        message += "--b\r\n--in" + std::to_string(i) + "\r\nContent-Type: image/gif\r\n xx\r\n";
    }
    ScriptedHost host;
    const Extraction e = extractToFile(host, defaultParams(), message);
    EXPECT_EQ(e.code, EML_OK);
    EXPECT_EQ(e.text, "From: a\n\n\nContent: \n");
    EXPECT_EQ(host.liveAllocations(), 0U);
}

} // namespace
