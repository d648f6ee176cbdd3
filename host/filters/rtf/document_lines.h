// SPDX-License-Identifier: MIT
// The lines of a document: paragraphs, table rows, and notes below the paragraph that they belong
// to. Never more than one empty line in a row and none at either end; no blanks at line ends;
// cells with text are separated by one tab.
#ifndef QOB_FILTERS_DOCUMENT_LINES_H
#define QOB_FILTERS_DOCUMENT_LINES_H

#include <string>
#include <string_view>

#include "text_output.h"

namespace qob::filters {

class DocumentLines {
public:
    explicit DocumentLines(TextOutput &output) : output_(output) {}

    // UTF-8 text in whole characters; a line end in it ends a line, other control codes but TAB are
    // left out, a no-break space is a space.
    void text(std::string_view utf8);
    void endLine();
    // Ends a line that has text; an empty one leaves no trace.
    void breakLine();
    void endCell();

    // What comes between them is kept until the line around it ends. They nest.
    void beginNote();
    void endNote();

    void finish();

private:
    void textOfBody(std::string_view utf8);
    void textOfNote(std::string_view utf8);
    void character(std::string_view utf8);
    void flushNotes();

    TextOutput &output_;
    std::string piece_;  // of the output, while text() runs
    std::string blanks_; // at the end of the line so far
    std::string notes_;
    unsigned noteDepth_ = 0;
    bool lineHasText_ = false;
    bool cellEnded_ = false;
    bool emptyLine_ = false;
    bool wroteAny_ = false;
};

} // namespace qob::filters

#endif
