// SPDX-License-Identifier: MIT
// A walk through a document's elements that knows where it is and leaves branches out. Of
// alternatives for several kinds of readers (mc:AlternateContent) only the first is walked.
#ifndef QOB_FILTERS_OFFICE_XML_WALKER_H
#define QOB_FILTERS_OFFICE_XML_WALKER_H

#include <cstddef>
#include <string_view>
#include <vector>

#include "xml_parser.h"

namespace qob::filters::office {

class XmlWalker : public XmlEvents {
public:
    void onStart(const XmlElement &element) final;
    void onEnd() final;
    void onText(std::string_view piece) final;

protected:
    // An element begins; false leaves it out with everything in it: nothing of it is told.
    virtual bool enter(const XmlElement &element) = 0;
    // An element that was entered ends.
    virtual void leave(std::string_view name) { (void)name; }
    // Text directly in the innermost open element.
    virtual void text(std::string_view piece) { (void)piece; }

    // The innermost open element ("" outside all); within enter() the new one's parent.
    std::string_view innermost() const { return open_.empty() ? std::string_view{} : open_.back(); }

private:
    bool enterAlternative();

    std::vector<std::string_view> open_;
    std::vector<bool> chosen_; // for each open AlternateContent: an alternative was taken
    std::size_t skipped_ = 0;  // open elements that are left out
};

} // namespace qob::filters::office

#endif
