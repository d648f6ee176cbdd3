// SPDX-License-Identifier: MIT
// The lines of an office document. A paragraph is a line; a table's row is a line, its cells are
// separated by tabs, and further paragraphs of a cell begin new lines. There is never more than one
// empty line in a row, and none at the beginning or end.
//
// Asides (text boxes, notes) stand inside of a paragraph but are read after it, or after the body.
#ifndef QOB_FILTERS_OFFICE_TEXT_FLOW_H
#define QOB_FILTERS_OFFICE_TEXT_FLOW_H

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

#include "text_output.h"

namespace qob::filters::office {

class TextFlow {
public:
    // Where an aside is written.
    enum class Place { kAfterParagraph, kAtTheEnd };

    // More empty cells in a row than this are written as this many.
    static constexpr std::size_t kMaxGap = 64;
    // An aside, and all that wait for the end, are held back up to this size; what is more comes
    // out earlier.
    static constexpr std::size_t kMaxHeld = std::size_t{4} << 20;

    explicit TextFlow(TextOutput &output) : output_(output), frames_(1) {}
    TextFlow(const TextFlow &) = delete;
    TextFlow &operator=(const TextFlow &) = delete;

    // Text of a line; line ends in it become blanks.
    void text(std::string_view utf8);
    // The next text begins a line; of two, an empty line is left outside of tables.
    void lineBreak();
    // Ends the line; an empty paragraph outside of tables is an empty line.
    void endParagraph();
    // Ends the line if it has text.
    void endLine();
    // An empty line before the next text.
    void separate();

    void startTable();
    void endCell();
    // Passes over empty cells.
    void skipCells(std::size_t count);
    void endRow();
    void endTable();

    void beginAside();
    void endAside(Place place);
    // Writes the asides that wait for the end.
    void writeHeld();

    // Something was written that can be seen.
    bool hasText() const { return hasText_; }
    const TextOutput &output() const { return output_; }

private:
    // The state of the body, or of an aside that is being collected.
    struct Frame {
        std::string collected;   // an aside's text so far
        std::string asides;      // to be written after the paragraph
        std::size_t tabs = 0;    // cells passed since the row's last text
        std::size_t tables = 0;  // open ones
        bool lineOpen = false;   // the line has text
        bool any = false;        // there is text above
        bool emptyLine = false;  // to be written before the next text
        bool breakFirst = false; // the line ends before the next text
    };

    bool isAside() const { return frames_.size() > 1; }
    Frame &frame() { return frames_.back(); }
    void put(std::string_view utf8);
    void putLines(std::string_view lines);
    void beginText();
    void breakBefore();
    void writeAsides();
    void spill();

    TextOutput &output_;
    std::vector<Frame> frames_;
    std::string held_;
    std::string cleaned_;
    bool hasText_ = false;
};

} // namespace qob::filters::office

#endif
