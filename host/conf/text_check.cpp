// SPDX-License-Identifier: MIT
// UTF-8 validity, byte order marks, and the fixed-width form of EUC-JP.
#include "text_check.h"

#include <algorithm>
#include <cstring>

namespace qob {
namespace {

constexpr char kNever = '\xFF'; // a byte that no EUC-JP text has

bool isContinuation(char byte) {
    return (static_cast<unsigned char>(byte) & 0xC0U) == 0x80;
}

std::size_t asciiLength(std::string_view text) {
    std::size_t at = 0;
    for (std::uint64_t word = 0; at + sizeof word <= text.size(); at += sizeof word) {
        std::memcpy(&word, text.data() + at, sizeof word);
        if ((word & 0x8080808080808080U) != 0) {
            break;
        }
    }
    while (at < text.size() && static_cast<signed char>(text[at]) >= 0) {
        ++at;
    }
    return at;
}

// Bytes that a character with this first byte has, 0 when none begins with it.
std::size_t lengthByLead(unsigned char lead) {
    if (lead < 0x80) {
        return 1;
    }
    if (lead < 0xC2 || lead > 0xF4) {
        return 0;
    }
    return lead < 0xE0 ? 2 : lead < 0xF0 ? 3 : 4;
}

// No overlong form, no surrogate, nothing beyond U+10FFFF.
bool secondFits(unsigned char lead, unsigned char second) {
    switch (lead) {
    case 0xE0:
        return second >= 0xA0;
    case 0xED:
        return second < 0xA0;
    case 0xF0:
        return second >= 0x90;
    case 0xF4:
        return second < 0x90;
    default:
        return true;
    }
}

bool beginsCharacter(std::string_view text, std::size_t bytes) {
    const auto lead = static_cast<unsigned char>(text[0]);
    for (std::size_t i = 1; i < bytes; ++i) {
        if (!isContinuation(text[i])) {
            return false;
        }
    }
    return bytes < 2 || secondFits(lead, static_cast<unsigned char>(text[1]));
}

// The two-byte form of one character, as `first` and `second`.
void appendPacked(std::string *packed, unsigned char first, unsigned char second) {
    const bool highSecond = second >= 0xA0;
    if (first == 0 && second < 0x80) {
        *packed += static_cast<char>(second);
    } else if (first == 0 && highSecond) {
        *packed += {'\x8E', static_cast<char>(second)};
    } else if (first >= 0xA0 && highSecond) {
        *packed += {static_cast<char>(first), static_cast<char>(second)};
    } else if (first >= 0xA0 && second >= 0x20 && second < 0x7F) {
        *packed += {'\x8F', static_cast<char>(first), static_cast<char>(second | 0x80U)};
    } else {
        *packed += kNever;
    }
}

} // namespace

bool looksLikeUtf8(std::string_view text) {
    const std::size_t start = asciiLength(text);
    if (start == text.size()) {
        return true;
    }
    std::size_t at = start;
    while (at < 3 && at < text.size() && start == 0 && isContinuation(text[at])) {
        ++at;
    }
    bool cut = at != start;
    bool whole = false;
    while (at < text.size()) {
        const std::string_view rest = text.substr(at);
        const std::size_t length = lengthByLead(static_cast<unsigned char>(rest[0]));
        if (length == 0 || !beginsCharacter(rest, std::min(length, rest.size()))) {
            return false;
        }
        cut = cut || length > rest.size();
        whole = whole || (length > 1 && length <= rest.size());
        at += length;
    }
    return !cut || whole;
}

std::optional<ByteOrder> markedOrder(std::string_view text, std::uint32_t unitBytes) {
    using namespace std::string_view_literals;
    if (text.starts_with(unitBytes == 4 ? "\0\0\xFE\xFF"sv : "\xFE\xFF"sv)) {
        return ByteOrder::Big;
    }
    if (text.starts_with(unitBytes == 4 ? "\xFF\xFE\0\0"sv : "\xFF\xFE"sv)) {
        return ByteOrder::Little;
    }
    return std::nullopt;
}

std::string packEucJp(std::string_view text) {
    std::string packed;
    packed.reserve(text.size() + text.size() / 2 + 1);
    for (std::size_t at = 0; at + 1 < text.size(); at += 2) {
        appendPacked(&packed, static_cast<unsigned char>(text[at]),
                     static_cast<unsigned char>(text[at + 1]));
    }
    if (text.size() % 2 != 0) {
        packed += kNever;
    }
    return packed;
}

} // namespace qob
