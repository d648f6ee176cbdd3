// SPDX-License-Identifier: MIT
// The table behind the opaque handles of the host (files, logs). A handle is not an address but a
// ticket of a slot number and the slot's generation, so that a handle closed before, and a pointer
// that never was a handle, are recognised instead of followed.
//
// Guarantees
//  - find() and take() answer null or false for every value that is no live handle.
//  - Any number of threads may open, use and close at once; find() takes no lock.
//  - Slots are used again: memory is bounded by the most handles that were ever open together, and
//    kMaxSlots bounds that number.
// May assume that one handle is not closed on one thread while another thread uses it.
#ifndef QOB_HOST_HANDLE_TABLE_H
#define QOB_HOST_HANDLE_TABLE_H

#include <array>
#include <atomic>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <mutex>
#include <new>
#include <type_traits>
#include <utility>

namespace qob {

template <class Handle, class Value> class HandleTable {
public:
    static constexpr std::uint32_t kMaxSlots = 1U << 16U;

    static_assert(std::is_trivially_copyable_v<Value>);

    // Takes `value` in. Null when the table is full or no memory is left.
    Handle *insert(const Value &value) {
        const std::lock_guard lock(mutex_);
        const std::uint32_t index = freeSlot();
        if (index == kNone) {
            return nullptr;
        }
        Slot &slot = slotAt(index);
        slot.value = value;
        const std::uint64_t generation = slot.generation.load(std::memory_order_relaxed) + 1;
        slot.generation.store(generation, std::memory_order_release);
        return ticket(index, generation);
    }

    // The value of a live handle, else null.
    Value *find(const Handle *handle) {
        Slot *slot = liveSlot(handle);
        return slot == nullptr ? nullptr : &slot->value;
    }

    // Ends the handle and copies its value to *value. False when it is not live.
    bool take(const Handle *handle, Value *value) {
        const std::lock_guard lock(mutex_);
        Slot *slot = liveSlot(handle);
        if (slot == nullptr) {
            return false;
        }
        *value = slot->value;
        slot->value = Value();
        slot->generation.fetch_add(1, std::memory_order_release);
        slot->nextFree = firstFree_;
        firstFree_ = slotIndex(handle);
        return true;
    }

private:
    static constexpr std::uint32_t kChunkBits = 8;
    static constexpr std::uint32_t kChunkSize = 1U << kChunkBits;
    static constexpr std::uint32_t kNone = ~0U;
    static constexpr unsigned kIndexBits = 16;

    // The generation is odd while the slot is in use.
    struct Slot {
        std::atomic<std::uint64_t> generation{0};
        std::uint32_t nextFree = kNone;
        Value value{};
    };
    using Chunk = std::array<Slot, kChunkSize>;

    // The lowest bit is always set (generations in use are odd), which no object's address has.
    static Handle *ticket(std::uint32_t index, std::uint64_t generation) {
        const std::uint64_t bits =
            (std::uint64_t{index} << 1U) | 1U | ((generation >> 1U) << (kIndexBits + 1));
        // NOLINTNEXTLINE(performance-no-int-to-ptr): a ticket, never followed
        return reinterpret_cast<Handle *>(static_cast<std::uintptr_t>(bits));
    }

    static std::uint32_t slotIndex(const Handle *handle) {
        const auto bits = static_cast<std::uint64_t>(reinterpret_cast<std::uintptr_t>(handle));
        return static_cast<std::uint32_t>((bits >> 1U) & (kMaxSlots - 1));
    }

    Slot *liveSlot(const Handle *handle) {
        const std::uint32_t index = slotIndex(handle);
        Chunk *chunk = chunks_[index >> kChunkBits].load(std::memory_order_acquire);
        if (chunk == nullptr) {
            return nullptr;
        }
        Slot &slot = (*chunk)[index & (kChunkSize - 1)];
        const std::uint64_t generation = slot.generation.load(std::memory_order_acquire);
        const bool live = (generation & 1U) != 0 && ticket(index, generation) == handle;
        return live ? &slot : nullptr;
    }

    Slot &slotAt(std::uint32_t index) {
        return (*chunks_[index >> kChunkBits].load(
            std::memory_order_relaxed))[index & (kChunkSize - 1)];
    }

    std::uint32_t freeSlot() {
        if (firstFree_ != kNone) {
            return std::exchange(firstFree_, slotAt(firstFree_).nextFree);
        }
        if (used_ == kMaxSlots) {
            return kNone;
        }
        const std::uint32_t chunk = used_ >> kChunkBits;
        if (chunks_[chunk].load(std::memory_order_relaxed) == nullptr) {
            owned_[chunk].reset(new (std::nothrow) Chunk);
            if (owned_[chunk] == nullptr) {
                return kNone;
            }
            chunks_[chunk].store(owned_[chunk].get(), std::memory_order_release);
        }
        return used_++;
    }

    std::mutex mutex_;
    std::array<std::atomic<Chunk *>, (kMaxSlots >> kChunkBits)> chunks_{};
    std::array<std::unique_ptr<Chunk>, (kMaxSlots >> kChunkBits)> owned_{};
    std::uint32_t used_ = 0;
    std::uint32_t firstFree_ = kNone;
};

} // namespace qob

#endif
