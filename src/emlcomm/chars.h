// SPDX-License-Identifier: MIT
// Character helpers, and the bounded view through which every reader and walker looks at a line.
//
// A line is a string_view over a cleared, NUL-terminated line buffer, so the data() of any view
// made here is also a C string that ends at the line's end (or at a NUL inside the line).
#ifndef QOB_EMLCOMM_CHARS_H
#define QOB_EMLCOMM_CHARS_H

#include <cstdint>
#include <string_view>

#include "export.h"

// 1 for space and tab, 2 for line feed and carriage return, 0 otherwise.
QOB_EXPORT int32_t IsSpace(int32_t c);

// 1 for carriage return and line feed, else 0.
QOB_EXPORT int32_t IsSpace_crlf(int32_t c);

// 1 when all n bytes are equal ignoring case, also past a terminator; n = 0 yields 1, a negative n
// yields 0.
QOB_EXPORT int32_t QobEmlCMPBuf(const char *a, const char *b, int32_t n);

// Writes the upper case of each of the n bytes of src to dst, also past a terminator. Returns 0.
QOB_EXPORT int32_t EmlCmpCheckContent(const char *src, char *dst, int32_t n);

namespace eml {

// Upper case of one byte: ASCII letters only, whatever the process's locale is.
constexpr char upperCase(char c) {
    return c >= 'a' && c <= 'z' ? static_cast<char>(c - 'a' + 'A') : c;
}

// The text without its leading blanks.
std::string_view skipBlanks(std::string_view text);

// The text from `position` on; empty when the text is shorter.
constexpr std::string_view textFrom(std::string_view text, size_t position) {
    return text.substr(position < text.size() ? position : text.size());
}

// The byte at `position`, or NUL when the text is shorter.
constexpr char charAt(std::string_view text, size_t position) {
    return position < text.size() ? text[position] : '\0';
}

// Exact and case-insensitive prefix tests.
constexpr bool startsWith(std::string_view text, std::string_view prefix) {
    return text.substr(0, prefix.size()) == prefix;
}
constexpr bool startsWithNoCase(std::string_view text, std::string_view prefix) {
    size_t same = 0;
    while (same < prefix.size() && same < text.size() &&
           upperCase(text[same]) == upperCase(prefix[same])) {
        ++same;
    }
    return same == prefix.size();
}

// startsWith for a prefix that is a handle field. Few lines begin with it, so that its length is
// not looked for.
constexpr bool startsWithField(std::string_view text, const char *field) {
    size_t same = 0;
    while (same < text.size() && field[same] != '\0' && text[same] == field[same]) {
        ++same;
    }
    return field[same] == '\0';
}

// Whether `needle` stands in the text before any NUL.
bool contains(std::string_view text, std::string_view needle);

// The head of a header value as the finders compare it: leading blanks skipped, 32 bytes at the
// most, in upper case, zeros after the terminator.
struct UpperHead {
    explicit UpperHead(const char *value);
    bool startsWith(std::string_view prefix) const;

private:
    char bytes_[32] = {};
};

} // namespace eml

#endif
