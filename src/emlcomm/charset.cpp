// SPDX-License-Identifier: MIT
// Charset names and conversion through the host's converter.
#include "emlcomm/charset.h"

#include <algorithm>
#include <cstring>
#include <limits>
#include <string_view>

#include "emlcomm/chars.h"
#include "emlcomm/output.h"

namespace {

struct CharsetRow {
    std::string_view name = {}; // leading bytes compared
    std::string_view converterName = {};
};

// Names in messages, in upper case. A longer name with the same beginning matches too, so that
// big5-hkscs is read as Big5 and iso-8859-15 as ISO-8859-1.
constexpr CharsetRow kMessageNames[] = {
    {"ISO-2022-JP", "ISO-2022-JP"}, {"GB2312", "ChineseGBK"},     {"GBK", "ChineseGBK"},
    {"BIG5", "ChineseBIG5"},        {"UTF-8", "UTF-8"},           {"KS_C_5601-1987", "KoreanKSC"},
    {"EUC-KR", "KoreanKSC"},        {"ISO-8859-1", "ISO-8859-1"}, {"UTF-7", "UTF-7"},
    {"HZ-GB-2312", "HZ-GB-2312"},
};

// Registered names and aliases, compared case-sensitively, first match wins. The Shift_JIS names
// give KoreanKSC: callers of this table rely on it.
constexpr CharsetRow kAliases[] = {
    {"csGB2312", "ChineseGBK"},
    {"GB2312", "ChineseGBK"},
    {"Extended_UNIX_Code_Packed_Format_for_Japanese", "EUC-JP"},
    {"csEUCPkdFmtJapanese", "EUC-JP"},
    {"EUC-JP", "EUC-JP"},
    {"KS_C_5601-1987", "KoreanKSC"},
    {"ks_c_5601-1987", "KoreanKSC"},
    {"csBig5", "ChineseBIG5"},
    {"Big5", "ChineseBIG5"},
    {"UTF-8", "UTF-8"},
    {"UTF-16", "UTF-16"},
    {"Windows-31J", "WINDOWS31J"},
    {"csWindows31J", "WINDOWS31J"},
    {"Extended_UNIX_Code_Fixed_Width_for_Japanese", "EUC-JP-FIX"},
    {"csEUCFixWidJapanese", "EUC-JP-FIX"},
    {"Shift_JIS", "KoreanKSC"},
    {"MS_Kanji", "KoreanKSC"},
    {"csShiftJIS", "KoreanKSC"},
    {"ISO-2022-JP", "ISO-2022-JP"},
    {"csISO2022JP", "ISO-2022-JP"},
    {"ISO-10646-UCS-2", "ISO-10646-UCS-2"},
    {"csUnicode", "ISO-10646-UCS-2"},
    {"ISO-10646-UCS-4", "ISO-10646-UCS-4"},
    {"csUCS4", "ISO-10646-UCS-4"},
    {"ISO-8859-1:1987", "ISO-8859-1"},
    {"csISOLatin1", "ISO-8859-1"},
    {"CP819", "ISO-8859-1"},
    {"IBM819", "ISO-8859-1"},
    {"l1", "ISO-8859-1"},
    {"ISO-8859-1", "ISO-8859-1"},
    {"latin1", "ISO-8859-1"},
    {"iso-ir-100", "ISO-8859-1"},
};

void writeName(char *out, std::string_view name) {
    std::memcpy(out, name.data(), name.size());
    out[name.size()] = '\0';
}

// "UNICODE" is UTF-16 only when the two bytes behind its terminator, left over from a longer name,
// are "UT". A plain unicode stays as it is and reaches the converter unchanged.
bool isMarkedUnicode(const char *name, const eml::UpperHead &head) {
    return head.startsWith(std::string_view("UNICODE\0", 8)) &&
           QobEmlCMPBuf(name + 8, "UT", 2) == 1;
}

// What to convert, and how the output is described to the converter.
struct TextConversion {
    const void *outputDescription;
    uint32_t started;
    const char *sourceCharset;
};

// One whole conversion of text; dst has 4 x length + 1 bytes.
uint32_t convertText(ExtractionHandle *handle, const TextConversion &conversion, const char *src,
                     char *dst, uint32_t length) {
    CconvContext context;
    const CconvOutputRecord *record = eml::nextOutputRecord(handle, eml::ConversionKind::kText);
    if (cconvInitConvert(&context, record, conversion.outputDescription, conversion.started) != 0) {
        return 0;
    }
    uint32_t produced = 0;
    CconvSourceRecord source = {1, 0, 1};
    constexpr uint32_t kMaxLength = (std::numeric_limits<uint32_t>::max() - 1) / 4;
    if (cconvChgCharset(&context, &source, conversion.sourceCharset) == 0 && length <= kMaxLength) {
        const eml::Buffer input = eml::newBuffer(length + 16);
        if (input != nullptr) {
            const uint32_t width = QOB_GetGroupCharWidth(handle->charsetName);
            const uint32_t kept =
                QOB_CopyStripControlCode(input.get(), src, length, width, source.sourceCode);
            produced = eml::runConversion(&context, input.get(), kept, dst, 4 * length + 1);
        }
    }
    cconvTermConvert(&context);
    return produced;
}

} // namespace

