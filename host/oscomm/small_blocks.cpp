// SPDX-License-Identifier: MIT
// The beginning and the end of a thread's store of small blocks.
#include "small_blocks.h"

#include <cstdlib>
#include <cstring>

namespace qob {
namespace {

// Blocks may still be freed after the thread's store is gone.
thread_local bool storeGone = false;

// The checker must see every block that is freed.
bool runsUnderMemcheck() {
    static const bool kFound = [] {
        const char *preloaded = std::getenv("LD_PRELOAD"); // NOLINT(concurrency-mt-unsafe)
        return preloaded != nullptr && std::strstr(preloaded, "vgpreload_memcheck") != nullptr;
    }();
    return kFound;
}

} // namespace

constinit thread_local SmallBlocks *SmallBlocks::current_ = nullptr;

SmallBlocks *SmallBlocks::begin() noexcept {
    if (!storeGone && !runsUnderMemcheck()) {
        thread_local SmallBlocks store;
        current_ = &store;
    }
    return current_;
}

SmallBlocks::~SmallBlocks() {
    current_ = nullptr;
    storeGone = true;
    for (Class &own : classes_) {
        while (void *block = own.pop()) {
            std::free(block); // NOLINT(cppcoreguidelines-no-malloc)
        }
    }
}

} // namespace qob
