// SPDX-License-Identifier: MIT
// See embedded.h.
#include "embedded.h"

#include <algorithm>
#include <array>
#include <string>
#include <string_view>

#include "members.h"

namespace qob::filters::office {
namespace {

// The endings of what the host's filters read; macros ("xlsm") and templates are the same formats.
constexpr std::array<std::string_view, 36> kEndings = {
    ".docx", ".docm", ".dotx", ".dotm", ".xlsx", ".xlsm", ".xltx", ".xltm", ".pptx",
    ".pptm", ".potx", ".potm", ".ppsx", ".ppsm", ".odt",  ".ott",  ".ods",  ".ots",
    ".odp",  ".otp",  ".odg",  ".doc",  ".xls",  ".ppt",  ".rtf",  ".pdf",  ".txt",
    ".csv",  ".htm",  ".html", ".mht",  ".eml",  ".msg",  ".zip",  ".ics",  ".vcf"};

// "word/embeddings/Sheet1.xlsx"; and what a document takes in as a chunk of another format.
bool isEmbedded(std::string_view key) {
    const bool inFolder = key.find("/embeddings/") != std::string_view::npos;
    const bool isChunk = key.find("/afchunk") != std::string_view::npos;
    return (inFolder || isChunk) &&
           std::any_of(kEndings.begin(), kEndings.end(),
                       [key](std::string_view ending) { return key.ends_with(ending); });
}

} // namespace

int32_t extractEmbedded(Package &package, Extraction &extraction) {
    Members members(extraction);
    for (const std::string &key : package.keys()) {
        if (!isEmbedded(key)) {
            continue;
        }
        const std::string_view name = package.nameOf(key);
        int32_t code = members.begin(name.substr(name.find_last_of("/\\") + 1));
        if (code != EML_OK) {
            return code;
        }
        package.readUncounted(key, [&](std::string_view piece) {
            code = members.write(piece);
            return code == EML_OK;
        });
        const int32_t ended = members.end();
        if (code != EML_OK || ended != EML_OK) {
            return code != EML_OK ? code : ended;
        }
    }
    return EML_OK;
}

} // namespace qob::filters::office
