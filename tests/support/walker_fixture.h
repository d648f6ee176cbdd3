// SPDX-License-Identifier: MIT
// What the tests of the part walkers start from: a handle as the body reader leaves it in front of
// a walker, and a host that shows the content of every file handed to it.
#ifndef QOB_TESTS_WALKER_FIXTURE_H
#define QOB_TESTS_WALKER_FIXTURE_H

#include <algorithm>
#include <cstring>
#include <string>
#include <string_view>

#include "emlcontent/field_finders.h"
#include "support/filter_fixture.h"

// The text that the host inserts for a file: its content in angle brackets.
inline std::string insertedText(const InsertCall &call) {
    return "<" + call.content + ">";
}

// Inside a multipart/mixed with the boundary "b", on an untyped part.
class WalkerFixture : public FilterFixture {
public:
    WalkerFixture() {
        host.insert = insertedText;
        handle.contentType = EML_CT_MULTIPART_MIXED;
        std::strcpy(handle.boundary, "b");
    }

    // Makes `read` and `unread` the input, with the read position in between.
    void loadAt(std::string_view read, std::string_view unread) {
        load(std::string(read) + std::string(unread));
        handle.blockPos = static_cast<int32_t>(read.size());
    }

    // The input behind the read position.
    std::string unread() const {
        const std::string &input = host.files.at(inputName);
        const auto position = static_cast<size_t>(eml::filePosition(&handle));
        return position < input.size() ? input.substr(position) : "";
    }

    // What the n-th file handed to the host held, from 0.
    std::string handedOver(size_t n = 0) const {
        return n < host.inserts.size() ? host.inserts[n].content : "(nothing handed over)";
    }

    // Checks that all that is left belongs to the fixture: its buffers and its two files.
    void expectNothingLeft() const {
        const char *buffers[] = {handle.lineBuffer, handle.convBuffer, handle.qpBuffer,
                                 handle.readBuffer};
        const auto kept = std::count_if(std::begin(buffers), std::end(buffers),
                                        [](const char *b) { return b != nullptr; });
        EXPECT_EQ(host.liveAllocations(), static_cast<size_t>(kept));
        EXPECT_EQ(host.openFiles(),
                  (handle.inputFile != nullptr ? 1 : 0) + (handle.outputFile != nullptr ? 1 : 0));
        EXPECT_TRUE(host.filesBut({inputName, kOutputName}).empty());
        EXPECT_EQ(host.convertersOpen, 0);
    }
};

// The base name of attachment files, in the fixture and in whole calls on kInputName.
inline const std::string kAttachBase = "/tmp/in.emlin.eml";

inline constexpr uint32_t kFlagsNoLabels =
    EML_FLAG_ATTACHMENTS | EML_FLAG_SHARE_COUNT | EML_FLAG_KEEP_GOING | EML_FLAG_NO_LABELS;

#endif
