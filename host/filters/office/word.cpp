// SPDX-License-Identifier: MIT
// WordprocessingML: which parts of the package a document is made of.
#include <array>
#include <string>
#include <vector>

#include "documents.h"
#include "paragraphs.h"
#include "relations.h"

namespace qob::filters::office {
namespace {

// What a document has beside its body, in the order of the text: the relation's kind, and how the
// members' names begin by custom, for a package whose relations are lost.
struct Surrounding {
    std::string_view kind;
    std::string_view prefix;
};

constexpr std::array<Surrounding, 6> kSurroundings = {{{"diagramData", "word/diagrams/data"},
                                                       {"header", "word/header"},
                                                       {"footer", "word/footer"},
                                                       {"footnotes", "word/footnotes"},
                                                       {"endnotes", "word/endnotes"},
                                                       {"comments", "word/comments.xml"}}};

} // namespace

bool readWord(Package &package, std::string_view mainPart, TextFlow &flow) {
    const Relations relations(package, mainPart, flow.output());
    bool whole = readParagraphs(package, mainPart, flow);
    for (const Surrounding &surrounding : kSurroundings) {
        const std::vector<std::string> parts = relations.isEmpty()
                                                   ? membersWith(package, surrounding.prefix)
                                                   : relations.targets(surrounding.kind);
        for (const std::string &part : parts) {
            flow.separate();
            whole = readParagraphs(package, part, flow) && whole;
        }
    }
    return whole;
}

} // namespace qob::filters::office
