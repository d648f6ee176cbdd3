// SPDX-License-Identifier: MIT
// The calendars, entries and cards of a file: which property belongs to what, and the text of each,
// "Label: text" in lines, an empty line between two.
#ifndef QOB_FILTERS_CALENDAR_ITEMS_H
#define QOB_FILTERS_CALENDAR_ITEMS_H

#include <string>
#include <string_view>
#include <vector>

#include "plain_lines.h"
#include "property_text.h"

namespace qob::filters {

class Items {
public:
    // `charset` is the file's, for values in quoted-printable without a charset of their own.
    Items(TextOutput &output, std::string charset) : lines_(output), charset_(std::move(charset)) {}

    // A line in UTF-8.
    void line(std::string_view utf8);

    // The end of the file ends what is open.
    void finish() { write(); }

    // A calendar or a card has been met.
    bool found() const { return found_; }

private:
    void begin(const ContentLine &line);
    void end();
    void write();

    PlainLines lines_;
    std::string charset_;
    std::vector<ItemKind> open_;           // the components around this line, outermost first
    uint64_t openBeyond_ = 0;              // and those below the depth that is kept
    std::vector<PropertyText> properties_; // of the innermost item, not written yet
    std::size_t size_ = 0;                 // bytes of them
    bool found_ = false;
    bool wroteAny_ = false;
    bool goesOn_ = false; // a part of this item was written already
};

} // namespace qob::filters

#endif
