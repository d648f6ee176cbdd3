// SPDX-License-Identifier: MIT
// What the tests of the text walkers start from: a handle as the body reader hands it over, and
// output that tells which way each line went.
//
// A line end in a temporary file shows as "|", one in the output as "\n", and the host's text of a
// file that was handed over as "{content of the file}".
#ifndef QOB_TESTS_TEXT_WALKER_FIXTURE_H
#define QOB_TESTS_TEXT_WALKER_FIXTURE_H

#include <algorithm>
#include <cstring>
#include <functional>
#include <initializer_list>
#include <string>
#include <string_view>
#include <vector>

#include "emlcontent/field_finders.h"
#include "emlcontent/part_walkers.h"
#include "support/filter_fixture.h"

using Walker = int32_t (*)(ExtractionHandle *);

// The lines, each with CR LF behind it.
inline std::string crlf(std::initializer_list<std::string_view> lines) {
    std::string text;
    for (const std::string_view line : lines) {
        text += line;
        text += "\r\n";
    }
    return text;
}

// The META element in front of HTML.
inline std::string meta(std::string_view charset) {
    return "<META CONTENT=\"text/html;charset=" + std::string(charset) + "\">";
}

inline void scriptWalkerHost(ScriptedHost &host) {
    host.tmpLineEnd = "|";
    host.insert = [](const InsertCall &call) { return "{" + call.content + "}"; };
}

struct TextWalkerFixture : FilterFixture {
    TextWalkerFixture() { scriptWalkerHost(host); }

    void setCharset(const char *name) { std::strcpy(handle.charsetName, name); }

    // Reads `text`, which begins below the part's Content-Type line.
    int32_t walk(Walker walker, std::string_view text) {
        load(text);
        return walker(&handle);
    }

    // What the walker left for the caller to read.
    std::string unread() const {
        const std::string &input = host.files.at(kInputName);
        const auto position = static_cast<size_t>(handle.blockStart + handle.blockPos);
        return position < input.size() ? input.substr(position) : "";
    }

    std::vector<std::string> leftFiles() const { return host.filesBut({kInputName, kOutputName}); }

    int ownFiles() const { return handle.outputFile == nullptr ? 1 : 2; }

    // No buffer, converter or open file beyond the handle's own.
    void expectAllReleased() const {
        size_t own = 0;
        for (const char *buffer :
             {handle.readBuffer, handle.lineBuffer, handle.convBuffer, handle.qpBuffer}) {
            own += buffer == nullptr ? 0 : 1;
        }
        EXPECT_EQ(host.liveAllocations(), own);
        EXPECT_EQ(host.openFiles(), ownFiles());
        EXPECT_EQ(host.convertersOpen, 0);
    }
    void expectNothingLeft() const {
        expectAllReleased();
        EXPECT_EQ(leftFiles(), std::vector<std::string>{});
    }
};

using Prepare = std::function<void(TextWalkerFixture &)>;

// Text behind a part that keeps the block from being moved while the part is read: the walkers move
// it when no more than 77 bytes are left.
inline const std::string kTail = std::string(100, 't') + "\r\n";

// The walker's result with call 1, 2, ... of a service failing, up to the first run that makes no
// such call. Every run must release what it took and remove its files; input that cannot be read or
// sought has no boundary, so it may leave what the end of the file leaves.
inline std::vector<int32_t> codesWhenFailing(const std::string &service, Walker walker,
                                             const Prepare &prepare, std::string_view text) {
    std::vector<int32_t> codes;
    for (int n = 1; n < 500; ++n) {
        SCOPED_TRACE("call " + std::to_string(n) + " of " + service + " fails");
        TextWalkerFixture f;
        prepare(f);
        f.load(text);
        f.host.failCall(service, n);
        const int32_t code = walker(&f.handle);
        if (f.host.count(service) < n) {
            EXPECT_EQ(code, EML_OK);
            f.expectNothingLeft();
            return codes;
        }
        f.expectAllReleased();
        if (service != "QOB_ASC_remove" && service != "QOB_FileRead" && service != "QOB_FileSeek") {
            EXPECT_EQ(f.leftFiles(), std::vector<std::string>{});
        }
        codes.push_back(code);
    }
    ADD_FAILURE() << service << " never ran without a failing call";
    return codes;
}

// Every service that the text walkers call.
inline constexpr const char *kWalkerServices[] = {
    "QOB_malloc",      "QOB_realloc",    "QOB_FileOpen",     "QOB_FileRead",    "QOB_FileWrite",
    "QOB_FileSeek",    "QOB_FileTell",   "QOB_FileTellSize", "QOB_FileClose",   "QOB_ASC_tmpnam",
    "QOB_ASC_tmpnam1", "QOB_ASC_remove", "cconvInitConvert", "cconvChgCharset", "cconvConvert",
    "QOB_WriteStream", "insert"};

#endif
