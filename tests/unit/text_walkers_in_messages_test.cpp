// SPDX-License-Identifier: MIT
// Whole messages whose parts are text: the same text from both entry points.
#include "support/text_walker_fixture.h"

namespace {

struct MessageRow {
    const char *promise;
    std::string type; // value of the message's Content-Type
    std::string body;
    std::string text; // behind the "Content: " line
};

std::string message(const std::string &type, const std::string &body) {
    return crlf({"From: a@b", "Content-Type: " + type, ""}) + body;
}

// What stands behind the "Content: " line.
std::string bodyText(const Extraction &extraction) {
    const std::string label = "Content: \n";
    const size_t at = extraction.text.find(label);
    return at == std::string::npos ? "no body" : extraction.text.substr(at + label.size());
}

const std::string kMixed = "multipart/mixed; boundary=\"outer\"";
const std::string kAlternative = "multipart/alternative; boundary=\"outer\"";
const std::string kRelated = "multipart/related; boundary=\"outer\"";
const std::string kMeta = meta("utf-8");

const std::string kPlainType = "Content-Type: text/plain; charset=utf-8";
const std::string kHtmlType = "Content-Type: text/html; charset=utf-8";
const std::string kSevenBit = "Content-Transfer-Encoding: 7bit";
const std::string kBase64 = "Content-Transfer-Encoding: base64";

const std::string kInnerParts = crlf({"--inner", kPlainType, kSevenBit, "", "plain", "--inner",
                                      kHtmlType, kSevenBit, "", "<html>x", "--inner--"});
const std::string kTailPart = crlf({"--outer", kPlainType, "", "tail", "--outer--"});

const MessageRow kRows[] = {
    {"a plain and an HTML part", kMixed,
     crlf({"--outer", kPlainType, "", "Hello", "--outer", kHtmlType, "", "<p>", "--outer--"}),
     "\nHello\n\n{<HTML><p>}"},
    {"text around the parts is not read", kMixed,
     crlf({"preamble", "", "--outer", kPlainType, "", "Hello", "--outer--", "epilogue"}),
     "\nHello\n"},
    {"a part without a transfer encoding inherits the one in front of it", kMixed,
     crlf({"--outer", kPlainType, kBase64, "", "QUJD", "--outer", kPlainType, "", "REVG",
           "--outer--"}),
     "ABC\nDEF"},
    {"a transfer encoding may stand before the type", kMixed,
     crlf({"--outer", kBase64, kPlainType, "", "QUJD", "--outer--"}), "\nABC"},
    {"a folded charset", kMixed,
     crlf(
         {"--outer", "Content-Type: text/plain;", "\tcharset=\"utf-8\"", "", "Hello", "--outer--"}),
     "\nHello\n"},
    {"text/enriched is HTML", kMixed,
     crlf({"--outer", "Content-Type: text/enriched", "", "<x>", "--outer--"}), "\n{<HTML><x>}"},
    {"a report is read in the same way", "multipart/report; boundary=\"outer\"",
     crlf({"--outer", kPlainType, "", "Hello", "--outer--"}), "\nHello\n"},
    {"so is a multipart type that nobody knows", "multipart/x-new; boundary=\"outer\"",
     crlf({"--outer", kPlainType, "", "Hello", "--outer--"}), "\nHello\n"},
    {"plain text without a closing boundary", kMixed, crlf({"--outer", kPlainType, "", "Hello"}),
     "\nHello\n"},
    {"HTML without a closing boundary", kMixed, crlf({"--outer", kHtmlType, "", "<p>"}),
     "\n{<HTML><p>}"},
    {"a longer line that begins with the boundary is no boundary", kMixed,
     crlf({"--outer", kPlainType, "", "a", "--outer2", "b", "--outer--"}), "\na\nb\n"},
    {"an alternative inside, and a part behind it", kMixed,
     crlf({"--outer", "Content-Type: multipart/alternative; boundary=\"inner\"", ""}) +
         kInnerParts + "\r\n" + kTailPart,
     "{<html>x}\ntail\n"},
    {"its boundary on a folded line", kMixed,
     crlf({"--outer", "Content-Type: multipart/alternative;", "\tboundary=\"inner\"", ""}) +
         kInnerParts + "\r\n" + kTailPart,
     "{<html>x}\ntail\n"},
    {"related inside", kMixed,
     crlf({"--outer", "Content-Type: multipart/related; boundary=\"inner\"", ""}) + kInnerParts +
         "\r\n" + kTailPart,
     "{<html>x}\ntail\n"},
    {"the inner closing delimiter takes the line below with it, here the outer delimiter", kMixed,
     crlf({"--outer", "Content-Type: multipart/alternative; boundary=\"inner\"", ""}) +
         kInnerParts + kTailPart,
     "{<html>x}\n{<HTML>tail}"}, // the next part's type goes to the nested fields
    {"plain, then HTML: the HTML counts", kAlternative,
     crlf({"--outer", kPlainType, kSevenBit, "", "plain", "--outer", kHtmlType, kSevenBit, "",
           "<p>x", "--outer--"}),
     "{" + kMeta + "<p>x}"},
    {"HTML, then plain: both count", kAlternative,
     crlf({"--outer", kHtmlType, kSevenBit, "", "<p>x", "--outer", kPlainType, kSevenBit, "",
           "plain", "--outer--"}),
     "{" + kMeta + "<p>x}plain|"},
    {"plain alone", kAlternative,
     crlf({"--outer", kPlainType, kSevenBit, "", "plain", "--outer--"}), "plain|"},
    {"plain base64", kAlternative,
     crlf({"--outer", kPlainType, kBase64, "", "cGxhaW4=", "", "--outer--"}), "plain|"},
    {"related with HTML and an image", kRelated,
     crlf({"--outer", kHtmlType, kSevenBit, "", "<p>x", "--outer",
           "Content-Type: image/png; name=\"a.png\"", kBase64, "", "QUJD", "--outer--"}),
     "{" + kMeta + "<p>x}"},
    {"related around an alternative", kRelated,
     crlf({"--outer", "Content-Type: multipart/alternative;", "\tboundary=\"inner\"", ""}) +
         kInnerParts + crlf({"", "--outer--"}),
     "{" + kMeta + "<html>x}"},
    {"HTML without a closing delimiter", kAlternative,
     crlf({"--outer", kHtmlType, kSevenBit, "", "<p>x"}), "{" + kMeta + "<p>x}"},
    {"plain text without a closing delimiter", kAlternative,
     crlf({"--outer", kPlainType, kSevenBit, "", "plain"}), ""},
};

void expectClean(const ScriptedHost &host) {
    EXPECT_EQ(host.liveAllocations(), 0U);
    EXPECT_EQ(host.openFiles(), 0);
    EXPECT_EQ(host.convertersOpen, 0);
    EXPECT_EQ(host.filesBut({kInputName, kOutputName}), std::vector<std::string>{});
}

TEST(TextWalkersInMessages, GiveTheSameTextToAFileAndToAStream) {
    for (const MessageRow &row : kRows) {
        SCOPED_TRACE(row.promise);
        for (const bool stream : {false, true}) {
            ScriptedHost host;
            scriptWalkerHost(host);
            const Extraction extraction =
                stream ? extractToStream(host, defaultParams(), message(row.type, row.body))
                       : extractToFile(host, defaultParams(), message(row.type, row.body));
            EXPECT_EQ(extraction.code, EML_OK);
            EXPECT_EQ(bodyText(extraction), row.text);
            expectClean(host);
        }
    }
}

TEST(TextWalkersInMessages, ConvertUtf7HtmlOfAnAlternative) {
    for (const bool stream : {false, true}) {
        ScriptedHost host;
        scriptWalkerHost(host);
        host.convert = [](const std::string &source, const std::string &input) {
            return std::optional<std::string>(source == "UTF-7" && input == "+AGE-" ? "a" : input);
        };
        const std::string text =
            message(kAlternative, crlf({"--outer", "Content-Type: text/html; charset=utf-7",
                                        kSevenBit, "", "+AGE-", "--outer--"}));
        const Extraction extraction = stream ? extractToStream(host, defaultParams(), text)
                                             : extractToFile(host, defaultParams(), text);
        EXPECT_EQ(extraction.code, EML_OK);
        EXPECT_EQ(bodyText(extraction), "{" + kMeta + "a}");
        expectClean(host);
    }
}

TEST(TextWalkersInMessages, LeaveBehindOnlyWhatTheRulesLeave) {
    const struct {
        const char *promise;
        std::string text;
        const char *content;
    } kLeftRows[] = {
        {"encoded plain text at the end of the file",
         message(kMixed, crlf({"--outer", kPlainType, kBase64, "", "QUJD"})), "ABC"},
        {"plain text at an inner closing delimiter of a message alternative",
         message(kRelated, crlf({"--outer", "Content-Type: multipart/alternative;",
                                 "\tboundary=\"inner\"", "", "--inner", kPlainType, kSevenBit, "",
                                 "plain", "--inner--", "", "--outer--"})),
         "plain|"},
    };
    for (const auto &row : kLeftRows) {
        SCOPED_TRACE(row.promise);
        for (const bool stream : {false, true}) {
            ScriptedHost host;
            scriptWalkerHost(host);
            const Extraction extraction = stream ? extractToStream(host, defaultParams(), row.text)
                                                 : extractToFile(host, defaultParams(), row.text);
            EXPECT_EQ(extraction.code, EML_OK);
            EXPECT_EQ(bodyText(extraction), "");
            const std::vector<std::string> left = host.filesBut({kInputName, kOutputName});
            ASSERT_EQ(left.size(), 1U);
            EXPECT_EQ(host.files[left[0]], row.content);
            EXPECT_EQ(host.openFiles(), 0);
        }
    }
}

TEST(TextWalkersInMessages, ReadHundredsOfPartsOverManyBlocks) {
    std::string body;
    std::string expected;
    for (int i = 0; i < 600; ++i) {
        const std::string text = "part " + std::to_string(i);
        body += crlf({"--outer", kPlainType, "", text});
        expected += "\n" + text + "\n";
    }
    body += "--outer--\r\n";
    for (const bool stream : {false, true}) {
        ScriptedHost host;
        scriptWalkerHost(host);
        const Extraction extraction =
            stream ? extractToStream(host, defaultParams(), message(kMixed, body))
                   : extractToFile(host, defaultParams(), message(kMixed, body));
        EXPECT_EQ(extraction.code, EML_OK);
        EXPECT_EQ(bodyText(extraction), expected);
        expectClean(host);
    }
}

TEST(TextWalkersInMessages, ObeyOneOutputLimitAcrossAnInsertion) {
    const std::string text = message(kMixed, crlf({"--outer", kHtmlType, "", "<p>", "--outer",
                                                   kPlainType, "", "tail", "--outer--"}));
    HostParams params = defaultParams();
    ScriptedHost unlimited;
    scriptWalkerHost(unlimited);
    const std::string whole = extractToFile(unlimited, params, text).text;
    ASSERT_NE(whole.find("\n{<HTML><p>}\ntail\n"), std::string::npos);
    params.options |= EML_OPT_LIMIT_OUTPUT;
    for (size_t limit = 0; limit <= whole.size() + 1; ++limit) {
        for (const bool stream : {false, true}) {
            SCOPED_TRACE(limit);
            params.outputLimit = limit;
            ScriptedHost host;
            scriptWalkerHost(host);
            host.insert = [](const InsertCall &call) {
                const size_t room = call.params.outputLimit - call.session.savedOutputCount;
                return ("{" + call.content + "}").substr(0, room);
            };
            const Extraction extraction =
                stream ? extractToStream(host, params, text) : extractToFile(host, params, text);
            EXPECT_EQ(extraction.text, whole.substr(0, limit));
            // Only the file entry point reports the limit.
            EXPECT_EQ(extraction.code, !stream && limit < whole.size() ? EML_ERR_LIMIT : EML_OK);
            expectClean(host);
        }
    }
}

} // namespace
