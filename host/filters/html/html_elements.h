// SPDX-License-Identifier: MIT
// The HTML elements that shape the text. Every other one (b, span, html, unknown ones) is inline:
// its content is text, its tags mean nothing here.
#ifndef QOB_FILTERS_HTML_ELEMENTS_H
#define QOB_FILTERS_HTML_ELEMENTS_H

#include <string_view>

namespace qob::filters {

enum class ElementKind {
    kInline,
    kBlock, // begins and ends a line
    kCell,  // a table cell: set apart from the one before it on the line
    kBreak, // ends a line
    kPreformatted,
    kImage,
    kHidden, // script, style: the content is no text
};

// The kind of an element, by its name in lower case.
ElementKind kindOfElement(std::string_view name);

} // namespace qob::filters

#endif
