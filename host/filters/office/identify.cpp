// SPDX-License-Identifier: MIT
// See identify.h.
#include "identify.h"

#include <algorithm>
#include <array>

#include "relations.h"
#include "xml_walker.h"

namespace qob::filters::office {
namespace {

constexpr std::string_view kManifest = "meta-inf/manifest.xml";

// What a content type says, with and without macros, and where the main part is by custom. The
// binary workbook comes first: its type begins like that of a workbook with macros.
struct MainPart {
    Kind kind;
    std::string_view typeWord;
    std::string_view macroTypeWord;
    std::string_view folder;
    std::string_view customName;
};

constexpr std::array<MainPart, 4> kMainParts = {
    {{Kind::kBinaryWorkbook, "ms-excel.sheet.binary", "ms-excel.sheet.binary", "xl/workbook.bin",
      "xl/workbook.bin"},
     {Kind::kWord, "wordprocessingml", "ms-word", "word/", "word/document.xml"},
     {Kind::kWorkbook, "spreadsheetml", "ms-excel", "xl/", "xl/workbook.xml"},
     {Kind::kPresentation, "presentationml", "ms-powerpoint", "ppt/", "ppt/presentation.xml"}}};

bool contains(std::string_view text, std::string_view part) {
    return text.find(part) != std::string_view::npos;
}

Kind kindOfPart(std::string_view type, std::string_view part) {
    for (const MainPart &main : kMainParts) {
        if (contains(type, main.typeWord) || contains(type, main.macroTypeWord)) {
            return main.kind;
        }
    }
    const std::string key = memberKey(part);
    for (const MainPart &main : kMainParts) {
        if (type.empty() && key.starts_with(main.folder)) {
            return main.kind;
        }
    }
    return Kind::kUnknown;
}

// A package whose relations are lost still shows what it is by the names of its members.
Identity identifyByNames(const Package &package) {
    for (const MainPart &main : kMainParts) {
        const bool shows =
            std::any_of(package.keys().begin(), package.keys().end(),
                        [&](const std::string &key) { return key.starts_with(main.folder); });
        if (shows) {
            return {main.kind, std::string(main.customName)};
        }
    }
    return {};
}

class EncryptionFinder : public XmlWalker {
public:
    bool found() const { return found_; }

protected:
    bool enter(const XmlElement &element) override {
        found_ = found_ || element.name() == "encryption-data";
        return true;
    }

private:
    bool found_ = false;
};

} // namespace

Identity identify(Package &package, const TextOutput &output) {
    const bool isOpenDocument = package.has("content.xml") || package.has(kManifest);
    if (isOpenDocument && !package.has("[content_types].xml")) {
        return {Kind::kOpenDocument, {}};
    }
    const Relations relations(package, "", output);
    for (const std::string &part : relations.targets("officeDocument")) {
        const Kind kind = kindOfPart(contentTypeOf(package, part, output), part);
        if (kind != Kind::kUnknown) {
            return {kind, part};
        }
    }
    return identifyByNames(package);
}

bool needsPassword(Package &package, Kind kind, const TextOutput &output) {
    if (kind != Kind::kOpenDocument) {
        return package.encrypted();
    }
    EncryptionFinder finder;
    readXml(package, kManifest, output, finder);
    return finder.found() || package.encrypted();
}

bool isWantedEarly(std::string_view key) {
    constexpr std::array<std::string_view, 5> kNames = {"[content_types].xml", kManifest,
                                                        "ppt/presentation.xml", "xl/workbook.xml",
                                                        "xl/styles.xml"};
    constexpr std::array<std::string_view, 4> kFolders = {"ppt/slides/", "ppt/notesslides/",
                                                          "ppt/comments/", "ppt/diagrams/data"};
    const auto inFolder = [key](std::string_view folder) { return key.starts_with(folder); };
    return key.ends_with(".rels") || std::find(kNames.begin(), kNames.end(), key) != kNames.end() ||
           std::any_of(kFolders.begin(), kFolders.end(), inFolder);
}

} // namespace qob::filters::office
