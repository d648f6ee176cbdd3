// SPDX-License-Identifier: MIT
// What the boundary and charset finders share: quoted strings copied into fields of fixed size.
#ifndef QOB_EMLCONTENT_PARAMETER_TEXT_H
#define QOB_EMLCONTENT_PARAMETER_TEXT_H

#include <cstddef>

namespace eml {

// A parameter field that is being filled: at most capacity - 1 characters, the rest is dropped.
class ParameterField {
public:
    ParameterField(char *field, size_t capacity) : field_(field), capacity_(capacity) {}

    void restart() {
        length_ = 0;
        cut_ = false;
    }
    void append(char c) {
        if (length_ + 1 < capacity_) {
            field_[length_++] = c;
        } else {
            cut_ = true;
        }
    }
    size_t length() const { return length_; }
    bool cut() const { return cut_; } // whether characters were dropped

private:
    char *field_;
    size_t capacity_;
    size_t length_ = 0;
    bool cut_ = false;
};

// Copies what follows an opening quote into the field, from its start, up to the next quote or the
// end of the text. Returns where it stopped: at the closing quote, or at the terminator.
inline const char *copyQuoted(const char *text, ParameterField &field) {
    field.restart();
    while (*text != '\0' && *text != '"') {
        field.append(*text);
        ++text;
    }
    return text;
}

// Copies every quoted string of the text in turn, so that the last one stays. An unclosed last
// quote counts up to the end of the text. True when at least one string was closed.
inline bool copyLastQuoted(const char *text, ParameterField &field) {
    bool closed = false;
    for (; *text != '\0'; ++text) {
        if (*text != '"') {
            continue;
        }
        text = copyQuoted(text + 1, field);
        if (*text == '\0') {
            break;
        }
        closed = true;
    }
    return closed;
}

} // namespace eml

#endif
