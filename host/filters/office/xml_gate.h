// SPDX-License-Identifier: MIT
// What stands between a document's XML and the parser: it keeps out what makes the parser's time
// grow with the square of the input, and replaces characters that would end it for no good reason.
#ifndef QOB_FILTERS_OFFICE_XML_GATE_H
#define QOB_FILTERS_OFFICE_XML_GATE_H

#include <cstddef>
#include <string>
#include <string_view>

namespace qob::filters::office {

class XmlGate {
public:
    // A tag with more attributes ends the document. Office programs write some forty.
    static constexpr std::size_t kMaxAttributes = 1000;
    // A tag with more bytes does; drawings carry pictures in attributes.
    static constexpr std::size_t kMaxTag = std::size_t{8} << 20;

    // Makes characters that XML does not allow (control codes) blanks, in place, and returns how
    // much of the text may pass: less than all when the document ends here, because of a tag beyond
    // the bounds or a document type with declarations. The text is UTF-8; pieces may end anywhere.
    std::size_t pass(std::string &text);

    bool closed() const { return state_ == State::kClosed; }

private:
    enum class State {
        kText,
        kOpen,        // behind '<'
        kDeclaration, // behind "<!"
        kDoctype,
        kComment,
        kCdata,
        kInstruction, // behind "<?"
        kTag,
        kClosed
    };

    void step(char c);
    void stepText(char c);
    void stepOpen(char c);
    void stepDeclaration(char c);
    void stepMarkup(char c);
    bool endsWith(char c, std::string_view ending);

    State state_ = State::kText;
    std::string mark_; // what has been read behind "<!"
    char quote_ = 0;   // the open quote of a tag or document type
    std::size_t matched_ = 0;
    std::size_t attributes_ = 0;
    std::size_t tagBytes_ = 0;
};

} // namespace qob::filters::office

#endif
