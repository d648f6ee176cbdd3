// SPDX-License-Identifier: MIT
// The gate before the HTML parser. It knows where tags, comments and scripts begin and end, and
// lets through only what shapes the text: the text itself and the tags of html_elements.h, without
// attributes but an image's alternative text.
//
// What it is for: the parser's time grows with the square of some inputs (attributes of one tag,
// ampersands without a semicolon, long comments), and it stops at a zero byte. Behind the gate it
// sees short, well-formed pieces only, and the whole is linear in time. What the gate holds back is
// bounded by the constants below.
#ifndef QOB_FILTERS_HTML_GATE_H
#define QOB_FILTERS_HTML_GATE_H

#include <cstddef>
#include <string>
#include <string_view>

namespace qob::filters {

class HtmlGate {
public:
    // An element's or attribute's name longer than this is none that matters.
    static constexpr std::size_t kMaxName = 16;
    // No entity's name is longer.
    static constexpr std::size_t kMaxEntity = 32;
    // Bytes of an alternative text; the rest is cut off.
    static constexpr std::size_t kMaxAlternative = 4096;

    // Bytes of text after which an empty comment is put in.
    static constexpr std::size_t kMaxTextRun = 4096;

    // Bytes after a '>' inside a quoted value in which the closing quote has to come.
    static constexpr std::size_t kMaxSwallowed = 65536;

    // Takes UTF-8 in whole characters; a piece may end anywhere else. What passes is appended to
    // `passed`, which then ends in text or after a tag.
    void feed(std::string_view utf8, std::string &passed);

    // The end of the page. A tag that is not complete is left out, as is an unclosed comment or
    // script with everything after it. A tag with an unclosed quote ends at its first '>'.
    void finish(std::string &passed);

private:
    enum class State {
        kText,
        kEntity,          // after '&'
        kTagOpen,         // after '<'
        kEndTagOpen,      // after "</"
        kTagName,         // in the name of a tag
        kBeforeAttribute, // in a tag, between attributes
        kAttributeName,
        kAfterAttributeName,
        kBeforeValue,
        kQuotedValue,
        kPlainValue,
        kDeclaration,   // after "<!"
        kComment,       // after "<!--"
        kSkippedMarkup, // <!DOCTYPE ...>, <![if ...]>, <?xml ...?>: up to '>'
        kHidden,        // in the content of a script or a style sheet
    };

    void step(char c);
    void text(char c);
    void entity(char c);
    void tagOpen(char c);
    void endTagOpen(char c);
    void tagName(char c);
    void beforeAttribute(char c);
    void attributeName(char c);
    void afterAttributeName(char c);
    void beforeValue(char c);
    void quotedValue(char c);
    void value(char c, bool atEnd);
    void declaration(char c);
    void comment(char c);
    void hidden(char c);

    void startTag(bool isEnd, char first);
    void startAttribute(char first);
    void reopenSwallowed();
    void endTag();
    void pass(std::string_view text);
    void divideText(char next);
    bool passEntity();
    void passImage();

    State state_ = State::kText;
    std::string *passed_ = nullptr; // of the call in progress
    std::string name_;              // of the tag in hand, in lower case
    bool isEnd_ = false;
    std::string attribute_; // its name, in lower case
    std::string value_;
    std::string alternative_;
    char quote_ = 0;
    std::string swallowed_;   // of a quoted value, from its first '>' on
    std::string entity_;      // what followed '&'
    std::size_t dashes_ = 0;  // just before, in a declaration or comment
    std::string hiddenEnd_;   // "</script" or "</style"
    std::size_t matched_ = 0; // of hiddenEnd_, just before
    std::size_t textRun_ = 0; // bytes of text passed since the last tag
    bool afterCarriageReturn_ = false;
};

} // namespace qob::filters

#endif
