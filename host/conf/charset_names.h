// SPDX-License-Identifier: MIT
// What a charset name means: which ICU converter reads or writes it. The names come out of mail and
// may be anything; only names of ICU's own alias table are ever handed to ICU to open, so that no
// name can make it look for a file.
#ifndef QOB_CONF_CHARSET_NAMES_H
#define QOB_CONF_CHARSET_NAMES_H

#include <cstdint>
#include <string>
#include <string_view>

namespace qob {

// ICU's names of the converters that read most mail.
constexpr const char *kUtf8 = "UTF-8";
constexpr const char *kWindows1252 = "ibm-5348_P100-1997";

// Reads ISO-2022-JP with all that mail puts into it: JIS X 0212, JIS X 0201 katakana behind an
// escape or shift, and the vendor rows of code page 50220.
constexpr const char *kJapanese7Bit = "ISO_2022,locale=ja,version=3";

enum class SourceKind : std::uint8_t {
    Named,      // read by the ICU converter `icuName`
    Undeclared, // valid UTF-8, else the language's default charset
    Utf16,      // byte order from a mark, else as last marked in this extraction, else big endian
    Utf32,      // the same
    EucJpTwoBytes, // EUC-JP with every character in two bytes
};

struct SourceName {
    SourceKind kind = SourceKind::Undeclared;
    std::string icuName; // for Named
};

// True for a name that is no text: one with control bytes in it.
bool isBrokenName(std::string_view name);

// How to read text that is labelled `name`.
SourceName resolveSource(std::string_view name);

// The ICU converter that writes `name`, or "" when there is none.
std::string resolveOutput(std::string_view name);

} // namespace qob

#endif
