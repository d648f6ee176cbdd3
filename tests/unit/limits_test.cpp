// SPDX-License-Identifier: MIT
// Caps of docs/limits.md as they show in the text of whole messages, each from both sides. Caps of
// one routine are tested with that routine.
#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <regex>
#include <sstream>
#include <string>

#include "emlcomm/limits.h"
#include "support/filter_fixture.h"

namespace {

constexpr const char *kLabel = "\nContent: \n";

// The text behind the "Content: " label of a message with this header and body.
std::string bodyOf(const std::string &headerAndBody) {
    ScriptedHost host;
    host.insert = [&host](const InsertCall &call) {
        // Ten thousand attachments would fill the memory with records of calls.
        host.calls.clear();
        host.conversions.clear();
        host.inserts.clear();
        return "{" + call.content + "}";
    };
    const Extraction extraction = extractToFile(host, defaultParams(), "From: a\n" + headerAndBody);
    EXPECT_EQ(extraction.code, EML_OK);
    EXPECT_EQ(host.liveAllocations(), 0U);
    EXPECT_EQ(host.openFiles(), 0);
    const size_t label = extraction.text.find(kLabel);
    return label == std::string::npos ? "no body"
                                      : extraction.text.substr(label + std::string(kLabel).size());
}

std::string mixedOf(const std::string &parts) {
    return bodyOf("Content-Type: multipart/mixed; boundary=\"XX\"\n\n--XX\n" + parts +
                  "\n--XX--\n");
}

// A single-part body is read block by block. Lines do not stop at a block's end, but what is
// decoded or converted does.
TEST(BlockLimit, DividesTheTextOfASinglePart) {
    const auto textBehind = [](const std::string &start) {
        ScriptedHost host;
        host.convert = [](const std::string &source, const std::string &text) {
            return source == "ISO-8859-1" ? text : "[" + text + "]";
        };
        std::string body = start;
        while (body.size() <= static_cast<size_t>(kBlockSize)) {
            body += "\xC3\xA9";
        }
        const std::string header = "From: a\nContent-Type: text/plain; charset=utf-8\n\n";
        return extractToFile(host, defaultParams(), header + body + "\n").text;
    };
    EXPECT_NE(textBehind("").find("\xC3\xA9][\xC3\xA9"), std::string::npos);
    EXPECT_NE(textBehind("x").find("\xC3][\xA9"), std::string::npos);
}

TEST(BlockLimit, DividesABase64GroupOfASinglePart) {
    const auto repeated = [](const std::string &text, size_t times) {
        std::string all;
        for (size_t i = 0; i < times; ++i) {
            all += text;
        }
        return all;
    };
    // The block ends inside the last line, behind 384 or 383 of its 800 characters.
    const auto decoded = [&repeated](const std::string &firstLineEnd) {
        return bodyOf("Content-Type: text/plain\nContent-Transfer-Encoding: base64\n\nYWJj" +
                      firstLineEnd + repeated("YWJj\n", 3199) + repeated("YWJj", 200) + "\n");
    };
    EXPECT_EQ(decoded("\n"), repeated("abc", 3400));
    const std::string damaged = decoded("\r\n");
    const std::string whole = repeated("abc", 3200 + 95);
    EXPECT_EQ(damaged.substr(0, whole.size()), whole);
    EXPECT_EQ(damaged.find("abc", whole.size()), std::string::npos);
}

TEST(BlockLimit, MakesAnEmptyLineOfALineEndBehindIt) {
    const auto textOf = [](size_t lengthOfLine) {
        const std::string rest(lengthOfLine - 16000, 'x');
        const std::string lines = std::string(8000, 'x') + "\n" + std::string(7999, 'x') + rest;
        return bodyOf("Content-Type: text/plain\n\n" + lines + "\nafter\n");
    };
    const auto end = static_cast<size_t>(kBlockSize);
    EXPECT_EQ(textOf(end - 1), std::string(end - 2, 'x') + "after");
    EXPECT_EQ(textOf(end), std::string(end - 1, 'x') + "\nafter");
    EXPECT_EQ(textOf(end + 1), std::string(end, 'x') + "after");
}

TEST(BlockLimit, CutsAHeaderLineOfAPartThatStraddlesIt) {
    const std::string type = "Content-Type: text/plain\n";
    const auto textWithTypeAt = [&type](size_t position) {
        const std::string delimiter = "--XX\n";
        std::string preamble(position - delimiter.size(), '.');
        for (size_t i = 60; i < preamble.size(); i += 60) {
            preamble[i] = '\n';
        }
        preamble.back() = '\n';
        return bodyOf("Content-Type: multipart/mixed; boundary=\"XX\"\n\n" + preamble + delimiter +
                      type + "\none\n--XX--\n");
    };
    const auto end = static_cast<size_t>(kBlockSize);
    EXPECT_EQ(textWithTypeAt(end - type.size()), "\none\n");
    EXPECT_EQ(textWithTypeAt(end - 10), "");
    EXPECT_EQ(textWithTypeAt(end), "\none\n");
}

TEST(LineLimit, BreaksAMixedPartsLineBehind2047Bytes) {
    const std::string longest(kMaxLineLength, 'x');
    EXPECT_EQ(mixedOf("Content-Type: text/plain\n\n" + longest), "\n" + longest + "\n");
    EXPECT_EQ(mixedOf("Content-Type: text/plain\n\n" + longest + "y"), "\n" + longest + "\ny\n");
}

TEST(LineLimit, DoesNotShowInAJoinedBody) {
    for (const size_t length : {2046U, 2047U, 2048U, 4095U, 50000U}) {
        const std::string line(length, 'x');
        EXPECT_EQ(bodyOf("Content-Type: text/plain\n\n" + line + "\n"), line) << length;
    }
}

TEST(LineLimit, DoesNotShowInAQuotedPrintableLine) {
    for (const size_t length : {2046U, 2047U, 2048U, 4095U, 50000U}) {
        const std::string line(length, 'x');
        EXPECT_EQ(bodyOf("Content-Type: text/plain\n"
                         "Content-Transfer-Encoding: quoted-printable\n\n" +
                         line + "\n"),
                  line + "\n")
            << length;
    }
}

// Behind 79 characters the closing quote counts as the opening quote of an empty boundary, and a
// mixed message without a boundary is read as HTML.
TEST(BoundaryLimit, OfMoreThan79CharactersIsNone) {
    const auto bodyWith = [](size_t length) {
        const std::string delimiter = "\n--" + std::string(length, 'X');
        return bodyOf("Content-Type: multipart/mixed; boundary=\"" + delimiter.substr(3) + "\"\n" +
                      delimiter + "\nContent-Type: text/plain\n\none" + delimiter + "--\n");
    };
    EXPECT_EQ(bodyWith(78), "\none\n");
    EXPECT_EQ(bodyWith(79), "\none\n");
    for (const size_t length : {80U, 81U, 200U, 1900U}) {
        EXPECT_EQ(bodyWith(length).substr(0, 39), "{<META CONTENT=\"text/html;charset=\">--X")
            << length;
    }
}

// The line below a Content-Type line makes its part an attachment when it mentions a name, within
// its first 255 bytes.
TEST(LookAheadLimit, SeesANameInTheFirst255Bytes) {
    const auto withNameEndingAt = [](size_t end) {
        const std::string field = "X: ";
        return "Content-Type: text/plain\n" + field + std::string(end - field.size() - 4, '.') +
               "name\n\none";
    };
    EXPECT_EQ(mixedOf(withNameEndingAt(254)), "");
    EXPECT_EQ(mixedOf(withNameEndingAt(255)), "");
    EXPECT_EQ(mixedOf(withNameEndingAt(256)), "\none\n");
}

// The converter drops the NUL bytes that stand for the number then.
TEST(AttachmentLimit, TheLabelOfThe10000thHasNoNumber) {
    std::string parts;
    for (int i = 0; i < 10001; ++i) {
        parts += "--XX\nContent-Type: x/y; name\nContent-Disposition: x; filename=\"n\"\n\nt\n";
    }
    const std::string text =
        bodyOf("Content-Type: multipart/mixed; boundary=\"XX\"\n\n" + parts + "--XX--\n");
    const std::string last = "\nAttach9999:\nattachmemt_name: n\n\n{t\n}";
    const std::string unnumbered = "\nAttach:\nattachmemt_name: n\n\n{t\n}";
    const size_t found = text.find(last);
    ASSERT_NE(found, std::string::npos);
    EXPECT_EQ(text.substr(found + last.size()), unnumbered + unnumbered);
}

TEST(OutputLimitOfACall, IsReachedOnlyWhenTextIsLeftOut) {
    constexpr const char *kMessage = "From: abc\n\n";
    const std::string whole = "From: abc\n\n\nContent: \n";
    for (size_t limit = 0; limit <= whole.size() + 1; ++limit) {
        ScriptedHost host;
        HostParams params = defaultParams();
        params.options = EML_OPT_LIMIT_OUTPUT;
        params.outputLimit = limit;
        const Extraction extraction = extractToFile(host, params, kMessage);
        EXPECT_EQ(extraction.text, whole.substr(0, limit));
        EXPECT_EQ(extraction.code, limit < whole.size() ? EML_ERR_LIMIT : EML_OK) << limit;
    }
}

std::string contentOf(const std::filesystem::path &path) {
    std::ifstream file(path, std::ios::binary);
    std::ostringstream content;
    content << file.rdbuf();
    return content.str();
}

TEST(LimitsDocument, NamesTestsThatExist) {
    const std::filesystem::path tests = std::filesystem::path(__FILE__).parent_path().parent_path();
    std::string sources;
    for (const auto &entry : std::filesystem::recursive_directory_iterator(tests)) {
        if (entry.path().extension() == ".cpp") {
            sources += contentOf(entry.path());
        }
    }
    const std::string document = contentOf(tests.parent_path() / "docs" / "limits.md");
    static const std::regex kName("`([A-Z]\\w+)\\.([A-Z]\\w+)`");
    int names = 0;
    for (std::sregex_iterator it(document.begin(), document.end(), kName), end; it != end; ++it) {
        const std::string test = (*it)[1].str() + ", " + (*it)[2].str() + ")";
        const bool exists = sources.find("TEST(" + test) != std::string::npos ||
                            sources.find("TEST_F(" + test) != std::string::npos ||
                            sources.find("TEST_P(" + test) != std::string::npos;
        EXPECT_TRUE(exists) << it->str();
        ++names;
    }
    EXPECT_GT(names, 0);
}

} // namespace
