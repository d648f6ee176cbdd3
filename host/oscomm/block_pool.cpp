// SPDX-License-Identifier: MIT
// The blocks that each thread keeps.
#include "block_pool.h"

#include <array>
#include <cstdlib>

namespace qob {
namespace {

constexpr std::size_t kKept = 6;

// True once the thread's store is gone; a file may still be closed after that.
thread_local bool storeGone = false;

// NOLINTBEGIN(cppcoreguidelines-no-malloc): a block is raw memory
struct BlockStore {
    BlockStore() = default;
    ~BlockStore() {
        storeGone = true;
        while (count > 0) {
            std::free(blocks[--count]);
        }
    }
    BlockStore(const BlockStore &) = delete;
    BlockStore &operator=(const BlockStore &) = delete;

    std::array<char *, kKept> blocks{};
    std::size_t count = 0;
};

thread_local BlockStore store;

} // namespace

char *takeBlock() noexcept {
    if (!storeGone && store.count > 0) {
        char *const block = store.blocks[--store.count];
        return block;
    }
    return static_cast<char *>(std::malloc(kBlockSize));
}

void giveBlock(char *block) noexcept {
    if (block != nullptr && !storeGone && store.count < kKept) {
        store.blocks[store.count++] = block;
    } else {
        std::free(block);
    }
}
// NOLINTEND(cppcoreguidelines-no-malloc)

} // namespace qob
