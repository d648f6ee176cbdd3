// SPDX-License-Identifier: MIT
// The table of charset names: the framework's own names first, then names that mail uses and ICU
// does not know, then ICU's alias table. Names are compared as ICU compares them, without regard to
// case, blanks, '-' and '_'.
#include "charset_names.h"

#include <algorithm>

#include <unicode/ucnv.h>

#include "qob_charset_codes.h"
#include "qob_host_export.h"

namespace qob {
namespace {

struct OwnName {
    const char *name;
    SourceKind kind;
    const char *source; // ICU converter, for Named
    const char *output; // ICU converter; null: what is said for `source`, "": not written
};

// A charset is read as its usual superset but written as itself, so that whoever asked for GBK can
// read what comes out. The first rows say what ICU's table says too, without loading it.
constexpr OwnName kOwnNames[] = {
    {kUtf8, SourceKind::Named, kUtf8, nullptr},
    {"US-ASCII", SourceKind::Undeclared, "", "US-ASCII"},
    {"ISO-8859-1", SourceKind::Named, kWindows1252, "ISO-8859-1"},
    {"ChineseGBK", SourceKind::Named, "gb18030", "windows-936-2000"},
    {"KoreanKSC", SourceKind::Named, "windows-949-2000", nullptr},
    {"ChineseBIG5", SourceKind::Named, "windows-950-2000", nullptr},
    {"WINDOWS31J", SourceKind::Named, "ibm-943_P15A-2003", nullptr},
    {"EUC-JP-FIX", SourceKind::EucJpTwoBytes, "", ""},
    {"Extended_UNIX_Code_Fixed_Width_for_Japanese", SourceKind::EucJpTwoBytes, "", ""},
    {"csEUCFixWidJapanese", SourceKind::EucJpTwoBytes, "", ""},
    {"cp50220", SourceKind::Named, kJapanese7Bit, "ISO-2022-JP"},
    {"cp50221", SourceKind::Named, kJapanese7Bit, "ISO-2022-JP"},
    {"cp50222", SourceKind::Named, kJapanese7Bit, "ISO-2022-JP"},
    {"iso-2022-jp-ms", SourceKind::Named, kJapanese7Bit, "ISO-2022-JP"},
    {"cp51932", SourceKind::Named, "euc-jp-2007", nullptr},
    {"eucJP-ms", SourceKind::Named, "euc-jp-2007", nullptr},
    {"eucJP-win", SourceKind::Named, "euc-jp-2007", nullptr},
    {"unicode-1-1-utf-8", SourceKind::Named, kUtf8, nullptr},
};

struct Superset {
    std::string_view icuName; // what ICU makes of the label
    const char *source;       // what reads it
};

constexpr Superset kSupersets[] = {
    {"ISO-8859-1", kWindows1252},
    {"ibm-920_P100-1995", "ibm-5350_P100-1998"},       // ISO-8859-9: windows-1254
    {"ibm-1383_P110-1999", "gb18030"},                 // GB 2312
    {"ibm-5478_P100-1995", "gb18030"},                 // GB_2312-80, in mail always the 8-bit form
    {"windows-936-2000", "gb18030"},                   // GBK
    {"ibm-1386_P100-2001", "gb18030"},                 // GBK
    {"ibm-970_P110_P110-2006_U2", "windows-949-2000"}, // EUC-KR
    {"ibm-949_P110-1999", "windows-949-2000"},
    {"ibm-949_P11A-1999", "windows-949-2000"},
    {"ibm-1363_P110-1997", "windows-949-2000"},
    {"ibm-1363_P11B-1998", "windows-949-2000"},
    {"ISO_2022,locale=ja,version=0", kJapanese7Bit},
    {"ISO_2022,locale=ja,version=1", kJapanese7Bit},
    {"ISO_2022,locale=ja,version=2", kJapanese7Bit},
};

const OwnName *findOwnName(const char *name) {
    const auto *found =
        std::find_if(std::begin(kOwnNames), std::end(kOwnNames), [name](const OwnName &row) {
            return ::ucnv_compareNames(row.name, name) == 0;
        });
    return found == std::end(kOwnNames) ? nullptr : found;
}

// The converter's own name in ICU's alias table, or "" for a name that is not there. Converter
// options behind a ',' are no charset names.
std::string icuNameOf(const std::string &name) {
    if (name.empty() || name.find(',') != std::string::npos) {
        return {};
    }
    UErrorCode status = U_ZERO_ERROR;
    const char *canonical = ::ucnv_getAlias(name.c_str(), 0, &status);
    return U_FAILURE(status) || canonical == nullptr ? std::string() : std::string(canonical);
}

// The name without what careless labels leave around it: blanks, quotes, further parameters.
std::string cleanName(std::string_view name) {
    constexpr std::string_view kAround = " \t\"'";
    const std::size_t first = name.find_first_not_of(kAround);
    if (first == std::string_view::npos) {
        return {};
    }
    name.remove_prefix(first);
    name = name.substr(0, name.find_first_of("\"';"));
    return std::string(name.substr(0, name.find_last_not_of(kAround) + 1));
}

// Text labelled US-ASCII is read as undeclared: where it is ASCII the result is the same, and where
// it is not the label is wrong.
SourceName sourceOfIcuName(std::string icuName) {
    if (icuName.empty() || icuName == "US-ASCII") {
        return {};
    }
    if (icuName == "UTF-16" || icuName.starts_with("UTF-16,")) {
        return {SourceKind::Utf16, {}};
    }
    if (icuName == "UTF-32" || icuName.starts_with("UTF-32,")) {
        return {SourceKind::Utf32, {}};
    }
    for (const Superset &row : kSupersets) {
        if (row.icuName == icuName) {
            return {SourceKind::Named, row.source};
        }
    }
    return {SourceKind::Named, std::move(icuName)};
}

// Without these, ICU begins every piece of text with a byte order mark.
std::string withoutMark(std::string icuName) {
    for (const char *plain : {"UTF-16LE", "UTF-16BE", "UTF-32LE", "UTF-32BE"}) {
        if (icuName.starts_with(plain)) {
            return plain;
        }
    }
    if (icuName.starts_with("UTF-16")) {
        return "UTF-16BE";
    }
    if (icuName.starts_with("UTF-32")) {
        return "UTF-32BE";
    }
    return icuName;
}

struct CodeName {
    std::uint32_t code;
    const char *name;
};

constexpr CodeName kCodeNames[] = {
    {QOB_CHARSET_UNSET, "UTF-8"},       {QOB_CHARSET_WINDOWS31J, "WINDOWS31J"},
    {QOB_CHARSET_GBK, "ChineseGBK"},    {QOB_CHARSET_KSC, "KoreanKSC"},
    {QOB_CHARSET_BIG5, "ChineseBIG5"},  {QOB_CHARSET_UTF16LE, "UTF-16LE"},
    {QOB_CHARSET_UTF16BE, "UTF-16BE"},  {QOB_CHARSET_WINDOWS1252, "windows-1252"},
    {QOB_CHARSET_UTF32LE, "UTF-32LE"},  {QOB_CHARSET_UTF32BE, "UTF-32BE"},
    {QOB_CHARSET_ASCII, "US-ASCII"},    {QOB_CHARSET_EUC_JP, "EUC-JP"},
    {QOB_CHARSET_LATIN1, "ISO-8859-1"}, {QOB_CHARSET_ISO_2022_JP, "ISO-2022-JP"},
    {QOB_CHARSET_HZ, "HZ-GB-2312"},     {QOB_CHARSET_GB18030, "GB18030"},
    {QOB_CHARSET_UTF7, "UTF-7"},        {QOB_CHARSET_UTF8, "UTF-8"},
};

} // namespace

bool isBrokenName(std::string_view name) {
    return std::any_of(name.begin(), name.end(),
                       [](char c) { return static_cast<unsigned char>(c) < 0x20 || c == 0x7F; });
}

SourceName resolveSource(std::string_view name) {
    const std::string clean = cleanName(name);
    if (const OwnName *own = findOwnName(clean.c_str())) {
        return {own->kind, own->source};
    }
    return sourceOfIcuName(icuNameOf(clean));
}

std::string resolveOutput(std::string_view name) {
    const std::string clean = cleanName(name);
    if (const OwnName *own = findOwnName(clean.c_str())) {
        return own->output == nullptr ? own->source : own->output;
    }
    return withoutMark(icuNameOf(clean));
}

} // namespace qob

QOB_HOST_EXPORT const char *qob_charset_name(uint32_t code) {
    for (const qob::CodeName &row : qob::kCodeNames) {
        if (row.code == code) {
            return row.name;
        }
    }
    return nullptr;
}
