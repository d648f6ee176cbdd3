// SPDX-License-Identifier: MIT
// One table for names and for how far their suffixes are used up.
#include "output/name_table.h"

#include <algorithm>
#include <functional>

#include "input/input_kind.h"

namespace emltext {
namespace {

constexpr uint32_t kFirstSuffix = 2;
constexpr std::size_t kLongestPart = 240; // 255 less a suffix and ".txt"
constexpr std::size_t kMessageEnding = 4; // ".eml"

uint64_t numberOf(const std::string &name) {
    return std::hash<std::string>()(name);
}

// Not in the middle of a UTF-8 character.
std::string_view shortened(std::string_view part) {
    if (part.size() <= kLongestPart) {
        return part;
    }
    std::size_t length = kLongestPart;
    while (length > kLongestPart - 3 &&
           (static_cast<unsigned char>(part[length]) & 0xC0U) == 0x80) {
        --length;
    }
    return part.substr(0, length);
}

} // namespace

void NameTable::reserve(const std::string &name) {
    next_.emplace(numberOf(name), kFirstSuffix);
}

std::string NameTable::claim(const std::string &name) {
    const uint64_t number = numberOf(name);
    if (next_.emplace(number, kFirstSuffix).second) {
        return name;
    }
    uint32_t suffix = next_[number];
    std::string free;
    do {
        free = name + "." + std::to_string(suffix++);
    } while (!next_.emplace(numberOf(free), kFirstSuffix).second);
    next_[number] = suffix;
    return free;
}

std::string outputName(std::string_view file) {
    if (hasMessageEnding(file)) {
        file.remove_suffix(kMessageEnding);
    }
    std::string name;
    for (std::size_t start = 0; start <= file.size();) {
        const std::size_t end = std::min(file.find('/', start), file.size());
        name += start == 0 ? "" : "/";
        name += shortened(file.substr(start, end - start));
        start = end + 1;
    }
    return name;
}

} // namespace emltext
