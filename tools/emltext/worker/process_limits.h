// SPDX-License-Identifier: MIT
// What a worker process may use. To be set up before the sandbox closes the ways to find out what
// it uses.
#pragma once

#include <cstdint>

namespace emltext {

// The calling process writes no core dumps, and a file that grows too large is a failed write.
void forbidDumps();

class MemoryLimit {
public:
    // `bytes` on top of what is mapped when a job begins; 0: no limit.
    explicit MemoryLimit(uint64_t bytes);
    ~MemoryLimit();
    MemoryLimit(const MemoryLimit &) = delete;
    MemoryLimit &operator=(const MemoryLimit &) = delete;

    // Limits what the next job maps. Without effect under a sanitizer, which maps terabytes.
    void beginJob() const;

    // Whether jobs left so much behind that a new process should take over.
    bool isWorn() const;

private:
    uint64_t mapped() const;

    uint64_t bytes_;
    int status_ = -1; // /proc/self/statm
    uint64_t mappedAtStart_ = 0;
};

// The most memory that this process ever had in use, in bytes.
uint64_t peakMemory();

} // namespace emltext
