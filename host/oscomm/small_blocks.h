// SPDX-License-Identifier: MIT
// Small blocks of the C heap that the calling thread has freed and will soon ask for again: reading
// one line of a message takes and frees two of them.
//
// Every block is one of malloc's own: it may be freed on any thread, be resized by realloc, or be
// given to free(). Nothing is noted in a block, so that whoever writes into one after freeing it
// cannot choose what is given out next; a block that is freed twice while it is kept here ends the
// process, as it does in the C heap. Kept blocks go back to the heap when the thread ends.
#ifndef QOB_OSCOMM_SMALL_BLOCKS_H
#define QOB_OSCOMM_SMALL_BLOCKS_H

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdlib>

namespace qob {

class SmallBlocks {
public:
    // A kept block with room for `size` bytes, or null.
    static void *take(std::size_t size) noexcept {
        SmallBlocks *store = current_;
        return store != nullptr && size <= kLargest ? store->classFor(size).pop() : nullptr;
    }

    // Keeps a block in which `room` bytes may be used. False when it is to be freed.
    static bool keep(void *block, std::size_t room) noexcept {
        if (room < kSmallest || room >= kLargest + kStep) {
            return false;
        }
        SmallBlocks *store = current_;
        store = store != nullptr ? store : begin();
        return store != nullptr && store->classes_[(room - kSmallest) / kStep].push(block);
    }

    SmallBlocks(const SmallBlocks &) = delete;
    SmallBlocks &operator=(const SmallBlocks &) = delete;

private:
    // The rooms that the C library's malloc gives: 24 bytes, 40, 56 and so on. A block of another
    // malloc belongs to the largest class that it has room for.
    static constexpr std::size_t kSmallest = 24;
    static constexpr std::size_t kStep = 16;
    static constexpr std::size_t kClasses = 134;
    static constexpr std::size_t kLargest = kSmallest + (kClasses - 1) * kStep;
    static constexpr std::size_t kMostKept = 4; // of a class

    class Class {
    public:
        void *pop() noexcept { return count_ == 0 ? nullptr : blocks_[--count_]; }

        bool push(void *block) noexcept {
            for (std::size_t i = count_; i > 0; --i) {
                if (blocks_[i - 1] == block) {
                    std::abort();
                }
            }
            if (count_ == kMostKept) {
                return false;
            }
            blocks_[count_++] = block;
            return true;
        }

    private:
        std::size_t count_ = 0;
        std::array<void *, kMostKept> blocks_{};
    };

    SmallBlocks() = default;
    ~SmallBlocks();

    Class &classFor(std::size_t size) noexcept {
        return classes_[(std::max(size, kSmallest) - kSmallest + kStep - 1) / kStep];
    }

    // Makes the thread's store. Null when it is gone already, and when every freed block has to be
    // seen by valgrind's memcheck.
    static SmallBlocks *begin() noexcept;

    // Eight bytes at a fixed place of the thread's block: read without a call, and little enough
    // for what the C library keeps free there when this library is loaded late. Null before the
    // thread's store is made, and once it is gone.
    [[gnu::tls_model("initial-exec")]] static constinit thread_local SmallBlocks *current_;

    std::array<Class, kClasses> classes_{};
};

} // namespace qob

#endif
