// SPDX-License-Identifier: MIT
// See rtf_words.h. A destination that is not listed is passed over when it is marked as ignorable,
// which all newer ones are.
#include "rtf_words.h"

#include <algorithm>
#include <array>

namespace qob::filters {
namespace {

using enum RtfAction;

// In byte order of the names.
constexpr std::array kWords = std::to_array<RtfWord>({
    {"annotation", kNote},
    {"ansicpg", kAnsiPage},
    {"atnauthor", kSkip},
    {"atnid", kSkip},
    {"author", kSkip},
    {"bkmkend", kSkip},
    {"bkmkstart", kSkip},
    {"bullet", kCharacter, "\u2022"},
    {"cell", kCell},
    {"colortbl", kSkip},
    {"column", kLine},
    {"cpg", kCodePage},
    {"deff", kDefaultFont},
    {"deleted", kDeleted},
    {"do", kInside},
    {"dptxbxtext", kAside},
    {"emdash", kCharacter, "\u2014"},
    {"emspace", kCharacter, "\u2003"},
    {"endash", kCharacter, "\u2013"},
    {"enspace", kCharacter, "\u2002"},
    {"f", kFont},
    {"falt", kSkip},
    {"fcharset", kCharset},
    {"filetbl", kSkip},
    {"fldinst", kSkip},
    {"fontemb", kSkip},
    {"fonttbl", kFontTable},
    {"footer", kAside},
    {"footerf", kAside},
    {"footerl", kAside},
    {"footerr", kAside},
    {"footnote", kNote},
    {"header", kAside},
    {"headerf", kAside},
    {"headerl", kAside},
    {"headerr", kAside},
    {"info", kSkip},
    {"lbr", kLine},
    {"ldblquote", kCharacter, "\u201C"},
    {"line", kLine},
    {"listtable", kSkip},
    {"lquote", kCharacter, "\u2018"},
    {"mac", kMac},
    {"moMath", kInside},
    {"moMathPara", kInside},
    {"nestcell", kCell},
    {"nestrow", kRow},
    {"nesttableprops", kInside},
    {"nonesttables", kSkip},
    {"nonshppict", kSkip},
    {"objclass", kSkip},
    {"objdata", kSkip},
    {"objname", kSkip},
    {"page", kLine},
    {"par", kLine},
    {"pc", kPc},
    {"pca", kPca},
    {"pict", kSkip},
    {"plain", kPlain},
    {"pntxta", kSkip},
    {"pntxtb", kSkip},
    {"private", kSkip},
    {"qmspace", kCharacter, "\u2005"},
    {"rdblquote", kCharacter, "\u201D"},
    {"revtbl", kSkip},
    {"row", kRow},
    {"rquote", kCharacter, "\u2019"},
    {"rxe", kSkip},
    {"sect", kLine},
    {"shpinst", kInside},
    {"shprslt", kSkip},
    {"shptxt", kAside},
    {"softline", kLine},
    {"softpage", kNone},
    {"sp", kSkip},
    {"stylesheet", kSkip},
    {"tab", kCharacter, "\t"},
    {"tc", kSkip},
    {"tcn", kSkip},
    {"template", kSkip},
    {"txe", kSkip},
    {"u", kUnicode},
    {"uc", kSkipCount},
    {"ud", kUnicodeForm},
    {"upr", kTwoForms},
    {"v", kHidden},
    {"xe", kSkip},
    {"zwj", kCharacter, "\u200D"},
    {"zwnj", kCharacter, "\u200C"},
});

constexpr bool namedBefore(const RtfWord &word, std::string_view name) {
    return word.name < name;
}

static_assert(std::is_sorted(kWords.begin(), kWords.end(),
                             [](const RtfWord &a, const RtfWord &b) { return a.name < b.name; }));

constexpr RtfWord kNoWord{"", kNone};
constexpr RtfWord kProperties{"", kSkip};

// The property groups of formulas: mfPr, mrPr, mctrlPr ...
bool isFormulaProperty(std::string_view name) {
    return name.size() > 3 && name.front() == 'm' && name.substr(name.size() - 2) == "Pr";
}

} // namespace

const RtfWord &rtfWord(std::string_view name) {
    const auto *const found = std::lower_bound(kWords.begin(), kWords.end(), name, namedBefore);
    if (found != kWords.end() && found->name == name) {
        return *found;
    }
    return isFormulaProperty(name) ? kProperties : kNoWord;
}

} // namespace qob::filters
