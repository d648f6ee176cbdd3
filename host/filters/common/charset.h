// SPDX-License-Identifier: MIT
// Which charset a file is in: by its label, by its bytes, by the language of the extraction.
#ifndef QOB_FILTERS_CHARSET_H
#define QOB_FILTERS_CHARSET_H

#include <optional>
#include <string>
#include <string_view>

#include "input_file.h"

namespace qob::filters {

// What one pass over a file tells of its bytes.
struct Survey {
    std::string sample;        // up to kSampleSize bytes: the start, and pieces with 8-bit bytes
    bool sampleIsWhole = true; // the sample is all there is
    bool sevenBit = true;      // no byte above 0x7F
    bool hasZeroBytes = false; // in the sample
    bool validUtf8 = true;     // all of it; a character cut off by the end is forgiven when
                               // another one of several bytes came before it
    std::size_t contentOffset = 0; // as given; the byte order mark, if any, is at this place
};

constexpr std::size_t kSampleSize = 4 * InputFile::kPieceSize;

// Reads the file from `offset` to its end.
Survey survey(InputFile &input, std::size_t offset);

// The converter name of a charset label, the usual superset taken for a charset that is seldom
// meant by the letter (gb2312 is read as GB18030, iso-8859-1 as windows-1252). Nothing for a label
// that names no charset.
std::optional<std::string> charsetOfLabel(std::string_view label);

// The charset that a label declares, when the bytes do not speak against it: US-ASCII with 8-bit
// bytes and UTF-16 without a zero byte or a byte order mark declare nothing.
std::optional<std::string> declaredCharset(std::string_view label, const Survey &survey);

// The charset of the byte order mark at the content's start.
std::optional<std::string> charsetOfMark(const Survey &survey);

// The charset by the bytes alone: UTF-16 without a mark, an ISO-2022 charset, valid UTF-8, else
// the likeliest legacy charset, in doubt the one of the language (as HostParams.language has it).
std::string guessCharset(const Survey &survey, std::string_view language);

// HostParams.language, as far as it goes.
std::string_view languageOf(const HostParams &params);

// The default charset of a language; an unknown language has the Japanese one.
std::string charsetOfLanguage(std::string_view language);

} // namespace qob::filters

#endif
