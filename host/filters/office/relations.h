// SPDX-License-Identifier: MIT
// How the parts of an Office Open XML package belong together: what a part refers to, by identifier
// and by kind.
#ifndef QOB_FILTERS_OFFICE_RELATIONS_H
#define QOB_FILTERS_OFFICE_RELATIONS_H

#include <cstddef>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "package.h"
#include "text_output.h"

namespace qob::filters::office {

struct Relation {
    std::string id;
    std::string kind;   // the last word of the relation's type: "slide", "footnotes"
    std::string target; // a member's name
};

class Relations {
public:
    // What `part` refers to inside of the package; of "" the package itself.
    Relations(Package &package, std::string_view part, const TextOutput &output);

    bool isEmpty() const { return relations_.empty(); }
    // The target of a relation, "" when there is none.
    std::string_view target(const std::string &id) const;
    // The targets of a kind in the order of their names, numbers by value ("header10" behind
    // "header9"). Each once.
    std::vector<std::string> targets(std::string_view kind) const;

private:
    std::vector<Relation> relations_;
    std::unordered_map<std::string, std::size_t> byId_;
};

// Whether a name stands before another one when numbers in them count by their value.
bool naturalLess(std::string_view a, std::string_view b);

// The keys of the XML members whose keys begin like that, in natural order: for a package whose
// relations are lost, because programs name parts by custom.
std::vector<std::string> membersWith(const Package &package, std::string_view prefix);

// The content type of a part as the package declares it, or "".
std::string contentTypeOf(Package &package, std::string_view part, const TextOutput &output);

} // namespace qob::filters::office

#endif
