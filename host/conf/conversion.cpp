// SPDX-License-Identifier: MIT
// The conversion services. A conversion keeps its state in the caller's context and borrows the
// converters of the calling thread, so setting one up opens nothing and clears nothing. It ends on
// the thread that began it.
#include <cstdint>
#include <cstring>
#include <string>
#include <string_view>

#include "codec_cache.h"
#include "direct.h"
#include "pipeline.h"
#include "qob_charset_codes.h"
#include "qob_conf_language.h"
#include "qob_host.h"
#include "qob_host_export.h"
#include "text_check.h"

namespace {

using qob::ByteOrder;
using qob::CodecCache;
using qob::SourceCodec;
using qob::SourceKind;

constexpr int32_t kFailed = 1;
constexpr std::size_t kLongestName = 255;

// What CconvContext.converter holds while a conversion is set up.
struct Conversion {
    std::uint64_t mark;
    const CodecCache *cache; // of the thread that set it up
    qob::OutputCodec *output;
    SourceCodec *source; // null until a charset is chosen
    std::uint32_t newlineMode;
    char16_t replacement;
};

static_assert(sizeof(Conversion) <= sizeof(CconvContext::converter));
static_assert(alignof(Conversion) <= alignof(std::uint64_t));

constexpr std::uint64_t kSetUp = 0x716F62636F6E7631U;

void store(CconvContext *context, const Conversion &conversion) {
    std::memcpy(context->converter, &conversion, sizeof conversion);
}

// False when none is set up on this thread.
bool load(const CconvContext *context, Conversion *conversion) {
    if (context == nullptr) {
        return false;
    }
    std::memcpy(conversion, context->converter, sizeof *conversion);
    return conversion->mark == kSetUp && conversion->cache == &CodecCache::get();
}

std::string_view boundedName(const char *name) {
    return {name, ::strnlen(name, kLongestName)};
}

qob::OutputCodec *findOutput(CodecCache &cache, const void *description, std::uint32_t code) {
    const auto *name = static_cast<const char *>(description);
    if (name == nullptr || *name == '\0') {
        name = qob_charset_name(code);
    }
    if (name == nullptr) {
        return nullptr;
    }
    qob::OutputCodec *recent = cache.recentOutput(name);
    return recent != nullptr ? recent : cache.output(boundedName(name));
}

// Null when there is no such charset.
SourceCodec *findSource(CodecCache &cache, const char *charsetName) {
    const char *name = charsetName == nullptr ? "" : charsetName;
    if (SourceCodec *recent = cache.recentSource(name)) {
        return recent;
    }
    const std::string_view bounded = boundedName(name);
    return qob::isBrokenName(bounded) ? nullptr : cache.source(bounded);
}

// A replacement has to be writable wherever '?' is.
char16_t replacementOf(const CconvOutputRecord &record) {
    const std::uint16_t wanted = record.replacement[0];
    if (wanted == 0) {
        return 0;
    }
    return wanted >= 0x20 && wanted < 0x7F ? static_cast<char16_t>(wanted) : u'?';
}

int32_t setUp(CconvContext *context, const CconvOutputRecord &record, const void *description) {
    CodecCache &cache = CodecCache::get();
    if (record.firstConversion != 0) {
        cache.lastOrder = ByteOrder::Big;
    }
    qob::OutputCodec *output = findOutput(cache, description, record.outputCode);
    if (output == nullptr) {
        return kFailed;
    }
    store(context, {kSetUp, &cache, output, nullptr, record.newlineMode, replacementOf(record)});
    return 0;
}

// The order of this piece: its mark, else that of the extraction's last mark.
ByteOrder orderOf(CodecCache &cache, const SourceCodec &source, std::string_view input) {
    if (const auto marked = qob::markedOrder(input, source.unitBytes())) {
        cache.lastOrder = *marked;
    }
    return cache.lastOrder;
}

// The codec that reads this input, for names that leave it to the text.
SourceCodec *effectiveSource(CodecCache &cache, SourceCodec &source, std::string_view input) {
    switch (source.kind()) {
    case SourceKind::Undeclared:
        return qob::looksLikeUtf8(input)
                   ? cache.icuSource("UTF-8")
                   : cache.source(qob_conf_default_charset(qob_conf_language()));
    case SourceKind::Utf16:
        return cache.icuSource(orderOf(cache, source, input) == ByteOrder::Big ? "UTF-16BE"
                                                                               : "UTF-16LE");
    case SourceKind::Utf32:
        return cache.icuSource(orderOf(cache, source, input) == ByteOrder::Big ? "UTF-32BE"
                                                                               : "UTF-32LE");
    default:
        return &source;
    }
}

// Through ICU. The result as convertPiece gives it.
std::int64_t convertWithIcu(qob::Piece piece, char16_t replacement) {
    if (!piece.source->prepare() || !piece.output->prepare()) {
        return -1;
    }
    std::string packed;
    if (piece.source->kind() == SourceKind::EucJpTwoBytes) {
        piece.input = packed = qob::packEucJp(piece.input);
    }
    piece.output->setReplacement(replacement);
    piece.source->malformed().substitute = replacement == 0 ? char16_t{0xFFFD} : replacement;
    return qob::convertPiece(piece);
}

int32_t convert(CconvContext &context, const Conversion &conversion) {
    const auto *bytes = static_cast<const char *>(context.input);
    std::string_view input;
    if (bytes != nullptr) {
        input = {bytes, context.inputLength};
    }
    qob::Piece piece{conversion.source,
                     input,
                     conversion.output,
                     conversion.newlineMode,
                     static_cast<char *>(context.output),
                     context.output == nullptr ? 0 : context.outputCapacity};
    std::int64_t produced = 0;
    if (!qob::convertDirectly(piece, &produced)) {
        piece.source = effectiveSource(CodecCache::get(), *conversion.source, input);
        if (piece.source == nullptr) {
            return kFailed;
        }
        if (piece.source == conversion.source || !qob::convertDirectly(piece, &produced)) {
            produced = convertWithIcu(piece, conversion.replacement);
        }
    }
    if (produced < 0) {
        return kFailed;
    }
    context.produced = static_cast<uint32_t>(produced);
    return 0;
}

} // namespace

