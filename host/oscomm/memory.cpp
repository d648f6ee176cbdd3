// SPDX-License-Identifier: MIT
// Memory of the host: the C heap behind a few small blocks that each thread keeps, with one
// surprise of realloc taken out. Built with a sanitizer it is the C heap alone, so that nothing
// hides from the sanitizer's checks.
#include "qob_host.h"
#include "qob_host_export.h"

#include <cstdlib>

#include <malloc.h>

#include "small_blocks.h"

namespace {

#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
constexpr bool kKeepsBlocks = false;
#elif defined(__has_feature)
constexpr bool kKeepsBlocks = !__has_feature(address_sanitizer) &&
                              !__has_feature(thread_sanitizer) && !__has_feature(memory_sanitizer);
#else
constexpr bool kKeepsBlocks = true;
#endif

} // namespace

// NOLINTBEGIN(cppcoreguidelines-no-malloc): these services are the C heap
QOB_HOST_EXPORT void *QOB_malloc(size_t size) {
    if constexpr (kKeepsBlocks) {
        if (void *block = qob::SmallBlocks::take(size)) {
            return block;
        }
    }
    return std::malloc(size);
}

// realloc to 0 bytes may free the block and return null, which a caller would take for a failure
// that left the block alive; here a block always stays a block.
QOB_HOST_EXPORT void *QOB_realloc(void *block, size_t size) {
    return std::realloc(block, size == 0 ? 1 : size);
}

QOB_HOST_EXPORT void QOB_free(void *block) {
    if constexpr (kKeepsBlocks) {
        if (qob::SmallBlocks::keep(block, ::malloc_usable_size(block))) {
            return;
        }
    }
    std::free(block);
}
// NOLINTEND(cppcoreguidelines-no-malloc)
