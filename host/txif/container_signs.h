// SPDX-License-Identifier: MIT
// What the first bytes of a file say about archives and documents that are made of several files or
// records. As in content_signs.h: the bytes are a bounded view, and where it ends too early the
// answer is "no".
#pragma once

#include <string_view>

namespace qob {

// A ZIP file, with members or without.
bool looksLikeZip(std::string_view head);

// A ZIP file whose first members are those of an OpenDocument or Office Open XML file.
bool zipHoldsOfficeDocument(std::string_view head);

// gzip, bzip2, xz, 7z, or a tar archive with a good checksum.
bool looksLikeArchive(std::string_view head);

// A compound file of the older office programs.
bool looksLikeOldOffice(std::string_view head);

// Behind a UTF-8 mark and blanks too, which editors leave there.
bool looksLikeRtf(std::string_view head);

bool looksLikeTnef(std::string_view head);

// iCalendar or vCard: their first line, in any case, behind a UTF-8 mark and empty lines.
bool looksLikeCalendar(std::string_view head);

} // namespace qob
