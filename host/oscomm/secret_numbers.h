// SPDX-License-Identifier: MIT
// Random numbers that nobody can guess, for the names of temporary files.
#ifndef QOB_OSCOMM_SECRET_NUMBERS_H
#define QOB_OSCOMM_SECRET_NUMBERS_H

#include <cstdint>

namespace qob {

// A number that was never given out before, neither here nor in a process that this one forked
// off. False, with errno set, when the system has none to give.
bool secretNumber(std::uint64_t &number) noexcept;

} // namespace qob

#endif
