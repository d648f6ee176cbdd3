// SPDX-License-Identifier: MIT
// Opens ICU converters and finds out what the conversion has to know about each.
#include "codec.h"

#include <string_view>

#include <unicode/ucnv_cb.h>

namespace qob {
namespace {

constexpr char16_t kReplacementCharacter = 0xFFFD;
constexpr char16_t kLineSeparator = 0x2028;

// ICU's own substitution writes U+001A for a lone byte in some charsets: a control code in text.
void readMalformed(const void *context, UConverterToUnicodeArgs *args, const char *bytes,
                   int32_t length, UConverterCallbackReason reason, UErrorCode *status) {
    if (reason > UCNV_IRREGULAR) {
        return;
    }
    const auto *rule = static_cast<const MalformedRule *>(context);
    const bool euro = rule->loneEuro && length == 1 && static_cast<unsigned char>(bytes[0]) == 0x80;
    const UChar character = euro ? u'\u20AC' : rule->substitute;
    *status = U_ZERO_ERROR;
    ::ucnv_cbToUWriteUChars(args, &character, 1, 0, status);
}

Converter openIcu(const char *icuName) {
    UErrorCode status = U_ZERO_ERROR;
    Converter converter(::ucnv_open(icuName, &status));
    return U_FAILURE(status) ? nullptr : std::move(converter);
}

// The single character that one byte decodes to, U+FFFD when it is none.
char16_t decodeByte(UConverter *converter, unsigned char byte) {
    const char input = static_cast<char>(byte);
    std::array<UChar, 4> output{};
    UErrorCode status = U_ZERO_ERROR;
    const int32_t length = ::ucnv_toUChars(converter, output.data(), 4, &input, 1, &status);
    return U_SUCCESS(status) && length == 1 ? output[0] : kReplacementCharacter;
}

// Whether the charset has the character itself, not something near it.
bool canWrite(UConverter *converter, char16_t character) {
    UErrorCode status = U_ZERO_ERROR;
    ::ucnv_setFallback(converter, 0);
    ::ucnv_setFromUCallBack(converter, UCNV_FROM_U_CALLBACK_STOP, nullptr, nullptr, nullptr,
                            &status);
    std::array<char, 32> bytes{};
    ::ucnv_fromUChars(converter, bytes.data(), 32, &character, 1, &status);
    ::ucnv_reset(converter);
    return U_SUCCESS(status);
}

} // namespace

bool SourceCodec::openConverter(const char *icuName) {
    converter_ = openIcu(icuName);
    if (converter_ == nullptr) {
        return false;
    }
    UErrorCode status = U_ZERO_ERROR;
    ::ucnv_setToUCallBack(converter_.get(), readMalformed, &malformed_, nullptr, nullptr, &status);
    return U_SUCCESS(status);
}

void SourceCodec::classify() {
    switch (::ucnv_getType(converter_.get())) {
    case UCNV_UTF16_LittleEndian:
        sourceCode_ |= kSourceLittleEndian;
        [[fallthrough]];
    case UCNV_UTF16_BigEndian:
        unitBytes_ = 2;
        break;
    case UCNV_UTF32_LittleEndian:
        sourceCode_ |= kSourceLittleEndian;
        [[fallthrough]];
    case UCNV_UTF32_BigEndian:
        unitBytes_ = 4;
        break;
    case UCNV_ISO_2022:
    case UCNV_COMPOUND_TEXT:
        sourceCode_ |= kSourceShifts;
        stripsDecoded_ = true;
        break;
    case UCNV_HZ:
    case UCNV_UTF7:
    case UCNV_IMAP_MAILBOX:
        stripsDecoded_ = true;
        break;
    case UCNV_EBCDIC_STATEFUL:
    case UCNV_SCSU:
    case UCNV_BOCU1:
        sourceCode_ |= kSourceOpaque;
        stripsDecoded_ = true;
        break;
    default:
        probe();
    }
}

// Charsets of tables: whether they hold ASCII where ASCII is, and which liberties they take.
void SourceCodec::probe() {
    UConverter *converter = converter_.get();
    UErrorCode status = U_ZERO_ERROR;
    const char *name = ::ucnv_getName(converter, &status);
    const std::string_view icuName = U_FAILURE(status) || name == nullptr ? "" : name;
    malformed_.loneEuro = icuName == "gb18030";
    fillsPrivate_ = !icuName.starts_with("macos-"); // there U+F8FF is the company's sign
    if (decodeByte(converter, 'A') != u'A' || decodeByte(converter, '\n') != u'\n') {
        sourceCode_ |= kSourceOpaque;
        stripsDecoded_ = true;
    } else {
        swapsControls_ = decodeByte(converter, 0x1A) == 0x1C;
    }
    if (::ucnv_getMaxCharSize(converter) == 1) {
        buildTable();
    }
}

void SourceCodec::buildTable() {
    auto table = std::make_unique<std::array<char16_t, 256>>();
    for (unsigned byte = 0; byte < table->size(); ++byte) {
        (*table)[byte] = decodeByte(converter_.get(), static_cast<unsigned char>(byte));
    }
    table_ = std::move(table);
}

std::unique_ptr<SourceCodec> SourceCodec::open(const SourceName &name) {
    std::unique_ptr<SourceCodec> codec(new SourceCodec(name.kind));
    switch (name.kind) {
    case SourceKind::Named:
        if (!codec->openConverter(name.icuName.c_str())) {
            return nullptr;
        }
        codec->classify();
        break;
    case SourceKind::Utf16:
        codec->unitBytes_ = 2;
        codec->sourceCode_ |= kSourceMark;
        break;
    case SourceKind::Utf32:
        codec->unitBytes_ = 4;
        codec->sourceCode_ |= kSourceMark;
        break;
    case SourceKind::EucJpTwoBytes:
        codec->unitBytes_ = 2;
        if (!codec->openConverter("euc-jp-2007")) {
            return nullptr;
        }
        break;
    case SourceKind::Undeclared:
        break;
    }
    return codec;
}

std::unique_ptr<OutputCodec> OutputCodec::open(const std::string &icuName) {
    auto codec = std::make_unique<OutputCodec>();
    codec->icuName_ = icuName;
    codec->converter_ = icuName.empty() ? nullptr : openIcu(icuName.c_str());
    UConverter *converter = codec->converter_.get();
    if (converter == nullptr) {
        return nullptr;
    }
    codec->isHz_ = ::ucnv_getType(converter) == UCNV_HZ;
    codec->hasLineSeparator_ = canWrite(converter, kLineSeparator);
    codec->ownReplacement_ =
        canWrite(converter, kReplacementCharacter) ? kReplacementCharacter : u'?';
    UErrorCode status = U_ZERO_ERROR;
    ::ucnv_setFromUCallBack(converter, UCNV_FROM_U_CALLBACK_SUBSTITUTE, nullptr, nullptr, nullptr,
                            &status);
    ::ucnv_setFallback(converter, 1); // a character near it is better than '?'
    if (U_FAILURE(status)) {
        return nullptr;
    }
    codec->setReplacement(0);
    return codec;
}

void OutputCodec::setReplacement(char16_t replacement) {
    const char16_t wanted = replacement == 0 ? ownReplacement_ : replacement;
    if (wanted == replacement_) {
        return;
    }
    UErrorCode status = U_ZERO_ERROR;
    ::ucnv_setSubstString(converter_.get(), &wanted, 1, &status);
    replacement_ = wanted;
}

} // namespace qob
