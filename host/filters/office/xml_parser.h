// SPDX-License-Identifier: MIT
// XML, piece by piece, as a sequence of events. No tree is built, no entity is expanded, no other
// file and no address is opened. A document that is broken yields what stands before the fault.
#ifndef QOB_FILTERS_OFFICE_XML_PARSER_H
#define QOB_FILTERS_OFFICE_XML_PARSER_H

#include <libxml/parser.h>

#include <cstddef>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

#include "decoder.h"
#include "package.h"
#include "text_output.h"
#include "xml_gate.h"

namespace qob::filters::office {

// A start tag. Names are without their prefix: the prefixes of these formats are a convention, and
// which of several vocabularies is meant follows from the place.
class XmlElement {
public:
    XmlElement(std::string_view name, const xmlChar **attributes)
        : name_(name), attributes_(attributes) {}

    std::string_view name() const { return name_; }
    // The value of the first attribute of this name, whatever its prefix; "" when there is none.
    std::string_view attribute(std::string_view name) const { return find(name, false); }
    // The same for an attribute that has a prefix, for "r:id" beside "id".
    std::string_view prefixedAttribute(std::string_view name) const { return find(name, true); }

private:
    std::string_view find(std::string_view name, bool prefixed) const;

    std::string_view name_;
    const xmlChar **attributes_;
};

class XmlEvents {
public:
    XmlEvents() = default;
    virtual ~XmlEvents() = default;
    XmlEvents(const XmlEvents &) = delete;
    XmlEvents &operator=(const XmlEvents &) = delete;

    // The element's views are good during the call, its name as long as the parser.
    virtual void onStart(const XmlElement &element) = 0;
    virtual void onEnd() = 0;
    // A piece of text, UTF-8 in whole characters.
    virtual void onText(std::string_view piece) = 0;
};

class XmlParser {
public:
    explicit XmlParser(XmlEvents &events);

    // More of the document's bytes. False when the rest is not worth giving. Throws what the events
    // throw for want of memory.
    bool feed(std::string_view bytes);
    void finish();

    // Elements nested deeper than this end the document; tables in tables need three each.
    static constexpr std::size_t kMaxDepth = 512;

    // The document broke off or is not well-formed.
    bool failed() const { return failed_; }

private:
    struct ContextCloser {
        void operator()(xmlParserCtxt *context) const { xmlFreeParserCtxt(context); }
    };

    static void start(void *self, const xmlChar *name, const xmlChar **attributes) noexcept;
    static void end(void *self, const xmlChar *name) noexcept;
    static void text(void *self, const xmlChar *text, int length) noexcept;

    template <typename Event> void handle(Event &&event) noexcept;
    void parse(std::string_view bytes, bool last);

    XmlEvents &events_;
    std::unique_ptr<xmlParserCtxt, ContextCloser> context_;
    std::optional<Decoder> decoder_; // of the charset that the first piece shows
    XmlGate gate_;
    std::string utf8_;
    std::size_t depth_ = 0;
    bool failed_ = false;
    bool outOfMemory_ = false;
};

// Reads a member of the package as XML, until its end, a fault, the end of the time, or the end of
// what the output takes. False when it is not there or did not come to its proper end.
bool readXml(Package &package, std::string_view name, const TextOutput &output, XmlEvents &events);

} // namespace qob::filters::office

#endif
