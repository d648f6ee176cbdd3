// SPDX-License-Identifier: MIT
// The charsets of RTF: code pages, the charset numbers of fonts, and the symbol fonts.
#ifndef QOB_FILTERS_RTF_CHARSET_H
#define QOB_FILTERS_RTF_CHARSET_H

#include <cstdint>
#include <string>

namespace qob::filters {

// Stand beside code pages for fonts whose characters are no letters.
constexpr int32_t kSymbolFontPage = -1; // Greek letters and mathematics
constexpr int32_t kPictureFontPage = -2;
// No code page is declared.
constexpr int32_t kUnknownPage = 0;

// The code page of a font's charset number, kUnknownPage for the document's own, and
// kPictureFontPage for charset 2, whose page is a matter of the font's name.
int32_t pageOfFontCharset(int32_t charset);

// A converter's name for a code page in which ASCII characters stand for themselves; windows-1252
// for any other number.
std::string charsetOfPage(int32_t page);

// The character that a byte stands for in the symbol font, or U+FFFD.
char16_t symbolCharacter(uint8_t byte);

constexpr char16_t kBullet = 0x2022;

} // namespace qob::filters

#endif
