// SPDX-License-Identifier: MIT
// Converts one piece of text: bytes to UTF-16, line ends put right, UTF-16 to bytes. Works in
// chunks of fixed size on the stack, whatever the piece's length.
#ifndef QOB_CONF_PIPELINE_H
#define QOB_CONF_PIPELINE_H

#include <cstddef>
#include <cstdint>
#include <string_view>

#include "codec.h"

namespace qob {

struct Piece {
    SourceCodec *source = nullptr;
    std::string_view input;
    OutputCodec *output = nullptr;
    std::uint32_t newlineMode = 1; // 1 LF, 2 CR LF, 3 LF, 4 CR, 5 U+2028; anything else LF
    char *room = nullptr;
    std::size_t capacity = 0;
};

// Returns the bytes put into piece.room, or -1 when ICU failed. Both codecs are prepared, with what
// stands for the unconvertible set; both converters are in their
// initial state before and after. Where the room does not do, line ends become a lone LF first, and
// then the text ends after the last character that fits. May throw std::bad_alloc, only in the
// latter case.
std::int64_t convertPiece(const Piece &piece);

} // namespace qob

#endif
