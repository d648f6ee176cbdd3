// SPDX-License-Identifier: MIT
// Opens ICU converters and finds out what the conversion has to know about each.
#include "codec.h"

#include <algorithm>
#include <new>
#include <utility>

#include <unicode/ucnv_cb.h>
#include <unicode/utf16.h>

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

// All that DirectForm promises of ASCII.
std::string plainAscii() {
    std::string text = "\t\r\n";
    for (char byte = 0x20; byte < 0x7F; ++byte) {
        text += byte;
    }
    return text;
}

bool readsAscii(UConverter *converter) {
    const std::string text = plainAscii();
    std::array<UChar, 0x80> decoded{};
    UErrorCode status = U_ZERO_ERROR;
    const int32_t length = ::ucnv_toUChars(converter, decoded.data(), decoded.size(), text.data(),
                                           static_cast<int32_t>(text.size()), &status);
    return U_SUCCESS(status) &&
           std::equal(text.begin(), text.end(), decoded.begin(), decoded.begin() + length);
}

bool writesAscii(UConverter *converter) {
    const std::string text = plainAscii();
    const std::u16string wide(text.begin(), text.end());
    std::array<char, 0x200> encoded{};
    UErrorCode status = U_ZERO_ERROR;
    const int32_t length = ::ucnv_fromUChars(converter, encoded.data(), encoded.size(), wide.data(),
                                             static_cast<int32_t>(wide.size()), &status);
    return U_SUCCESS(status) &&
           std::string_view(encoded.data(), static_cast<std::size_t>(length)) == text;
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

// What opening the converter would tell.
bool SourceCodec::useKnownFacts() {
    if (icuName_ == kUtf8) {
        direct_ = DirectForm::Utf8;
    } else if (icuName_ == kWindows1252) {
        direct_ = DirectForm::Characters;
        singleByte_ = true;
    } else {
        return false;
    }
    fillsPrivate_ = true;
    return true;
}

bool SourceCodec::openConverter(const char *icuName) {
    converter_ = openIcu(icuName);
    if (converter_ == nullptr) {
        return false;
    }
    UErrorCode status = U_ZERO_ERROR;
    ::ucnv_setToUCallBack(converter_.get(), readMalformed, &malformed_, nullptr, nullptr, &status);
    if (U_FAILURE(status)) {
        converter_ = nullptr;
    }
    return converter_ != nullptr;
}

bool SourceCodec::prepare() {
    if (converter_ == nullptr && !openConverter(icuName_.c_str())) {
        return false;
    }
    if (singleByte_ && table_ == nullptr) {
        buildTable();
    }
    return true;
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
        if (icuName_ == kJapanese7Bit) {
            direct_ = DirectForm::Japanese7Bit;
        }
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

// Charsets whose characters of two bytes are learnt: those of Chinese, Japanese and Korean mail. In
// them no pair means something else in front of other bytes.
bool hasPairs(std::string_view icuName) {
    constexpr std::string_view kNames[] = {"gb18030", "windows-949-2000", "windows-950-2000",
                                           "ibm-943_P15A-2003", "euc-jp-2007"};
    return std::find(std::begin(kNames), std::end(kNames), icuName) != std::end(kNames);
}

// Charsets of tables: whether they hold ASCII where ASCII is, and which liberties they take.
void SourceCodec::probe() {
    UConverter *converter = converter_.get();
    malformed_.loneEuro = icuName_ == "gb18030";
    fillsPrivate_ = !icuName_.starts_with("macos-"); // there U+F8FF is the company's sign
    if (decodeByte(converter, 'A') != u'A' || decodeByte(converter, '\n') != u'\n') {
        sourceCode_ |= kSourceOpaque;
        stripsDecoded_ = true;
    } else {
        swapsControls_ = decodeByte(converter, 0x1A) == 0x1C;
    }
    singleByte_ = ::ucnv_getMaxCharSize(converter) == 1;
    if (readsAscii(converter)) {
        direct_ = singleByte_ || hasPairs(icuName_) ? DirectForm::Characters : DirectForm::Ascii;
    }
}

void SourceCodec::buildTable() {
    auto table = std::make_unique<std::array<char16_t, 256>>();
    const char16_t substitute = std::exchange(malformed_.substitute, kReplacementCharacter);
    for (unsigned byte = 0; byte < table->size(); ++byte) {
        (*table)[byte] = decodeByte(converter_.get(), static_cast<unsigned char>(byte));
    }
    malformed_.substitute = substitute;
    table_ = std::move(table);
}

// The single character that the bytes are when nothing about them is malformed or has to be put
// right, else kUnusual.
char16_t SourceCodec::usualCharacter(std::string_view bytes) {
    if (converter_ == nullptr && !openConverter(icuName_.c_str())) {
        return kUnusual;
    }
    UConverter *converter = converter_.get();
    UErrorCode status = U_ZERO_ERROR;
    ::ucnv_setToUCallBack(converter, UCNV_TO_U_CALLBACK_STOP, nullptr, nullptr, nullptr, &status);
    std::array<UChar, 4> decoded{};
    const int32_t length = ::ucnv_toUChars(converter, decoded.data(), decoded.size(), bytes.data(),
                                           static_cast<int32_t>(bytes.size()), &status);
    const bool single = U_SUCCESS(status) && length == 1;
    status = U_ZERO_ERROR;
    ::ucnv_setToUCallBack(converter, readMalformed, &malformed_, nullptr, nullptr, &status);
    ::ucnv_reset(converter);
    const char16_t character = decoded[0];
    const bool special = character < 0x80 || U16_IS_SURROGATE(character) || character == 0xFEFF ||
                         (character >= 0xF880 && character <= 0xF8FF) ||
                         character >= kReplacementCharacter;
    return single && !special ? character : kUnusual;
}

char16_t SourceCodec::learnSingle(unsigned char byte) {
    const char given = static_cast<char>(byte);
    const char16_t character = usualCharacter({&given, 1});
    const bool mayLead = character == kUnusual && !singleByte_;
    return singles_[byte & 0x7FU] = mayLead ? kLead : character;
}

char16_t SourceCodec::learnPair(unsigned char first, unsigned char second) {
    if (pairs_ == nullptr) {
        pairs_.reset(static_cast<char16_t *>(std::calloc(kPairs, sizeof(char16_t))));
        if (pairs_ == nullptr) {
            throw std::bad_alloc();
        }
    }
    std::string bytes = direct_ == DirectForm::Japanese7Bit ? "\x1B$B" : "";
    bytes += {static_cast<char>(first), static_cast<char>(second)};
    return pairs_[pairIndex(first, second)] = usualCharacter(bytes);
}

std::unique_ptr<SourceCodec> SourceCodec::open(const SourceName &name) {
    std::unique_ptr<SourceCodec> codec(new SourceCodec(name));
    switch (name.kind) {
    case SourceKind::Named:
        if (codec->useKnownFacts()) {
            break;
        }
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
        codec->direct_ = DirectForm::Utf8;
        break;
    }
    return codec;
}

// What opening the converter would tell.
bool OutputCodec::useKnownFacts() {
    isUtf8_ = icuName_ == kUtf8;
    if (!isUtf8_ && icuName_ != "ISO-8859-1" && icuName_ != "US-ASCII") {
        return false;
    }
    holdsAscii_ = true;
    hasLineSeparator_ = isUtf8_;
    ownReplacement_ = isUtf8_ ? kReplacementCharacter : u'?';
    return true;
}

void OutputCodec::probe() {
    UConverter *converter = converter_.get();
    isHz_ = ::ucnv_getType(converter) == UCNV_HZ;
    hasLineSeparator_ = canWrite(converter, kLineSeparator);
    ownReplacement_ = canWrite(converter, kReplacementCharacter) ? kReplacementCharacter : u'?';
    holdsAscii_ = writesAscii(converter);
    ::ucnv_reset(converter);
}

bool OutputCodec::setErrorRules() {
    UErrorCode status = U_ZERO_ERROR;
    ::ucnv_setFromUCallBack(converter_.get(), UCNV_FROM_U_CALLBACK_SUBSTITUTE, nullptr, nullptr,
                            nullptr, &status);
    ::ucnv_setFallback(converter_.get(), 1); // a character near it is better than '?'
    if (U_FAILURE(status)) {
        converter_ = nullptr;
    }
    return converter_ != nullptr;
}

bool OutputCodec::prepare() {
    if (converter_ != nullptr) {
        return true;
    }
    converter_ = openIcu(icuName_.c_str());
    return converter_ != nullptr && setErrorRules();
}

std::unique_ptr<OutputCodec> OutputCodec::open(const std::string &icuName) {
    if (icuName.empty()) {
        return nullptr;
    }
    auto codec = std::make_unique<OutputCodec>();
    codec->icuName_ = icuName;
    if (codec->useKnownFacts()) {
        return codec;
    }
    codec->converter_ = openIcu(icuName.c_str());
    if (codec->converter_ == nullptr) {
        return nullptr;
    }
    codec->probe();
    return codec->setErrorRules() ? std::move(codec) : nullptr;
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
