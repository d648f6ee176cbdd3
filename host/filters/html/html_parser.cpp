// SPDX-License-Identifier: MIT
// See html_parser.h.
#include "html_parser.h"

#include <libxml/parser.h>
#include <libxml/xmlerror.h>

#include <algorithm>
#include <mutex>
#include <new>

namespace qob::filters {
namespace {

// Between two looks at the parser's depth; a piece is longer by up to one text or tag, because it
// ends before a '<'. libxml2 loses its place in a tag that comes in two pieces when the cut is
// inside quotes.
constexpr std::size_t kPieceSize = 1024;

// The frame that every parser starts in; without it the parser would put in a paragraph.
constexpr std::string_view kFrame = "<html><body>";
constexpr int kFrameDepth = 2;

void ignoreMessage(void *self, const char *format, ...) { // NOLINT(cert-dcl50-cpp): libxml2's type
    (void)self;
    (void)format;
}

std::string_view viewOf(const xmlChar *text) {
    return reinterpret_cast<const char *>(text);
}

} // namespace

HtmlParser::HtmlParser(TextLayout &layout) : layout_(layout) {
    static std::once_flag once;
    std::call_once(once, xmlInitParser);
    context_ = makeContext();
    parse(kFrame, false);
}

HtmlParser::ContextPtr HtmlParser::makeContext() {
    xmlSAXHandler events{};
    events.startElement = onStart;
    events.endElement = onEnd;
    events.characters = onText;
    events.ignorableWhitespace = onText;
    events.cdataBlock = onText;
    events.warning = ignoreMessage;
    events.error = ignoreMessage;
    events.fatalError = ignoreMessage;
    ContextPtr context(
        htmlCreatePushParserCtxt(&events, this, nullptr, 0, nullptr, XML_CHAR_ENCODING_UTF8));
    if (context == nullptr) {
        throw std::bad_alloc();
    }
    htmlCtxtUseOptions(context.get(), HTML_PARSE_RECOVER | HTML_PARSE_NOERROR |
                                          HTML_PARSE_NOWARNING | HTML_PARSE_NONET |
                                          HTML_PARSE_IGNORE_ENC);
    return context;
}

void HtmlParser::feed(std::string_view utf8) {
    while (!utf8.empty()) {
        const std::string_view piece = utf8.substr(0, utf8.find('<', kPieceSize));
        utf8.remove_prefix(piece.size());
        parse(piece, false);
        const auto consumed =
            static_cast<std::size_t>(context_->input->cur - context_->input->base);
        if (context_->nameNr > kMaxDepth || consumed > kMaxConsumed) {
            replaceContext();
        }
    }
}

void HtmlParser::finish() {
    parse({}, true);
}

void HtmlParser::parse(std::string_view utf8, bool last) {
    htmlParseChunk(context_.get(), utf8.data(), static_cast<int>(utf8.size()), last ? 1 : 0);
    if (outOfMemory_ || context_->errNo == XML_ERR_NO_MEMORY) {
        throw std::bad_alloc();
    }
}

void HtmlParser::replaceContext() {
    const xmlParserInput &input = *context_->input;
    const std::string rest(reinterpret_cast<const char *>(input.cur),
                           static_cast<std::size_t>(input.end - input.cur));
    const std::vector<std::string> open = openElements();
    context_ = makeContext();
    muted_ = true;
    parse(kFrame, false);
    std::size_t preformatted = 0;
    for (const std::string &name : open) {
        parse("<" + name + ">", false);
        preformatted += kindOfElement(name) == ElementKind::kPreformatted ? 1 : 0;
    }
    muted_ = false;
    layout_.setPreformatted(preformatted);
    parse(rest, false);
}

std::vector<std::string> HtmlParser::openElements() const {
    std::vector<std::string> names;
    const int first = std::max(kFrameDepth, context_->nameNr - static_cast<int>(kKeptDepth));
    for (int i = first; i < context_->nameNr; ++i) {
        names.emplace_back(viewOf(context_->nameTab[i]));
    }
    return names;
}

template <typename Event> void HtmlParser::handle(Event &&event) noexcept {
    if (muted_) {
        return;
    }
    try {
        event();
    } catch (const std::exception &) {
        outOfMemory_ = true;
    }
}

void HtmlParser::onStart(void *self, const xmlChar *name, const xmlChar **attributes) noexcept {
    auto *parser = static_cast<HtmlParser *>(self);
    parser->handle([&] {
        const ElementKind kind = kindOfElement(viewOf(name));
        parser->layout_.start(kind);
        // The gate leaves an image its alternative text only.
        if (kind == ElementKind::kImage && attributes != nullptr && attributes[0] != nullptr &&
            attributes[1] != nullptr) {
            parser->layout_.image(viewOf(attributes[1]));
        }
    });
}

void HtmlParser::onEnd(void *self, const xmlChar *name) noexcept {
    auto *parser = static_cast<HtmlParser *>(self);
    parser->handle([&] { parser->layout_.end(kindOfElement(viewOf(name))); });
}

void HtmlParser::onText(void *self, const xmlChar *text, int length) noexcept {
    auto *parser = static_cast<HtmlParser *>(self);
    parser->handle([&] {
        parser->layout_.characters(viewOf(text).substr(0, static_cast<std::size_t>(length)));
    });
}

} // namespace qob::filters
