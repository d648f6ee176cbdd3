// SPDX-License-Identifier: MIT
// A run of characters: bytes in the code page of their font and characters by number, in the order
// in which they come, as UTF-8 lines.
#ifndef QOB_FILTERS_RTF_RUN_H
#define QOB_FILTERS_RTF_RUN_H

#include <cstdint>
#include <map>
#include <memory>
#include <string>
#include <string_view>

#include "decoder.h"
#include "document_lines.h"

namespace qob::filters {

class RtfRun {
public:
    explicit RtfRun(DocumentLines &lines) : lines_(lines) {}

    // Bytes in a code page, or in one of the font pages of rtf_charset.h. A character may be
    // divided between calls.
    void bytes(std::string_view bytes, int32_t page);

    // A character, or half a surrogate pair, by number; `page` is that of the font.
    void unicode(uint32_t number, int32_t page);

    // UTF-8.
    void text(std::string_view utf8);

    // The run ends: a character of which a part is missing is damaged.
    void end();

private:
    void decode(bool last);
    void appendSymbol(uint8_t byte, int32_t page);
    void append(uint32_t codePoint);
    void flush();
    Decoder &decoderOf(int32_t page);

    DocumentLines &lines_;
    std::string bytes_; // not decoded yet, in page_
    int32_t page_ = 0;
    bool divided_ = false; // the decoder may hold a part of a character
    std::string utf8_;     // not given to the lines yet
    uint32_t lead_ = 0;
    std::map<int32_t, std::unique_ptr<Decoder>> decoders_;
};

} // namespace qob::filters

#endif
