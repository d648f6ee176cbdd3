// SPDX-License-Identifier: MIT
// See unfolder.h. Besides the fold, a line break and a blank, there is the soft line break of
// quoted-printable in older cards.
#include "unfolder.h"

#include <algorithm>
#include <cctype>

namespace qob::filters {
namespace {

// Where the encoding of a line is looked for, at each of its soft line breaks.
constexpr std::size_t kMaxHead = 1024;

} // namespace

// True when `c` shows that a line has ended, which is in done_ then.
bool Unfolder::take(char c) {
    if (c == '\n' && afterCarriageReturn_) {
        afterCarriageReturn_ = false;
        return false;
    }
    afterCarriageReturn_ = c == '\r';
    const bool lineEnd = c == '\r' || c == '\n';
    if (!ended_) {
        if (!lineEnd) {
            keep(c);
        } else if (endsSoftly()) {
            line_.pop_back();
        } else {
            ended_ = true;
        }
        return false;
    }
    if (c == ' ' || c == '\t') {
        ended_ = false;
        return false;
    }
    done_.swap(line_);
    line_.clear();
    ended_ = lineEnd;
    if (!lineEnd) {
        keep(c);
    }
    return true;
}

void Unfolder::keep(char c) {
    if (line_.size() < kMaxLine) {
        line_ += c;
    }
}

bool Unfolder::endsSoftly() const {
    constexpr std::string_view kEncoding = "QUOTED-PRINTABLE";
    if (line_.empty() || line_.back() != '=') {
        return false;
    }
    const std::string_view head = std::string_view(line_).substr(0, kMaxHead);
    const auto *const end = std::find(head.begin(), head.end(), ':');
    return std::search(head.begin(), end, kEncoding.begin(), kEncoding.end(), [](char a, char b) {
               return std::toupper(static_cast<unsigned char>(a)) == b;
           }) != end;
}

} // namespace qob::filters
