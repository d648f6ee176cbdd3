// SPDX-License-Identifier: MIT
// Hostile messages: lines of every kind in any order, and a host whose services fail in turn.
// Whatever arrives, both entry points give the same text and nothing stays allocated.
#include <random>

#include "support/text_walker_fixture.h"

namespace {

const std::string kLongBoundary(200, 'b');

// Lines that mean something to some walker, and lines at the edges of buffers.
std::vector<std::string> vocabulary() {
    std::vector<std::string> lines = {"",
                                      "",
                                      "",
                                      " ",
                                      "\t",
                                      "-",
                                      "--",
                                      "---",
                                      ".",
                                      "text",
                                      " indented text",
                                      "--outer",
                                      "--outer--",
                                      "--outer-",
                                      "--outer2",
                                      " --outer",
                                      "--inner",
                                      "--inner--",
                                      "--inner-",
                                      " --inner--",
                                      "--" + kLongBoundary,
                                      "--" + kLongBoundary + "--",
                                      "------=_NextPart_000",
                                      "charset=",
                                      " charset=\"utf-8\"",
                                      " charset=\"" + kLongBoundary + "\"",
                                      "charset=utf-7",
                                      " boundary=\"inner\"",
                                      "boundary=\"outer\"",
                                      " boundary=\"\"",
                                      " boundary=\"" + kLongBoundary + "\"",
                                      "boundary=",
                                      "Content-Type:",
                                      "Content-Type: text/plain",
                                      "Content-Type: text/plain; charset=utf-8",
                                      "Content-Type: text/html; charset=utf-7",
                                      "Content-Type: text/html; charset=\"big5\"",
                                      "Content-Type: multipart/alternative; boundary=\"inner\"",
                                      "Content-Type: multipart/related;",
                                      "Content-Type: image/gif",
                                      "Content-Type: text/enriched",
                                      "content-type: TEXT/HTML",
                                      "Content-Type: multipart/alternative; boundary=\"" +
                                          kLongBoundary + "\"",
                                      "Content-Transfer-Encoding: base64",
                                      "Content-Transfer-Encoding: quoted-printable",
                                      "Content-Transfer-Encoding: 7bit",
                                      " Content-Transfer-Encoding: base64",
                                      "Content-Transfer-Encoding:",
                                      "Content-Disposition: inline",
                                      "Content-description: x",
                                      "YWJj",
                                      "YQ==",
                                      "==",
                                      "=",
                                      "a=",
                                      "=3D=",
                                      "=4",
                                      "<HTML>",
                                      "<p>",
                                      std::string("nul\0nul", 7),
                                      std::string(1, '\0'),
                                      std::string("--outer\0", 8)};
    for (const size_t length : {77U, 78U, 2046U, 2047U, 2048U, 4000U}) {
        lines.emplace_back(length, 'x');
        lines.push_back("Content-Type: text/plain; charset=" + std::string(length, 'y'));
        lines.push_back("Content-Transfer-Encoding: base64" + std::string(length, ' '));
        lines.push_back(" charset=\"" + std::string(length, '"'));
        lines.push_back("--outer" + std::string(length, '-'));
    }
    return lines;
}

std::string hostileMessage(uint32_t seed, const std::vector<std::string> &lines) {
    static const char *const kTypes[] = {
        "multipart/mixed; boundary=\"outer\"", "multipart/alternative; boundary=\"outer\"",
        "multipart/related; boundary=\"inner\"", "multipart/report; boundary=\"outer\""};
    static const char *const kLineEnds[] = {"\r\n", "\r\n", "\r\n", "\n", "\r"};
    std::mt19937 random(seed);
    const auto below = [&random](size_t n) { return static_cast<size_t>(random() % n); };
    std::string text = crlf({"From: a@b", std::string("Content-Type: ") + kTypes[seed % 4], "",
                             "--outer", "Content-Type: text/plain; charset=utf-8"});
    const size_t count = 5 + below(60);
    for (size_t i = 0; i < count; ++i) {
        text += lines[below(lines.size())];
        text += kLineEnds[below(5)];
    }
    return text;
}

TEST(TextWalkersHostile, TextIsTheSameInAFileAndInAStreamAndEverythingIsReleased) {
    const std::vector<std::string> lines = vocabulary();
    for (uint32_t seed = 0; seed < 400; ++seed) {
        SCOPED_TRACE(seed);
        const std::string text = hostileMessage(seed, lines);
        Extraction extractions[2];
        for (const bool stream : {false, true}) {
            ScriptedHost host;
            scriptWalkerHost(host);
            extractions[stream ? 1 : 0] = stream ? extractToStream(host, defaultParams(), text)
                                                 : extractToFile(host, defaultParams(), text);
            EXPECT_EQ(host.liveAllocations(), 0U);
            EXPECT_EQ(host.convertersOpen, 0);
            // What stays open is a file that a rule leaves behind unclosed.
            EXPECT_LE(static_cast<size_t>(host.openFiles()),
                      host.filesBut({kInputName, kOutputName}).size());
        }
        EXPECT_EQ(extractions[0].code, EML_OK);
        EXPECT_EQ(extractions[1].code, EML_OK);
        EXPECT_EQ(extractions[0].text, extractions[1].text);
    }
}

// One message per walker, each with all its alternatives.
const std::string kMessages[] = {
    crlf({"From: a@b", "Content-Type: multipart/mixed; boundary=\"outer\"", "", "--outer",
          "Content-Type: text/plain; charset=utf-8", "Content-Transfer-Encoding: base64", "",
          "QUJD", "--outer", "Content-Type: text/html", "Content-Transfer-Encoding: 7bit", "",
          "<p>", "--outer--"}),
    crlf({"From: a@b", "Content-Type: multipart/mixed; boundary=\"outer\"", "", "--outer",
          "Content-Type: multipart/alternative; boundary=\"inner\"", "", "--inner",
          "Content-Type: text/html; charset=utf-8", "Content-Transfer-Encoding: 7bit", "", "<p>",
          "--inner", "Content-Type: text/plain; charset=utf-8",
          "Content-Transfer-Encoding: quoted-printable", "", "a=3D", "--inner--", "", "--outer--"}),
    crlf({"From: a@b", "Content-Type: multipart/alternative; boundary=\"outer\"", "", "--outer",
          "Content-Type: text/html; charset=utf-7", "Content-Transfer-Encoding: 7bit", "", "<p>",
          "--outer", "Content-Type: text/plain; charset=utf-8", "Content-Transfer-Encoding: base64",
          "", "YWJj", "--outer--"}),
};

TEST(TextWalkersHostile, FailureOfAnyCallOfAnyServiceGivesADocumentedCodeAndReleasesEverything) {
    const std::set<int32_t> kDocumented = {0, 12, 22, 23, 24, 863, 3000, 3002, 4242};
    for (const std::string &text : kMessages) {
        for (const char *service : kWalkerServices) {
            for (const bool stream : {false, true}) {
                for (int n = 1; n < 300; ++n) {
                    SCOPED_TRACE(std::string(service) + " " + std::to_string(n));
                    ScriptedHost host;
                    scriptWalkerHost(host);
                    HostParams params = defaultParams();
                    params.flags = EML_FLAG_ATTACHMENTS;
                    host.failCall(service, n);
                    const Extraction extraction = stream ? extractToStream(host, params, text)
                                                         : extractToFile(host, params, text);
                    EXPECT_EQ(kDocumented.count(extraction.code), 1U) << extraction.code;
                    EXPECT_EQ(host.liveAllocations(), 0U);
                    EXPECT_EQ(host.openFiles(), 0);
                    EXPECT_EQ(host.convertersOpen, 0);
                    if (host.count(service) < n) {
                        EXPECT_EQ(extraction.code, EML_OK);
                        break;
                    }
                }
            }
        }
    }
}

} // namespace
