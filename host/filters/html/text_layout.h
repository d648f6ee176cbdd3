// SPDX-License-Identifier: MIT
// The text of a page from its elements and characters: white space collapsed, blocks on lines of
// their own, table cells set apart by a tab, never more than one empty line in a row.
#ifndef QOB_FILTERS_TEXT_LAYOUT_H
#define QOB_FILTERS_TEXT_LAYOUT_H

#include <cstddef>
#include <string>
#include <string_view>

#include "html_elements.h"
#include "text_output.h"

namespace qob::filters {

// What it holds back is a few counters, whatever the input: a page may be one line of any length.
class TextLayout {
public:
    explicit TextLayout(TextOutput &output) : output_(output) {}

    void start(ElementKind kind);
    void end(ElementKind kind);

    // UTF-8 text in whole characters.
    void characters(std::string_view utf8);

    // What stands for an image: a word of its own on the line.
    void image(std::string_view alternative);

    // How many elements of preformatted text are open.
    void setPreformatted(std::size_t count) { preformatted_ = count; }

    // Ends the last line, if there is any text. Call it once, at the end.
    void finish();

private:
    void breakLine();
    void endBlock();
    void separateCell();
    void addSpace(char space);
    void addPreformattedSpace(char space);
    void addHardSpace();
    void addText(std::string_view text);

    TextOutput &output_;
    bool started_ = false;         // there is text in the output
    bool lineHasText_ = false;     // on the line in hand
    bool hardSpaceOnLine_ = false; // a line of nothing but no-break spaces counts as a line
    bool tabPending_ = false;
    bool atPreformattedStart_ = false;
    std::size_t spaces_ = 0;   // before the next text of this line
    std::size_t lineEnds_ = 0; // before the next text, when the line in hand has none
    std::size_t preformatted_ = 0;
    std::string spaceRun_;
};

} // namespace qob::filters

#endif
