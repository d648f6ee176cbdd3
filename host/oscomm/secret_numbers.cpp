// SPDX-License-Identifier: MIT
// A thread asks the system for many numbers at once and forgets each one that it gives out. A
// forked child begins without those that its parent has left.
#include "secret_numbers.h"

#include <array>
#include <cerrno>
#include <cstddef>
#include <utility>

#include <pthread.h>
#include <sys/random.h>

namespace qob {
namespace {

// The system gives up to 256 bytes at once, never fewer than asked for.
constexpr std::size_t kAtOnce = 32;

struct Reserve {
    std::array<std::uint64_t, kAtOnce> numbers{};
    std::size_t left = 0;
};
thread_local Reserve reserve;

// In the child only the thread that forked goes on.
void forgetReserve() {
    reserve.left = 0;
}

bool refill(std::size_t count) noexcept {
    const auto wanted = static_cast<ssize_t>(count * sizeof(std::uint64_t));
    ssize_t got = -1;
    do {
        got = ::getrandom(reserve.numbers.data(), static_cast<std::size_t>(wanted), 0);
    } while (got < 0 && errno == EINTR);
    reserve.left = got == wanted ? count : 0;
    return got == wanted;
}

} // namespace

bool secretNumber(std::uint64_t &number) noexcept {
    static const bool kSeesForks = ::pthread_atfork(nullptr, nullptr, &forgetReserve) == 0;
    if (reserve.left == 0 && !refill(kSeesForks ? kAtOnce : 1)) {
        return false;
    }
    number = std::exchange(reserve.numbers[--reserve.left], 0);
    return true;
}

} // namespace qob
