// SPDX-License-Identifier: MIT
// PresentationML: the slides in the order of the presentation, whatever their members are named.
#include <array>
#include <string>
#include <unordered_set>
#include <vector>

#include "documents.h"
#include "paragraphs.h"
#include "relations.h"
#include "xml_walker.h"

namespace qob::filters::office {
namespace {

// More slides than any presentation has.
constexpr std::size_t kMaxSlides = 100000;

// What is read after a slide, by the kind of its relation.
constexpr std::array<std::string_view, 3> kWithSlide = {"diagramData", "notesSlide", "comments"};

class SlideList : public XmlWalker {
public:
    const std::vector<std::string> &ids() const { return ids_; }

protected:
    bool enter(const XmlElement &element) override {
        if (element.name() == "sldId" && ids_.size() < kMaxSlides) {
            ids_.emplace_back(element.prefixedAttribute("id"));
        }
        return true;
    }

private:
    std::vector<std::string> ids_;
};

std::vector<std::string> slidesOf(Package &package, std::string_view mainPart,
                                  const TextOutput &output) {
    const Relations relations(package, mainPart, output);
    SlideList list;
    readXml(package, mainPart, output, list);
    std::vector<std::string> slides;
    for (const std::string &id : list.ids()) {
        const std::string_view target = relations.target(id);
        if (!target.empty()) {
            slides.emplace_back(target);
        }
    }
    return slides.empty() ? membersWith(package, "ppt/slides/slide") : slides;
}

} // namespace

bool readPresentation(Package &package, std::string_view mainPart, TextFlow &flow) {
    bool whole = true;
    std::unordered_set<std::string> seen;
    const auto readOnce = [&](const std::string &part) {
        if (seen.insert(memberKey(part)).second) {
            flow.separate();
            whole = readParagraphs(package, part, flow) && whole;
        }
    };
    for (const std::string &slide : slidesOf(package, mainPart, flow.output())) {
        if (!flow.output().isOpen() || package.limit() != EML_OK) {
            break;
        }
        readOnce(slide);
        const Relations relations(package, slide, flow.output());
        for (const std::string_view kind : kWithSlide) {
            for (const std::string &part : relations.targets(kind)) {
                readOnce(part);
            }
        }
    }
    return whole;
}

} // namespace qob::filters::office
