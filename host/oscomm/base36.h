// SPDX-License-Identifier: MIT
// Numbers as short as a file name can carry them: digits and lower-case letters.
#ifndef QOB_OSCOMM_BASE36_H
#define QOB_OSCOMM_BASE36_H

#include <cstdint>
#include <string>

namespace qob {

inline std::string base36(std::uint64_t value) {
    std::string digits;
    do {
        digits.insert(digits.begin(), "0123456789abcdefghijklmnopqrstuvwxyz"[value % 36]);
        value /= 36;
    } while (value != 0);
    return digits;
}

} // namespace qob

#endif