QOB_EXPORT int32_t TranType(ExtractionHandle * /*handle*/, char *name) {
    const char *start = name;
    while (IsSpace(*start) != 0) {
        ++start;
    }
    const eml::UpperHead head(start);
    const auto *row =
        std::find_if(std::begin(kMessageNames), std::end(kMessageNames),
                     [&head](const CharsetRow &r) { return head.startsWith(r.name); });
    if (row != std::end(kMessageNames)) {
        writeName(name, row->converterName);
    } else if (isMarkedUnicode(start, head)) {
        writeName(name, "UTF-16");
    } else {
        std::memmove(name, start, std::strlen(start) + 1);
    }
    return 0;
}

QOB_EXPORT void TransCharset(const char *alias, char *out) {
    const std::string_view given(alias);
    const auto *row =
        std::find_if(std::begin(kAliases), std::end(kAliases),
                     [given](const CharsetRow &r) { return eml::startsWith(given, r.name); });
    if (row != std::end(kAliases)) {
        writeName(out, row->converterName);
    }
}

QOB_EXPORT uint32_t TransChar(ExtractionHandle *handle, const char *src, char *dst,
                              uint32_t length) {
    const TextConversion conversion = {
        handle->hostParams, static_cast<uint32_t>(handle->convStarted), handle->charsetName};
    const uint32_t produced = convertText(handle, conversion, src, dst, length);
    handle->base64PadCount = 0;
    return produced;
}

QOB_EXPORT uint32_t TransCharutf8(ExtractionHandle *handle, const char *src, char *dst,
                                  uint32_t length, int32_t useCharset) {
    // UTF-8 is described afresh each time, so the converter is told that nothing was started.
    const TextConversion conversion = {"UTF-8", 0,
                                       useCharset != 0 ? handle->charsetName : eml::kLatin1};
    const uint32_t produced = convertText(handle, conversion, src, dst, length);
    handle->base64PadCount = 0;
    return produced;
}

namespace eml {

const CconvOutputRecord *nextOutputRecord(ExtractionHandle *handle, ConversionKind kind) {
    CconvOutputRecord &record = handle->outputRecord;
    record.outputCode = handle->hostParams->outputCode;
    record.firstConversion = handle->convStarted == 0 ? 1 : 0;
    handle->convStarted = 1;
    record.textConversion = kind == ConversionKind::kText ? 1 : 0;
    const uint16_t replacement = handle->replaceUnconvertible != 0 ? '?' : 0;
    record.replacement[0] = replacement;
    record.replacement[1] = replacement;
    record.lineEndConversion = kind == ConversionKind::kLineEnd ? 1 : 0;
    record.newlineMode = handle->options.newlineMode;
    return &record;
}

uint32_t runConversion(CconvContext *context, const void *src, uint32_t length, void *dst,
                       uint32_t capacity) {
    context->input = src;
    context->word8 = 0;
    context->inputLength = length;
    context->word16 = 0;
    context->output = dst;
    context->produced = 0;
    context->outputCapacity = capacity;
    context->word40 = 0;
    return cconvConvert(context) == 0 ? context->produced : 0;
}

Buffer newConversionBuffer(uint32_t length, uint32_t least) {
    const uint64_t needed = std::max<uint64_t>(least, 4 * static_cast<uint64_t>(length) + 1);
    if (needed > std::numeric_limits<uint32_t>::max()) {
        return nullptr;
    }
    return Buffer(allocBuffer(static_cast<uint32_t>(needed)));
}

void setCharsetName(ExtractionHandle *handle, const char *name) {
    if (name != handle->charsetName) {
        copyText(handle->charsetName, kCharsetNameSize, name);
    }
}

int32_t useMessageCharset(ExtractionHandle *handle) {
    std::memcpy(handle->charsetName, handle->charset, kMessageCharsetSize);
    return TranType(handle, handle->charsetName);
}

int32_t usePartCharset(ExtractionHandle *handle) {
    std::memcpy(handle->charsetName, handle->partCharset, kPartCharsetSize);
    return TranType(handle, handle->charsetName);
}

} // namespace eml
