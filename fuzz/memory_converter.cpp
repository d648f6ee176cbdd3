// SPDX-License-Identifier: MIT
// Character conversion in the memory host: a copy in which bytes from 0x80 on grow to 2, 3 or 4, so
// that a buffer that was made too small shows.
#include <algorithm>
#include <cstring>

#include "memory_host.h"

namespace {

// The last byte of a buffer that the filter announced is touched, so that the address checker sees
// a buffer that is smaller.
void touchEnd(void *buffer, size_t size) {
    if (size > 0) {
        volatile char *last = static_cast<char *>(buffer) + size - 1;
        *last = 0x5A;
    }
}

// How many bytes one byte becomes in the output charset.
size_t widthOf(const MemoryHost &host, unsigned char byte) {
    if (!host.behaviour.expanding || byte < 0x80) {
        return 1;
    }
    if (byte < 0xC0) {
        return 2;
    }
    return byte < 0xF0 ? 3 : 4;
}

int32_t convertText(const MemoryHost &host, CconvContext *context) {
    const auto *from = static_cast<const unsigned char *>(context->input);
    auto *to = static_cast<unsigned char *>(context->output);
    size_t produced = 0;
    for (uint32_t i = 0; i < context->inputLength; ++i) {
        const size_t width = widthOf(host, from[i]);
        if (produced + width > context->outputCapacity) {
            return -1;
        }
        std::memset(to + produced, from[i], width);
        produced += width;
    }
    context->produced = static_cast<uint32_t>(produced);
    return 0;
}

// What stands in CconvContext::converter[0] while it is set up, by output and kind.
constexpr uint64_t kTextConversion = 0xC0117E57;
constexpr uint64_t kLineEndConversion = 0xC011E0D1;
constexpr uint64_t kTmpLineEndConversion = 0xC011E0D2;

bool isControlName(const char *name) {
    return std::any_of(name, name + std::strlen(name),
                       [](char c) { return static_cast<unsigned char>(c) < 0x20; });
}

} // namespace

extern "C" {

int32_t cconvInitConvert(CconvContext *context, const CconvOutputRecord *outputRecord,
                         const void *outputDescription, uint32_t started) {
    MemoryHost &host = MemoryHost::current();
    const bool failing = host.enter(Service::kConverterSetUp);
    require(outputRecord->newlineMode >= 1 && outputRecord->newlineMode <= 5 && started <= 1,
            "the output record is filled in");
    if (failing) {
        return -1;
    }
    const bool tmp = std::strcmp(static_cast<const char *>(outputDescription), "ISO-8859-1") == 0;
    const uint64_t lineEnd = tmp ? kTmpLineEndConversion : kLineEndConversion;
    context->converter[0] = outputRecord->lineEndConversion == 1 ? lineEnd : kTextConversion;
    ++host.liveConverters;
    return 0;
}

int32_t cconvChgCharset(CconvContext * /*context*/, CconvSourceRecord *source,
                        const char *charsetName) {
    MemoryHost &host = MemoryHost::current();
    const bool failing = host.enter(Service::kCharsetChange);
    require(std::strlen(charsetName) < 64, "a charset name is terminated in its field");
    source->sourceCode = 7;
    return failing || isControlName(charsetName) ? -1 : 0;
}

int32_t cconvConvert(CconvContext *context) {
    MemoryHost &host = MemoryHost::current();
    const bool failing = host.enter(Service::kConvert);
    require(context->word8 == 0 && context->word16 == 0 && context->produced == 0 &&
                context->word40 == 0,
            "the context's other words are 0");
    touchEnd(context->output, context->outputCapacity);
    if (failing) {
        return -1;
    }
    if (context->converter[0] == kTextConversion) {
        return convertText(host, context);
    }
    const std::string_view lineEnd = context->converter[0] == kLineEndConversion
                                         ? host.behaviour.lineEnd
                                         : host.behaviour.tmpLineEnd;
    require(context->inputLength == 1 && lineEnd.size() <= context->outputCapacity,
            "a line end is asked for with one byte and has room");
    std::memcpy(context->output, lineEnd.data(), lineEnd.size());
    context->produced = static_cast<uint32_t>(lineEnd.size());
    return 0;
}

int32_t cconvTermConvert(CconvContext *context) {
    MemoryHost &host = MemoryHost::current();
    host.enter(Service::kNone);
    require(host.liveConverters > 0, "a converter that is terminated was set up");
    --host.liveConverters;
    context->converter[0] = 0;
    return 0;
}

uint32_t QOB_GetGroupCharWidth(const char *charsetName) {
    MemoryHost::current().enter(Service::kNone);
    const std::string_view name(charsetName);
    if (name.substr(0, 6) == "UTF-16") {
        return 2;
    }
    return name.substr(0, 6) == "UTF-32" ? 4 : 1;
}

uint32_t QOB_CopyStripControlCode(void *dst, const void *src, uint32_t length, uint32_t charWidth,
                                  uint32_t sourceCode) {
    MemoryHost::current().enter(Service::kNone);
    require(sourceCode == 7, "the source code is the one that the charset change left");
    const auto *from = static_cast<const char *>(src);
    auto *to = static_cast<char *>(dst);
    if (charWidth != 1) {
        std::memcpy(to, from, length); // wide units: this host strips none
        return length;
    }
    const auto kept = [](char c) {
        const auto byte = static_cast<unsigned char>(c);
        return byte >= 0x20 || byte == 0x1B || byte == '\t' || byte == '\r' || byte == '\n';
    };
    return static_cast<uint32_t>(std::copy_if(from, from + length, to, kept) - to);
}

} // extern "C"
