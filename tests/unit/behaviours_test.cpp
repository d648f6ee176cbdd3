// SPDX-License-Identifier: MIT
// The examples of docs/behaviours.md, one test each, with the same input and output. The last test
// compares this file with the document, so that they stay together.
//
// How the examples are written is told at the top of the document.
#include <gtest/gtest.h>

#include <cstring>
#include <fstream>
#include <iterator>
#include <regex>
#include <sstream>
#include <string>
#include <string_view>

#include "support/filter_fixture.h"

namespace {

constexpr const char *kFrom = "From: a\n";
constexpr const char *kMixed = "Content-Type: multipart/mixed; boundary=\"XX\"\n\n";
constexpr const char *kAlternative = "Content-Type: multipart/alternative; boundary=\"XX\"\n\n";
constexpr const char *kDigest = "Content-Type: multipart/digest; boundary=\"XX\"\n\n";

// A host that shows each file handed to it as {content}.
struct ShowingHost : ScriptedHost {
    ShowingHost() {
        insert = [](const InsertCall &call) { return "{" + call.content + "}"; };
    }
};

// What stands behind the "Content: " label.
std::string bodyIn(const Extraction &extraction) {
    EXPECT_EQ(extraction.code, EML_OK);
    constexpr std::string_view kLabel = "\nContent: \n";
    const size_t label = extraction.text.find(kLabel);
    return label == std::string::npos ? "no body" : extraction.text.substr(label + kLabel.size());
}

std::string headerOf(const std::string &header, const char *language = "English") {
    ShowingHost host;
    // Text read in another charset than ISO-8859-1 is shown as NAME<text>.
    host.convert = [](const std::string &source, const std::string &text) {
        return source == "ISO-8859-1" || source == "utf-8" || source == "UTF-8"
                   ? text
                   : source + "<" + text + ">";
    };
    HostParams params = defaultParams();
    std::strcpy(params.language, language);
    const Extraction extraction = extractToFile(host, params, header + "\n");
    EXPECT_EQ(extraction.code, EML_OK);
    return extraction.text.substr(0, extraction.text.find("\nContent: \n"));
}

std::string bodyOf(const std::string &message) {
    ShowingHost host;
    return bodyIn(extractToFile(host, defaultParams(), kFrom + message));
}

std::string streamedBodyOf(const std::string &message) {
    ShowingHost host;
    return bodyIn(extractToStream(host, defaultParams(), kFrom + message));
}

std::string bodyWithCharsets(const std::string &message) {
    ShowingHost host;
    host.convert = [](const std::string &source, const std::string &text) {
        return source == "ISO-8859-1" ? text : source + "<" + text + ">";
    };
    return bodyIn(extractToFile(host, defaultParams(), kFrom + message));
}

// "TYPE ENCODING: BODY | TYPE: BODY" as parts below their delimiters. Other text is one part as it
// stands.
std::string partsOf(const std::string &notation, const std::string &boundary) {
    static const std::regex kPart("^(\\w+/\\w+)( [\\w-]+)?: ([^]*)$");
    std::string parts;
    for (size_t start = 0, end = 0; end != std::string::npos; start = end + 3) {
        end = notation.find(" | ", start);
        const size_t length = end == std::string::npos ? end : end - start;
        const std::string piece = notation.substr(start, length);
        parts += "--" + boundary + "\n";
        std::smatch part;
        if (std::regex_match(piece, part, kPart)) {
            parts += "Content-Type: " + part[1].str() + "; charset=utf-8\n";
            parts += part[2].matched ? "Content-Transfer-Encoding:" + part[2].str() + "\n" : "";
            parts += "\n" + part[3].str() + "\n";
        } else {
            parts += piece + "\n";
        }
    }
    return parts;
}

std::string closedMixed(const std::string &parts) {
    return kMixed + partsOf(parts, "XX") + "--XX--\n";
}
// The epilogue keeps the end of the file away: walkers behave otherwise in its last 77 bytes.
std::string mixed(const std::string &parts) {
    return closedMixed(parts) + std::string(100, '.') + "\n";
}
std::string mixedOf(const std::string &parts) {
    return bodyOf(mixed(parts));
}
std::string shortMixedOf(const std::string &parts) {
    return bodyOf(closedMixed(parts));
}
std::string unclosedMixedOf(const std::string &parts) {
    return bodyOf(kMixed + partsOf(parts, "XX"));
}
std::string alternativePartOf(const std::string &parts) {
    return bodyOf(std::string(kMixed) +
                  "--XX\nContent-Type: multipart/alternative; boundary=\"YY\"\n\n" +
                  partsOf(parts, "YY") + "--YY--\n\n--XX--\n");
}
std::string alternativeMessageOf(const std::string &parts) {
    return bodyOf(kAlternative + partsOf(parts, "XX") + "--XX--\n");
}
std::string digestOf(const std::string &entries) {
    return bodyOf(kDigest + partsOf(entries, "XX") + "--XX--\n");
}

TEST(HeaderBehaviour, WritesTheDateLast) {
    EXPECT_EQ(headerOf("Date: today\nFrom: a\nSubject: s\n"), "From: a\nSubject: s\nDate: today\n");
}

TEST(HeaderBehaviour, WithoutADateEndsWithAnEmptyLine) {
    EXPECT_EQ(headerOf("From: a\nSubject: s\n"), "From: a\nSubject: s\n\n");
}

TEST(HeaderBehaviour, LeavesTheDateInPlaceBehindTheFiveFields) {
    EXPECT_EQ(headerOf("From: a\nTo: b\nCc: c\nBcc: d\nSubject: e\nDate: f\nSubject: g\n"),
              "From: a\nTo: b\nCc: c\nBcc: d\nSubject: e\nDate: f\n\nSubject: g");
}

TEST(HeaderBehaviour, JoinsFoldedLinesWithoutABlank) {
    EXPECT_EQ(headerOf("Subject: one\n two\n"), "Subject: onetwo\n\n");
}

TEST(HeaderBehaviour, KeepsTheBlankBetweenEncodedWords) {
    EXPECT_EQ(headerOf("Subject: =?utf-8?Q?a?= =?utf-8?Q?b?=\n"), "Subject: a b\n\n");
}

TEST(HeaderBehaviour, KeepsAnUnderscoreInAnEncodedWord) {
    EXPECT_EQ(headerOf("Subject: =?utf-8?Q?a_b?=\n"), "Subject: a_b\n\n");
}

TEST(HeaderBehaviour, EndsAValueAtAnUnfinishedWordOrAddress) {
    EXPECT_EQ(headerOf("From: Ann <ann@x\nSubject: a =?utf-8?Q?b\n"),
              "From: Ann \nSubject: a \n\n");
}

TEST(HeaderBehaviour, WritesTheToLabelOnce) {
    EXPECT_EQ(headerOf("To: a\nTo: b\n"), "To: aTo: b\n\n");
}

TEST(HeaderBehaviour, WritesTheCcAndBccLabelsOnce) {
    EXPECT_EQ(headerOf("Cc: a\nCc: b\nBcc: c\nBcc: d\n"), "Cc: ab\nBcc: cd\n\n");
}

TEST(HeaderBehaviour, TakesTheLineBelowACommaForTheList) {
    EXPECT_EQ(headerOf("To: a,\nSubject: s\n"), "To: a,Subject: s\n\n");
}

TEST(HeaderBehaviour, TakesABlankBehindToForGranted) {
    EXPECT_EQ(headerOf("To:ann\n"), "To: nn\n\n");
}

TEST(HeaderBehaviour, CutsFoldedBccLines) {
    EXPECT_EQ(headerOf("Bcc: a\n bcdefg\n"), "Bcc: afg\n\n");
}

TEST(HeaderBehaviour, EndsAtALineOfDashesBeforeAnyBoundary) {
    EXPECT_EQ(headerOf("From: a\n--x\nSubject: s\n"), "From: a\n\n");
}

TEST(HeaderBehaviour, ReadsQuotedTextInTheLanguagesCharset) {
    EXPECT_EQ(headerOf("Subject: one \"other\" third\n", "ko"),
              "Subject: one \"KoreanKSC<other>\"KoreanKSC< third>\n\n");
}

TEST(HeaderBehaviour, WithoutAnyOfTheFiveFieldsIsNoMessage) {
    ShowingHost host;
    const Extraction extraction = extractToFile(host, defaultParams(), "Date: today\n\ntext\n");
    EXPECT_EQ(extraction.code, EML_ERR_FORMAT);
    EXPECT_FALSE(extraction.outputKept);
    EXPECT_EQ(extraction.text, "");
}

TEST(SinglePartBehaviour, JoinsTheLinesOfAParagraph) {
    EXPECT_EQ(bodyOf("Content-Type: text/plain\n\none\ntwo\n\nthree\n"), "onetwo\nthree");
}

TEST(SinglePartBehaviour, KeepsTheLinesWhenABoundaryIsGiven) {
    EXPECT_EQ(bodyOf("Content-Type: text/plain; boundary=\"XX\"\n\none\ntwo\n"), "one\ntwo\n");
}

TEST(SinglePartBehaviour, CopiesABodyWithoutAType) {
    EXPECT_EQ(bodyOf("\none\n\ntwo\n"), "onetwo");
}

TEST(SinglePartBehaviour, DecodesABodyWithoutATypeIntoAFile) {
    EXPECT_EQ(bodyOf("Content-Transfer-Encoding: base64\n\nYWJj\n\n"), "abc");
}

TEST(SinglePartBehaviour, DecodesNoBodyWithoutATypeIntoAStream) {
    EXPECT_EQ(streamedBodyOf("Content-Transfer-Encoding: base64\n\nYWJj\n\n"), "");
}

TEST(SinglePartBehaviour, JoinsTheLinesOfHtml) {
    EXPECT_EQ(bodyOf("Content-Type: text/html; charset=utf-8\n\n<p>one\n\ntwo\n"),
              "{<META CONTENT=\"text/html;charset=utf-8\"><p>onetwo}");
}

TEST(SinglePartBehaviour, ReadsAMixedMessageWithoutAQuotedBoundaryAsHtml) {
    EXPECT_EQ(bodyOf("Content-Type: multipart/mixed; boundary=XX\n\n--XX\n\none\n"),
              "{<META CONTENT=\"text/html;charset=\">--XXone}");
}

TEST(SinglePartBehaviour, GivesNoTextForOtherTypes) {
    EXPECT_EQ(bodyOf("Content-Type: application/json\n\none\n"), "");
}

TEST(MixedBehaviour, BeginsAPartWithALineEnd) {
    EXPECT_EQ(mixedOf("text/plain: one"), "\none\n");
}

TEST(MixedBehaviour, BeginsAPartWithoutALineEndBelowATransferEncoding) {
    EXPECT_EQ(mixedOf("text/plain 8bit: one"), "one\n");
}

TEST(MixedBehaviour, KeepsTheEncodingOfTheTextPartBefore) {
    EXPECT_EQ(mixedOf("text/plain quoted-printable: a=41 | text/plain: b=42"), "aA\n\nbB\n");
}

TEST(MixedBehaviour, LosesAnEncodedTextPartThatIsNotClosed) {
    EXPECT_EQ(unclosedMixedOf("text/plain base64: YWJj"), "");
}

TEST(MixedBehaviour, EndsAtALineOfOneDot) {
    EXPECT_EQ(mixedOf(".\n--XX\nContent-Type: text/plain\n\none"), "");
}

TEST(MixedBehaviour, GoesBackToTheHeaderAtATransferEncodingLine) {
    EXPECT_EQ(mixedOf("text/plain: one\nContent-Transfer-Encoding: 8bit\n\ntwo"), "\none\n");
}

TEST(MixedBehaviour, DropsDescriptionLines) {
    EXPECT_EQ(mixedOf("text/plain: one\nContent-Description: x\ntwo"), "\none\ntwo\n");
}

TEST(MixedBehaviour, TellsADelimiterFromTheThirdCharacterOn) {
    EXPECT_EQ(mixedOf("text/plain: one\n::XX\ntwo"), "\none\n");
}

TEST(MixedBehaviour, LosesTheTextOfANestedMixedPart) {
    EXPECT_EQ(mixedOf("text/plain: one | Content-Type: multipart/mixed; boundary=\"YY\"\n\n--YY\n"
                      "Content-Type: text/plain\n\ntwo\n--YY--"),
              "\none\n");
}

TEST(MixedBehaviour, KeepsTheDelimitersOfALaterNestedMixedPart) {
    EXPECT_EQ(mixedOf("image/gif: GIF89a | Content-Type: multipart/mixed; boundary=\"YY\"\n\n--YY\n"
                      "Content-Type: text/plain\n\ntwo\n--YY--"),
              "\ntwo\n--YY--\n");
}

TEST(MixedBehaviour, SkipsPartsThatAreNotTextAndHaveNoName) {
    EXPECT_EQ(mixedOf("image/gif base64: R0lG | text/plain: one"), "\none\n");
}

TEST(AlternativeBehaviour, OfAPartPrefersHtmlThatComesLater) {
    EXPECT_EQ(alternativePartOf("text/plain 8bit: one | text/html 8bit: <p>two"), "{<HTML><p>two}");
}

TEST(AlternativeBehaviour, OfAPartGivesBothWhenHtmlComesFirst) {
    EXPECT_EQ(alternativePartOf("text/html 8bit: <p>two | text/plain 8bit: one"),
              "{<HTML><p>two}one\n");
}

TEST(AlternativeBehaviour, OfAPartNeedsATransferEncodingForPlainText) {
    EXPECT_EQ(alternativePartOf("text/plain: one"), "");
}

TEST(AlternativeBehaviour, OfAPartLosesPlainTextBeforeAnImage) {
    EXPECT_EQ(alternativePartOf("text/plain 8bit: one | image/gif base64: R0lG"), "");
}

TEST(AlternativeBehaviour, OfAMessagePrefersTheLaterOne) {
    EXPECT_EQ(alternativeMessageOf("text/plain 8bit: one | text/html 8bit: <p>two"),
              "{<META CONTENT=\"text/html;charset=utf-8\"><p>two}");
}

TEST(AlternativeBehaviour, OfAMessageGivesBothWhenHtmlComesFirst) {
    EXPECT_EQ(alternativeMessageOf("text/html 8bit: <p>two | text/plain 8bit: one"),
              "{<META CONTENT=\"text/html;charset=utf-8\"><p>two}one\n");
}

TEST(AlternativeBehaviour, OfAMessageSkipsPartsWithAName) {
    EXPECT_EQ(alternativeMessageOf("Content-Type: text/plain; name=\"a.txt\"\n\none"), "");
}

TEST(AttachmentBehaviour, LabelsTheTextOfAnAttachment) {
    EXPECT_EQ(mixedOf("Content-Type: application/pdf\n"
                      "Content-Disposition: attachment; filename=\"a.pdf\"\n\n%PDF"),
              "\nAttach1:\nattachmemt_name: a.pdf\n\n{%PDF\n}");
}

TEST(AttachmentBehaviour, CallsAnApplicationWithoutANameAMessage) {
    EXPECT_EQ(mixedOf("Content-Type: application/pdf\n\n%PDF"),
              "\nAttach1:\nattachmemt_name: attachment.eml\n\n{%PDF\n}");
}

TEST(AttachmentBehaviour, WithANameParameterAloneBeginsBelowTheNextEmptyLine) {
    EXPECT_EQ(mixedOf("Content-Type: text/plain; name=\"a.txt\"\n\none\n\ntwo"),
              "\nAttach1:\nattachmemt_name: a.txt\n\n{two\n}");
}

TEST(AttachmentBehaviour, WithANameParameterAloneIsLostAtTheEndOfTheFile) {
    EXPECT_EQ(shortMixedOf("Content-Type: text/plain; name=\"a.txt\"\n\none\n\ntwo"), "");
}

TEST(AttachmentBehaviour, LosesTextBelowALineThatMentionsAName) {
    EXPECT_EQ(mixedOf("Content-Type: text/plain\nX-Comment: my name\n\none"), "");
}

TEST(AttachmentBehaviour, TakesTheLastQuotedTextForTheName) {
    EXPECT_EQ(mixedOf("Content-Type: application/pdf\n"
                      "Content-Disposition: attachment; filename=\"a.pdf\"; size=\"12\"\n\n%PDF"),
              "\nAttach1:\nattachmemt_name: 12\n\n{%PDF\n}");
}

TEST(AttachmentBehaviour, TakesTheLineBelowForANameWithoutQuotes) {
    EXPECT_EQ(mixedOf("Content-Type: application/pdf\n"
                      "Content-Disposition: attachment; filename=a.pdf\n"
                      "Content-Transfer-Encoding: 8bit\n\n%PDF"),
              "\nAttach1:\nattachmemt_name: Content-Transfer-Encoding: 8bit\n\n{%PDF\n}");
}

TEST(AttachmentBehaviour, DoesNotReadExtendedNames) {
    EXPECT_EQ(mixedOf("Content-Type: text/plain\n"
                      "Content-Disposition: attachment; filename*=utf-8''a.txt\n\none"),
              "\nAttach1:\nattachmemt_name: attachment\n\n{one\n}");
}

TEST(DigestBehaviour, NamesAnEntryByItsSubject) {
    EXPECT_EQ(digestOf("Subject: one\n\ntext"),
              "\nAttach1:\nattachmemt_name:  one.eml\n\n{Subject: one\n\ntext\n}");
}

TEST(DigestBehaviour, CopiesAnEntryFromTheLineBelowItsDelimiterOn) {
    EXPECT_EQ(digestOf("\nSubject: one\n\ntext"),
              "\nAttach1:\nattachmemt_name:  one.eml\n\n{\nSubject: one\n\ntext\n}");
}

TEST(DigestBehaviour, TakesALaterSubjectForAnEntryWithoutOne) {
    EXPECT_EQ(digestOf("From: a\n\none\n--XX\nSubject: two"),
              "\nAttach1:\nattachmemt_name:  two.eml\n\n{From: a\n\none\n}"
              "\nAttach2:\nattachmemt_name:  two.eml\n\n{Subject: two\n}");
}

TEST(DigestBehaviour, DropsLinesThatBeginWithTwoDashes) {
    EXPECT_EQ(digestOf("Subject: one\n\ntext\n-- \nAnn"),
              "\nAttach1:\nattachmemt_name:  one.eml\n\n{Subject: one\n\ntext\nAnn\n}");
}

TEST(CharsetBehaviour, OfAPartIsTheLastOneWhenItNamesNone) {
    EXPECT_EQ(bodyWithCharsets(mixed("Content-Type: text/plain; charset=euc-kr\n\nfirst\n--XX\n"
                                     "Content-Type: text/plain\n\nother")),
              "\nKoreanKSC<first>\n\nKoreanKSC<other>\n");
}

TEST(CharsetBehaviour, OfAMessageIsTheLastQuotedParameter) {
    EXPECT_EQ(bodyWithCharsets("Content-Type: text/plain; charset=utf-8; format=\"flowed\"\n\n"
                               "text\n"),
              "flowed<text>");
}

TEST(CharsetBehaviour, IsKnownByTheBeginningOfItsName) {
    EXPECT_EQ(bodyWithCharsets("Content-Type: text/plain; charset=iso-8859-15\n\ntext\n"), "text");
}

TEST(CharsetBehaviour, OfAnHtmlPartIsNotHandedOn) {
    EXPECT_EQ(mixedOf("text/html 8bit: <p>one"), "{<HTML><p>one}");
}

TEST(EncodingBehaviour, DecodesEachBase64LineOnItsOwn) {
    EXPECT_EQ(bodyOf("Content-Type: text/plain\nContent-Transfer-Encoding: base64\n\n"
                     "YWJjZ\nGVm\n"),
              "abc");
}

TEST(EncodingBehaviour, KnowsBase64PadsOnlyAboveAnEmptyLine) {
    EXPECT_EQ(bodyOf("Content-Type: text/plain\nContent-Transfer-Encoding: base64\n\nYWJjYQ==\n\n"),
              "abca\n");
}

TEST(EncodingBehaviour, DecodesBase64PadsAboveTheEndOfTheFile) {
    EXPECT_EQ(bodyOf("Content-Type: text/plain\nContent-Transfer-Encoding: base64\n\nYWJjYQ==\n"),
              "abca@");
}

TEST(EncodingBehaviour, ReadsAnyCharacterInAnEscape) {
    EXPECT_EQ(
        bodyOf("Content-Type: text/plain\nContent-Transfer-Encoding: quoted-printable\n\na=G1b\n"),
        "aqb\n");
}

TEST(EncodingBehaviour, LosesAQuotedPrintableLineWithoutALineEnd) {
    EXPECT_EQ(bodyOf("Content-Type: text/plain\nContent-Transfer-Encoding: quoted-printable\n\n"
                     "one\ntwo"),
              "one\n");
}

TEST(EncodingBehaviour, CarriesASoftBreakIntoTheNextPart) {
    EXPECT_EQ(mixedOf("text/plain quoted-printable: one= | text/plain quoted-printable: two"),
              "onetwo\n");
}

Extraction limitedTo(uint32_t bytes, const std::string &message) {
    ShowingHost host;
    HostParams params = defaultParams();
    params.options = EML_OPT_LIMIT_OUTPUT;
    params.outputLimit = bytes;
    return extractToFile(host, params, message);
}

TEST(LimitBehaviour, CountsLabelsAndHeaderToo) {
    const Extraction extraction = limitedTo(8, "From: abc\n\n");
    EXPECT_EQ(extraction.text, "From: ab");
    EXPECT_EQ(extraction.code, EML_ERR_LIMIT);
}

TEST(LimitBehaviour, DoesNotHoldForABodyWithoutAType) {
    EXPECT_EQ(limitedTo(8, "From: abc\n\ntext\n").text, "From: abtext");
}

std::string contentOf(const std::string &path) {
    std::ifstream file(path, std::ios::binary);
    std::ostringstream content;
    content << file.rdbuf();
    return content.str();
}

// The code of one test of this file, its string literals joined and without backslashes before
// quotes, so that an example can be found in it as the document writes it.
std::string codeOf(const std::string &source, const std::string &suite, const std::string &name) {
    const size_t start = source.find("TEST(" + suite + ", " + name + ") {");
    if (start == std::string::npos) {
        return "";
    }
    std::string code = source.substr(start, source.find("\n}\n", start) - start);
    code = std::regex_replace(code, std::regex("\"\\s*\n\\s*\""), "");
    return std::regex_replace(code, std::regex("\\\\\""), "\"");
}

// An example as the document writes it: input, output, test.
void expectExample(const std::string &source, const std::smatch &example) {
    const std::string code = codeOf(source, example[3], example[4]);
    const std::string out = example[2] == "(nothing)" ? "" : example[2].str();
    EXPECT_NE(code, "") << "no test " << example[3] << '.' << example[4];
    EXPECT_NE(code.find("\"" + example[1].str() + "\""), std::string::npos) << example[0];
    EXPECT_NE(code.find("\"" + out + "\""), std::string::npos) << example[0];
}

TEST(BehaviourDocument, ShowsTheExamplesOfTheTests) {
    const std::string here = __FILE__;
    const std::string source = contentOf(here);
    const std::string document =
        contentOf(here.substr(0, here.rfind("/tests/")) + "/docs/behaviours.md");
    static const std::regex kExample("\n    in   (.*)\n    out  (.*)\n\n`(\\w+)\\.(\\w+)`");
    static const std::regex kTest("\nTEST\\(");
    const std::sregex_iterator end;
    int examples = 0;
    for (std::sregex_iterator it(document.begin(), document.end(), kExample); it != end; ++it) {
        expectExample(source, *it);
        ++examples;
    }
    const auto tests =
        std::distance(std::sregex_iterator(source.begin(), source.end(), kTest), end);
    EXPECT_EQ(examples, tests - 1) << "every test but this one is an example of the document";
}

} // namespace
