// SPDX-License-Identifier: MIT
// Names of output files, each given once. A name is kept as a number of eight bytes: two names that
// share theirs by chance only cost the later one its plain form.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <unordered_map>

namespace emltext {

class NameTable {
public:
    // Keeps a name from being given.
    void reserve(const std::string &name);

    // The name itself or, when it was given before, with the first of ".2", ".3" ... that was not.
    std::string claim(const std::string &name);

private:
    std::unordered_map<uint64_t, uint32_t> next_; // by name: the suffix to be tried next
};

// The name of the output for a file: without ".eml", each part short enough for a file system with
// whatever is put behind it.
std::string outputName(std::string_view file);

} // namespace emltext
