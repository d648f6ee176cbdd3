// SPDX-License-Identifier: MIT
// The reader of the message's own header: one function per kind of header line.
#include "emlcomm/header_reader.h"

#include <algorithm>
#include <cstring>
#include <string_view>

#include "emlcomm/chars.h"
#include "emlcomm/charset.h"
#include "emlcomm/encoded_word.h"
#include "emlcomm/line_reader.h"
#include "emlcomm/output.h"
#include "emlcontent/field_finders.h"
#include "emlcontent/field_names.h"

namespace {

// Fields seen so far.
enum : uint32_t {
    kSeenFrom = 1,
    kSeenTo = 2,
    kSeenCc = 4,
    kSeenBcc = 8,
    kSeenSubject = 16,
    kSeenAllFive = 31,
    kDateWritten = 32,
    kSeenEverything = 63
};

// The field that a folded line continues, and the address list that a trailing ',' keeps open.
enum class Field { kNone, kFrom, kTo, kSubject, kContentType, kCc, kBcc };

constexpr size_t kSavedDateSize = 80;
constexpr uint32_t kSavedDateWritten = 64;
constexpr uint32_t kDateBufferSize = 256;

// One address-list field, and where the text of its first line begins.
struct AddressList {
    Field field;
    std::string_view name = {};
    std::string_view label = {};
    uint32_t seenBit;
};
constexpr AddressList kToList = {Field::kTo, "To:", "To: ", kSeenTo};
constexpr AddressList kCcList = {Field::kCc, "Cc:", "Cc: ", kSeenCc};
constexpr AddressList kBccList = {Field::kBcc, "Bcc:", "Bcc: ", kSeenBcc};

struct HeaderWalk {
    ExtractionHandle *handle;
    uint32_t seen = 0;
    Field current = Field::kNone;
    Field pendingList = Field::kNone;
    bool wroteSomething = false;
    uint32_t labelsWritten = 0; // kSeenTo, kSeenCc, kSeenBcc
    char savedDate[kSavedDateSize] = {};

