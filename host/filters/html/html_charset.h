// SPDX-License-Identifier: MIT
// The charset of an HTML file: as the e-mail filter declares it, as the page declares it, or
// guessed.
#ifndef QOB_FILTERS_HTML_CHARSET_H
#define QOB_FILTERS_HTML_CHARSET_H

#include <cstddef>
#include <string>
#include <string_view>

#include "charset.h"

namespace qob::filters {

// What the e-mail filter puts before the page.
struct MailPrefix {
    std::string charset;    // of its META element; empty when there is none or it names none
    std::size_t length = 0; // bytes; the page begins behind them
};

// Reads the prefix at the start of a file: <META CONTENT="text/html;charset=NAME"> without
// http-equiv, or <HTML>. The META element ends at its first '>', even inside the quotes.
MailPrefix mailPrefix(std::string_view start);

// The charset name of the page's own first META element that has one, or an empty string. It is
// looked for in `start`, an ASCII-compatible beginning of the page.
std::string ownCharset(std::string_view start);

// The charset to read the page in: the prefix's, by a byte order mark, the page's own, else by
// guessing. A label that names no charset counts for nothing.
std::string charsetOfPage(const MailPrefix &prefix, const Survey &survey,
                          std::string_view language);

} // namespace qob::filters

#endif
