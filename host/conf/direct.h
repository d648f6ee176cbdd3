// SPDX-License-Identifier: MIT
// Converts the text that nearly all mail consists of without ICU: ASCII, valid UTF-8, and the usual
// characters of the charsets that SourceCodec::direct() names, into UTF-8; ASCII into every charset
// that holds it unchanged. Gives up at the first byte out of the ordinary.
#ifndef QOB_CONF_DIRECT_H
#define QOB_CONF_DIRECT_H

#include <cstdint>

#include "pipeline.h"

namespace qob {

// True with the bytes put into piece.room when the whole piece could be converted; they are those
// that convertPiece gives. False for everything else, with nothing said about the room's bytes.
// May throw std::bad_alloc.
bool convertDirectly(const Piece &piece, std::int64_t *produced);

} // namespace qob

#endif
