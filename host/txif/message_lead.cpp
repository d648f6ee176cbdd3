// SPDX-License-Identifier: MIT
// The part header in front of an embedded message.
#include "message_lead.h"

#include <algorithm>
#include <cctype>

#include "content_signs.h"

namespace qob {
namespace {

constexpr std::string_view kPartField = "content-";

bool isLineEnd(char c) {
    return c == '\r' || c == '\n';
}

bool isPartField(std::string_view text) {
    return text.size() >= kPartField.size() &&
           std::equal(kPartField.begin(), kPartField.end(), text.begin(), [](char wanted, char c) {
               return wanted == std::tolower(static_cast<unsigned char>(c));
           });
}

bool isFolded(std::string_view text) {
    return !text.empty() && (text.front() == ' ' || text.front() == '\t');
}

// The text from the next line on; nothing when this line does not end in it.
std::string_view nextLine(std::string_view text) {
    const std::size_t end = text.find_first_of("\r\n");
    if (end == std::string_view::npos) {
        return {};
    }
    const bool pair = text.substr(end, 2) == "\r\n";
    return text.substr(end + (pair ? 2 : 1));
}

} // namespace

std::size_t messageLead(std::string_view head) {
    std::string_view rest = head;
    if (isPartField(rest)) {
        while (isPartField(rest) || isFolded(rest)) {
            rest = nextLine(rest);
        }
    }
    if (rest.empty() || !isLineEnd(rest.front())) {
        return 0;
    }
    while (!rest.empty() && isLineEnd(rest.front())) {
        rest.remove_prefix(1);
    }
    return looksLikeMessage(rest) ? head.size() - rest.size() : 0;
}

} // namespace qob
