// SPDX-License-Identifier: MIT
// The text of a file given as bytes, through the top-level call and the real filters.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "qob_extract.h"

namespace hostile_test {

struct Extracted {
    int32_t code = 0;
    std::string text;
    std::vector<std::string> notices; // "code@attachment" of each, in order
};

Extracted extract(const std::string &input, QobExtractOptions options);
Extracted extract(const std::string &input);

QobExtractOptions defaultOptions();

} // namespace hostile_test
