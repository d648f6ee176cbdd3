// SPDX-License-Identifier: MIT
// Memory of the host: the C heap, with one surprise of realloc taken out.
#include "qob_host.h"
#include "qob_host_export.h"

#include <cstdlib>

// NOLINTBEGIN(cppcoreguidelines-no-malloc): these services are the C heap
QOB_HOST_EXPORT void *QOB_malloc(size_t size) {
    return std::malloc(size);
}

// realloc to 0 bytes may free the block and return null, which a caller would take for a failure
// that left the block alive; here a block always stays a block.
QOB_HOST_EXPORT void *QOB_realloc(void *block, size_t size) {
    return std::realloc(block, size == 0 ? 1 : size);
}

QOB_HOST_EXPORT void QOB_free(void *block) {
    std::free(block);
}
// NOLINTEND(cppcoreguidelines-no-malloc)
