// SPDX-License-Identifier: MIT
// Charset labels and languages: names in, converter names out; and the survey of a file's bytes.
#include "charset.h"

#include <unicode/ucnv.h>

#include <algorithm>
#include <array>
#include <cctype>
#include <cstring>
#include <utility>

#include "decoder.h"
#include "qob_conf_language.h"

namespace qob::filters {
namespace {

// A longer label names nothing that a converter knows.
constexpr std::size_t kMaxLabel = 40;

// What stands behind a label in practice: the superset that its writer's system used. Names as ICU
// has them, so that every alias of the charset is covered.
struct Superset {
    const char *charset; // looked up through ICU's aliases
    const char *readAs;
};

constexpr std::array<Superset, 12> kSupersets{{
    {"ISO-8859-1", "windows-1252"},
    {"ISO-8859-9", "windows-1254"},
    {"GB2312", "gb18030"},
    {"GB_2312-80", "gb18030"},
    {"GBK", "gb18030"},
    {"ks_c_5601-1987", "windows-949"},
    {"EUC-KR", "windows-949"},
    {"Big5", "windows-950"},
    {"Shift_JIS", "windows-31j"},
    {"windows-932", "windows-31j"},
    {"cp943", "windows-31j"},
    {"ISO-2022-JP", "ISO_2022,locale=ja,version=3"},
}};

// The names that the e-mail filter and its host use beside the registered ones.
constexpr std::array<Superset, 4> kHostNames{{
    {"ChineseGBK", "gb18030"},
    {"ChineseBIG5", "windows-950"},
    {"KoreanKSC", "windows-949"},
    {"WINDOWS31J", "windows-31j"},
}};

bool isLabelCharacter(char c) {
    constexpr std::string_view kPunctuation = "-_.:+()";
    return std::isalnum(static_cast<unsigned char>(c)) != 0 ||
           kPunctuation.find(c) != std::string_view::npos;
}

std::string_view trimLabel(std::string_view label) {
    constexpr std::string_view kAround = " \t\r\n\f\"'";
    const std::size_t first = label.find_first_not_of(kAround);
    if (first == std::string_view::npos) {
        return {};
    }
    return label.substr(first, label.find_last_not_of(kAround) - first + 1);
}

std::string converterName(const std::string &label) {
    const ConverterPtr converter = openConverter(label);
    if (converter == nullptr) {
        return {};
    }
    UErrorCode error = U_ZERO_ERROR;
    const char *name = ucnv_getName(converter.get(), &error);
    return U_SUCCESS(error) && name != nullptr ? name : "";
}

bool isUtf16Or32(const std::string &charset) {
    return charset.rfind("UTF-16", 0) == 0 || charset.rfind("UTF16", 0) == 0 ||
           charset.rfind("UTF-32", 0) == 0 || charset.rfind("UTF32", 0) == 0 ||
           charset.rfind("ISO-10646", 0) == 0;
}

void addToSample(std::string_view piece, Survey &found) {
    const bool eightBit = std::any_of(piece.begin(), piece.end(), [](char c) {
        return static_cast<unsigned char>(c) >= 0x80 || c == '\x1B';
    });
    // Plain ASCII in the middle of a file (style sheets, quoted mail) tells nothing.
    const bool telling = eightBit || found.sample.empty();
    if (!telling || found.sample.size() + piece.size() > kSampleSize) {
        found.sampleIsWhole = false;
        return;
    }
    found.sample += piece;
}

} // namespace

Survey survey(InputFile &input, std::size_t offset) {
    Survey found;
    found.contentOffset = offset;
    StrictDecoder utf8("UTF-8");
    if (!input.rewind(offset)) {
        return found;
    }
    for (std::string_view piece = input.read(); !piece.empty(); piece = input.read()) {
        addToSample(piece, found);
        found.sevenBit = found.sevenBit && std::all_of(piece.begin(), piece.end(), [](char c) {
                             return static_cast<unsigned char>(c) < 0x80;
                         });
        found.validUtf8 = found.validUtf8 && utf8.accepts(piece, false);
    }
    const bool forgiveCutEnd = utf8.sawNonAscii();
    found.validUtf8 = found.validUtf8 && (utf8.accepts({}, true) || forgiveCutEnd);
    found.hasZeroBytes = found.sample.find('\0') != std::string::npos;
    return found;
}

std::optional<std::string> charsetOfLabel(std::string_view label) {
    label = trimLabel(label);
    if (label.empty() || label.size() > kMaxLabel ||
        !std::all_of(label.begin(), label.end(), isLabelCharacter)) {
        return std::nullopt;
    }
    for (const Superset &host : kHostNames) {
        if (ucnv_compareNames(std::string(label).c_str(), host.charset) == 0) {
            return host.readAs;
        }
    }
    std::string name = converterName(std::string(label));
    if (name.empty()) {
        return std::nullopt;
    }
    for (const Superset &superset : kSupersets) {
        if (name == converterName(superset.charset)) {
            return superset.readAs;
        }
    }
    return name;
}

std::optional<std::string> charsetOfMark(const Survey &survey) {
    static constexpr std::array<std::pair<std::string_view, const char *>, 5> kMarks{{
        {"\xEF\xBB\xBF", "UTF-8"},
        {{"\xFF\xFE\x00\x00", 4}, "UTF-32LE"},
        {{"\x00\x00\xFE\xFF", 4}, "UTF-32BE"},
        {"\xFF\xFE", "UTF-16LE"},
        {"\xFE\xFF", "UTF-16BE"},
    }};
    for (const auto &[mark, charset] : kMarks) {
        if (survey.sample.compare(0, mark.size(), mark) == 0) {
            return charset;
        }
    }
    return std::nullopt;
}

std::optional<std::string> declaredCharset(std::string_view label, const Survey &survey) {
    std::optional<std::string> charset = charsetOfLabel(label);
    if (!charset) {
        return std::nullopt;
    }
    if (*charset == "US-ASCII" && !survey.sevenBit) {
        return std::nullopt;
    }
    if (isUtf16Or32(*charset)) {
        if (auto marked = charsetOfMark(survey); marked && isUtf16Or32(*marked)) {
            return marked;
        }
        if (!survey.hasZeroBytes) {
            return std::nullopt;
        }
    }
    return charset;
}

std::string_view languageOf(const HostParams &params) {
    return {params.language, strnlen(params.language, sizeof params.language)};
}

std::string charsetOfLanguage(std::string_view language) {
    const char *name = qob_conf_default_charset(std::string(language).c_str());
    return charsetOfLabel(name).value_or("windows-1252");
}

} // namespace qob::filters
