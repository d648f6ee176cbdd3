// SPDX-License-Identifier: MIT
// The text of an OpenDocument part: of a document's content, or of the headers and footers in its
// styles.
//
// Notes and annotations are read at the end of the text, of their sheet or of their slide; text
// boxes after the paragraph that they stand in. White space counts as the format has it: any amount
// is one blank, more of it has elements of its own.
#ifndef QOB_FILTERS_OFFICE_ODF_READER_H
#define QOB_FILTERS_OFFICE_ODF_READER_H

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "odf_sheet.h"
#include "text_flow.h"
#include "xml_walker.h"

namespace qob::filters::office {

class OdfReader : public XmlWalker {
public:
    enum class Part { kContent, kHeadersAndFooters };

    OdfReader(Part part, TextFlow &flow) : part_(part), flow_(flow), sheet_(flow) {}

    // Leaves the flow between two lines, also when the part broke off in the middle.
    void finish();

    // The content is that of a text, which has headers and footers worth reading.
    bool isText() const { return kind_ == "text"; }

protected:
    bool enter(const XmlElement &element) override;
    void leave(std::string_view name) override;
    void text(std::string_view piece) override;

private:
    // An open paragraph, or what separates the paragraphs in an aside from the one around it.
    struct Level {
        bool isParagraph;
        bool isAside;              // an aside that was begun for this level ends with it
        bool atStart = true;       // no text yet
        bool blankPending = false; // white space was met
    };
    enum class Aside : uint8_t { kNone, kAfterParagraph, kAtTheEnd };

    bool isLeftOut(std::string_view name) const;
    bool inParagraph() const { return !levels_.empty() && levels_.back().isParagraph; }
    bool inSheet() const { return inSheet_ && asides_ == 0; }
    Aside asideFor(std::string_view name) const;
    void enterInline(const XmlElement &element);
    void enterTable(const XmlElement &element);
    void leaveTable(std::string_view name);
    void openParagraph();
    void closeParagraph();
    void openAside(std::string_view name);
    void closeAside();
    void write(std::string_view utf8);

    Part part_;
    TextFlow &flow_;
    OdfSheet sheet_;
    std::string kind_;        // of the content: "text", "spreadsheet" ...
    std::size_t regions_ = 0; // open elements whose text is wanted
    std::vector<Level> levels_;
    std::vector<Aside> boxes_; // for each open element that may be an aside: what it is
    std::size_t asides_ = 0;   // how many of them are
    std::size_t tables_ = 0;
    bool inSheet_ = false;
    std::string piece_;
};

} // namespace qob::filters::office

#endif
