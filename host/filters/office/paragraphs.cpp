// SPDX-License-Identifier: MIT
// See paragraphs.h.
#include "paragraphs.h"

#include <unicode/utf8.h>

#include <algorithm>
#include <array>
#include <charconv>
#include <string>

namespace qob::filters::office {
namespace {

// What is no text, or text that a reader does not see: properties, deleted text and text that was
// moved away, field codes, readings above characters, the list of a form's choices.
constexpr std::array<std::string_view, 18> kLeftOut = {
    "bodyPr", "del",       "delInstrText", "delText",  "endParaRPr", "fldData",
    "ffData", "instrText", "lstStyle",     "moveFrom", "pPr",        "rPr",
    "rt",     "sdtPr",     "sectPr",       "tblGrid",  "tblPr",      "tcPr"};

// Comments of slides have their text directly in this element.
constexpr std::string_view kCommentText = "text";

bool isLeftOut(const XmlElement &element) {
    if (std::find(kLeftOut.begin(), kLeftOut.end(), element.name()) != kLeftOut.end()) {
        return true;
    }
    // The number that a slide or a page of notes shows of itself.
    return element.name() == "fld" && element.attribute("type") == "slidenum";
}

void appendSymbol(std::string_view hexadecimal, TextFlow &flow) {
    uint32_t code = 0;
    std::from_chars(hexadecimal.data(), hexadecimal.data() + hexadecimal.size(), code, 16);
    // Codes of symbol fonts mean nothing without the font.
    const bool isPrivate = code >= 0xE000 && code <= 0xF8FF;
    if (code < 0x20 || code > 0x10FFFF || isPrivate || U_IS_SURROGATE(code)) {
        return;
    }
    char bytes[U8_MAX_LENGTH];
    std::size_t length = 0;
    U8_APPEND_UNSAFE(bytes, length, code);
    flow.text({bytes, length});
}

bool isTextBox(std::string_view name) {
    return name == "txbxContent";
}

} // namespace

bool Paragraphs::enter(const XmlElement &element) {
    if (isLeftOut(element)) {
        return false;
    }
    const std::string_view name = element.name();
    if (name == "p") {
        ++paragraphs_;
    } else if (isTextBox(name)) {
        flow_.beginAside();
        ++asides_;
    } else if (name == "tbl") {
        flow_.startTable();
        ++tables_;
    } else if (name == "sym" || name == "symEx") {
        appendSymbol(element.attribute("char"), flow_);
    } else if (innermost() == "r" || innermost() == "p") {
        enterRunContent(name);
    }
    return true;
}

void Paragraphs::enterRunContent(std::string_view name) {
    if (name == "tab" || name == "ptab") {
        flow_.text("\t");
    } else if (name == "br" || name == "cr") {
        flow_.lineBreak();
    } else if (name == "noBreakHyphen") {
        flow_.text("\xE2\x80\x91");
    }
}

void Paragraphs::leave(std::string_view name) {
    if (name == "p") {
        --paragraphs_;
        flow_.endParagraph();
    } else if (name == kCommentText) {
        flow_.endParagraph();
    } else if (isTextBox(name)) {
        --asides_;
        flow_.endAside(TextFlow::Place::kAfterParagraph);
    } else if (name == "tc") {
        flow_.endCell();
    } else if (name == "tr") {
        flow_.endRow();
    } else if (name == "tbl") {
        --tables_;
        flow_.endTable();
    }
}

void Paragraphs::text(std::string_view piece) {
    const bool counts = innermost() == "t" && paragraphs_ > 0;
    if (counts || innermost() == kCommentText) {
        flow_.text(piece);
    }
}

void Paragraphs::finish() {
    for (; asides_ > 0; --asides_) {
        flow_.endAside(TextFlow::Place::kAfterParagraph);
    }
    for (; tables_ > 0; --tables_) {
        flow_.endTable();
    }
    if (paragraphs_ > 0) {
        flow_.endParagraph();
    }
    flow_.endLine();
}

bool readParagraphs(Package &package, std::string_view part, TextFlow &flow) {
    Paragraphs reader(flow);
    const bool whole = readXml(package, part, flow.output(), reader);
    reader.finish();
    return whole;
}

} // namespace qob::filters::office
