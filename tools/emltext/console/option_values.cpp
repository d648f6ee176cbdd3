// SPDX-License-Identifier: MIT
// Whole numbers with checks at both ends.
#include "console/option_values.h"

#include <charconv>
#include <limits>
#include <optional>
#include <string_view>
#include <system_error>

namespace emltext {
namespace {

std::optional<uint64_t> wholeNumber(std::string_view text) {
    uint64_t number = 0;
    const char *const end = text.data() + text.size();
    const auto [parsedEnd, error] = std::from_chars(text.data(), end, number);
    return error == std::errc() && parsedEnd == end ? std::optional(number) : std::nullopt;
}

// The power of two that a suffix stands for, or 0 when it is none.
unsigned suffixShift(char suffix) {
    constexpr std::string_view kSuffixes = "KMG";
    constexpr unsigned kBitsPerStep = 10;
    const std::size_t step = kSuffixes.find(suffix);
    return step == std::string_view::npos ? 0 : kBitsPerStep * static_cast<unsigned>(step + 1);
}

} // namespace

std::string readBytes(std::string &text) {
    const unsigned shift = text.empty() ? 0 : suffixShift(text.back());
    const std::string_view digits(text.data(), text.size() - (shift != 0 ? 1 : 0));
    const auto number = wholeNumber(digits);
    if (!number || *number > std::numeric_limits<uint64_t>::max() >> shift) {
        return "must be a number of bytes such as 65536, 64K, 10M or 2G, not \"" + text + "\"";
    }
    text = std::to_string(*number << shift);
    return {};
}

std::string readNumber(std::string &text, uint64_t least, uint64_t most) {
    const auto number = wholeNumber(text);
    if (!number || *number < least || *number > most) {
        return "must be a number from " + std::to_string(least) + " to " + std::to_string(most) +
               ", not \"" + text + "\"";
    }
    text = std::to_string(*number);
    return {};
}

} // namespace emltext
