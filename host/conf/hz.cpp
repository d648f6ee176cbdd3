// SPDX-License-Identifier: MIT
// One pass over the written text, following its mode.
#include "hz.h"

#include <algorithm>

namespace qob {
namespace {

class HzText {
public:
    HzText(char *start, const char *end) : from_(start), end_(end), to_(start) {}

    // Copies all units but needless returns, and stops behind the last.
    void tidy() {
        while (from_ != end_) {
            const bool pair = end_ - from_ >= 2 && (twoByte_ || *from_ == '~');
            const bool shift = pair && *from_ == '~' && (from_[1] == '{' || from_[1] == '}');
            const bool into = shift && from_[1] == '{';
            const bool needless = shift && into == twoByte_;
            const auto length = pair ? 2 : 1;
            if (!needless) {
                to_ = std::copy_n(from_, length, to_);
            }
            if (shift) {
                twoByte_ = into;
            }
            from_ += length;
        }
    }
    bool twoByte() const { return twoByte_; }
    char *end() const { return to_; }

private:
    const char *from_;
    const char *end_;
    char *to_;
    bool twoByte_ = false;
};

} // namespace

bool tidyHz(char *start, char **end, const char *limit) {
    HzText text(start, *end);
    text.tidy();
    *end = text.end();
    if (!text.twoByte()) {
        return true;
    }
    if (limit - *end < 2) {
        return false;
    }
    *end = std::copy_n("~}", 2, *end);
    return true;
}

} // namespace qob
