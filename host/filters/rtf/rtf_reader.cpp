// SPDX-License-Identifier: MIT
// See rtf_reader.h. Groups save and restore what is set inside them; deeper than anybody nests they
// are only counted, and share the state of the innermost one that is kept.
#include "rtf_reader.h"

#include <algorithm>
#include <array>

#include "rtf_charset.h"

namespace qob::filters {
namespace {

constexpr std::size_t kMaxGroups = 10000;
constexpr std::size_t kMaxFonts = 10000;
constexpr std::size_t kMaxFontName = 32;
constexpr uint32_t kMaxSkipCount = 32;

bool isOn(std::optional<int32_t> number) {
    return number.value_or(1) != 0;
}

} // namespace

void RtfReader::openGroup() {
    fallbackLeft_ = 0;
    starred_ = false;
    if (groups_.size() >= kMaxGroups) {
        ++groupsNotKept_;
        return;
    }
    groups_.push_back(group_);
    group_.aside = false;
    group_.note = false;
}

void RtfReader::closeGroup() {
    fallbackLeft_ = 0;
    starred_ = false;
    if (groupsNotKept_ > 0) {
        --groupsNotKept_;
        return;
    }
    if (groups_.empty()) {
        return;
    }
    endFontName();
    run_.end();
    if (group_.note) {
        lines_.endNote();
    } else if (group_.aside) {
        lines_.breakLine();
    }
    group_ = groups_.back();
    groups_.pop_back();
    over_ = groups_.empty();
}

void RtfReader::word(std::string_view name, std::optional<int32_t> number) {
    const RtfWord &known = rtfWord(name);
    const bool ignorable = starred_;
    starred_ = false;
    if (enterDestination(known, ignorable)) {
        return;
    }
    apply(known, number);
}

// True when the word begins a destination, or an ignorable group of a kind that is not known.
bool RtfReader::enterDestination(const RtfWord &word, bool ignorable) {
    if (group_.destination == Destination::kSkip) {
        return true;
    }
    switch (word.action) {
    case RtfAction::kFontTable:
        group_.destination = Destination::kFontTable;
        return true;
    case RtfAction::kSkip:
        group_.destination = Destination::kSkip;
        return true;
    case RtfAction::kInside:
        return true;
    case RtfAction::kTwoForms:
        group_.aroundForms = group_.destination;
        group_.destination = Destination::kTwoForms;
        return true;
    case RtfAction::kUnicodeForm:
        if (group_.destination == Destination::kTwoForms) {
            group_.destination = group_.aroundForms;
        }
        return true;
    case RtfAction::kAside:
    case RtfAction::kNote:
        break;
    default:
        if (ignorable) {
            group_.destination = Destination::kSkip;
        }
        return ignorable;
    }
    if (group_.destination == Destination::kText && !group_.aside && !group_.note) {
        run_.end();
        group_.note = word.action == RtfAction::kNote;
        group_.aside = !group_.note;
        if (group_.note) {
            lines_.beginNote();
        } else {
            lines_.breakLine();
        }
    }
    return true;
}

void RtfReader::apply(const RtfWord &word, std::optional<int32_t> number) {
    switch (word.action) {
    case RtfAction::kNone:
        return;
    case RtfAction::kSkipCount:
        group_.skipCount = static_cast<uint16_t>(
            std::min(static_cast<uint32_t>(std::max(number.value_or(1), 0)), kMaxSkipCount));
        return;
    case RtfAction::kHidden:
        group_.hidden = isOn(number);
        return;
    case RtfAction::kDeleted:
        group_.deleted = isOn(number);
        return;
    case RtfAction::kPlain:
        group_.hidden = false;
        chooseFont(defaultFont_);
        return;
    case RtfAction::kFont:
        if (group_.destination == Destination::kFontTable) {
            declareFont(word.action, number.value_or(0));
        } else {
            chooseFont(number.value_or(0));
        }
        return;
    case RtfAction::kCharset:
    case RtfAction::kCodePage:
        declareFont(word.action, number.value_or(0));
        return;
    case RtfAction::kCharacter:
    case RtfAction::kLine:
    case RtfAction::kCell:
    case RtfAction::kRow:
    case RtfAction::kUnicode:
        applyToText(word, number);
        return;
    default:
        applyToDocument(word, number);
        return;
    }
}

void RtfReader::applyToText(const RtfWord &word, std::optional<int32_t> number) {
    if (word.action == RtfAction::kUnicode) {
        unicode(number.value_or(0));
        return;
    }
    if ((word.action == RtfAction::kCharacter && takeFallback()) || !isVisible()) {
        return;
    }
    fallbackLeft_ = 0;
    run_.end();
    switch (word.action) {
    case RtfAction::kCharacter:
        run_.text(word.text);
        break;
    case RtfAction::kLine:
        lines_.endLine();
        break;
    case RtfAction::kCell:
        lines_.endCell();
        break;
    default:
        lines_.breakLine();
        break;
    }
}

void RtfReader::applyToDocument(const RtfWord &word, std::optional<int32_t> number) {
    switch (word.action) {
    case RtfAction::kDefaultFont:
        defaultFont_ = number.value_or(0);
        chooseFont(defaultFont_);
        break;
    case RtfAction::kAnsiPage:
        documentPage_ = std::max(number.value_or(0), 0);
        break;
    case RtfAction::kMac:
        documentPage_ = 10000;
        break;
    case RtfAction::kPc:
        documentPage_ = 437;
        break;
    case RtfAction::kPca:
        documentPage_ = 850;
        break;
    default:
        break;
    }
}

void RtfReader::symbol(char c) {
    if (c == '*') {
        starred_ = true;
        return;
    }
    // The others say where a line may be broken, or mark index entries.
    if (c == '~') {
        applyToText({"~", RtfAction::kCharacter, " "}, std::nullopt);
    } else if (c == '_') {
        applyToText({"_", RtfAction::kCharacter, "-"}, std::nullopt);
    }
}

void RtfReader::text(std::string_view bytes) {
    starred_ = false;
    const auto skipped = std::min<std::size_t>(fallbackLeft_, bytes.size());
    fallbackLeft_ -= static_cast<uint32_t>(skipped);
    this->bytes(bytes.substr(skipped));
}

void RtfReader::hexByte(char byte) {
    starred_ = false;
    if (!takeFallback()) {
        bytes({&byte, 1});
    }
}

void RtfReader::binary() {
    takeFallback();
}

void RtfReader::bytes(std::string_view bytes) {
    if (group_.destination == Destination::kFontTable) {
        fontName(bytes);
    } else if (!bytes.empty() && isVisible()) {
        run_.bytes(bytes, currentPage());
    }
}

void RtfReader::finish() {
    run_.end();
    lines_.finish();
}

bool RtfReader::isVisible() const {
    // Nothing in front of the document's own group is text.
    return group_.destination == Destination::kText && !group_.hidden && !group_.deleted &&
           !groups_.empty() && !over_;
}

bool RtfReader::takeFallback() {
    if (fallbackLeft_ == 0) {
        return false;
    }
    --fallbackLeft_;
    return true;
}

int32_t RtfReader::currentPage() const {
    const auto font = fonts_.find(group_.font);
    const int32_t page = font != fonts_.end() ? font->second.page : kUnknownPage;
    return page != kUnknownPage ? page : documentPage_;
}

// Numbers beyond 32767 are written as negative ones, by some writers also as they are.
void RtfReader::unicode(int32_t number) {
    const auto value = static_cast<uint32_t>(number < 0 ? number + 0x10000 : number);
    fallbackLeft_ = group_.skipCount;
    if (isVisible() && number >= -0x8000) {
        run_.unicode(value, currentPage());
    }
}

void RtfReader::chooseFont(int32_t font) {
    group_.font = font;
}

void RtfReader::declareFont(RtfAction action, int32_t number) {
    if (group_.destination != Destination::kFontTable) {
        return;
    }
    if (action == RtfAction::kFont) {
        endFontName();
        declaredFont_ = fonts_.size() < kMaxFonts ? number : kNoFont;
        return;
    }
    if (declaredFont_ == kNoFont) {
        return;
    }
    Font &font = fonts_[declaredFont_];
    if (action == RtfAction::kCodePage) {
        font.page = std::max(number, 0);
        font.bySymbolName = false;
        return;
    }
    font.page = pageOfFontCharset(number);
    font.bySymbolName = font.page == kPictureFontPage;
}

void RtfReader::fontName(std::string_view bytes) {
    for (const char c : bytes) {
        if (c == ';') {
            endFontName();
        } else if (fontName_.size() < kMaxFontName) {
            fontName_ += c;
        }
    }
}

// Only a few of the fonts that call themselves symbol fonts have other characters than letters.
void RtfReader::endFontName() {
    if (group_.destination != Destination::kFontTable) {
        return;
    }
    const auto font = fonts_.find(declaredFont_);
    if (font != fonts_.end() && font->second.bySymbolName && !fontName_.empty()) {
        static constexpr std::array<std::string_view, 4> kPictureFonts{"Wingdings", "Webdings",
                                                                       "Marlett", "ZapfDingbats"};
        const bool picture =
            std::any_of(kPictureFonts.begin(), kPictureFonts.end(), [this](std::string_view name) {
                return fontName_.compare(0, name.size(), name) == 0;
            });
        const bool symbol = fontName_.compare(0, 6, "Symbol") == 0;
        font->second.page = picture ? kPictureFontPage : symbol ? kSymbolFontPage : kUnknownPage;
        font->second.bySymbolName = false;
    }
    fontName_.clear();
}

} // namespace qob::filters
