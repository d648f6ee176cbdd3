// SPDX-License-Identifier: MIT
// Header values: quoted strings, angle-bracket addresses and encoded words.
//
// The charset of plain text depends on what ends it: text before a quote or an encoded word is
// read as ISO-8859-1; text before '<', inside quotes and at the end of the value is read in the
// charset of the host's language. That asymmetry is intended.
#include "emlcomm/encoded_word.h"

#include <algorithm>
#include <cstring>
#include <string_view>

#include "emlcomm/base64.h"
#include "emlcomm/chars.h"
#include "emlcomm/charset.h"
#include "emlcomm/output.h"
#include "emlcomm/quoted_printable.h"

namespace {

enum class WordEncoding { kNone, kBase64, kQuotedPrintable };

constexpr size_t kWordCharsetLength = kPartCharsetSize - 1;

// One walk over a header value.
struct ValueWalk {
    ExtractionHandle *handle;
    std::string_view rest = {}; // the text not yet looked at
    char *plain;                // ordinary characters waiting to be written; kLineBufferSize bytes
    char *word;                 // one encoded text or one address; kLineBufferSize bytes
    size_t plainLength = 0;
    char wordCharset[kCharsetNameSize] = {};
    WordEncoding encoding = WordEncoding::kNone;
    bool inQuotes = false;
    int32_t status = EML_OK; // of the last decoder
};

void flush(ValueWalk &walk, const char *charset) {
    if (walk.plainLength > 0) {
        eml::writeConverted(walk.handle, {walk.plain, walk.plainLength}, charset);
        walk.plainLength = 0;
    }
}

void takeQuote(ValueWalk &walk) {
    flush(walk, walk.inQuotes ? walk.handle->defaultCharset : eml::kLatin1);
    eml::writeConverted(walk.handle, "\"", eml::kLatin1);
    walk.inQuotes = !walk.inQuotes;
    walk.rest.remove_prefix(1);
}

// Puts `text` alone into the cleared word buffer. Bytes behind it must be zero: the
// quoted-printable decoder looks for a soft break at the end of the whole input line.
void fillWord(ValueWalk &walk, std::string_view text) {
    std::memset(walk.word, 0, kLineBufferSize);
    std::memcpy(walk.word, text.data(), text.size());
}

// False when the address never ends: nothing of it is written then.
bool takeAddress(ValueWalk &walk) {
    const char *charset = walk.handle->defaultCharset;
    flush(walk, charset);
    const size_t length = walk.rest.find('>');
    if (length == std::string_view::npos) {
        return false;
    }
    fillWord(walk, walk.rest.substr(0, length));
    eml::writeConverted(walk.handle, {walk.word, length}, charset);
    eml::writeConverted(walk.handle, ">", charset);
    walk.rest.remove_prefix(length + 1);
    return true;
}

// Reads "charset?encoding?". An empty charset leaves the previous word's; the bytes that select
// and close the encoding are skipped without a check.
void readWordHead(ValueWalk &walk) {
    const size_t length = std::min(walk.rest.find('?'), walk.rest.size());
    if (length > 0) {
        const size_t kept = std::min(length, kWordCharsetLength);
        std::memcpy(walk.wordCharset, walk.rest.data(), kept);
        walk.wordCharset[kept] = '\0';
        TranType(walk.handle, walk.wordCharset);
    }
    walk.rest.remove_prefix(length);
    if (walk.rest.empty()) {
        return;
    }
    const char letter = eml::charAt(walk.rest, 1);
    walk.encoding =
        letter == 'B' || letter == 'b' ? WordEncoding::kBase64 : WordEncoding::kQuotedPrintable;
    walk.rest.remove_prefix(std::min<size_t>(walk.rest.size(), 3));
}

int32_t decodeWord(ValueWalk &walk, uint32_t length) {
    ExtractionHandle *handle = walk.handle;
    if (walk.encoding == WordEncoding::kBase64) {
        // An empty charset name is passed on as it is; the converter decides what it means.
        std::memcpy(handle->charsetName, walk.wordCharset, kPartCharsetSize);
        return analyzeBase64(handle, walk.word, length);
    }
    return analyzeQF(handle, walk.word, length, handle->outputFile, 1);
}

// False when the encoded word never ends: it is dropped then.
bool takeEncodedWord(ValueWalk &walk) {
    flush(walk, eml::kLatin1);
    walk.rest.remove_prefix(2);
    readWordHead(walk);
    eml::setCharsetName(walk.handle, walk.wordCharset[0] != '\0' ? walk.wordCharset
                                                                 : walk.handle->defaultCharset);
    const size_t length = walk.rest.find("?=");
    if (length == std::string_view::npos) {
        return false;
    }
    if (length > 0) {
        fillWord(walk, walk.rest.substr(0, length));
        walk.status = decodeWord(walk, static_cast<uint32_t>(length));
    }
    walk.rest.remove_prefix(length + 2);
    return true;
}

// Takes the next item of the value; false when the walk ends before the text does.
bool takeItem(ValueWalk &walk) {
    const char c = walk.rest.front();
    if (c == '"') {
        takeQuote(walk);
        return true;
    }
    if (c == '<') {
        return takeAddress(walk);
    }
    if (eml::startsWith(walk.rest, "=?")) {
        return takeEncodedWord(walk);
    }
    walk.plain[walk.plainLength++] = c;
    walk.rest.remove_prefix(1);
    return true;
}

} // namespace

QOB_EXPORT int32_t analyzeAddress(ExtractionHandle *handle, const char *text) {
    analyzeSpecialName(handle, text, 1);
    return 0;
}

QOB_EXPORT int32_t analyzeSpecialName(ExtractionHandle *handle, const char *text,
                                      int32_t /*mode*/) {
    const eml::Buffer plain = eml::newBuffer(kLineBufferSize);
    const eml::Buffer word = plain == nullptr ? nullptr : eml::newBuffer(kLineBufferSize);
    if (word == nullptr) {
        return EML_ERR_MEMORY;
    }
    handle->encodedWordFlag = 1;
    ValueWalk walk = {handle, {text, strnlen(text, kMaxLineLength)}, plain.get(), word.get()};
    while (!walk.rest.empty() && takeItem(walk)) {
    }
    flush(walk, handle->defaultCharset);
    const bool known = walk.status == EML_OK || walk.status == EML_ERR_LIMIT;
    return known ? walk.status : EML_ERR_MEMORY;
}
