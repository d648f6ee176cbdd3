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

char upperCase(char c) {
    return c >= 'a' && c <= 'z' ? static_cast<char>(c - 'a' + 'A') : c;
}

std::string_view skipBlanks(std::string_view text) {
    size_t blanks = 0;
    while (blanks < text.size() && IsSpace(text[blanks]) != 0) {
        ++blanks;
    }
    return text.substr(blanks);
}

std::string_view textFrom(std::string_view text, size_t position) {
    return text.substr(std::min(position, text.size()));
}

char charAt(std::string_view text, size_t position) {
    return position < text.size() ? text[position] : '\0';
}

bool startsWith(std::string_view text, std::string_view prefix) {
    return text.substr(0, prefix.size()) == prefix;
}

bool startsWithNoCase(std::string_view text, std::string_view prefix) {
    return text.size() >= prefix.size() &&
           QobEmlCMPBuf(text.data(), prefix.data(), static_cast<int32_t>(prefix.size())) == 1;
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
