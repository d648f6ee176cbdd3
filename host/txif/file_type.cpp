// SPDX-License-Identifier: MIT
// The table type -> library and the order in which content, name and claim decide. An application
// part of a message arrives in a file named .eml whatever it is, so that the ending alone never
// makes a message.
#include "file_type.h"

#include <array>
#include <cctype>

#include "content_signs.h"
#include "qob_host.h"

namespace qob {
namespace {

constexpr FileType kMessage{"a message", "libqob_txeml.so.5", true};
constexpr FileType kHtml{"an HTML document", "libqob_txhtml.so.5", false};
constexpr FileType kPdf{"a PDF document", "libqob_txpdf.so.5", false};
constexpr FileType kText{"plain text", "libqob_txtext.so.5", false};
constexpr FileType kBinary{"binary data", nullptr, false};

bool endsWithNoCase(std::string_view name, std::string_view ending) {
    if (name.size() < ending.size()) {
        return false;
    }
    const std::string_view tail = name.substr(name.size() - ending.size());
    for (std::size_t i = 0; i < ending.size(); ++i) {
        if (std::tolower(static_cast<unsigned char>(tail[i])) != ending[i]) {
            return false;
        }
    }
    return true;
}

} // namespace

const FileType &messageType() {
    return kMessage;
}

FileType fileTypeOf(std::string_view head, std::string_view name, Claim claim) {
    if (looksLikePdf(head)) {
        return kPdf;
    }
    if (const char *kind = unreadableKind(head)) {
        return FileType{kind, nullptr, false};
    }
    if (claim == Claim::kMessage) {
        return kMessage;
    }
    if ((claim == Claim::kMessagePossible || endsWithNoCase(name, ".eml")) &&
        looksLikeMessage(head)) {
        return kMessage;
    }
    if (looksLikeHtml(head)) {
        return kHtml;
    }
    if (looksBinary(head)) {
        return kBinary;
    }
    if (endsWithNoCase(name, ".htm") || endsWithNoCase(name, ".html")) {
        return kHtml;
    }
    return kText;
}

bool detectFileType(const char *path, Claim claim, FileType &type) {
    QobFile *file = QOB_FileOpen(path, "rb");
    if (file == nullptr) {
        return false;
    }
    std::array<char, kHeadSize> head{};
    const int32_t count = QOB_FileRead(head.data(), 1, static_cast<int32_t>(head.size()), file);
    QOB_FileClose(file);
    const std::size_t length = count > 0 ? static_cast<std::size_t>(count) : 0;
    type = fileTypeOf(std::string_view(head.data(), length), path, claim);
    return true;
}

} // namespace qob
