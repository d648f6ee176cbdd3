// SPDX-License-Identifier: MIT
// OpenDocument: which members of the package a document is made of.
#include <string>

#include "documents.h"
#include "odf_reader.h"

namespace qob::filters::office {
namespace {

constexpr std::string_view kContent = "content.xml";

bool readPart(Package &package, std::string_view name, OdfReader &reader, TextFlow &flow) {
    const bool whole = readXml(package, name, flow.output(), reader);
    reader.finish();
    return whole;
}

// A document in the document: "Object 1/content.xml".
bool isInnerContent(std::string_view key) {
    return key.ends_with("/content.xml") && key.find('/') == key.rfind('/');
}

} // namespace

bool readOpenDocument(Package &package, TextFlow &flow) {
    OdfReader content(OdfReader::Part::kContent, flow);
    bool whole = readPart(package, kContent, content, flow);
    if (content.isText() && package.has("styles.xml")) {
        OdfReader margins(OdfReader::Part::kHeadersAndFooters, flow);
        flow.separate();
        whole = readPart(package, "styles.xml", margins, flow) && whole;
    }
    for (const std::string &key : package.keys()) {
        if (isInnerContent(key)) {
            OdfReader inner(OdfReader::Part::kContent, flow);
            flow.separate();
            whole = readPart(package, key, inner, flow) && whole;
        }
    }
    return whole;
}

} // namespace qob::filters::office
