// SPDX-License-Identifier: MIT
// The formats are MS-OXTNEF's: attributes with a level, a tag, a length and a checksum (which is
// not looked at: a text with a wrong byte is better than none), and property lists that are padded
// to multiples of four.
#include "tnef_stream.h"

#include <utility>

namespace qob::tnef {
namespace {

constexpr uint32_t kSignature = 0x223E9F78;

constexpr uint64_t kAttributeHeaderSize = 9;
constexpr uint8_t kMessageLevel = 1;
constexpr uint8_t kAttachmentLevel = 2;

// Attributes.
constexpr uint16_t kSubject = 0x8004;
constexpr uint16_t kBody = 0x800C;
constexpr uint16_t kAttachData = 0x800F;
constexpr uint16_t kAttachTitle = 0x8010;
constexpr uint16_t kAttachRendering = 0x9002; // begins an attachment
constexpr uint16_t kMessageProperties = 0x9003;
constexpr uint16_t kAttachProperties = 0x9005;
constexpr uint16_t kOemCodePage = 0x9007;

// Properties.
constexpr uint16_t kPropSubject = 0x0037;
constexpr uint16_t kPropBody = 0x1000;
constexpr uint16_t kPropRtf = 0x1009;
constexpr uint16_t kPropHtml = 0x1013;
constexpr uint16_t kPropDisplayName = 0x3001;
constexpr uint16_t kPropAttachData = 0x3701;
constexpr uint16_t kPropAttachName = 0x3704;
constexpr uint16_t kPropAttachLongName = 0x3707;
constexpr uint16_t kPropHtmlCodePage = 0x3FDE;
constexpr uint16_t kPropCodePage = 0x3FFD;
constexpr uint16_t kFirstNamedProperty = 0x8000;

// Types of properties.
constexpr uint16_t kTypeLong = 0x0003;
constexpr uint16_t kTypeObject = 0x000D;
constexpr uint16_t kTypeString8 = 0x001E;
constexpr uint16_t kTypeUnicode = 0x001F;
constexpr uint16_t kTypeBinary = 0x0102;
constexpr uint16_t kManyValues = 0x1000;

// An object begins with the identifier of its kind.
constexpr uint64_t kObjectKindSize = 16;

struct Property {
    uint16_t id = 0;
    uint16_t type = 0;
    Range value; // the first one
};

bool hasLength(uint16_t type) {
    return type == kTypeObject || type == kTypeString8 || type == kTypeUnicode ||
           type == kTypeBinary;
}

// Bytes that a value of a type without a length takes; 0 for a type that nobody knows.
uint64_t sizeOfType(uint16_t type) {
    switch (type) {
    case 0x0002: // a short, padded
    case kTypeLong:
    case 0x0004: // a float
    case 0x000A: // an error
    case 0x000B: // a boolean, padded
        return 4;
    case 0x0005: // a double
    case 0x0006: // a currency
    case 0x0007: // a time of an application
    case 0x0014: // a 64-bit integer
    case 0x0040: // a time of the system
        return 8;
    case 0x0048: // a GUID
        return 16;
    default:
        return 0;
    }
}

void skipName(Cursor &cursor) {
    cursor.skip(16);
    const uint32_t kind = cursor.word32();
    const uint32_t idOrLength = cursor.word32();
    if (kind != 0) {
        cursor.takePadded(idOrLength);
    }
}

// False when the property cannot be told from what follows.
bool readProperty(Cursor &cursor, Property &property) {
    const uint16_t type = cursor.word16();
    property.id = cursor.word16();
    property.type = static_cast<uint16_t>(type & ~kManyValues);
    property.value = {};
    if (property.id >= kFirstNamedProperty) {
        skipName(cursor);
    }
    const bool long_ = hasLength(property.type);
    const uint64_t size = sizeOfType(property.type);
    if (!long_ && size == 0) {
        return false;
    }
    const uint32_t count = long_ || (type & kManyValues) != 0 ? cursor.word32() : 1;
    if (!long_) {
        property.value = cursor.take(size * count);
        return cursor.ok();
    }
    for (uint32_t i = 0; i < count && cursor.ok(); ++i) {
        const uint32_t length = cursor.word32();
        const Range value = cursor.takePadded(length);
        property.value = i == 0 ? value : property.value;
    }
    return cursor.ok();
}

// Calls `visit` for each property of the list, a last one that is cut off included. False when the
// list ends early.
template <typename Visit> bool forEachProperty(TnefFile &file, Range list, Visit visit) {
    Cursor cursor(file, list);
    const uint32_t count = cursor.word32();
    bool whole = cursor.ok();
    for (uint32_t i = 0; i < count && whole; ++i) {
        Property property;
        whole = readProperty(cursor, property);
        visit(property);
    }
    return whole;
}

void setText(Text &text, const Property &property) {
    const bool utf16 = property.type == kTypeUnicode;
    if (utf16 || property.type == kTypeString8 || property.type == kTypeBinary) {
        text = Text{property.value, utf16};
    }
}

void setNumber(TnefFile &file, uint32_t &number, const Property &property) {
    if (property.type == kTypeLong) {
        number = Cursor(file, property.value).word32();
    }
}

} // namespace

TnefStream::TnefStream(TnefFile &file) : file_(file), cursor_(file, {}) {
    restart();
}

void TnefStream::restart() {
    cursor_ = Cursor(file_, {0, file_.size()});
    damaged_ = cursor_.word32() != kSignature || damaged_;
    cursor_.skip(2); // a key that only its writer understands
}

// An attribute that is cut off by the end of the file is given as far as it is there.
bool TnefStream::next(Attribute &attribute) {
    if (!cursor_.ok() || cursor_.left() == 0) {
        return false;
    }
    const bool canFollow = cursor_.left() >= kAttributeHeaderSize;
    const uint8_t level = cursor_.byte();
    if (!canFollow && level != kMessageLevel && level != kAttachmentLevel) {
        return false; // a line end or the like that the file got on its way
    }
    attribute.id = cursor_.word16();
    cursor_.skip(2); // the type, which the identifier tells as well
    const uint32_t size = cursor_.word32();
    const bool hasHeader = cursor_.ok();
    attribute.data = cursor_.take(size);
    cursor_.skip(2); // the checksum
    damaged_ = damaged_ || !cursor_.ok();
    return hasHeader;
}

MessageParts TnefStream::message() {
    restart();
    MessageParts parts;
    Attribute attribute;
    while (next(attribute)) {
        addToMessage(attribute, parts);
    }
    restart();
    return parts;
}

void TnefStream::addToMessage(const Attribute &attribute, MessageParts &parts) {
    switch (attribute.id) {
    case kSubject:
        parts.subject = parts.subject.isEmpty() ? Text{attribute.data} : parts.subject;
        break;
    case kBody:
        parts.plainBody = parts.plainBody.isEmpty() ? Text{attribute.data} : parts.plainBody;
        break;
    case kOemCodePage:
        parts.codePage = Cursor(file_, attribute.data).word32();
        break;
    case kMessageProperties:
        addProperties(attribute.data, parts);
        break;
    default:
        break;
    }
}

void TnefStream::addProperties(Range list, MessageParts &parts) {
    const bool whole = forEachProperty(file_, list, [&](const Property &property) {
        switch (property.id) {
        case kPropSubject:
            setText(parts.subject, property);
            break;
        case kPropBody:
            setText(parts.plainBody, property);
            break;
        case kPropRtf:
            parts.compressedRtf = property.value;
            break;
        case kPropHtml:
            setText(parts.htmlBody, property);
            break;
        case kPropHtmlCodePage:
            setNumber(file_, parts.htmlCodePage, property);
            break;
        case kPropCodePage:
            if (parts.codePage == 0) {
                setNumber(file_, parts.codePage, property);
            }
            break;
        default:
            break;
        }
    });
    damaged_ = damaged_ || !whole;
}

bool TnefStream::nextAttachment(AttachmentParts &parts) {
    parts = {};
    Attribute attribute;
    while (next(attribute)) {
        if (attribute.id == kAttachRendering) {
            if (std::exchange(inAttachment_, true)) {
                return true;
            }
        } else if (inAttachment_) {
            addToAttachment(attribute, parts);
        }
    }
    return std::exchange(inAttachment_, false);
}

void TnefStream::addToAttachment(const Attribute &attribute, AttachmentParts &parts) {
    switch (attribute.id) {
    case kAttachTitle:
        parts.title = Text{attribute.data};
        break;
    case kAttachData:
        parts.data = attribute.data;
        break;
    case kAttachProperties:
        addProperties(attribute.data, parts);
        break;
    default:
        break;
    }
}

void TnefStream::addProperties(Range list, AttachmentParts &parts) {
    const bool whole = forEachProperty(file_, list, [&](const Property &property) {
        switch (property.id) {
        case kPropDisplayName:
            setText(parts.displayName, property);
            break;
        case kPropAttachName:
            setText(parts.shortName, property);
            break;
        case kPropAttachLongName:
            setText(parts.longName, property);
            break;
        case kPropAttachData:
            if (property.type == kTypeObject && property.value.size > kObjectKindSize) {
                parts.object = {property.value.offset + kObjectKindSize,
                                property.value.size - kObjectKindSize};
            } else if (property.type == kTypeBinary) {
                parts.binary = property.value;
            }
            break;
        default:
            break;
        }
    });
    damaged_ = damaged_ || !whole;
}

} // namespace qob::tnef
