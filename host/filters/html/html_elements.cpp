// SPDX-License-Identifier: MIT
// See html_elements.h.
#include "html_elements.h"

#include <algorithm>
#include <array>
#include <iterator>

namespace qob::filters {
namespace {

struct Element {
    std::string_view name;
    ElementKind kind;
};

// In alphabetical order.
constexpr std::array kElements{
    Element{"address", ElementKind::kBlock},    Element{"article", ElementKind::kBlock},
    Element{"aside", ElementKind::kBlock},      Element{"blockquote", ElementKind::kBlock},
    Element{"br", ElementKind::kBreak},         Element{"caption", ElementKind::kBlock},
    Element{"center", ElementKind::kBlock},     Element{"dd", ElementKind::kBlock},
    Element{"details", ElementKind::kBlock},    Element{"dir", ElementKind::kBlock},
    Element{"div", ElementKind::kBlock},        Element{"dl", ElementKind::kBlock},
    Element{"dt", ElementKind::kBlock},         Element{"fieldset", ElementKind::kBlock},
    Element{"figcaption", ElementKind::kBlock}, Element{"figure", ElementKind::kBlock},
    Element{"footer", ElementKind::kBlock},     Element{"form", ElementKind::kBlock},
    Element{"frame", ElementKind::kBlock},      Element{"frameset", ElementKind::kBlock},
    Element{"h1", ElementKind::kBlock},         Element{"h2", ElementKind::kBlock},
    Element{"h3", ElementKind::kBlock},         Element{"h4", ElementKind::kBlock},
    Element{"h5", ElementKind::kBlock},         Element{"h6", ElementKind::kBlock},

    Element{"header", ElementKind::kBlock},     Element{"hr", ElementKind::kBlock},
    Element{"img", ElementKind::kImage},        Element{"legend", ElementKind::kBlock},
    Element{"li", ElementKind::kBlock},         Element{"listing", ElementKind::kPreformatted},
    Element{"main", ElementKind::kBlock},       Element{"menu", ElementKind::kBlock},
    Element{"nav", ElementKind::kBlock},        Element{"noframes", ElementKind::kBlock},
    Element{"ol", ElementKind::kBlock},         Element{"optgroup", ElementKind::kBlock},
    Element{"option", ElementKind::kBlock},     Element{"p", ElementKind::kBlock},
    Element{"pre", ElementKind::kPreformatted}, Element{"script", ElementKind::kHidden},
    Element{"section", ElementKind::kBlock},    Element{"select", ElementKind::kBlock},
    Element{"style", ElementKind::kHidden},     Element{"summary", ElementKind::kBlock},
    Element{"table", ElementKind::kBlock},      Element{"td", ElementKind::kCell},
    Element{"textarea", ElementKind::kBlock},   Element{"th", ElementKind::kCell},
    Element{"title", ElementKind::kBlock},      Element{"tr", ElementKind::kBlock},
    Element{"ul", ElementKind::kBlock},         Element{"xmp", ElementKind::kPreformatted},
};

constexpr bool before(const Element &left, const Element &right) {
    return left.name < right.name;
}
static_assert(std::is_sorted(kElements.begin(), kElements.end(), before));

} // namespace

ElementKind kindOfElement(std::string_view name) {
    const auto *found = std::lower_bound(kElements.begin(), kElements.end(),
                                         Element{name, ElementKind::kInline}, before);
    return found != kElements.end() && found->name == name ? found->kind : ElementKind::kInline;
}

} // namespace qob::filters
