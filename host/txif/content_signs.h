// SPDX-License-Identifier: MIT
// What the first bytes of a file say about its type. Every test takes the bytes as a bounded view,
// reads nothing outside it, and answers "no" where the view ends too early.
#pragma once

#include <string_view>

namespace qob {

// How many bytes of a file the tests want to see.
inline constexpr std::size_t kHeadSize = 8192;

// Starts like a PDF: "%PDF-" after nothing but white space or a byte order mark.
bool looksLikePdf(std::string_view head);

// What kind of file without readable text of its own begins like this ("a PNG image"), or null.
// Only signatures that no text and no message can begin with.
const char *unreadableKind(std::string_view head);

// Starts like an HTML document, behind white space, an XML declaration or comments. UTF-16 with a
// byte order mark is understood.
bool looksLikeHtml(std::string_view head);

// Starts with the header lines of a message, one of them well known.
bool looksLikeMessage(std::string_view head);

// Neither text in an 8-bit charset nor in UTF-16 or UTF-32.
bool looksBinary(std::string_view head);

} // namespace qob
