// SPDX-License-Identifier: MIT
// The parser of what the gate lets through: libxml2's HTML push parser, which closes what the page
// forgot to close and knows the entities. It builds no tree, reads no other file and opens no
// connection.
#ifndef QOB_FILTERS_HTML_PARSER_H
#define QOB_FILTERS_HTML_PARSER_H

#include <libxml/HTMLparser.h>

#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "text_layout.h"

namespace qob::filters {

// The parser's work per tag grows with the depth, and it keeps all that it was ever given. So it is
// replaced by a new one, in which the innermost open elements are opened again, whenever one of
// these is passed: time is linear and memory bounded, at any depth and length of the page. An
// element that lies outside the ones opened again just does not end.
class HtmlParser {
public:
    static constexpr int kMaxDepth = 256;
    static constexpr std::size_t kKeptDepth = 64;
    static constexpr std::size_t kMaxConsumed = 1U << 20U;

    explicit HtmlParser(TextLayout &layout);

    // Takes what the gate passes: UTF-8 that ends in text or after a tag, and in which '<' begins a
    // tag or a comment. Throws std::bad_alloc.
    void feed(std::string_view utf8);
    void finish();

private:
    struct ContextCloser {
        void operator()(htmlParserCtxtPtr context) const { htmlFreeParserCtxt(context); }
    };
    using ContextPtr = std::unique_ptr<htmlParserCtxt, ContextCloser>;

    static void onStart(void *self, const xmlChar *name, const xmlChar **attributes) noexcept;
    static void onEnd(void *self, const xmlChar *name) noexcept;
    static void onText(void *self, const xmlChar *text, int length) noexcept;

    ContextPtr makeContext();
    void parse(std::string_view utf8, bool last);
    void replaceContext();
    std::vector<std::string> openElements() const;
    template <typename Event> void handle(Event &&event) noexcept;

    TextLayout &layout_;
    ContextPtr context_;
    bool muted_ = false;       // elements are being opened again
    bool outOfMemory_ = false; // in a callback, where nothing may be thrown
};

} // namespace qob::filters

#endif