    // The line in hand.
    std::string_view line = {};
    bool folded = false;
    std::string_view foldedText = {};
};

enum class Next { kLine, kEndOfHeader };

bool endsWithComma(std::string_view line) {
    return !line.empty() && line.back() == ',';
}

void startNewLine(const HeaderWalk &walk) {
    if (walk.wroteSomething) {
        WriteCRLFToFile(walk.handle);
    }
}

int32_t writeLabel(HeaderWalk &walk, std::string_view label) {
    startNewLine(walk);
    walk.wroteSomething = true;
    return static_cast<int32_t>(
        WriteHder(walk.handle, label.data(), static_cast<uint32_t>(label.size())));
}

// The text after a field name and one optional blank.
std::string_view valueAfter(std::string_view line, size_t nameLength) {
    const bool blank = IsSpace(eml::charAt(line, nameLength)) == 1;
    return eml::textFrom(line, nameLength + (blank ? 1 : 0));
}

// From and Subject: the label again for every such line, then the value.
int32_t readLabelledField(HeaderWalk &walk, std::string_view name, std::string_view label,
                          Field field) {
    walk.current = field;
    const int32_t code = writeLabel(walk, label);
    if (code == EML_OK && walk.line.size() != name.size()) {
        analyzeAddress(walk.handle, valueAfter(walk.line, name.size()).data());
    }
    return code;
}

// Where the addresses begin in the first line of a list. One character after the name is taken
// for a blank without a look at it, except where a ',' ends a To line and in a Cc line.
size_t firstAddress(const AddressList &list, std::string_view line) {
    const bool blankAfterName = IsSpace(eml::charAt(line, 3)) == 1;
    switch (list.field) {
    case Field::kTo:
        return endsWithComma(line) && !blankAfterName ? 3 : 4;
    case Field::kCc:
        return blankAfterName ? 4 : 3;
    default:
        return 5;
    }
}

bool continuesList(const HeaderWalk &walk, const AddressList &list, bool labelWasWritten) {
    switch (list.field) {
    case Field::kTo:
        return labelWasWritten || walk.folded;
    case Field::kCc:
        return walk.pendingList != Field::kNone || walk.folded;
    default:
        return walk.pendingList != Field::kNone;
    }
}

// A line of To, Cc or Bcc. The label is written once per message, so a second To line is handed
// over whole, name included.
int32_t readAddressList(HeaderWalk &walk, const AddressList &list) {
    walk.seen |= list.seenBit;
    const bool labelWasWritten = (walk.labelsWritten & list.seenBit) != 0;
    if (!labelWasWritten && !(list.field == Field::kTo && walk.folded)) {
        const int32_t code = writeLabel(walk, list.label);
        if (code != EML_OK) {
            return code;
        }
        walk.labelsWritten |= list.seenBit;
    }
    const bool continued = continuesList(walk, list, labelWasWritten);
    walk.pendingList = endsWithComma(walk.line) ? list.field : Field::kNone;
    walk.current = list.field;
    if (continued) {
        analyzeAddress(walk.handle, eml::skipBlanks(walk.line).data());
    } else if (walk.line.size() != list.name.size()) {
        const size_t start = firstAddress(list, walk.line);
        analyzeAddress(walk.handle, eml::textFrom(walk.line, start).data());
    }
    return EML_OK;
}

// Writes bytes of a Date line, read as ISO-8859-1, and a line end.
int32_t writeDate(const HeaderWalk &walk, const char *text, uint32_t length) {
    ExtractionHandle *handle = walk.handle;
    startNewLine(walk);
    const eml::Buffer converted = eml::newConversionBuffer(length, kDateBufferSize);
    if (converted == nullptr) {
        return EML_ERR_MEMORY;
    }
    eml::setCharsetName(handle, eml::kLatin1);
    const uint32_t produced = TransChar(handle, text, converted.get(), length);
    const uint32_t code = myfwrite(handle, converted.get(), 1, produced, handle->outputFile);
    if (eml::writeFailed(code)) {
        return static_cast<int32_t>(code);
    }
    WriteCRLFToFile(handle);
    return EML_OK;
}

// The Date line, name included: in place once the five other fields have been seen, else kept for
// the end of the header.
int32_t readDate(HeaderWalk &walk) {
    if (walk.seen == kSeenAllFive) {
        const int32_t code =
            writeDate(walk, walk.line.data(), static_cast<uint32_t>(walk.line.size()));
        walk.seen = kSeenEverything;
        return code;
    }
    std::memset(walk.savedDate, 0, kSavedDateSize);
    std::memcpy(walk.savedDate, walk.line.data(), std::min(walk.line.size(), kSavedDateSize));
    walk.current = Field::kNone;
    return EML_OK;
}

// A Content-Type line or one folded below it: type, boundary and charset stand at fixed places or
// anywhere on the line.
void readContentType(HeaderWalk &walk) {
    constexpr size_t kNameLength = 13;
    ExtractionHandle *handle = walk.handle;
    analyzeContentType(handle, valueAfter(walk.line, kNameLength).data());
    if (eml::contains(walk.line, eml::kBoundaryKey) || eml::contains(walk.line, "Boundary=")) {
        findBoundary(handle, walk.line.data());
    }
    if (eml::contains(walk.line, eml::kCharsetKey)) {
        findChartset(handle, walk.line.data());
    }
    walk.current = Field::kContentType;
}

bool isBoundaryLine(const HeaderWalk &walk) {
    return eml::startsWith(walk.line, "--") &&
           eml::startsWith(eml::textFrom(walk.line, 2), walk.handle->boundary);
}

bool belongsTo(const HeaderWalk &walk, const AddressList &list) {
    return eml::startsWithNoCase(walk.line, list.name) ||
           (walk.folded && walk.current == list.field) || walk.pendingList == list.field;
}

// Handles one line that is not empty; the order of the tests decides which field a line is.
int32_t readHeaderLine(HeaderWalk &walk, Next &next) {
    ExtractionHandle *handle = walk.handle;
    const std::string_view line = walk.line;

    if (eml::startsWithNoCase(line, "From:")) {
        walk.seen |= kSeenFrom;
        return readLabelledField(walk, "From:", "From: ", Field::kFrom);
    }
    if (walk.folded && walk.current == Field::kFrom) {
        return analyzeAddress(handle, walk.foldedText.data());
    }
    if (belongsTo(walk, kToList)) {
        return readAddressList(walk, kToList);
    }
    if (eml::startsWithNoCase(line, "Subject:")) {
        walk.seen |= kSeenSubject;
        return readLabelledField(walk, "Subject:", "Subject: ", Field::kSubject);
    }
    if (walk.folded && walk.current == Field::kSubject) {
        return analyzeAddress(handle, walk.foldedText.data());
    }
    if (eml::startsWithNoCase(line, "Date:")) {
        return readDate(walk);
    }
    if (eml::startsWithNoCase(line, "content-type:") ||
        (walk.folded && walk.current == Field::kContentType)) {
        readContentType(walk);
        return EML_OK;
    }
    if (eml::startsWithNoCase(line, eml::kEncodingName)) {
        return findTransfer(handle, eml::textFrom(line, eml::kEncodingName.size()).data());
    }
    if (belongsTo(walk, kCcList)) {
        return readAddressList(walk, kCcList);
    }
    if (belongsTo(walk, kBccList)) {
        return readAddressList(walk, kBccList);
    }
    // An X-MimeOLE line needs no rule of its own: it is skipped like every other field.
    next = isBoundaryLine(walk) ? Next::kEndOfHeader : Next::kLine;
    return EML_OK;
}

// Takes the line in hand apart. While a list is pending no line counts as folded.
void lookAtLine(HeaderWalk &walk) {
    walk.line = eml::currentLine(walk.handle);
    walk.foldedText = eml::skipBlanks(walk.line);
    walk.folded = walk.foldedText.size() < walk.line.size() && walk.pendingList == Field::kNone;
    if (!walk.folded) {
        walk.current = Field::kNone;
    }
}

} // namespace

QOB_EXPORT int32_t EMLReadHeader(ExtractionHandle *handle) {
    if (!eml::ensureOutputOpen(handle)) {
        return EML_ERR_OUTPUT;
    }
    if (handle->lineBuffer == nullptr) {
        return EML_ERR_FORMAT;
    }
    HeaderWalk walk = {.handle = handle};
    Next next = Next::kLine;
    while (next == Next::kLine && eml::filePosition(handle) < handle->fileSize) {
        if (const int32_t code = eml::readLine(handle, kBlockSize); code != EML_OK) {
            return code;
        }
        handle->encodedWordFlag = 0;
        if (handle->lineLength == 0) {
            if (walk.seen == 0) {
                return EML_ERR_FORMAT;
            }
            break;
        }
        lookAtLine(walk);
        if (const int32_t code = readHeaderLine(walk, next); code != EML_OK) {
            return code;
        }
    }
    if ((walk.seen & kDateWritten) == 0) {
        // Also without a Date line, so that a line end follows the last field.
        const int32_t code = writeDate(walk, walk.savedDate, kSavedDateWritten);
        if (code != EML_OK) {
            return code;
        }
    }
    handle->encodedWordFlag = 0;
    return EML_OK;
}
