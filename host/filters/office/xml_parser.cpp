// SPDX-License-Identifier: MIT
// See xml_parser.h. The parser gets UTF-8 whatever the document is in: the gate reads the same
// bytes as the parser does, and malformed characters are no reason to lose the rest.
#include "xml_parser.h"

#include <libxml/xmlerror.h>

#include <algorithm>
#include <mutex>
#include <new>

#include "qob_limits.h"

namespace qob::filters::office {
namespace {

constexpr std::size_t kPieceSize = 65536;

// Where an XML declaration ends at the latest.
constexpr std::size_t kDeclarationSize = 256;

void ignoreMessage(void *self, const char *format, ...) { // NOLINT(cert-dcl50-cpp): libxml2's type
    (void)self;
    (void)format;
}

std::string_view viewOf(const xmlChar *text) {
    return reinterpret_cast<const char *>(text);
}

std::string_view withoutPrefix(std::string_view name) {
    return name.substr(name.find(':') + 1);
}

// The charset that a document's first bytes show: a mark, the zeros of UTF-16, its declaration.
std::string charsetOf(std::string_view bytes) {
    if (bytes.starts_with("\xFF\xFE") || bytes.starts_with(std::string_view("<\0", 2))) {
        return "UTF-16LE";
    }
    if (bytes.starts_with("\xFE\xFF") || bytes.starts_with(std::string_view("\0<", 2))) {
        return "UTF-16BE";
    }
    std::string_view declaration = bytes.substr(0, std::min(bytes.find("?>"), kDeclarationSize));
    const std::size_t label = declaration.find("encoding=");
    if (!declaration.starts_with("<?xml") || label == std::string_view::npos) {
        return "UTF-8";
    }
    declaration.remove_prefix(label + sizeof "encoding=" - 1);
    const std::string_view name = declaration.substr(std::min(declaration.size(), std::size_t{1}));
    const std::string charset(name.substr(0, name.find_first_of("\"'")));
    // These bytes are no UTF-16, whatever they say.
    const bool wide = charset.starts_with("UTF-16") || charset.starts_with("utf-16");
    return wide || openConverter(charset) == nullptr ? std::string("UTF-8") : charset;
}

} // namespace

std::string_view XmlElement::find(std::string_view name, bool prefixed) const {
    for (const xmlChar **pair = attributes_; pair != nullptr && pair[0] != nullptr; pair += 2) {
        const std::string_view full = viewOf(pair[0]);
        const bool hasPrefix = full.find(':') != std::string_view::npos;
        if (withoutPrefix(full) == name && (hasPrefix || !prefixed) && pair[1] != nullptr) {
            return viewOf(pair[1]);
        }
    }
    return {};
}

XmlParser::XmlParser(XmlEvents &events) : events_(events) {
    static std::once_flag once;
    std::call_once(once, xmlInitParser);
    // The first version of the event interface: without namespaces, which can be made costly.
    // Declarations are not taken, so that no entity means anything but the five of XML.
    xmlSAXHandler handler{};
    handler.startElement = start;
    handler.endElement = end;
    handler.characters = text;
    handler.ignorableWhitespace = text;
    handler.cdataBlock = text;
    handler.warning = ignoreMessage;
    handler.error = ignoreMessage;
    handler.fatalError = ignoreMessage;
    context_.reset(xmlCreatePushParserCtxt(&handler, this, nullptr, 0, nullptr));
    if (context_ == nullptr) {
        throw std::bad_alloc();
    }
    // NOENT decodes XML's own five in attributes too; there are no others.
    xmlCtxtUseOptions(context_.get(), XML_PARSE_NOENT | XML_PARSE_NONET | XML_PARSE_NOERROR |
                                          XML_PARSE_NOWARNING | XML_PARSE_IGNORE_ENC);
}

bool XmlParser::feed(std::string_view bytes) {
    if (!decoder_ && !bytes.empty()) {
        decoder_.emplace(charsetOf(bytes));
    }
    while (!bytes.empty() && !failed_) {
        const std::string_view piece = bytes.substr(0, kPieceSize);
        bytes.remove_prefix(piece.size());
        parse(piece, false);
    }
    return !failed_;
}

void XmlParser::finish() {
    if (!failed_ && decoder_) {
        parse({}, true);
    }
    failed_ = failed_ || !decoder_;
}

void XmlParser::parse(std::string_view bytes, bool last) {
    utf8_.clear();
    decoder_->decode(bytes, last, utf8_);
    const std::size_t length = gate_.pass(utf8_);
    const int code =
        xmlParseChunk(context_.get(), utf8_.data(), static_cast<int>(length), last ? 1 : 0);
    if (outOfMemory_ || code == XML_ERR_NO_MEMORY) {
        throw std::bad_alloc();
    }
    failed_ = gate_.closed() || context_->wellFormed == 0 || depth_ > kMaxDepth;
}

template <typename Event> void XmlParser::handle(Event &&event) noexcept {
    if (outOfMemory_) {
        return;
    }
    try {
        event();
    } catch (const std::exception &) {
        outOfMemory_ = true;
        xmlStopParser(context_.get());
    }
}

void XmlParser::start(void *self, const xmlChar *name, const xmlChar **attributes) noexcept {
    auto *parser = static_cast<XmlParser *>(self);
    if (++parser->depth_ > kMaxDepth) {
        xmlStopParser(parser->context_.get());
        return;
    }
    parser->handle(
        [&] { parser->events_.onStart(XmlElement(withoutPrefix(viewOf(name)), attributes)); });
}

void XmlParser::end(void *self, const xmlChar *name) noexcept {
    (void)name;
    auto *parser = static_cast<XmlParser *>(self);
    --parser->depth_;
    parser->handle([&] { parser->events_.onEnd(); });
}

void XmlParser::text(void *self, const xmlChar *text, int length) noexcept {
    auto *parser = static_cast<XmlParser *>(self);
    parser->handle(
        [&] { parser->events_.onText(viewOf(text).substr(0, static_cast<std::size_t>(length))); });
}

bool readXml(Package &package, std::string_view name, const TextOutput &output, XmlEvents &events) {
    if (!package.has(name)) {
        return false;
    }
    XmlParser parser(events);
    package.read(name, [&](std::string_view piece) {
        return output.isOpen() && qob_limits_time() == EML_OK && parser.feed(piece);
    });
    parser.finish();
    return !parser.failed();
}

} // namespace qob::filters::office
