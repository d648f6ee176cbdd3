// SPDX-License-Identifier: MIT
// Separators are remembered and written only when text follows, so that nothing but text begins or
// ends a line, a page begins with text, and a page without text gives nothing at all.
#include "text_layout.h"

#include <algorithm>

namespace qob::filters {
namespace {

constexpr std::string_view kNoBreakSpace = "\xC2\xA0";

bool isSpace(char c) {
    return c == ' ' || c == '\t' || c == '\n' || c == '\r' || c == '\f';
}

bool startsWithNoBreakSpace(std::string_view text, std::size_t at) {
    return text.compare(at, kNoBreakSpace.size(), kNoBreakSpace) == 0;
}

} // namespace

void TextLayout::start(ElementKind kind) {
    switch (kind) {
    case ElementKind::kBlock:
        endBlock();
        break;
    case ElementKind::kPreformatted:
        endBlock();
        ++preformatted_;
        atPreformattedStart_ = true;
        break;
    case ElementKind::kCell:
        separateCell();
        break;
    case ElementKind::kBreak:
        breakLine();
        break;
    case ElementKind::kInline:
    case ElementKind::kImage:
    case ElementKind::kHidden:
        break;
    }
}

void TextLayout::end(ElementKind kind) {
    if (kind == ElementKind::kBlock) {
        endBlock();
    } else if (kind == ElementKind::kPreformatted) {
        endBlock();
        preformatted_ -= preformatted_ > 0 ? 1 : 0;
    }
}

void TextLayout::characters(std::string_view utf8) {
    std::size_t i = 0;
    while (i < utf8.size()) {
        if (isSpace(utf8[i])) {
            addSpace(utf8[i]);
            ++i;
        } else if (startsWithNoBreakSpace(utf8, i)) {
            addHardSpace();
            i += kNoBreakSpace.size();
        } else {
            const std::size_t first = i;
            while (i < utf8.size() && !isSpace(utf8[i]) && !startsWithNoBreakSpace(utf8, i)) {
                ++i;
            }
            addText(utf8.substr(first, i - first));
        }
    }
}

void TextLayout::image(std::string_view alternative) {
    addSpace(' ');
    characters(alternative);
    addSpace(' ');
}

void TextLayout::finish() {
    if (started_) {
        output_.append("\n");
    }
}

void TextLayout::breakLine() {
    if (lineHasText_) {
        lineEnds_ = 1;
    } else if (started_) {
        lineEnds_ = std::min<std::size_t>(lineEnds_ + 1, 2);
    }
    lineHasText_ = false;
    hardSpaceOnLine_ = false;
    tabPending_ = false;
    spaces_ = 0;
}

void TextLayout::endBlock() {
    if (lineHasText_ || hardSpaceOnLine_) {
        breakLine();
    }
    spaces_ = 0;
    tabPending_ = false;
}

void TextLayout::separateCell() {
    if (lineHasText_) {
        tabPending_ = true;
    }
    spaces_ = 0;
}

void TextLayout::addSpace(char space) {
    if (preformatted_ > 0) {
        addPreformattedSpace(space);
    } else if (lineHasText_ && spaces_ == 0) {
        spaces_ = 1;
    }
}

void TextLayout::addHardSpace() {
    hardSpaceOnLine_ = true;
    ++spaces_;
}

void TextLayout::addText(std::string_view text) {
    if (!lineHasText_ && started_) {
        output_.append(std::string_view("\n\n").substr(0, lineEnds_));
    }
    lineEnds_ = 0;
    if (tabPending_) {
        output_.append("\t");
        tabPending_ = false;
        spaces_ = 0;
    }
    while (spaces_ > 0) {
        spaceRun_.assign(std::min<std::size_t>(spaces_, 4096), ' ');
        output_.append(spaceRun_);
        spaces_ -= spaceRun_.size();
    }
    output_.append(text);
    started_ = true;
    lineHasText_ = true;
    atPreformattedStart_ = false;
}

// Preformatted text keeps its lines and its tabs; the line end right after the opening tag belongs
// to the markup.
void TextLayout::addPreformattedSpace(char space) {
    if (space == '\t') {
        addText("\t");
    } else if (space == '\n') {
        if (!atPreformattedStart_) {
            breakLine();
        }
    } else {
        ++spaces_;
    }
    atPreformattedStart_ = false;
}

} // namespace qob::filters
