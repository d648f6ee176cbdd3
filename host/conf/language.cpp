// SPDX-License-Identifier: MIT
// The language of the extraction that runs on this thread, and the charset it makes the default.
#include <array>
#include <cstring>
#include <string_view>

#include "qob_conf_language.h"
#include "qob_host_export.h"

namespace {

std::array<char, 256> &threadLanguage() {
    thread_local std::array<char, 256> language{};
    return language;
}

struct LanguageDefault {
    std::string_view language;
    const char *charset;
};

constexpr LanguageDefault kDefaults[] = {
    {"cn", "ChineseGBK"},      {"Simplified Chinese", "ChineseGBK"},
    {"tw", "ChineseBIG5"},     {"Traditional Chinese", "ChineseBIG5"},
    {"jp", "WINDOWS31J"},      {"Japanese", "WINDOWS31J"},
    {"Korean", "KoreanKSC"},   {"ko", "KoreanKSC"},
    {"English", "ISO-8859-1"}, {"en", "ISO-8859-1"},
};

} // namespace

QOB_HOST_EXPORT void qob_conf_set_language(const char *language) {
    std::array<char, 256> &kept = threadLanguage();
    const std::size_t length = language == nullptr ? 0 : ::strnlen(language, kept.size() - 1);
    if (length != 0) {
        std::memmove(kept.data(), language, length);
    }
    kept[length] = '\0';
}

QOB_HOST_EXPORT const char *qob_conf_language(void) {
    return threadLanguage().data();
}

// An unknown language reads as Japanese, as the e-mail filter's own default charset does: the two
// must agree on the same text.
QOB_HOST_EXPORT const char *qob_conf_default_charset(const char *language) {
    const std::string_view wanted = language == nullptr ? "" : language;
    for (const LanguageDefault &row : kDefaults) {
        if (row.language == wanted) {
            return row.charset;
        }
    }
    return "WINDOWS31J";
}
