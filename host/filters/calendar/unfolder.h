// SPDX-License-Identifier: MIT
// Content lines as they were before they were folded. Works on bytes, for a fold may divide a
// character; the charset must have line ends and blanks in single bytes.
#ifndef QOB_FILTERS_CALENDAR_UNFOLDER_H
#define QOB_FILTERS_CALENDAR_UNFOLDER_H

#include <string>
#include <string_view>

namespace qob::filters {

class Unfolder {
public:
    // A line is cut here: only inline pictures and sounds, which are left out, are longer.
    static constexpr std::size_t kMaxLine = std::size_t{4} << 20;

    // Takes more bytes; calls line(std::string_view) for each whole line.
    template <typename Line> void feed(std::string_view bytes, Line line) {
        for (const char c : bytes) {
            if (take(c)) {
                line(std::string_view(done_));
            }
        }
    }

    // The end of the file ends the last line.
    template <typename Line> void finish(Line line) {
        if (!line_.empty()) {
            line(std::string_view(line_));
        }
        line_.clear();
    }

private:
    bool take(char c);
    bool endsSoftly() const;
    void keep(char c);

    std::string line_;
    std::string done_;   // the line that was just ended
    bool ended_ = false; // line_ goes on only if a blank follows
    bool afterCarriageReturn_ = false;
};

} // namespace qob::filters

#endif
