// SPDX-License-Identifier: MIT
// One state machine over single bytes; only plain text and binary data are taken in spans.
#include "rtf_scanner.h"

#include <algorithm>

namespace qob::filters {
namespace {

// Beyond what any number in RTF means; more digits change nothing.
constexpr int64_t kMaxNumber = INT32_MAX;

constexpr std::string_view kSpecial{"\\{}\r\n\t\0", 7};

bool isLetter(char c) {
    return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z');
}

bool isDigit(char c) {
    return c >= '0' && c <= '9';
}

std::optional<uint32_t> hexValue(char c) {
    if (isDigit(c)) {
        return static_cast<uint32_t>(c - '0');
    }
    if (c >= 'a' && c <= 'f') {
        return static_cast<uint32_t>(c - 'a') + 10;
    }
    if (c >= 'A' && c <= 'F') {
        return static_cast<uint32_t>(c - 'A') + 10;
    }
    return std::nullopt;
}

} // namespace

void RtfScanner::scan(std::string_view piece) {
    while (!piece.empty()) {
        std::size_t taken = 0;
        if (state_ == State::kText) {
            taken = scanText(piece);
        } else if (state_ == State::kBinary) {
            taken = scanBinary(piece);
        } else {
            taken = scanMarkup(piece.front()) ? 1 : 0;
        }
        piece.remove_prefix(taken);
    }
}

void RtfScanner::finish() {
    if (state_ == State::kWord || state_ == State::kNumber || state_ == State::kMinus) {
        emitWord();
    }
    state_ = State::kText;
}

std::size_t RtfScanner::scanText(std::string_view rest) {
    const std::size_t length = std::min(rest.find_first_of(kSpecial), rest.size());
    if (length > 0) {
        events_.text(rest.substr(0, length));
        return length;
    }
    switch (rest.front()) {
    case '{':
        events_.openGroup();
        break;
    case '}':
        events_.closeGroup();
        break;
    case '\\':
        state_ = State::kBackslash;
        break;
    case '\t':
        events_.word("tab", std::nullopt);
        break;
    default: // line ends only keep the file's lines short
        break;
    }
    return 1;
}

std::size_t RtfScanner::scanBinary(std::string_view rest) {
    const auto length = static_cast<std::size_t>(std::min<uint64_t>(binaryLeft_, rest.size()));
    binaryLeft_ -= length;
    if (binaryLeft_ == 0) {
        state_ = State::kText;
        events_.binary();
    }
    return length;
}

// The following take one byte each; false leaves it to the next state.
bool RtfScanner::scanMarkup(char c) {
    switch (state_) {
    case State::kBackslash:
        return afterBackslash(c);
    case State::kWord:
        return inWord(c);
    case State::kMinus:
        return afterMinus(c);
    case State::kNumber:
        return inNumber(c);
    case State::kFirstDigit:
        return firstDigit(c);
    default:
        return secondDigit(c);
    }
}

bool RtfScanner::afterBackslash(char c) {
    state_ = State::kText;
    if (isLetter(c)) {
        state_ = State::kWord;
        nameLength_ = 0;
        negative_ = false;
        number_ = -1;
        return false;
    }
    switch (c) {
    case '\'':
        state_ = State::kFirstDigit;
        break;
    case '\\':
    case '{':
    case '}':
        events_.text({&c, 1});
        break;
    case '\r':
    case '\n':
        events_.word("par", std::nullopt);
        break;
    case '\t':
        events_.word("tab", std::nullopt);
        break;
    default:
        events_.symbol(c);
        break;
    }
    return true;
}

bool RtfScanner::inWord(char c) {
    if (isLetter(c)) {
        if (nameLength_ < name_.size()) {
            name_[nameLength_++] = c;
        }
        return true;
    }
    if (c == '-') {
        state_ = State::kMinus;
        return true;
    }
    if (isDigit(c)) {
        state_ = State::kNumber;
        number_ = 0;
        return false;
    }
    return endWord(c);
}

bool RtfScanner::afterMinus(char c) {
    if (isDigit(c)) {
        state_ = State::kNumber;
        negative_ = true;
        number_ = 0;
        return false;
    }
    emitWord();
    events_.text("-");
    return false;
}

bool RtfScanner::inNumber(char c) {
    if (!isDigit(c)) {
        return endWord(c);
    }
    number_ = std::min(number_ * 10 + (c - '0'), kMaxNumber);
    return true;
}

// A blank that ends a control word is part of it.
bool RtfScanner::endWord(char c) {
    emitWord();
    return c == ' ';
}

void RtfScanner::emitWord() {
    state_ = State::kText;
    std::optional<int32_t> number;
    if (number_ >= 0) {
        number = static_cast<int32_t>(negative_ ? -number_ : number_);
    }
    const std::string_view name(name_.data(), nameLength_);
    if (name == "bin" && number.value_or(0) > 0) {
        binaryLeft_ = static_cast<uint64_t>(*number);
        state_ = State::kBinary;
        return;
    }
    events_.word(name, number);
}

bool RtfScanner::firstDigit(char c) {
    const auto value = hexValue(c);
    firstDigit_ = value.value_or(0);
    state_ = value ? State::kSecondDigit : State::kText;
    return value.has_value();
}

bool RtfScanner::secondDigit(char c) {
    state_ = State::kText;
    const auto value = hexValue(c);
    if (value) {
        events_.hexByte(static_cast<char>(firstDigit_ * 16 + *value));
    }
    return value.has_value();
}

} // namespace qob::filters
