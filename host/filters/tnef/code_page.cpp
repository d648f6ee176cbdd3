// SPDX-License-Identifier: MIT
// See code_page.h.
#include "code_page.h"

#include <algorithm>
#include <array>

#include "charset.h"
#include "decoder.h"

namespace qob::tnef {
namespace {

struct CodePage {
    uint32_t number;
    const char *charset;
};

// Those that are not called windows-NUMBER or IBMNUMBER.
constexpr std::array kNamed = {
    CodePage{932, "windows-31j"},   CodePage{936, "GB18030"},       CodePage{949, "windows-949"},
    CodePage{950, "windows-950"},   CodePage{10000, "macintosh"},   CodePage{20127, "US-ASCII"},
    CodePage{20866, "KOI8-R"},      CodePage{20932, "EUC-JP"},      CodePage{21866, "KOI8-U"},
    CodePage{50220, "ISO-2022-JP"}, CodePage{50221, "ISO-2022-JP"}, CodePage{50222, "ISO-2022-JP"},
    CodePage{50225, "ISO-2022-KR"}, CodePage{51932, "EUC-JP"},      CodePage{51936, "GB18030"},
    CodePage{51949, "windows-949"}, CodePage{52936, "HZ-GB-2312"},  CodePage{54936, "GB18030"},
    CodePage{65000, "UTF-7"},       CodePage{65001, "UTF-8"},       CodePage{1200, "UTF-16LE"},
    CodePage{1201, "UTF-16BE"}};

} // namespace

std::string charsetOfCodePage(uint32_t codePage) {
    const auto *const named =
        std::find_if(kNamed.begin(), kNamed.end(),
                     [codePage](const CodePage &row) { return row.number == codePage; });
    if (named != kNamed.end()) {
        return named->charset;
    }
    const std::string number = std::to_string(codePage);
    std::string label = "windows-" + number;
    if (codePage < 1000) {
        label = "IBM" + number;
    } else if (codePage > 28590 && codePage < 28606) {
        label = "ISO-8859-" + std::to_string(codePage - 28590);
    }
    return codePage != 0 ? filters::charsetOfLabel(label).value_or("") : "";
}

} // namespace qob::tnef
