// SPDX-License-Identifier: MIT
// The text of WordprocessingML and DrawingML parts. Both have paragraphs (p) of runs (r) of text
// (t), tables (tbl, tr, tc) and the same names for them, so that one walk reads documents, headers,
// notes, comments, slides, drawings and diagrams.
#ifndef QOB_FILTERS_OFFICE_PARAGRAPHS_H
#define QOB_FILTERS_OFFICE_PARAGRAPHS_H

#include <cstddef>
#include <string_view>

#include "text_flow.h"
#include "xml_walker.h"

namespace qob::filters::office {

class Paragraphs : public XmlWalker {
public:
    explicit Paragraphs(TextFlow &flow) : flow_(flow) {}
    // Leaves the flow between two lines, also when the part broke off in the middle.
    void finish();

protected:
    bool enter(const XmlElement &element) override;
    void leave(std::string_view name) override;
    void text(std::string_view piece) override;

private:
    void enterRunContent(std::string_view name);

    TextFlow &flow_;
    std::size_t paragraphs_ = 0; // open ones
    std::size_t asides_ = 0;
    std::size_t tables_ = 0;
};

// Reads one part. False when it is not there or broke off.
bool readParagraphs(Package &package, std::string_view part, TextFlow &flow);

} // namespace qob::filters::office

#endif
