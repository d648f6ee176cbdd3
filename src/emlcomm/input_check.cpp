// SPDX-License-Identifier: MIT
// The input check and the default charset.
#include "emlcomm/input_check.h"

#include <algorithm>
#include <cstring>
#include <string_view>

namespace {

struct LanguageRow {
    std::string_view language = {}; // compared whole and case-sensitively
    const char *charset;
};

constexpr LanguageRow kLanguages[] = {
    {"cn", "ChineseGBK"},      {"Simplified Chinese", "ChineseGBK"},
    {"tw", "ChineseBIG5"},     {"Traditional Chinese", "ChineseBIG5"},
    {"jp", "WINDOWS31J"},      {"Japanese", "WINDOWS31J"},
    {"Korean", "KoreanKSC"},   {"ko", "KoreanKSC"},
    {"English", "ISO-8859-1"}, {"en", "ISO-8859-1"},
};

// The charset of a language that no row names: the Japanese one, not the Latin one.
constexpr const char *kOtherLanguageCharset = "WINDOWS31J";

} // namespace

QOB_EXPORT int32_t IsEMLFile(ExtractionHandle *handle) {
    const char *name = handle->hostParams->language;
    const std::string_view language(name, strnlen(name, sizeof(handle->hostParams->language)));
    const auto *row =
        std::find_if(std::begin(kLanguages), std::end(kLanguages),
                     [language](const LanguageRow &r) { return r.language == language; });
    eml::copyText(handle->defaultCharset, sizeof(handle->defaultCharset),
                  row == std::end(kLanguages) ? kOtherLanguageCharset : row->charset);
    return 0;
}

QOB_EXPORT int32_t EmlCheckFile(const char *path) {
    return QOB_FindFile(path) != -1 ? 1 : 0;
}
