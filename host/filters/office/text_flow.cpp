// SPDX-License-Identifier: MIT
// See text_flow.h. What separates two texts is written only when the second one comes, so that
// nothing is left over at the end of a row, a cell or the document.
#include "text_flow.h"

#include <algorithm>
#include <utility>

namespace qob::filters::office {

void TextFlow::put(std::string_view utf8) {
    if (!isAside()) {
        output_.append(utf8);
        return;
    }
    frame().collected += utf8;
    if (frame().collected.size() > kMaxHeld) {
        spill();
    }
}

// An aside too long to be held back is written where the document has come to.
void TextFlow::spill() {
    if (frames_.front().lineOpen) {
        output_.append("\n");
        frames_.front().lineOpen = false;
    }
    output_.append(frame().collected);
    frames_.front().lineOpen = !frame().collected.ends_with('\n');
    frames_.front().breakFirst = true;
    frame().collected.clear();
}

// The next text begins a line, unless it begins a cell.
void TextFlow::breakBefore() {
    frame().breakFirst = frame().breakFirst || frame().tabs == 0;
}

// Writes what has to stand between the last text and the next one.
void TextFlow::beginText() {
    Frame &current = frame();
    if (current.breakFirst && current.lineOpen) {
        put("\n");
        current.lineOpen = false;
    }
    if (current.emptyLine && current.any) {
        put("\n");
    }
    current.breakFirst = false;
    current.emptyLine = false;
    if (current.tabs > 0) {
        put(std::string(std::min(current.tabs, kMaxGap), '\t'));
        current.tabs = 0;
    }
    current.lineOpen = true;
    current.any = true;
    hasText_ = true;
}

void TextFlow::text(std::string_view utf8) {
    if (utf8.empty() || !output_.isOpen()) {
        return;
    }
    beginText();
    if (utf8.find_first_of("\r\n") == std::string_view::npos) {
        put(utf8);
        return;
    }
    cleaned_ = utf8;
    std::replace(cleaned_.begin(), cleaned_.end(), '\n', ' ');
    std::replace(cleaned_.begin(), cleaned_.end(), '\r', ' ');
    put(cleaned_);
}

void TextFlow::lineBreak() {
    if (frame().tables > 0) {
        breakBefore();
    } else if (frame().lineOpen) {
        endLine();
    } else {
        frame().emptyLine = true;
    }
}

void TextFlow::endLine() {
    if (frame().lineOpen) {
        put("\n");
    }
    frame().lineOpen = false;
    frame().breakFirst = false;
}

void TextFlow::endParagraph() {
    lineBreak();
    writeAsides();
}

void TextFlow::separate() {
    endLine();
    frame().emptyLine = true;
}

// Lines that are laid out already, each with its end.
void TextFlow::putLines(std::string_view lines) {
    if (lines.empty()) {
        return;
    }
    breakBefore();
    beginText();
    put(lines.substr(0, lines.size() - 1));
    if (frame().tables > 0) {
        breakBefore();
    } else {
        endLine();
    }
}

void TextFlow::writeAsides() {
    putLines(std::exchange(frame().asides, {}));
    if (held_.size() > kMaxHeld && !isAside()) {
        writeHeld();
    }
}

void TextFlow::startTable() {
    if (frame().tables == 0) {
        endLine();
    } else {
        breakBefore();
    }
    ++frame().tables;
}

void TextFlow::endCell() {
    skipCells(1);
    frame().breakFirst = false;
}

void TextFlow::skipCells(std::size_t count) {
    frame().tabs += std::min(count, kMaxGap);
}

void TextFlow::endRow() {
    frame().tabs = 0;
    endLine();
}

void TextFlow::endTable() {
    if (frame().tables > 0) {
        --frame().tables;
    }
    endRow();
}

void TextFlow::beginAside() {
    frames_.emplace_back();
}

void TextFlow::endAside(Place place) {
    if (!isAside()) {
        return;
    }
    writeAsides();
    endLine();
    std::string lines = std::move(frame().collected);
    frames_.pop_back();
    if (place == Place::kAtTheEnd) {
        held_ += lines;
        return;
    }
    frame().asides += lines;
    if (frame().asides.size() > kMaxHeld) {
        writeAsides();
    }
}

void TextFlow::writeHeld() {
    const std::string lines = std::exchange(held_, {});
    if (!lines.empty()) {
        separate();
        putLines(lines);
        endLine();
    }
}

} // namespace qob::filters::office
