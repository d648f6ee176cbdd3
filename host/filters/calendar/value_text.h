// SPDX-License-Identifier: MIT
// Values of properties as people write them. Whatever is not in its format comes out as it is.
#ifndef QOB_FILTERS_CALENDAR_VALUE_TEXT_H
#define QOB_FILTERS_CALENDAR_VALUE_TEXT_H

#include <string>
#include <string_view>

#include "content_line.h"

namespace qob::filters {

// Undoes the encoding of a line's value (quoted-printable in the charset that the line names, else
// in `charset`). False when it holds binary data.
bool decodeValue(ContentLine &line, const std::string &charset);

// "20261121T100000" with a time zone: "2026-11-21 10:00 Europe/Berlin"; "20261121": "2026-11-21";
// "--1121": "11-21".
std::string dateText(std::string_view value, std::string_view timeZone);

// "P1DT2H30M": "1 day 2 hours 30 minutes".
std::string durationText(std::string_view value);

// "FREQ=WEEKLY;BYDAY=MO": "weekly (BYDAY=MO)".
std::string recurrenceText(std::string_view value);

// "mailto:jo@example.org" and a name: "Jo <jo@example.org>".
std::string personText(std::string_view address, std::string_view name);

// An address without its scheme ("mailto:", "tel:").
std::string_view withoutScheme(std::string_view address);

// Those of the parts that are not empty, with `separator` between.
std::string joined(const std::vector<std::string> &parts, std::string_view separator);

// Without blanks and line ends at either end.
std::string_view trimmed(std::string_view text);

} // namespace qob::filters

#endif
