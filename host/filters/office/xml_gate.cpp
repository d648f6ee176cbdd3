// SPDX-License-Identifier: MIT
// See xml_gate.h. The parser stops at its first error, so up to there both agree on where a tag,
// a comment or a section begins and ends.
#include "xml_gate.h"

namespace qob::filters::office {
namespace {

constexpr std::string_view kCommentMark = "--";
constexpr std::string_view kCdataMark = "[CDATA[";

bool isForbidden(char c) {
    const auto byte = static_cast<unsigned char>(c);
    return byte < 0x20 && c != '\t' && c != '\n' && c != '\r';
}

} // namespace

std::size_t XmlGate::pass(std::string &text) {
    for (std::size_t i = 0; i < text.size(); ++i) {
        if (isForbidden(text[i])) {
            text[i] = ' ';
        }
        step(text[i]);
        if (closed()) {
            return i;
        }
    }
    return text.size();
}

void XmlGate::step(char c) {
    switch (state_) {
    case State::kText:
        stepText(c);
        break;
    case State::kOpen:
        stepOpen(c);
        break;
    case State::kDeclaration:
        stepDeclaration(c);
        break;
    case State::kComment:
        state_ = endsWith(c, "-->") ? State::kText : state_;
        break;
    case State::kCdata:
        state_ = endsWith(c, "]]>") ? State::kText : state_;
        break;
    case State::kInstruction:
        state_ = endsWith(c, "?>") ? State::kText : state_;
        break;
    case State::kDoctype:
    case State::kTag:
        stepMarkup(c);
        break;
    case State::kClosed:
        break;
    }
}

void XmlGate::stepText(char c) {
    if (c == '<') {
        state_ = State::kOpen;
        mark_.clear();
        quote_ = 0;
        matched_ = 0;
        attributes_ = 0;
        tagBytes_ = 0;
    }
}

void XmlGate::stepOpen(char c) {
    if (c == '!') {
        state_ = State::kDeclaration;
    } else if (c == '?') {
        state_ = State::kInstruction;
    } else {
        state_ = State::kTag;
        stepMarkup(c);
    }
}

void XmlGate::stepDeclaration(char c) {
    mark_ += c;
    if (mark_ == kCommentMark) {
        state_ = State::kComment;
    } else if (mark_ == kCdataMark) {
        state_ = State::kCdata;
    } else if (!kCommentMark.starts_with(mark_) && !kCdataMark.starts_with(mark_)) {
        state_ = State::kDoctype;
    }
}

void XmlGate::stepMarkup(char c) {
    ++tagBytes_;
    if (quote_ != 0) {
        quote_ = c == quote_ ? '\0' : quote_;
    } else if (c == '"' || c == '\'') {
        quote_ = c;
    } else if (c == '>') {
        state_ = State::kText;
        return;
    } else if (c == '=') {
        ++attributes_;
    }
    const bool declares = state_ == State::kDoctype && quote_ == 0 && c == '[';
    if (declares || attributes_ > kMaxAttributes || tagBytes_ > kMaxTag) {
        state_ = State::kClosed;
    }
}

// True when `c` completes the ending; `matched_` counts how much of it has been met.
bool XmlGate::endsWith(char c, std::string_view ending) {
    if (matched_ + 1 == ending.size() && c == ending.back()) {
        matched_ = 0;
        return true;
    }
    // The endings are one repeated character and a last one, or two different ones.
    if (c == ending.front()) {
        matched_ = matched_ + 1 < ending.size() ? matched_ + 1 : matched_;
    } else {
        matched_ = 0;
    }
    return false;
}

} // namespace qob::filters::office
