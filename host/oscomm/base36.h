// SPDX-License-Identifier: MIT
// Numbers as short as a file name can carry them: digits and lower-case letters.
#ifndef QOB_OSCOMM_BASE36_H
#define QOB_OSCOMM_BASE36_H

#include <array>
#include <cstddef>
#include <cstdint>
#include <string>

namespace qob {

inline std::string base36(std::uint64_t value) {
    std::array<char, 13> digits; // enough for 64 bits
    std::size_t first = digits.size();
    do {
        digits[--first] = "0123456789abcdefghijklmnopqrstuvwxyz"[value % 36];
        value /= 36;
    } while (value != 0);
    return {digits.data() + first, digits.size() - first};
}

} // namespace qob

#endif
