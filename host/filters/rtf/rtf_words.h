// SPDX-License-Identifier: MIT
// The control words that matter for the text, and what each of them does to it.
#ifndef QOB_FILTERS_RTF_WORDS_H
#define QOB_FILTERS_RTF_WORDS_H

#include <string_view>

namespace qob::filters {

enum class RtfAction {
    kNone,
    kCharacter, // stands for RtfWord::text
    kLine,      // ends a line
    kCell,      // ends a table cell
    kRow,       // ends a table row
    kUnicode,   // a character by number
    kSkipCount, // how many bytes stand beside it for older readers
    kFont,      // chooses a font
    kPlain,     // default character formatting
    kHidden,    // hidden text on or off
    kDeleted,   // deleted text on or off
    kCharset,   // of the font that is being declared
    kCodePage,  // of the font that is being declared
    kDefaultFont,
    kAnsiPage, // code page of the document
    kMac,
    kPc,
    kPca,
    kFontTable, // destinations from here on
    kSkip,      // its text is not the document's
    kAside,     // text on lines of its own, such as a page header
    kNote,      // text below the paragraph, such as a footnote
    kInside,    // like the group around it, also when marked as ignorable
    kTwoForms,  // the text in bytes, and in a group of its own in Unicode
    kUnicodeForm
};

struct RtfWord {
    std::string_view name;
    RtfAction action;
    std::string_view text = {}; // UTF-8
};

// The word; one with kNone when it does not matter.
const RtfWord &rtfWord(std::string_view name);

} // namespace qob::filters

#endif
