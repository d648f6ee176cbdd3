// SPDX-License-Identifier: MIT
// The table type -> library and the order in which content, name and claim decide. An application
// part of a message arrives in a file named .eml whatever it is, so that the ending alone never
// makes a message.
#include "file_type.h"

#include <algorithm>
#include <array>
#include <cctype>
#include <optional>

#include "container_signs.h"
#include "content_signs.h"
#include "qob_filter.h"

namespace qob {
namespace {

// The e-mail filter knows no files but those of the host's services.
constexpr FileType kMessage{"a message", "libqob_txeml.so.5", true,
                            QOB_FILTER_HOST_TEMPORARIES | QOB_FILTER_HOST_INPUT};
constexpr FileType kHtml{"an HTML document", "libqob_txhtml.so.5", false};
constexpr FileType kPdf{"a PDF document", "libqob_txpdf.so.5", false};
constexpr FileType kOffice{"an office document", "libqob_txoffice.so.5", true};
constexpr FileType kOldOffice{"an older office document", "libqob_txlegacy.so.5", false};
constexpr FileType kRtf{"an RTF document", "libqob_txrtf.so.5", false};
constexpr FileType kArchive{"an archive", "libqob_txarchive.so.5", true};
constexpr FileType kTnef{"a TNEF container", "libqob_txtnef.so.5", true};
constexpr FileType kCalendar{"a calendar or a card", "libqob_txcalendar.so.5", false};
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

template <std::size_t count>
bool endsWithOneOf(std::string_view name, const std::array<std::string_view, count> &endings) {
    return std::any_of(endings.begin(), endings.end(),
                       [name](std::string_view ending) { return endsWithNoCase(name, ending); });
}

// The endings of documents that are ZIP files, for those whose first members do not tell.
constexpr std::array<std::string_view, 20> kOfficeEndings = {
    ".docx", ".docm", ".dotx", ".dotm", ".xlsx", ".xlsm", ".xltx", ".xltm", ".pptx", ".pptm",
    ".potx", ".potm", ".ppsx", ".ppsm", ".odt",  ".ods",  ".odp",  ".ott",  ".ots",  ".otp"};
constexpr std::array<std::string_view, 2> kCalendarEndings = {".ics", ".vcf"};
constexpr std::array<std::string_view, 2> kHtmlEndings = {".htm", ".html"};

// What begins with a signature that no message begins with; nothing for other files.
std::optional<FileType> typeBySignature(std::string_view head, std::string_view name) {
    if (looksLikePdf(head)) {
        return kPdf;
    }
    if (looksLikeZip(head)) {
        const bool office = zipHoldsOfficeDocument(head) || endsWithOneOf(name, kOfficeEndings);
        return office ? kOffice : kArchive;
    }
    const struct {
        bool (*looksLike)(std::string_view);
        const FileType &type;
    } signs[] = {{looksLikeArchive, kArchive},
                 {looksLikeOldOffice, kOldOffice},
                 {looksLikeRtf, kRtf},
                 {looksLikeTnef, kTnef},
                 {looksLikeCalendar, kCalendar}};
    for (const auto &sign : signs) {
        if (sign.looksLike(head)) {
            return sign.type;
        }
    }
    if (const char *kind = unreadableKind(head)) {
        return FileType{kind, nullptr, false};
    }
    return std::nullopt;
}

// What only the name tells of a file whose content may be anything.
std::optional<FileType> typeByEnding(std::string_view head, std::string_view name) {
    if (looksBinary(head)) {
        // A tar archive with a damaged header: its filter says what is wrong with it.
        return endsWithNoCase(name, ".tar") ? kArchive : kBinary;
    }
    if (endsWithOneOf(name, kCalendarEndings)) {
        return kCalendar;
    }
    if (endsWithOneOf(name, kHtmlEndings)) {
        return kHtml;
    }
    return std::nullopt;
}

} // namespace

const FileType &messageType() {
    return kMessage;
}

FileType fileTypeOf(std::string_view head, std::string_view name, Claim claim) {
    if (const auto type = typeBySignature(head, name)) {
        return *type;
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
    return typeByEnding(head, name).value_or(kText);
}

} // namespace qob
