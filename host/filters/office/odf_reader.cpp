// SPDX-License-Identifier: MIT
// See odf_reader.h.
#include "odf_reader.h"

#include <algorithm>
#include <array>

#include "workbook_parts.h"

namespace qob::filters::office {
namespace {

// Blanks that one element may stand for.
constexpr uint32_t kMaxBlanks = 1000;

template <std::size_t N>
bool isOneOf(std::string_view name, const std::array<std::string_view, N> &names) {
    return std::find(names.begin(), names.end(), name) != names.end();
}

// What is no text of the document: definitions, deleted text, the marks of notes, readings above
// characters, pictures.
constexpr std::array<std::string_view, 13> kLeftOut = {
    "automatic-styles",  "binary-data",     "content-validations",
    "event-listeners",   "font-face-decls", "forms",
    "named-expressions", "note-citation",   "ruby-text",
    "scripts",           "settings",        "styles",
    "tracked-changes"};

// Descriptions of other elements; in a paragraph these are fields, which show text.
constexpr std::array<std::string_view, 5> kDescriptions = {"title", "desc", "creator", "date",
                                                           "date-string"};

constexpr std::array<std::string_view, 4> kInline = {"p", "h", "span", "a"};

constexpr std::array<std::string_view, 4> kBodies = {"text", "spreadsheet", "presentation",
                                                     "drawing"};

constexpr std::array<std::string_view, 6> kMargins = {
    "header", "footer", "header-left", "footer-left", "header-first", "footer-first"};

// What has text of its own beside the text around it.
constexpr std::array<std::string_view, 15> kBoxes = {
    "annotation", "note",    "shapes",   "text-box", "custom-shape", "rect",    "ellipse", "circle",
    "line",       "polygon", "polyline", "path",     "connector",    "caption", "measure"};

bool isCell(std::string_view name) {
    return name == "table-cell" || name == "covered-table-cell";
}

bool isParagraphName(std::string_view name) {
    return name == "p" || name == "h";
}

bool isBlank(char c) {
    return c == ' ' || c == '\t' || c == '\n' || c == '\r';
}

} // namespace

bool OdfReader::isLeftOut(std::string_view name) const {
    return isOneOf(name, kLeftOut) ||
           (isOneOf(name, kDescriptions) && !isOneOf(innermost(), kInline));
}

bool OdfReader::enter(const XmlElement &element) {
    const std::string_view name = element.name();
    if (isLeftOut(name)) {
        return false;
    }
    const bool isBody = part_ == Part::kContent && innermost() == "body" && isOneOf(name, kBodies);
    const bool isMargin = part_ == Part::kHeadersAndFooters && isOneOf(name, kMargins);
    if (isBody || isMargin) {
        kind_ = name;
        ++regions_;
        flow_.separate();
    } else if (regions_ == 0) {
        return true;
    } else if (isParagraphName(name)) {
        openParagraph();
    } else if (isOneOf(name, kBoxes)) {
        openAside(name);
    } else if (name == "page" || name == "notes") {
        flow_.separate();
    } else if (inParagraph()) {
        enterInline(element);
    } else {
        enterTable(element);
    }
    return true;
}

void OdfReader::enterInline(const XmlElement &element) {
    const std::string_view name = element.name();
    if (name == "s") {
        const uint32_t count = numberOf(element.attribute("c"), 1);
        write(std::string(std::min(count, kMaxBlanks), ' '));
    } else if (name == "tab") {
        write(inSheet() ? " " : "\t");
    } else if (name == "line-break" && inSheet()) {
        write(" ");
    } else if (name == "line-break") {
        flow_.lineBreak();
        levels_.back().atStart = true;
        levels_.back().blankPending = false;
    }
}

void OdfReader::enterTable(const XmlElement &element) {
    const std::string_view name = element.name();
    if (name == "table") {
        const bool isSheet = innermost() == "spreadsheet";
        if (isSheet) {
            flow_.separate();
            flow_.text(element.attribute("name"));
            flow_.endLine();
            inSheet_ = true;
        }
        ++tables_;
        flow_.startTable();
    } else if (name == "table-row" && inSheet()) {
        sheet_.startRow(element);
    } else if (isCell(name) && inSheet()) {
        sheet_.startCell(element);
    }
}

void OdfReader::leave(std::string_view name) {
    if (regions_ == 0) {
        return;
    }
    if (isParagraphName(name)) {
        closeParagraph();
    } else if (isOneOf(name, kBoxes)) {
        closeAside();
    } else if (name == "page") {
        flow_.writeHeld();
    } else if (!inParagraph()) {
        leaveTable(name);
    }
    const bool isBody = part_ == Part::kContent && innermost() == "body" && isOneOf(name, kBodies);
    const bool isMargin = part_ == Part::kHeadersAndFooters && isOneOf(name, kMargins);
    if (isBody || isMargin) {
        --regions_;
        flow_.endLine();
    }
}

void OdfReader::leaveTable(std::string_view name) {
    if (name == "table" && tables_ > 0) {
        --tables_;
        flow_.endTable();
        if (innermost() == "spreadsheet") {
            inSheet_ = false;
            flow_.writeHeld();
        }
    } else if (name == "table-row") {
        inSheet() ? sheet_.endRow() : flow_.endRow();
    } else if (isCell(name)) {
        inSheet() ? sheet_.endCell() : flow_.endCell();
    }
}

// A paragraph that begins inside of another one belongs to something that floats there.
void OdfReader::openParagraph() {
    const bool nested = inParagraph();
    if (nested) {
        flow_.beginAside();
        ++asides_;
    } else if (inSheet()) {
        sheet_.startParagraph();
    }
    levels_.push_back({true, nested});
}

void OdfReader::closeParagraph() {
    if (!inParagraph()) {
        return;
    }
    const bool nested = levels_.back().isAside;
    levels_.pop_back();
    if (!inSheet()) {
        flow_.endParagraph();
    }
    if (nested) {
        --asides_;
        flow_.endAside(TextFlow::Place::kAfterParagraph);
    }
}

OdfReader::Aside OdfReader::asideFor(std::string_view name) const {
    const bool waits = name == "note" || name == "annotation" || name == "shapes";
    if (waits || inSheet()) {
        return Aside::kAtTheEnd;
    }
    return inParagraph() ? Aside::kAfterParagraph : Aside::kNone;
}

void OdfReader::openAside(std::string_view name) {
    const Aside aside = asideFor(name);
    boxes_.push_back(aside);
    if (aside != Aside::kNone) {
        ++asides_;
        flow_.beginAside();
        levels_.push_back({false, true});
    }
}

void OdfReader::closeAside() {
    if (boxes_.empty()) {
        return;
    }
    const Aside aside = boxes_.back();
    boxes_.pop_back();
    if (aside == Aside::kNone) {
        return;
    }
    --asides_;
    levels_.pop_back();
    flow_.endAside(aside == Aside::kAtTheEnd ? TextFlow::Place::kAtTheEnd
                                             : TextFlow::Place::kAfterParagraph);
}

void OdfReader::text(std::string_view piece) {
    if (!inParagraph()) {
        return;
    }
    Level &level = levels_.back();
    piece_.clear();
    for (const char c : piece) {
        if (isBlank(c)) {
            level.blankPending = !level.atStart;
            continue;
        }
        piece_ += level.blankPending ? " " : "";
        piece_ += c;
        level.blankPending = false;
        level.atStart = false;
    }
    if (!piece_.empty()) {
        inSheet() ? sheet_.append(piece_) : flow_.text(piece_);
    }
}

// Text that is not subject to the collapsing of white space.
void OdfReader::write(std::string_view utf8) {
    Level &level = levels_.back();
    piece_ = level.blankPending ? " " : "";
    piece_ += utf8;
    level.blankPending = false;
    level.atStart = false;
    inSheet() ? sheet_.append(piece_) : flow_.text(piece_);
}

void OdfReader::finish() {
    while (!boxes_.empty() || !levels_.empty()) {
        if (inParagraph()) {
            closeParagraph();
        } else {
            closeAside();
        }
    }
    if (inSheet_ && tables_ > 0) {
        sheet_.endCell();
    }
    for (; tables_ > 0; --tables_) {
        flow_.endTable();
    }
    flow_.endLine();
    flow_.writeHeld();
}

} // namespace qob::filters::office
