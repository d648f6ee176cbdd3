// SPDX-License-Identifier: MIT
// Plain text into the output: every kind of line end becomes one, control codes are left out.
#ifndef QOB_FILTERS_PLAIN_LINES_H
#define QOB_FILTERS_PLAIN_LINES_H

#include <string>
#include <string_view>

#include "text_output.h"

namespace qob::filters {

class PlainLines {
public:
    explicit PlainLines(TextOutput &output) : output_(output) {}

    // Takes UTF-8 text; a piece may end inside a character or a CR LF. CR LF, CR, LF, form feed and
    // vertical tab end a line. The other control codes below U+0020 but TAB, and U+007F, are left
    // out.
    void append(std::string_view utf8);

private:
    TextOutput &output_;
    std::string kept_;
    bool afterCarriageReturn_ = false;
};

} // namespace qob::filters

#endif
