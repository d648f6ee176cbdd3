// SPDX-License-Identifier: MIT
// See document_lines.h.
#include "document_lines.h"

#include <algorithm>

namespace qob::filters {
namespace {

// Notes that are kept; a longer one is written at once, into the paragraph.
constexpr std::size_t kMaxNotes = 65536;
// Blanks that are kept; more are written although the line may end behind them.
constexpr std::size_t kMaxBlanks = 4096;

constexpr std::string_view kNoBreakSpace = "\u00A0";

// The bytes of the first character; UTF-8 is well formed here.
std::size_t characterLength(std::string_view utf8) {
    std::size_t length = 1;
    while (length < utf8.size() && (static_cast<unsigned char>(utf8[length]) & 0xC0U) == 0x80) {
        ++length;
    }
    return length;
}

bool isControl(std::string_view character) {
    const auto first = static_cast<unsigned char>(character.front());
    return first < 0x20 || first == 0x7F ||
           (first == 0xC2 && character.size() == 2 &&
            static_cast<unsigned char>(character[1]) < 0xA0);
}

} // namespace

void DocumentLines::text(std::string_view utf8) {
    if (noteDepth_ > 0) {
        textOfNote(utf8);
    } else {
        textOfBody(utf8);
    }
}

void DocumentLines::textOfBody(std::string_view utf8) {
    while (!utf8.empty()) {
        const std::size_t length = characterLength(utf8);
        character(utf8.substr(0, length));
        utf8.remove_prefix(length);
    }
    output_.append(piece_);
    piece_.clear();
}

void DocumentLines::character(std::string_view utf8) {
    if (utf8 == " " || utf8 == "\t" || utf8 == kNoBreakSpace) {
        blanks_ += utf8 == "\t" ? '\t' : ' ';
        if (blanks_.size() < kMaxBlanks) {
            return;
        }
        utf8 = {};
    } else if (utf8 == "\n" || utf8 == "\v" || utf8 == "\f") {
        output_.append(piece_);
        piece_.clear();
        endLine();
        return;
    } else if (isControl(utf8)) {
        return;
    }
    piece_ += emptyLine_ ? "\n" : "";
    piece_ += cellEnded_ ? "\t" : "";
    piece_ += blanks_;
    piece_ += utf8;
    blanks_.clear();
    emptyLine_ = false;
    cellEnded_ = false;
    lineHasText_ = true;
    wroteAny_ = true;
}

void DocumentLines::textOfNote(std::string_view utf8) {
    notes_ += utf8;
    if (notes_.size() >= kMaxNotes) {
        const unsigned depth = noteDepth_;
        noteDepth_ = 0;
        breakLine();
        noteDepth_ = depth;
    }
}

void DocumentLines::endLine() {
    if (noteDepth_ > 0) {
        textOfNote("\n");
        return;
    }
    if (!lineHasText_) {
        emptyLine_ = wroteAny_;
        blanks_.clear();
    }
    breakLine();
}

void DocumentLines::breakLine() {
    if (noteDepth_ > 0) {
        if (!notes_.empty() && notes_.back() != '\n') {
            textOfNote("\n");
        }
        return;
    }
    if (lineHasText_) {
        output_.append("\n");
    }
    lineHasText_ = false;
    cellEnded_ = false;
    blanks_.clear();
    flushNotes();
}

void DocumentLines::flushNotes() {
    if (notes_.empty()) {
        return;
    }
    const std::string notes = std::move(notes_);
    notes_.clear();
    const std::size_t end = notes.find_last_not_of("\n \t");
    if (end == std::string::npos) {
        return;
    }
    textOfBody(std::string_view(notes).substr(0, end + 1));
    breakLine();
}

void DocumentLines::endCell() {
    if (noteDepth_ > 0) {
        textOfNote("\t");
        return;
    }
    cellEnded_ = lineHasText_;
    blanks_.clear();
}

void DocumentLines::beginNote() {
    ++noteDepth_;
    breakLine();
}

void DocumentLines::endNote() {
    breakLine();
    noteDepth_ -= std::min(noteDepth_, 1U);
}

void DocumentLines::finish() {
    noteDepth_ = 0;
    breakLine();
}

} // namespace qob::filters
