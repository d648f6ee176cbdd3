// SPDX-License-Identifier: MIT
// See relations.h.
#include "relations.h"

#include <algorithm>
#include <iterator>

#include "xml_walker.h"

namespace qob::filters::office {
namespace {

// More than any program writes for one part; a look-up goes through all of them.
constexpr std::size_t kMaxRelations = 20000;

constexpr std::string_view kContentTypes = "[Content_Types].xml";

bool isDigit(char c) {
    return c >= '0' && c <= '9';
}

std::string_view takeNumber(std::string_view &text) {
    std::size_t length = 0;
    while (length < text.size() && isDigit(text[length])) {
        ++length;
    }
    std::string_view number = text.substr(0, length);
    text.remove_prefix(length);
    number.remove_prefix(std::min(number.find_first_not_of('0'), number.size()));
    return number;
}

int hexValue(char c) {
    if (isDigit(c)) {
        return c - '0';
    }
    const char lower = static_cast<char>(c | 0x20);
    return lower >= 'a' && lower <= 'f' ? lower - 'a' + 10 : -1;
}

std::string withoutPercents(std::string_view text) {
    std::string plain;
    for (std::size_t i = 0; i < text.size(); ++i) {
        const bool escape = text[i] == '%' && i + 2 < text.size() && hexValue(text[i + 1]) >= 0 &&
                            hexValue(text[i + 2]) >= 0;
        plain += escape ? static_cast<char>(hexValue(text[i + 1]) * 16 + hexValue(text[i + 2]))
                        : text[i];
        i += escape ? 2 : 0;
    }
    return plain;
}

std::string_view folderOf(std::string_view part) {
    const std::size_t slash = part.rfind('/');
    return slash == std::string_view::npos ? std::string_view{} : part.substr(0, slash + 1);
}

// The member's name that a target means, seen from the part's folder.
std::string resolved(std::string_view folder, std::string_view target) {
    std::string path(target.starts_with('/') ? std::string_view{} : folder);
    std::string_view rest = target;
    while (!rest.empty()) {
        const std::size_t slash = std::min(rest.find('/'), rest.size());
        const std::string_view step = rest.substr(0, slash);
        const bool isLast = slash == rest.size();
        rest.remove_prefix(isLast ? slash : slash + 1);
        if (step == "..") {
            path.resize(path.empty() ? 0 : folderOf(path.substr(0, path.size() - 1)).size());
        } else if (!step.empty() && step != ".") {
            path.append(step).append(isLast ? "" : "/");
        }
    }
    return path;
}

class RelationReader : public XmlWalker {
public:
    RelationReader(std::string_view folder, std::vector<Relation> &relations)
        : folder_(folder), relations_(relations) {}

protected:
    bool enter(const XmlElement &element) override {
        if (element.name() == "Relationship" && element.attribute("TargetMode") != "External" &&
            relations_.size() < kMaxRelations) {
            const std::string_view type = element.attribute("Type");
            const std::string target = withoutPercents(element.attribute("Target"));
            relations_.push_back({std::string(element.attribute("Id")),
                                  std::string(type.substr(type.rfind('/') + 1)),
                                  resolved(folder_, target)});
        }
        return true;
    }

private:
    std::string_view folder_;
    std::vector<Relation> &relations_;
};

class TypeReader : public XmlWalker {
public:
    explicit TypeReader(std::string_view part) : key_(memberKey(part)) {}
    const std::string &type() const { return type_; }

protected:
    bool enter(const XmlElement &element) override {
        if (element.name() == "Override" && memberKey(element.attribute("PartName")) == key_) {
            type_ = element.attribute("ContentType");
        }
        return true;
    }

private:
    std::string key_;
    std::string type_;
};

} // namespace

bool naturalLess(std::string_view a, std::string_view b) {
    while (!a.empty() && !b.empty()) {
        if (isDigit(a.front()) && isDigit(b.front())) {
            const std::string_view left = takeNumber(a);
            const std::string_view right = takeNumber(b);
            if (left != right) {
                return left.size() != right.size() ? left.size() < right.size() : left < right;
            }
            continue;
        }
        if (a.front() != b.front()) {
            return a.front() < b.front();
        }
        a.remove_prefix(1);
        b.remove_prefix(1);
    }
    return a.size() < b.size();
}

std::vector<std::string> membersWith(const Package &package, std::string_view prefix) {
    std::vector<std::string> names;
    std::copy_if(
        package.keys().begin(), package.keys().end(), std::back_inserter(names),
        [&](const std::string &key) { return key.starts_with(prefix) && key.ends_with(".xml"); });
    std::sort(names.begin(), names.end(), naturalLess);
    return names;
}

Relations::Relations(Package &package, std::string_view part, const TextOutput &output) {
    const std::string_view folder = folderOf(part);
    std::string name(folder);
    name.append("_rels/").append(part.substr(folder.size())).append(".rels");
    RelationReader reader(folder, relations_);
    readXml(package, name, output, reader);
    for (std::size_t i = 0; i < relations_.size(); ++i) {
        byId_.try_emplace(relations_[i].id, i);
    }
}

std::string_view Relations::target(const std::string &id) const {
    const auto place = byId_.find(id);
    return place == byId_.end() ? std::string_view{}
                                : std::string_view(relations_[place->second].target);
}

std::vector<std::string> Relations::targets(std::string_view kind) const {
    std::vector<std::string> names;
    for (const Relation &relation : relations_) {
        if (relation.kind == kind) {
            names.push_back(relation.target);
        }
    }
    std::sort(names.begin(), names.end(), naturalLess);
    names.erase(std::unique(names.begin(), names.end()), names.end());
    return names;
}

std::string contentTypeOf(Package &package, std::string_view part, const TextOutput &output) {
    TypeReader reader(part);
    readXml(package, kContentTypes, output, reader);
    return reader.type();
}

} // namespace qob::filters::office
