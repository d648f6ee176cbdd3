// SPDX-License-Identifier: MIT
// Character helpers: blanks, case, and bounded looks at a line.
#include "emlcomm/chars.h"

#include <algorithm>
#include <cstring>

QOB_EXPORT int32_t IsSpace(int32_t c) {
    switch (c) {
    case ' ':
    case '\t':
        return 1;
    case '\n':
    case '\r':
        return 2;
    default:
        return 0;
    }
}

QOB_EXPORT int32_t IsSpace_crlf(int32_t c) {
    return c == '\r' || c == '\n' ? 1 : 0;
}

QOB_EXPORT int32_t QobEmlCMPBuf(const char *a, const char *b, int32_t n) {
    if (n < 0) {
        return 0;
    }
    const auto same = [](char x, char y) { return eml::upperCase(x) == eml::upperCase(y); };
    return std::equal(a, a + n, b, same) ? 1 : 0;
}

QOB_EXPORT int32_t EmlCmpCheckContent(const char *src, char *dst, int32_t n) {
    if (n > 0) {
        std::transform(src, src + n, dst, eml::upperCase);
    }
    return 0;
}

namespace eml {

std::string_view skipBlanks(std::string_view text) {
    size_t blanks = 0;
    while (blanks < text.size() && IsSpace(text[blanks]) != 0) {
        ++blanks;
    }
    return text.substr(blanks);
}

bool contains(std::string_view text, std::string_view needle) {
    const std::string_view beforeNul = text.substr(0, text.find('\0'));
    return beforeNul.find(needle) != std::string_view::npos;
}

UpperHead::UpperHead(const char *value) {
    while (IsSpace(*value) != 0) {
        ++value;
    }
    const auto length = static_cast<int32_t>(strnlen(value, sizeof(bytes_)));
    EmlCmpCheckContent(value, bytes_, length);
}

bool UpperHead::startsWith(std::string_view prefix) const {
    return std::string_view(bytes_, sizeof(bytes_)).substr(0, prefix.size()) == prefix;
}

} // namespace eml
