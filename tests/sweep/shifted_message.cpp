// SPDX-License-Identifier: MIT
#include "shifted_message.h"

#include "emlcomm/limits.h"

namespace {

constexpr size_t kPadLine = 62;

size_t bodyStart(const std::string &message) {
    const size_t empty = message.find("\n\n");
    return empty == std::string::npos ? message.size() : empty + 2;
}

} // namespace

std::string bodyOf(const std::string &message) {
    return message.substr(bodyStart(message));
}

std::vector<size_t> lineEndsIn(const std::string &text) {
    std::vector<size_t> ends;
    for (size_t at = text.find('\n'); at != std::string::npos; at = text.find('\n', at + 1)) {
        ends.push_back(at);
    }
    return ends;
}

SweptMessage shifted(const SweptMessage &message, size_t bytes) {
    std::string pad;
    while (pad.size() + kPadLine <= bytes) {
        pad += std::string(kPadLine - 1, 'p') + "\n";
    }
    if (pad.size() < bytes) {
        pad += std::string(bytes - pad.size() - 1, 'p') + "\n";
    }
    SweptMessage moved = message;
    moved.text.insert(bodyStart(message.text), pad);
    return moved;
}

std::vector<SweptMessage> shiftableMessages() {
    std::vector<SweptMessage> chosen;
    for (const SweptMessage &message : sweptMessages()) {
        const bool hasParts = message.text.find("Content-Type: multipart/") != std::string::npos &&
                              message.text.find("\nboundary=\"B\"") == std::string::npos &&
                              message.text.find("; boundary=\"B\"\n\n") != std::string::npos;
        if (hasParts && bodyOf(message.text).size() < static_cast<size_t>(kBlockSize)) {
            chosen.push_back(message);
        }
    }
    return chosen;
}
