// SPDX-License-Identifier: MIT
// See plain_lines.h.
#include "plain_lines.h"

namespace qob::filters {

void PlainLines::append(std::string_view utf8) {
    kept_.clear();
    for (const char c : utf8) {
        const bool secondHalf = c == '\n' && afterCarriageReturn_;
        afterCarriageReturn_ = c == '\r';
        if (c == '\r' || c == '\f' || c == '\v' || (c == '\n' && !secondHalf)) {
            kept_ += '\n';
        } else if (c == '\t' || (static_cast<unsigned char>(c) >= 0x20 && c != 0x7F)) {
            kept_ += c;
        }
    }
    output_.append(kept_);
}

} // namespace qob::filters
