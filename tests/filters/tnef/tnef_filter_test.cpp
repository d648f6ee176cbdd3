// SPDX-License-Identifier: MIT
// TNEF containers that are what they should be: subject, body, attachments.
#include <gmock/gmock.h>

#include <string>

#include "filter_fixture.h"
#include "tnef_writer.h"

namespace qob::tests {
namespace {

using testing::IsEmpty;

constexpr uint16_t kString8 = 0x001E;
constexpr uint16_t kUnicode = 0x001F;
constexpr uint16_t kBinary = 0x0102;
constexpr uint16_t kObject = 0x000D;

class TnefFilter : public FilterTest {
protected:
    std::string textOfTnef(const std::string &attributes) {
        return textOf(TNEF_FILTER, tnefStart() + attributes);
    }

    std::string textOfProperties(const std::vector<std::string> &properties) {
        return textOfTnef(attribute(kMessagePropertiesTag, propertyList(properties)));
    }
};

TEST_F(TnefFilter, GivesSubjectBodyAndAttachments) {
    const Outcome outcome =
        run(TNEF_FILTER, tnefStart() + attribute(kSubjectTag, zeroEnded("Minutes")) +
                             attribute(kBodyTag, zeroEnded("Hello,\r\nsee below.\r\n")) +
                             attachment("notes.txt", "the notes\n") +
                             attachment("page.html", "<html><p>the page</p></html>"));
    EXPECT_EQ(outcome.code, EML_OK);
    EXPECT_EQ(outcome.text, "Subject: Minutes\n\nHello,\nsee below.\n\n"
                            "notes.txt\nthe notes\n\npage.html\nthe page\n\n");
    EXPECT_THAT(outcome.notices, IsEmpty());
}

TEST_F(TnefFilter, GivesTheStreamTheSame) {
    EXPECT_EQ(runStream(TNEF_FILTER, tnefStart() + attribute(kSubjectTag, zeroEnded("Minutes")) +
                                         attachment("notes.txt", "the notes\n"))
                  .text,
              "Subject: Minutes\n\nnotes.txt\nthe notes\n\n");
}

TEST_F(TnefFilter, PrefersTheUnicodeProperties) {
    EXPECT_EQ(textOfTnef(attribute(kSubjectTag, zeroEnded("??")) +
                         attribute(kMessagePropertiesTag,
                                   propertyList({property(0x0037, kUnicode, utf16("日本")),
                                                 property(0x1000, kUnicode, utf16("本文"))}))),
              "Subject: 日本\n\n本文\n");
}

TEST_F(TnefFilter, TakesSubjectsAndNamesOfAnyLength) {
    const std::string subject = repeated("長い件名", 50);
    const std::string name = repeated("long", 60) + ".txt";
    EXPECT_EQ(textOfTnef(attribute(kMessagePropertiesTag,
                                   propertyList({property(0x0037, kUnicode, utf16(subject))})) +
                         attachment(name, "text\n")),
              "Subject: " + subject + "\n\n" + name + "\ntext\n\n");
}

TEST_F(TnefFilter, ReadsEightBitTextsInTheCodePageOfTheContainer) {
    const struct {
        uint32_t codePage;
        const char *charset;
        const char *text;
    } rows[] = {{1252, "windows-1252", "Grüße"},
                {1251, "windows-1251", "Привет"},
                {932, "windows-31j", "日本語"},
                {65001, "UTF-8", "Ŵ"},
                {850, "IBM850", "é"},
                {28592, "ISO-8859-2", "ő"}};
    for (const auto &row : rows) {
        EXPECT_EQ(textOfTnef(attribute(kCodePageTag, little(row.codePage, 8)) +
                             attribute(kBodyTag, zeroEnded(encoded(row.charset, row.text)))),
                  std::string(row.text) + "\n");
    }
}

TEST_F(TnefFilter, ReadsEightBitTextsWithoutACodePageInTheLanguagesCharset) {
    const std::string body = attribute(kBodyTag, zeroEnded(encoded("windows-31j", "日本語")));
    setLanguage("Japanese");
    EXPECT_EQ(textOfTnef(body), "日本語\n");
}

TEST_F(TnefFilter, TakesThePlainBodyBeforeTheOthers) {
    EXPECT_EQ(textOfProperties({property(0x1013, kBinary, "<p>html</p>"),
                                property(0x1009, kBinary, packedRtf("{\\rtf1 rtf}")),
                                property(0x1000, kString8, zeroEnded("plain"))}),
              "plain\n");
}

TEST_F(TnefFilter, PassesOverAPlainBodyWithoutText) {
    EXPECT_EQ(textOfProperties({property(0x1000, kString8, zeroEnded(" \r\n")),
                                property(0x1013, kBinary, "<p>html</p>")}),
              "html\n\n");
}

TEST_F(TnefFilter, TakesTheHtmlBodyWhenThereIsNoOther) {
    EXPECT_EQ(
        textOfProperties({property(0x1013, kBinary, "<html><body>caf&eacute;</body></html>")}),
        "café\n\n");
}

TEST_F(TnefFilter, ReadsTheHtmlBodyInItsCodePage) {
    EXPECT_EQ(textOfProperties(
                  {numberProperty(0x3FDE, 1251),
                   property(0x1013, kBinary, "<p>" + encoded("windows-1251", "Привет") + "</p>")}),
              "Привет\n\n");
    EXPECT_EQ(textOfProperties({property(0x1013, kUnicode, utf16("<p>日本</p>"))}), "日本\n\n");
}

#ifdef RTF_FILTER_IS_THERE
TEST_F(TnefFilter, HandsTheRtfBodyOn) {
    EXPECT_EQ(
        textOfProperties({property(0x1009, kBinary, packedRtf("{\\rtf1\\ansi the body\\par}"))}),
        "the body\n\n");
}
#endif

TEST_F(TnefFilter, AttachmentsAreCalledByTheirBestName) {
    const std::string begin = attribute(kAttachRenderingTag, std::string(14, '\0'));
    const std::string data = attribute(kAttachDataTag, "text\n");
    const std::string title = attribute(kAttachTitleTag, zeroEnded("TITLE~1.TXT"));
    const auto properties = [](const std::vector<std::string> &list) {
        return attribute(kAttachPropertiesTag, propertyList(list));
    };
    const std::string shortName = property(0x3704, kString8, zeroEnded("SHORT~1.TXT"));
    const std::string longName = property(0x3707, kUnicode, utf16("the long name.txt"));
    EXPECT_EQ(textOfTnef(begin + title + data + properties({shortName, longName})),
              "the long name.txt\ntext\n\n");
    EXPECT_EQ(textOfTnef(begin + title + data + properties({shortName})), "SHORT~1.TXT\ntext\n\n");
    EXPECT_EQ(textOfTnef(begin + title + data), "TITLE~1.TXT\ntext\n\n");
    EXPECT_EQ(textOfTnef(begin + data + properties({property(0x3001, kUnicode, utf16("shown"))})),
              "shown\ntext\n\n");
    EXPECT_EQ(textOfTnef(begin + data), "text\n\n");
}

TEST_F(TnefFilter, ReadsAttachmentsThatAreProperties) {
    EXPECT_EQ(textOfTnef(attribute(kAttachRenderingTag, std::string(14, '\0')) +
                         attribute(kAttachPropertiesTag,
                                   propertyList({property(0x3701, kBinary, "text\n"),
                                                 property(0x3707, kUnicode, utf16("a.txt"))}))),
              "a.txt\ntext\n\n");
}

TEST_F(TnefFilter, ReadsAMessageInTheMessage) {
    const std::string inner = tnefStart() + attribute(kSubjectTag, zeroEnded("Inner")) +
                              attribute(kBodyTag, zeroEnded("inner body"));
    EXPECT_EQ(
        textOfTnef(attribute(kAttachRenderingTag, std::string(14, '\0')) +
                   attribute(kAttachPropertiesTag,
                             propertyList({property(0x3701, kObject, std::string(16, '\7') + inner),
                                           property(0x3001, kUnicode, utf16("Inner"))}))),
        "Inner\nSubject: Inner\n\ninner body\n\n");
}

TEST_F(TnefFilter, PassesOverNamedAndManyValuedProperties) {
    const std::string guid(16, '\1');
    const std::string byNumber = little(kString8, 2) + little(0x8001, 2) + guid + little(0, 4) +
                                 little(7, 4) + little(1, 4) + little(3, 4) + "abc" + little(0, 1);
    const std::string byName = little(0x0003, 2) + little(0x8002, 2) + guid + little(1, 4) +
                               little(6, 4) + std::string("a\0b\0\0\0", 6) + little(0, 2) +
                               little(5, 4);
    const std::string manyTexts = little(0x101E, 2) + little(0x6000, 2) + little(2, 4) +
                                  little(2, 4) + std::string("x\0\0\0", 4) + little(2, 4) +
                                  std::string("y\0\0\0", 4);
    const std::string manyNumbers =
        little(0x1003, 2) + little(0x6001, 2) + little(3, 4) + little(0, 12);
    const std::string fixed = little(0x0002, 2) + little(0x6002, 2) + little(0, 4) +
                              little(0x000B, 2) + little(0x6003, 2) + little(1, 4) +
                              little(0x0040, 2) + little(0x6004, 2) + little(0, 8) +
                              little(0x0006, 2) + little(0x6005, 2) + little(0, 8) +
                              little(0x0048, 2) + little(0x6006, 2) + guid;
    const Outcome outcome =
        run(TNEF_FILTER,
            tnefStart() + attribute(kMessagePropertiesTag,
                                    little(10, 4) + byNumber + byName + manyTexts + manyNumbers +
                                        fixed + property(0x1000, kString8, zeroEnded("body"))));
    EXPECT_EQ(outcome.text, "body\n");
    EXPECT_THAT(outcome.notices, IsEmpty());
}

TEST_F(TnefFilter, WrongChecksumsAreNotHeldAgainstTheText) {
    std::string bytes = tnefStart() + attribute(kBodyTag, zeroEnded("body"));
    bytes.back() = '\x7F';
    const Outcome outcome = run(TNEF_FILTER, bytes);
    EXPECT_EQ(outcome.text, "body\n");
    EXPECT_THAT(outcome.notices, IsEmpty());
}

TEST_F(TnefFilter, LineEndsBehindTheContainerAreNoDamage) {
    const Outcome outcome =
        run(TNEF_FILTER, tnefStart() + attribute(kBodyTag, zeroEnded("body")) + "\r\n\r\n");
    EXPECT_EQ(outcome.text, "body\n");
    EXPECT_THAT(outcome.notices, IsEmpty());
}

TEST_F(TnefFilter, ReadsLargeBodiesAndAttachmentsInPieces) {
    std::string content;
    for (int i = 0; i < 60000; ++i) {
        content += "line " + std::to_string(i) + '\n';
    }
    const std::string text =
        textOfTnef(attribute(kBodyTag, content) + attachment("a.txt", content));
    EXPECT_TRUE(text == content + "\na.txt\n" + content + '\n') << text.size();
}

TEST_F(TnefFilter, ObeysTheOutputLimit) {
    setLimit(12);
    const Outcome outcome =
        run(TNEF_FILTER, tnefStart() + attribute(kSubjectTag, zeroEnded("Minutes")) +
                             attribute(kBodyTag, zeroEnded("body")));
    EXPECT_EQ(outcome.code, EML_ERR_LIMIT);
    EXPECT_EQ(outcome.text, "Subject: Min");
}

TEST_F(TnefFilter, StopsWhenTheStreamTakesNothingMore) {
    const Outcome outcome = runStream(
        TNEF_FILTER,
        tnefStart() + attribute(kBodyTag, zeroEnded("body")) + attachment("a.txt", "x"), 2);
    EXPECT_EQ(outcome.code, EML_OK);
    EXPECT_LE(outcome.text.size(), 2U);
}

TEST_F(TnefFilter, ContainerWithoutContentGivesNoTextAndIsNoFailure) {
    const Outcome outcome = run(TNEF_FILTER, tnefStart());
    EXPECT_EQ(outcome.code, EML_OK);
    EXPECT_EQ(outcome.text, "");
    EXPECT_THAT(outcome.notices, IsEmpty());
}

TEST_F(TnefFilter, ThreadsDoNotDisturbEachOther) {
    const std::string bytes =
        tnefStart() + attribute(kBodyTag, zeroEnded("body")) + attachment("a.txt", "text\n");
    EXPECT_THAT(textsOfThreads(TNEF_FILTER, bytes, 4, 5),
                testing::AllOf(testing::SizeIs(20), testing::Each("body\n\na.txt\ntext\n\n")));
}

} // namespace
} // namespace qob::tests
