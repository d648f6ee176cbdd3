// SPDX-License-Identifier: MIT
// See xml_walker.h. The parser bounds the depth of elements.
#include "xml_walker.h"

namespace qob::filters::office {
namespace {

constexpr std::string_view kAlternatives = "AlternateContent";

} // namespace

// Readers are meant to take the first alternative that they understand; text is in each of them.
bool XmlWalker::enterAlternative() {
    if (chosen_.empty() || chosen_.back()) {
        return false;
    }
    chosen_.back() = true;
    return true;
}

void XmlWalker::onStart(const XmlElement &element) {
    if (skipped_ > 0) {
        ++skipped_;
        return;
    }
    bool entered = true;
    if (innermost() == kAlternatives) {
        entered = enterAlternative();
    } else if (element.name() == kAlternatives) {
        chosen_.push_back(false);
    } else {
        entered = enter(element);
    }
    if (entered) {
        open_.push_back(element.name());
    } else {
        skipped_ = 1;
    }
}

void XmlWalker::onEnd() {
    if (skipped_ > 0) {
        --skipped_;
        return;
    }
    if (open_.empty()) {
        return;
    }
    const std::string_view name = open_.back();
    open_.pop_back();
    if (name == kAlternatives) {
        chosen_.pop_back();
    } else if (innermost() != kAlternatives) {
        leave(name);
    }
}

void XmlWalker::onText(std::string_view piece) {
    if (skipped_ == 0) {
        text(piece);
    }
}

} // namespace qob::filters::office
