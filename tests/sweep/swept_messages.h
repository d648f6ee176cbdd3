// SPDX-License-Identifier: MIT
// The messages that the sweeps run: small ones, which together reach every branch of the header
// reader, the body reader and the part walkers. Lines end in LF.
#ifndef QOB_TESTS_SWEPT_MESSAGES_H
#define QOB_TESTS_SWEPT_MESSAGES_H

#include <cstdint>
#include <ostream>
#include <string>
#include <vector>

#include "qob_txeml.h"

inline constexpr uint32_t kUsualFlags =
    EML_FLAG_ATTACHMENTS | EML_FLAG_SHARE_COUNT | EML_FLAG_KEEP_GOING;

// What a run without a fault leaves behind on purpose.
struct Leftovers {
    int files = 0;
    int openFiles = 0;
    const char *reason = "";
};

struct SweptMessage {
    std::string name;
    std::string text;
    uint32_t flags = kUsualFlags;
    uint32_t options = 0;
    uint64_t limit = 0; // with EML_OPT_LIMIT_OUTPUT
    int32_t code = 0;   // of the file entry point, when nothing fails
    Leftovers leaves = {};
};

inline void PrintTo(const SweptMessage &message, std::ostream *out) {
    *out << message.name;
}

std::vector<SweptMessage> headerMessages();
std::vector<SweptMessage> singlePartMessages();
std::vector<SweptMessage> mixedMessages();
std::vector<SweptMessage> nestedAlternativeMessages();
std::vector<SweptMessage> messageAlternativeMessages();
std::vector<SweptMessage> digestMessages();
std::vector<SweptMessage> attachmentMessages();

// All of them.
const std::vector<SweptMessage> &sweptMessages();

// ---- for building them ----

inline const std::string kHead = "From: a@b\nSubject: s\n";

// A message with a header of `type` and the boundary "B" around `parts`, which begin with "--B".
inline std::string multipart(const std::string &type, const std::string &parts) {
    return kHead + "Content-Type: " + type + "; boundary=\"B\"\n\npreamble\n" + parts + "--B--\n";
}

// The same, followed by so much that the parts do not lie at the end of the last block, where
// every line is preceded by a reload.
inline std::string multipartWithEpilogue(const std::string &type, const std::string &parts) {
    return multipart(type, parts) + "\n" + std::string(100, '.') + "\n";
}

// `count` lines of `length` times `c`.
inline std::string linesOf(int count, size_t length, char c) {
    std::string lines;
    for (int i = 0; i < count; ++i) {
        lines += std::string(length, c) + "\n";
    }
    return lines;
}

// The line with so many blanks at its end that no walker keeps it whole at a block end.
inline std::string longLine(std::string line) {
    return line.insert(line.size() - 1, 80, ' ');
}

#endif
