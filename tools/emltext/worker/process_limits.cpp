// SPDX-License-Identifier: MIT
// Limits by setrlimit. Memory is limited as address space, for that makes allocations fail, so that
// a filter can end in good order; a limit of pages in use would only end the process.
#include "worker/process_limits.h"

#include <array>
#include <charconv>
#include <csignal>

#include <fcntl.h>
#include <sys/resource.h>
#include <unistd.h>

namespace emltext {
namespace {

#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
constexpr bool kSanitized = true;
#else
constexpr bool kSanitized = false;
#endif

constexpr uint64_t kBytesPerKilobyte = 1024;

// The hard limits stay: programs that a filter starts have limits of their own.
void setSoftLimit(__rlimit_resource_t resource, rlim_t value) {
    rlimit limit{};
    if (getrlimit(resource, &limit) == 0 &&
        (limit.rlim_max == RLIM_INFINITY || value <= limit.rlim_max)) {
        limit.rlim_cur = value;
        static_cast<void>(setrlimit(resource, &limit));
    }
}

} // namespace

void forbidDumps() {
    const rlimit none{};
    static_cast<void>(setrlimit(RLIMIT_CORE, &none));
    static_cast<void>(std::signal(SIGXFSZ, SIG_IGN));
}

MemoryLimit::MemoryLimit(uint64_t bytes) : bytes_(kSanitized ? 0 : bytes) {
    if (bytes_ != 0) {
        status_ = open("/proc/self/statm", O_RDONLY | O_CLOEXEC);
        mappedAtStart_ = mapped();
    }
}

MemoryLimit::~MemoryLimit() {
    if (status_ >= 0) {
        close(status_);
    }
}

void MemoryLimit::beginJob() const {
    if (bytes_ == 0) {
        return;
    }
    const uint64_t total = mapped() + bytes_;
    if (total > bytes_) {
        setSoftLimit(RLIMIT_AS, total);
    }
}

bool MemoryLimit::isWorn() const {
    return bytes_ != 0 && mapped() > mappedAtStart_ + bytes_ / 2;
}

// The first number of the file, in pages; 0 when it cannot be read.
uint64_t MemoryLimit::mapped() const {
    std::array<char, 32> text{};
    const ssize_t count = pread(status_, text.data(), text.size(), 0);
    uint64_t pages = 0;
    if (count > 0) {
        std::from_chars(text.data(), text.data() + count, pages);
    }
    return pages * static_cast<uint64_t>(sysconf(_SC_PAGESIZE));
}

uint64_t peakMemory() {
    rusage usage{};
    getrusage(RUSAGE_SELF, &usage);
    return static_cast<uint64_t>(usage.ru_maxrss) * kBytesPerKilobyte;
}

} // namespace emltext
