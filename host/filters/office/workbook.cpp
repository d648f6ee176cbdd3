// SPDX-License-Identifier: MIT
// SpreadsheetML: each sheet's name on a line, then its rows with tabs between the cells, then the
// text of its drawings and comments. Sheets are read as they come from the file, row by row.
#include <algorithm>
#include <array>
#include <string>
#include <unordered_set>
#include <vector>

#include "documents.h"
#include "paragraphs.h"
#include "relations.h"
#include "workbook_parts.h"

namespace qob::filters::office {
namespace {

// A cell's text beyond this is left out; the format's own bound is 32,767 characters.
constexpr std::size_t kMaxCell = std::size_t{1} << 20;

struct Workbook {
    SheetList list;
    SharedStrings strings;
    CellStyles styles;
};

class SheetReader : public XmlWalker {
public:
    SheetReader(const Workbook &workbook, TextFlow &flow) : workbook_(workbook), flow_(flow) {}

    // Leaves the flow between two lines, also when the sheet broke off in the middle.
    void finish() {
        if (inTable_) {
            flow_.endTable();
        }
    }

protected:
    bool enter(const XmlElement &element) override {
        const std::string_view name = element.name();
        if (name == "sheetData") {
            flow_.startTable();
            inTable_ = true;
        } else if (name == "row") {
            next_ = 0;
        } else if (name == "c") {
            column_ = columnOf(element.attribute("r"));
            type_ = element.attribute("t");
            style_ = element.attribute("s");
            value_.clear();
        }
        return name != "f" && name != "rPh" && name != "extLst";
    }

    void leave(std::string_view name) override {
        if (name == "c") {
            writeCell();
        } else if (name == "row") {
            flow_.endRow();
        } else if (name == "sheetData") {
            flow_.endTable();
            inTable_ = false;
        }
    }

    void text(std::string_view piece) override {
        if (innermost() == "v" || innermost() == "t") {
            value_.append(piece.substr(0, kMaxCell - std::min(kMaxCell, value_.size())));
        }
    }

private:
    void writeCell() {
        const int32_t column = std::max(column_, next_);
        flow_.skipCells(static_cast<std::size_t>(column - next_));
        next_ = column + 1;
        if (!flow_.output().isOpen()) {
            return; // strings may be long
        }
        std::string shown = valueText();
        std::replace(shown.begin(), shown.end(), '\t', ' ');
        flow_.text(shown);
        flow_.endCell();
    }

    std::string valueText() const {
        if (type_ == "s") {
            return withoutEscapes(workbook_.strings.at(numberOf(value_, UINT32_MAX)));
        }
        if (type_ == "b") {
            return value_ == "1" || value_ == "true" ? "TRUE" : value_.empty() ? "" : "FALSE";
        }
        if (type_ == "str" || type_ == "inlineStr") {
            return withoutEscapes(value_);
        }
        if (type_.empty() || type_ == "n") {
            return dateText(value_, workbook_.styles.kindOf(style_), workbook_.list.from1904());
        }
        return value_; // an error, or a date in ISO 8601
    }

    const Workbook &workbook_;
    TextFlow &flow_;
    bool inTable_ = false;
    int32_t next_ = 0;    // the column that follows the row's last cell
    int32_t column_ = -1; // of the open cell, -1 when it does not say
    std::string type_;
    std::string style_;
    std::string value_;
};

// Comments: a line each. Their authors are listed elsewhere.
class CommentReader : public XmlWalker {
public:
    explicit CommentReader(TextFlow &flow) : flow_(flow) {}

protected:
    bool enter(const XmlElement &element) override { return element.name() != "rPh"; }

    void leave(std::string_view name) override {
        if (name == "comment") {
            flow_.endParagraph();
        }
    }

    void text(std::string_view piece) override {
        if (innermost() == "t") {
            flow_.text(piece);
        }
    }

private:
    TextFlow &flow_;
};

class WorkbookReader {
public:
    WorkbookReader(Package &package, TextFlow &flow) : package_(package), flow_(flow) {}

    bool read(std::string_view mainPart) {
        const Relations relations(package_, mainPart, flow_.output());
        note(readXml(package_, mainPart, flow_.output(), workbook_.list));
        readFirst(relations, "styles", "xl/styles.xml", workbook_.styles);
        readFirst(relations, "sharedStrings", "xl/sharedstrings.xml", workbook_.strings);
        for (const SheetList::Sheet &sheet : workbook_.list.sheets()) {
            flow_.separate();
            flow_.text(sheet.name);
            flow_.endLine();
            readSheet(relations.target(sheet.relation));
        }
        if (seen_.empty()) {
            for (const std::string &part : membersWith(package_, "xl/worksheets/sheet")) {
                flow_.separate();
                readSheet(part);
            }
        }
        return whole_;
    }

private:
    void note(bool whole) { whole_ = whole_ && whole; }

    void readFirst(const Relations &relations, std::string_view kind, std::string_view custom,
                   XmlEvents &events) {
        const std::vector<std::string> parts = relations.targets(kind);
        const std::string part = parts.empty() ? std::string(custom) : parts.front();
        if (package_.has(part)) {
            note(readXml(package_, part, flow_.output(), events));
        }
    }

    // Each part is read once, however many sheets refer to it.
    bool isNew(std::string_view part) { return seen_.insert(memberKey(part)).second; }

    void readSheet(std::string_view part) {
        if (!package_.has(part)) {
            note(false);
            return;
        }
        if (!isNew(part)) {
            return;
        }
        SheetReader reader(workbook_, flow_);
        note(readXml(package_, part, flow_.output(), reader));
        reader.finish();
        const Relations relations(package_, part, flow_.output());
        for (const std::string &drawing : relations.targets("drawing")) {
            if (isNew(drawing)) {
                flow_.separate();
                note(readParagraphs(package_, drawing, flow_));
            }
        }
        for (const std::string &comments : relations.targets("comments")) {
            if (isNew(comments)) {
                flow_.separate();
                CommentReader commentReader(flow_);
                note(readXml(package_, comments, flow_.output(), commentReader));
                flow_.endLine();
            }
        }
    }

    Package &package_;
    TextFlow &flow_;
    Workbook workbook_;
    std::unordered_set<std::string> seen_;
    bool whole_ = true;
};

} // namespace

bool readWorkbook(Package &package, std::string_view mainPart, TextFlow &flow) {
    return WorkbookReader(package, flow).read(mainPart);
}

} // namespace qob::filters::office
