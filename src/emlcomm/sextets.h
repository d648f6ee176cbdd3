// SPDX-License-Identifier: MIT
// The fast part of base64: groups of four characters of the standard alphabet, with nothing else
// between them, as nearly every line of encoded data is.
#ifndef QOB_EMLCOMM_SEXTETS_H
#define QOB_EMLCOMM_SEXTETS_H

#include <cstddef>

// The 64 characters in the order of their values; a literal, so that longer ones can be made of it.
#define BASE64_SEXTETS "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/"

namespace eml {

// Decodes groups from `text` on, `count` at the most, up to one that holds any other character.
// Returns the groups decoded. `out` has 4 bytes for every group of `count`; the first 3 for every
// group decoded are the result, the others undefined.
size_t decodeSextets(const char *text, size_t count, char *out);

// The same with tables only, for processors without vector instructions that help.
size_t decodeSextetsByTable(const char *text, size_t count, char *out);

} // namespace eml

#endif
