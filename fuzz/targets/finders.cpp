// SPDX-License-Identifier: MIT
// The finders: the first byte picks one of eleven, the second says whether a nested part is read,
// the rest is the line.
//
//  1. The result is 0.
//  2. Codes are those of the tables, or unchanged where the rule says so.
//  3. Texts stay terminated in their fields, and their characters stand in the line.
//  4. No other field of the handle changes.
//  5. No byte behind the line's terminator is read (address checker).
#include "emlcontent/field_finders.h"

#include <algorithm>
#include <cstring>
#include <iterator>
#include <memory>
#include <span>

#include "emlcomm/charset.h"
#include "input.h"

namespace {

using Handle = ExtractionHandle;

// Makes one finder's own fields equal in both handles; what else differs was not its to change.
using Restore = void (*)(Handle &, const Handle &);

struct Finder {
    int32_t (*find)(Handle *, const char *);
    Restore restore;
    const char *key; // the line has to hold it; empty for any line
};

template <typename Field> void put(Field &to, const Field &from) {
    std::memcpy(&to, &from, sizeof(Field));
}
void restoreType(Handle &to, const Handle &from) {
    put(to.contentType, from.contentType);
}
void restorePartType(Handle &to, const Handle &from) {
    if (to.inNestedPart == 0) {
        put(to.partContentType, from.partContentType);
    } else {
        put(to.nestedContentType, from.nestedContentType);
    }
}
void restoreEncoding(Handle &to, const Handle &from) {
    put(to.transferEncoding, from.transferEncoding);
}
void restorePartEncoding(Handle &to, const Handle &from) {
    if (to.inNestedPart == 0) {
        put(to.partTransferEncoding, from.partTransferEncoding);
    } else {
        put(to.nestedTransferEncoding, from.nestedTransferEncoding);
    }
}
void restoreBoundary(Handle &to, const Handle &from) {
    put(to.boundary, from.boundary);
}
void restorePartBoundary(Handle &to, const Handle &from) {
    put(to.partBoundary, from.partBoundary);
    put(to.nestedBoundary, from.nestedBoundary);
}
void restoreCharset(Handle &to, const Handle &from) {
    put(to.charset, from.charset);
}
void restorePartCharset(Handle &to, const Handle &from) {
    put(to.partCharset, from.partCharset);
    put(to.nestedCharset, from.nestedCharset);
}
void restoreNothing(Handle & /*to*/, const Handle & /*from*/) {}

// The eleventh takes an alias instead of a header line and writes into its own buffer.
int32_t findAlias(Handle * /*handle*/, const char *text) {
    constexpr size_t kRoom = 20;
    const auto out = std::make_unique<char[]>(kRoom);
    std::fill_n(out.get(), kRoom, '?');
    TransCharset(text, out.get());
    require(out[0] == '?' || std::memchr(out.get(), '\0', kRoom) != nullptr,
            "an alias gives a terminated name or nothing");
    return 0;
}

constexpr Finder kFinders[] = {
    {analyzeContentType, restoreType, ""},
    {analyzeContentType_pre, restorePartType, ""},
    {findTransfer, restoreEncoding, ""},
    {findTransfer_pre, restorePartEncoding, ""},
    {findBoundary, restoreBoundary, "oundary="},
    {findBoundary_pre, restorePartBoundary, ""},
    {findChartset, restoreCharset, "charset="},
    {findChartset_pre, restorePartCharset, ""},
    {findChartset_pre1, restorePartCharset, ""},
    {findChartset_pre_special, restorePartCharset, "charset="},
    {findAlias, restoreNothing, ""},
};
static_assert(std::size(kFinders) == 11);

// Every field full, as a hostile part before this one may have left it.
void fillFields(Handle &handle) {
    std::memset(handle.boundary, 'x', kBoundarySize - 1);
    std::memset(handle.charset, 'x', kMessageCharsetSize - 1);
    std::memset(handle.partBoundary, 'x', kBoundarySize - 1);
    std::memset(handle.partCharset, 'x', kPartCharsetSize - 1);
    std::memset(handle.nestedBoundary, 'x', kBoundarySize - 1);
    std::memset(handle.nestedCharset, 'x', kPartCharsetSize - 1);
    handle.contentType = EML_CT_TEXT_HTML;
}

void requireKnownCodes(const Handle &handle) {
    constexpr int32_t kTypes[] = {0, 1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 20, 30};
    for (const int32_t type :
         {handle.contentType, handle.partContentType, handle.nestedContentType}) {
        require(std::find(std::begin(kTypes), std::end(kTypes), type) != std::end(kTypes),
                "a content type is one of the table");
    }
    for (const int32_t encoding :
         {handle.transferEncoding, handle.partTransferEncoding, handle.nestedTransferEncoding}) {
        require(encoding >= 0 && encoding <= 3, "a transfer encoding is one of the table");
    }
}

// A character that was in the field before may stay behind a shorter value; none comes from
// anywhere else.
void requireFromLine(std::string_view field, std::string_view line, bool terminated) {
    const size_t length = std::min(field.find('\0'), field.size());
    require(!terminated || length < field.size(), "a text is terminated in its field");
    for (const char c : field.substr(0, length)) {
        require(c == 'x' || line.find(c) != std::string_view::npos,
                "a text's characters stand in the line");
    }
}

void requireTexts(const Handle &handle, std::string_view line) {
    requireFromLine({handle.boundary, kBoundarySize}, line, true);
    requireFromLine({handle.charset, kMessageCharsetSize}, line, true);
    requireFromLine({handle.partBoundary, kBoundarySize}, line, true);
    requireFromLine({handle.partCharset, kPartCharsetSize}, line, true);
    requireFromLine({handle.nestedBoundary, kBoundarySize}, line, true);
    requireFromLine({handle.nestedCharset, kPartCharsetSize}, line, true);
}

void checkFinder(const Finder &finder, bool nested, const std::string &line) {
    const auto handle = std::make_unique<Handle>();
    if (nested) {
        fillFields(*handle);
    }
    handle->inNestedPart = nested ? 1 : 0;
    const auto before = std::make_unique<Handle>();
    std::memcpy(before.get(), handle.get(), sizeof(Handle));
    const auto exact = std::make_unique<char[]>(line.size() + 1);
    std::memcpy(exact.get(), line.c_str(), line.size() + 1);

    require(finder.find(handle.get(), exact.get()) == 0, "a finder never fails");
    requireKnownCodes(*handle);
    requireTexts(*handle, line);
    finder.restore(*handle, *before);
    require(std::ranges::equal(std::as_bytes(std::span(handle.get(), 1)),
                               std::as_bytes(std::span(before.get(), 1))),
            "a finder changes its own fields only");
}

} // namespace

int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
    std::string_view bytes(reinterpret_cast<const char *>(data), size);
    const Finder &finder = kFinders[takeByte(bytes) % std::size(kFinders)];
    const uint8_t mode = takeByte(bytes);
    const std::string text =
        (mode & 2U) != 0 ? foldIntoMail(bytes) : std::string(bytes.substr(0, kLongestFolded));
    const std::string line = text.substr(0, text.find('\0')); // finders stop there
    if (line.find(finder.key) != std::string::npos) {
        checkFinder(finder, (mode & 1U) != 0, line);
    }
    return 0;
}
