// SPDX-License-Identifier: MIT
// See rtf_run.h. Memory is bounded: a run is passed on in pieces, and as many converters are open
// as a document reasonably has code pages.
#include "rtf_run.h"

#include <unicode/utf16.h>
#include <unicode/utf8.h>

#include "rtf_charset.h"

namespace qob::filters {
namespace {

constexpr std::size_t kMaxPending = 4096;
constexpr std::size_t kMaxDecoders = 32;
constexpr uint32_t kReplacement = 0xFFFD;
constexpr uint32_t kMaxCodePoint = 0x10FFFF;

// Where symbol fonts have their characters in Unicode text.
constexpr uint32_t kSymbolsFirst = 0xF020;
constexpr uint32_t kSymbolsLast = 0xF0FF;

} // namespace

void RtfRun::bytes(std::string_view bytes, int32_t page) {
    if (page != page_ || lead_ != 0) {
        end();
        page_ = page;
    }
    if (page < 0) {
        for (const char c : bytes) {
            appendSymbol(static_cast<uint8_t>(c), page);
        }
        return;
    }
    while (!bytes.empty()) {
        const std::string_view part = bytes.substr(0, kMaxPending);
        bytes.remove_prefix(part.size());
        bytes_ += part;
        if (bytes_.size() >= kMaxPending) {
            decode(false);
        }
    }
}

void RtfRun::unicode(uint32_t number, int32_t page) {
    decode(true);
    if (U16_IS_TRAIL(number) && lead_ != 0) {
        const uint32_t lead = lead_;
        lead_ = 0;
        append(static_cast<uint32_t>(U16_GET_SUPPLEMENTARY(lead, number)));
        return;
    }
    end();
    if (U16_IS_LEAD(number)) {
        lead_ = number;
    } else if (number >= kSymbolsFirst && number <= kSymbolsLast) {
        appendSymbol(static_cast<uint8_t>(number & 0xFFU), page < 0 ? page : kPictureFontPage);
    } else {
        append(U16_IS_TRAIL(number) || number > kMaxCodePoint ? kReplacement : number);
    }
}

void RtfRun::text(std::string_view utf8) {
    decode(true);
    end();
    utf8_ += utf8;
    flush();
}

void RtfRun::end() {
    decode(true);
    if (lead_ != 0) {
        lead_ = 0;
        append(kReplacement);
    }
    flush();
}

void RtfRun::decode(bool last) {
    if (bytes_.empty() && !(last && divided_)) {
        return;
    }
    decoderOf(page_).decode(bytes_, last, utf8_);
    bytes_.clear();
    divided_ = !last;
    flush();
}

Decoder &RtfRun::decoderOf(int32_t page) {
    const auto found = decoders_.find(page);
    if (found != decoders_.end()) {
        return *found->second;
    }
    if (decoders_.size() >= kMaxDecoders) {
        decoders_.clear();
    }
    return *decoders_.emplace(page, std::make_unique<Decoder>(charsetOfPage(page))).first->second;
}

void RtfRun::appendSymbol(uint8_t byte, int32_t page) {
    if (page == kSymbolFontPage) {
        append(symbolCharacter(byte));
    } else if (byte >= 0x20) {
        append(byte == ' ' ? ' ' : kBullet);
    }
}

void RtfRun::append(uint32_t codePoint) {
    char bytes[U8_MAX_LENGTH];
    std::size_t length = 0;
    U8_APPEND_UNSAFE(bytes, length, codePoint);
    utf8_.append(bytes, length);
    if (utf8_.size() >= kMaxPending) {
        flush();
    }
}

void RtfRun::flush() {
    if (!utf8_.empty()) {
        lines_.text(utf8_);
        utf8_.clear();
    }
}

} // namespace qob::filters
