// SPDX-License-Identifier: MIT
// A member's bytes go through a temporary file, which is there only while the member is read. The
// name never becomes a path; its ending does, when it is a short word.
#include "members.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <new>

#include <unicode/uchar.h>
#include <unicode/unistr.h>

#include "qob_host.h"
#include "qob_insert.h"
#include "qob_limits.h"

namespace qob::filters {
namespace {

constexpr std::size_t kPathCapacity = 4096;
constexpr std::size_t kLongestName = 1024;
constexpr std::size_t kLongestEnding = 8;
constexpr std::size_t kLongestReason = 4096;
constexpr std::size_t kPieceSize = std::size_t{1} << 20U;
constexpr UChar32 kReplacement = 0xFFFD;

// Characters that would break the line, or turn the text around them.
bool isPrintable(UChar32 c) {
    const auto type = u_charType(c);
    return type != U_CONTROL_CHAR && type != U_LINE_SEPARATOR && type != U_PARAGRAPH_SEPARATOR &&
           type != U_SURROGATE && u_hasBinaryProperty(c, UCHAR_BIDI_CONTROL) == 0;
}

bool isAlphanumeric(char c) {
    return (c >= '0' && c <= '9') || (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z');
}

// ".pdf" of "docs/a.pdf"; empty when there is none worth keeping.
std::string endingOf(std::string_view name) {
    const std::string_view last = name.substr(name.find_last_of("/\\") + 1);
    const std::size_t dot = last.rfind('.');
    if (dot == std::string_view::npos) {
        return {};
    }
    const std::string_view word = last.substr(dot + 1);
    const bool kept = !word.empty() && word.size() <= kLongestEnding &&
                      std::all_of(word.begin(), word.end(), isAlphanumeric);
    return kept ? std::string(last.substr(dot)) : std::string();
}

std::unique_ptr<SessionRecord> newSession(const char *inputPath) {
    auto session = std::make_unique<SessionRecord>();
    std::strncpy(session->path, inputPath, sizeof session->path - 1);
    std::strncpy(session->name, "Attach", sizeof session->name - 1);
    return session;
}

} // namespace

std::string printableName(std::string_view name) {
    const auto length = static_cast<int32_t>(std::min(name.size(), 2 * kLongestName));
    const icu::UnicodeString read = icu::UnicodeString::fromUTF8({name.data(), length});
    std::string printable;
    for (int32_t i = 0; i < read.length(); i = read.moveIndex32(i, 1)) {
        const UChar32 c = read.char32At(i);
        std::string next;
        icu::UnicodeString(isPrintable(c) ? c : kReplacement).toUTF8String(next);
        if (printable.size() + next.size() > kLongestName) {
            break;
        }
        printable += next;
    }
    return printable;
}

Members::Members(Extraction &extraction, uint64_t packedSize)
    : extraction_(extraction), packedSize_(packedSize != 0 ? packedSize : extraction.input.size()),
      callback_{&Members::relay, this}, session_(newSession(extraction.inputPath)) {}

Members::~Members() {
    abandon();
}

int32_t Members::begin(std::string_view name) {
    abandon();
    int32_t code = qob_limits_part();
    if (code == EML_OK) {
        code = qob_limits_time();
    }
    if (code != EML_OK) {
        return code;
    }
    std::array<char, kPathCapacity> temporary{};
    if (QOB_ASC_tmpnam(temporary.data()) != 0) {
        return EML_ERR_SHORT_WRITE;
    }
    name_ = printableName(name);
    path_ = temporary.data() + endingOf(name);
    file_ = QOB_FileOpen(path_.c_str(), "wb");
    if (file_ == nullptr) {
        path_.clear();
        return EML_ERR_SHORT_WRITE;
    }
    return EML_OK;
}

int32_t Members::write(std::string_view bytes) {
    while (!bytes.empty()) {
        const std::string_view piece = bytes.substr(0, kPieceSize);
        bytes.remove_prefix(piece.size());
        int32_t code = qob_limits_unpacked(piece.size(), packedSize_);
        if (code == EML_OK) {
            code = qob_limits_time();
        }
        if (code != EML_OK) {
            return code;
        }
        const auto count = static_cast<int32_t>(piece.size());
        if (file_ == nullptr || QOB_FileWrite(piece.data(), 1, count, file_) != count) {
            return EML_ERR_SHORT_WRITE;
        }
    }
    return EML_OK;
}

int32_t Members::end() {
    if (path_.empty()) {
        return EML_OK;
    }
    if (const int32_t code = closeFile(); code != EML_OK) {
        abandon();
        return code;
    }
    const int32_t code = handOver();
    abandon();
    if (extraction_.output.status() != EML_OK) {
        return extraction_.output.status();
    }
    if (const int32_t limit = qob_limits_stopped(); limit != EML_OK) {
        return limit;
    }
    return (extraction_.params.flags & EML_FLAG_KEEP_GOING) != 0 ? int32_t{EML_OK} : code;
}

void Members::abandon() {
    static_cast<void>(closeFile());
    if (!path_.empty()) {
        QOB_ASC_remove(path_.c_str());
        path_.clear();
    }
}

int32_t Members::closeFile() {
    QobFile *file = file_;
    file_ = nullptr;
    const bool kept = file == nullptr || QOB_FileClose(file) == 0;
    return kept ? int32_t{EML_OK} : int32_t{EML_ERR_SHORT_WRITE};
}

int32_t Members::handOver() {
    TextOutput &output = extraction_.output;
    const uint32_t flags = extraction_.params.flags;
    if (!output.atLineStart()) {
        output.append("\n");
    }
    const bool labelled = (flags & EML_FLAG_NO_LABELS) == 0 && !name_.empty();
    if (labelled) {
        output.append(name_ + '\n');
    }
    int32_t code = EML_OK;
    bool inserted = false;
    if ((flags & EML_FLAG_NO_HANDOVER) == 0) {
        code = output.insert(path_.c_str(), *session_, &callback_);
        inserted = qob_insert_ending() != QOB_INSERTED_NOTHING;
    }
    ++session_->attachmentNumber;
    if (labelled || inserted) {
        output.append(output.atLineStart() ? "\n" : "\n\n");
    }
    return code;
}

// The reason behind the member's name. Empty where there is no name, or no room: better without the
// name than not at all.
std::string Members::namedReason(const char *reason) const {
    try {
        std::string named = name_ + ": " + (reason != nullptr ? reason : "");
        return name_.empty() || named.size() > kLongestReason ? std::string() : named;
    } catch (const std::bad_alloc &) {
        return {};
    }
}

// What is reported about a member, or about something inside it, begins with the member's name.
void Members::relay(void *context, const QobNotice *notice) {
    const auto &members = *static_cast<const Members *>(context);
    const auto *outer = static_cast<const QobErrorCallback *>(members.extraction_.callback);
    if (outer == nullptr || outer->report == nullptr) {
        return;
    }
    QobNotice named = *notice;
    if (named.path != nullptr && members.path_ == named.path) {
        named.path = members.name_.empty() ? members.extraction_.inputPath : members.name_.c_str();
    }
    const std::string reason = members.namedReason(notice->reason);
    if (!reason.empty()) {
        named.reason = reason.c_str();
    }
    outer->report(outer->context, &named);
}

} // namespace qob::filters
