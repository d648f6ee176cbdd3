// SPDX-License-Identifier: MIT
// One step per byte. Everything that delimits markup is ASCII, so the bytes of longer characters
// just pass.
#include "html_gate.h"

#include <libxml/HTMLparser.h>

#include <array>
#include <cstdint>
#include <utility>

#include "html_elements.h"
#include "text_output.h"

namespace qob::filters {
namespace {

bool isSpace(char c) {
    return c == ' ' || c == '\t' || c == '\n' || c == '\r' || c == '\f';
}

bool isDigit(char c) {
    return c >= '0' && c <= '9';
}

bool isLetter(char c) {
    return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z');
}

char toLower(char c) {
    return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
}

// Appends while there is room, so that a longer text is told from a shorter one by its size.
void appendUpTo(std::string &text, char c, std::size_t limit) {
    if (text.size() < limit) {
        text += c;
    }
}

// The windows-1252 characters of the numbers 128 to 159: pages that number them mean these.
constexpr std::array<uint16_t, 32> kWesternNumbers{
    0x20AC, 0x81,   0x201A, 0x0192, 0x201E, 0x2026, 0x2020, 0x2021, 0x02C6, 0x2030, 0x0160,
    0x2039, 0x0152, 0x8D,   0x017D, 0x8F,   0x90,   0x2018, 0x2019, 0x201C, 0x201D, 0x2022,
    0x2013, 0x2014, 0x02DC, 0x2122, 0x0161, 0x203A, 0x0153, 0x9D,   0x017E, 0x0178};

constexpr uint32_t kNoNumber = UINT32_MAX;
constexpr uint32_t kMaxCodePoint = 0x10FFFF;

// The number of "#65" or "#x41", kNoNumber when it is not one. Too large numbers stay too large.
uint32_t entityNumber(std::string_view entity) {
    entity.remove_prefix(1);
    const bool hex = !entity.empty() && toLower(entity.front()) == 'x';
    entity.remove_prefix(hex ? 1 : 0);
    if (entity.empty()) {
        return kNoNumber;
    }
    uint32_t number = 0;
    for (const char c : entity) {
        const char lower = toLower(c);
        uint32_t digit = 0;
        if (isDigit(c)) {
            digit = static_cast<uint32_t>(c - '0');
        } else if (hex && lower >= 'a' && lower <= 'f') {
            digit = static_cast<uint32_t>(lower - 'a') + 10;
        } else {
            return kNoNumber;
        }
        if (number <= kMaxCodePoint) {
            number = number * (hex ? 16 : 10) + digit;
        }
    }
    return number;
}

std::string numberReference(uint32_t number) {
    if (number >= 0x80 && number < 0x80 + kWesternNumbers.size()) {
        number = kWesternNumbers[number - 0x80];
    }
    const bool surrogate = number >= 0xD800 && number <= 0xDFFF;
    const bool control = number < 0x20 && !isSpace(static_cast<char>(number));
    if (number == 0 || number > kMaxCodePoint || surrogate) {
        number = 0xFFFD;
    } else if (control || number == 0x7F) {
        return {};
    }
    return "&#" + std::to_string(number) + ";";
}

bool isKnownEntity(const std::string &name) {
    return htmlEntityLookup(reinterpret_cast<const xmlChar *>(name.c_str())) != nullptr;
}

} // namespace

void HtmlGate::feed(std::string_view utf8, std::string &passed) {
    passed_ = &passed;
    for (const char c : utf8) {
        step(c);
    }
    passed_ = nullptr;
}

void HtmlGate::finish(std::string &passed) {
    passed_ = &passed;
    while (state_ == State::kQuotedValue && !swallowed_.empty()) {
        reopenSwallowed();
    }
    if (state_ == State::kEntity) {
        passEntity();
    } else if (state_ == State::kTagOpen) {
        passed += "&lt;";
    }
    state_ = State::kText;
    passed_ = nullptr;
}

void HtmlGate::step(char c) {
    switch (state_) {
    case State::kText:
        return text(c);
    case State::kEntity:
        return entity(c);
    case State::kTagOpen:
        return tagOpen(c);
    case State::kEndTagOpen:
        return endTagOpen(c);
    case State::kTagName:
        return tagName(c);
    case State::kBeforeAttribute:
        return beforeAttribute(c);
    case State::kAttributeName:
        return attributeName(c);
    case State::kAfterAttributeName:
        return afterAttributeName(c);
    case State::kBeforeValue:
        return beforeValue(c);
    case State::kQuotedValue:
        return quotedValue(c);
    case State::kPlainValue:
        return value(c, isSpace(c) || c == '>');
    case State::kDeclaration:
        return declaration(c);
    case State::kComment:
        return comment(c);
    case State::kSkippedMarkup:
        state_ = c == '>' ? State::kText : state_;
        return;
    case State::kHidden:
        return hidden(c);
    }
}

void HtmlGate::pass(std::string_view text) {
    *passed_ += text;
    textRun_ += text.size();
}

// The parser keeps text until it meets the next tag; in long text an empty comment stands for one.
void HtmlGate::divideText(char next) {
    const bool insideCharacter = (static_cast<unsigned char>(next) & 0xC0U) == 0x80U;
    if (textRun_ >= kMaxTextRun && !insideCharacter) {
        *passed_ += "<!---->";
        textRun_ = 0;
    }
}

// Line ends become LF; other control codes, the zero byte among them, are left out.
void HtmlGate::text(char c) {
    divideText(c);
    const bool secondHalf = c == '\n' && afterCarriageReturn_;
    afterCarriageReturn_ = c == '\r';
    if (c == '<') {
        state_ = State::kTagOpen;
    } else if (c == '&') {
        entity_.clear();
        state_ = State::kEntity;
    } else if (c == '\r' || (c == '\n' && !secondHalf)) {
        pass("\n");
    } else if (c == '\f') {
        pass(" ");
    } else if (c == '\t' || (static_cast<unsigned char>(c) >= 0x20 && c != 0x7F)) {
        pass({&c, 1});
    }
}

void HtmlGate::entity(char c) {
    const bool belongs = isLetter(c) || isDigit(c) || (c == '#' && entity_.empty());
    if (belongs && entity_.size() < kMaxEntity) {
        entity_ += c;
        return;
    }
    const bool refers = passEntity();
    state_ = State::kText;
    if (c != ';' || !refers) {
        text(c);
    }
}

// A reference passes in its full form, with or without its semicolon. What refers to nothing is
// text. Returns whether it is a reference.
bool HtmlGate::passEntity() {
    if (!entity_.empty() && entity_.front() == '#') {
        if (const uint32_t number = entityNumber(entity_); number != kNoNumber) {
            pass(numberReference(number));
            return true;
        }
    } else if (isKnownEntity(entity_)) {
        pass("&" + entity_ + ";");
        return true;
    }
    pass("&amp;" + entity_);
    return false;
}

void HtmlGate::tagOpen(char c) {
    if (isLetter(c)) {
        startTag(false, c);
    } else if (c == '/') {
        state_ = State::kEndTagOpen;
    } else if (c == '!') {
        dashes_ = 0;
        state_ = State::kDeclaration;
    } else if (c == '?') {
        state_ = State::kSkippedMarkup;
    } else {
        pass("&lt;");
        state_ = State::kText;
        text(c);
    }
}

void HtmlGate::endTagOpen(char c) {
    if (isLetter(c)) {
        startTag(true, c);
    } else {
        state_ = c == '>' ? State::kText : State::kSkippedMarkup;
    }
}

void HtmlGate::startTag(bool isEnd, char first) {
    isEnd_ = isEnd;
    name_.assign(1, toLower(first));
    alternative_.clear();
    state_ = State::kTagName;
}

void HtmlGate::tagName(char c) {
    if (isSpace(c) || c == '/') {
        state_ = State::kBeforeAttribute;
    } else if (c == '>') {
        endTag();
    } else {
        appendUpTo(name_, toLower(c), kMaxName);
    }
}

void HtmlGate::beforeAttribute(char c) {
    if (c == '>') {
        endTag();
    } else if (!isSpace(c) && c != '/') {
        startAttribute(c);
    }
}

void HtmlGate::startAttribute(char first) {
    attribute_.assign(1, toLower(first));
    value_.clear();
    state_ = State::kAttributeName;
}

void HtmlGate::attributeName(char c) {
    if (isSpace(c)) {
        state_ = State::kAfterAttributeName;
    } else if (c == '=') {
        state_ = State::kBeforeValue;
    } else if (c == '>') {
        endTag();
    } else if (c == '/') {
        state_ = State::kBeforeAttribute;
    } else {
        appendUpTo(attribute_, toLower(c), kMaxName);
    }
}

void HtmlGate::afterAttributeName(char c) {
    if (c == '=') {
        state_ = State::kBeforeValue;
    } else if (c == '>') {
        endTag();
    } else if (c == '/') {
        state_ = State::kBeforeAttribute;
    } else if (!isSpace(c)) {
        startAttribute(c);
    }
}

void HtmlGate::beforeValue(char c) {
    if (c == '"' || c == '\'') {
        quote_ = c;
        swallowed_.clear();
        state_ = State::kQuotedValue;
    } else if (c == '>') {
        endTag();
    } else if (!isSpace(c)) {
        appendUpTo(value_, c, kMaxAlternative);
        state_ = State::kPlainValue;
    }
}

// A page with one quote too few would vanish up to the next quote, or up to its end. What may turn
// out to be text is kept for as long as a value with a '>' in it can sensibly be.
void HtmlGate::quotedValue(char c) {
    if (c != quote_ && (c == '>' || !swallowed_.empty())) {
        swallowed_ += c;
    }
    value(c, c == quote_);
    if (swallowed_.size() > kMaxSwallowed) {
        reopenSwallowed();
    }
}

// Reads on after the '>' with the tag ended there. It does not come back to the same text more than
// once for each of the two kinds of quote, because a second one of a kind would have closed the
// first.
void HtmlGate::reopenSwallowed() {
    const std::string again = std::move(swallowed_);
    swallowed_.clear();
    value_.clear();
    quote_ = 0;
    state_ = State::kBeforeAttribute;
    for (const char c : again) {
        step(c);
    }
}

void HtmlGate::value(char c, bool atEnd) {
    if (!atEnd) {
        if (static_cast<unsigned char>(c) >= 0x20 || isSpace(c)) {
            appendUpTo(value_, c, kMaxAlternative);
        }
        return;
    }
    if (attribute_ == "alt" && alternative_.empty()) {
        alternative_ = value_;
    }
    state_ = State::kBeforeAttribute;
    if (c == '>' && quote_ == 0) {
        endTag();
    }
    quote_ = 0;
}

void HtmlGate::endTag() {
    state_ = State::kText;
    textRun_ = 0;
    const ElementKind kind = kindOfElement(name_);
    if (kind == ElementKind::kHidden) {
        if (!isEnd_) {
            hiddenEnd_ = "</" + name_;
            matched_ = 0;
            state_ = State::kHidden;
        }
    } else if (kind == ElementKind::kImage) {
        passImage();
    } else if (kind != ElementKind::kInline) {
        *passed_ += (isEnd_ ? "</" : "<") + name_ + ">";
    }
}

void HtmlGate::passImage() {
    if (alternative_.empty() || isEnd_) {
        return;
    }
    *passed_ += "<img alt=\"";
    alternative_.resize(wholeCharacters(alternative_));
    for (const char c : alternative_) {
        if (c == '"') {
            *passed_ += "&quot;";
        } else if (c == '<' || c == '>') {
            *passed_ += c == '<' ? "&lt;" : "&gt;";
        } else {
            *passed_ += c;
        }
    }
    *passed_ += "\">";
}

void HtmlGate::declaration(char c) {
    if (c == '-') {
        ++dashes_;
        if (dashes_ == 2) {
            state_ = State::kComment;
        }
    } else {
        state_ = c == '>' ? State::kText : State::kSkippedMarkup;
    }
}

// The opening dashes count towards the closing ones: "<!-->" is a whole comment. So is one that
// ends in "--!>".
void HtmlGate::comment(char c) {
    if (c == '-') {
        ++dashes_;
    } else if (c == '>' && dashes_ >= 2) {
        state_ = State::kText;
    } else if (c != '!' || dashes_ < 2) {
        dashes_ = 0;
    }
}

void HtmlGate::hidden(char c) {
    if (matched_ == hiddenEnd_.size()) {
        if (isSpace(c) || c == '/' || c == '>') {
            name_.clear();
            isEnd_ = true;
            state_ = State::kBeforeAttribute;
            beforeAttribute(c);
            return;
        }
        matched_ = 0;
    }
    if (toLower(c) == hiddenEnd_[matched_]) {
        ++matched_;
    } else {
        matched_ = c == '<' ? 1 : 0;
    }
}

} // namespace qob::filters