QOB_HOST_EXPORT int32_t cconvInitConvert(CconvContext *context,
                                         const CconvOutputRecord *outputRecord,
                                         const void *outputDescription, uint32_t /*started*/) {
    if (context == nullptr || outputRecord == nullptr) {
        return kFailed;
    }
    context->converter[0] = 0;
    try {
        return setUp(context, *outputRecord, outputDescription);
    } catch (...) {
        return EML_ERR_MEMORY;
    }
}

QOB_HOST_EXPORT int32_t cconvChgCharset(CconvContext *context, CconvSourceRecord *source,
                                        const char *charsetName) {
    Conversion conversion{};
    if (source == nullptr || !load(context, &conversion)) {
        return kFailed;
    }
    try {
        CodecCache &cache = CodecCache::get();
        conversion.source = findSource(cache, charsetName);
        if (conversion.source == nullptr) {
            return kFailed;
        }
        source->sourceCode = conversion.source->sourceCode();
        if ((source->sourceCode & qob::kSourceMark) != 0 && cache.lastOrder == ByteOrder::Little) {
            source->sourceCode |= qob::kSourceLittleEndian;
        }
        store(context, conversion);
        return 0;
    } catch (...) {
        return EML_ERR_MEMORY;
    }
}

QOB_HOST_EXPORT int32_t cconvConvert(CconvContext *context) {
    Conversion conversion{};
    if (!load(context, &conversion) || conversion.source == nullptr) {
        return kFailed;
    }
    context->produced = 0;
    try {
        return convert(*context, conversion);
    } catch (...) {
        return EML_ERR_MEMORY;
    }
}

QOB_HOST_EXPORT int32_t cconvTermConvert(CconvContext *context) {
    if (context == nullptr) {
        return kFailed;
    }
    context->converter[0] = 0;
    return 0;
}
