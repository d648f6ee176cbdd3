// SPDX-License-Identifier: MIT
// What the bytes of a piece of text tell about themselves.
#ifndef QOB_CONF_TEXT_CHECK_H
#define QOB_CONF_TEXT_CHECK_H

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "codec_cache.h"

namespace qob {

// Whether text of no known charset is UTF-8: it is valid throughout. A long line comes in pieces
// cut at a byte count, so a character cut at either end does not count against it when a whole
// character outside ASCII is there.
bool looksLikeUtf8(std::string_view text);

// The order that a leading byte order mark of 2- or 4-byte units tells.
std::optional<ByteOrder> markedOrder(std::string_view text, std::uint32_t unitBytes);

// EUC-JP of two bytes a character in the usual form of one to three bytes. What is no character
// becomes a byte that is malformed there too.
std::string packEucJp(std::string_view text);

} // namespace qob

#endif
