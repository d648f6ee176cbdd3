// SPDX-License-Identifier: MIT
// Promises of the host's memory: whoever takes, resizes and frees blocks on whatever thread gets
// what plain malloc would give.
#include <algorithm>
#include <array>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <iterator>
#include <random>
#include <set>
#include <thread>
#include <vector>

#include <malloc.h>

#include <gtest/gtest.h>

#include "qob_host.h"

namespace {

// NOLINTBEGIN(cppcoreguidelines-no-malloc): the plain twin is the C heap

// A block of the host and its twin of the C heap, with the same content.
struct Pair {
    unsigned char *host;
    unsigned char *plain;
    std::size_t size;
};

class Blocks {
public:
    explicit Blocks(uint32_t seed) : random_(seed) {}
    ~Blocks() {
        while (!pairs_.empty()) {
            freeOne();
        }
    }
    Blocks(const Blocks &) = delete;
    Blocks &operator=(const Blocks &) = delete;

    void steps(int count) {
        for (int i = 0; i < count && !testing::Test::HasFailure(); ++i) {
            step();
        }
    }

    // Those of the other one are freed by this one from now on.
    void takeFrom(Blocks &other) {
        std::move(other.pairs_.begin(), other.pairs_.end(), std::back_inserter(pairs_));
        other.pairs_.clear();
    }

private:
    void step() {
        const uint32_t kind = below(8);
        if (pairs_.empty() || (kind < 4 && pairs_.size() < 100)) {
            takeOne();
        } else if (kind < 7) {
            freeOne();
        } else {
            resizeOne();
        }
    }

    void takeOne() {
        const std::size_t size = anySize();
        pairs_.push_back({static_cast<unsigned char *>(QOB_malloc(size)),
                          static_cast<unsigned char *>(std::malloc(size)), size});
        const Pair &pair = pairs_.back();
        ASSERT_NE(pair.host, nullptr);
        EXPECT_EQ(reinterpret_cast<std::uintptr_t>(pair.host) % alignof(std::max_align_t), 0U);
        fill(pair, 0);
    }

    void freeOne() {
        const std::size_t index = below(static_cast<uint32_t>(pairs_.size()));
        const Pair pair = pairs_[index];
        EXPECT_EQ(std::memcmp(pair.host, pair.plain, pair.size), 0) << pair.size;
        QOB_free(pair.host);
        std::free(pair.plain);
        pairs_[index] = pairs_.back();
        pairs_.pop_back();
    }

    void resizeOne() {
        Pair &pair = pairs_[below(static_cast<uint32_t>(pairs_.size()))];
        const std::size_t kept = pair.size;
        pair.size = std::max<std::size_t>(anySize(), 1);
        pair.host = static_cast<unsigned char *>(QOB_realloc(pair.host, pair.size));
        pair.plain = static_cast<unsigned char *>(std::realloc(pair.plain, pair.size));
        ASSERT_NE(pair.host, nullptr);
        EXPECT_EQ(std::memcmp(pair.host, pair.plain, std::min(kept, pair.size)), 0);
        fill(pair, std::min(kept, pair.size));
    }

    void fill(const Pair &pair, std::size_t from) {
        for (std::size_t i = from; i < pair.size; ++i) {
            pair.host[i] = pair.plain[i] = static_cast<unsigned char>(random_());
        }
    }

    // Mostly around the borders between small sizes, at times a large one.
    std::size_t anySize() {
        const uint32_t kind = below(10);
        if (kind == 0) {
            return below(100000);
        }
        return kind < 4 ? below(3000) : below(20) * 16 + 6 + below(5);
    }

    uint32_t below(uint32_t end) { return static_cast<uint32_t>(random_() % end); }

    std::mt19937 random_;
    std::vector<Pair> pairs_;
};

TEST(Memory, HoldsWhatIsWrittenUntilItIsFreed) {
    for (uint32_t seed = 1; seed <= 20; ++seed) {
        Blocks(seed).steps(3000);
    }
}

TEST(Memory, IsFreedOnAnyThread) {
    Blocks here(1);
    Blocks there(2);
    for (int round = 0; round < 20; ++round) {
        here.steps(300);
        std::thread([&] {
            there.takeFrom(here);
            there.steps(300);
        }).join();
        here.takeFrom(there);
    }
}

TEST(Memory, ServesThreadsSideBySide) {
    std::thread other([] { Blocks(3).steps(20000); });
    Blocks(4).steps(20000);
    other.join();
}

TEST(Memory, OfTheSameSizeIsNotGivenOutTwiceAtOnce) {
    std::set<void *> blocks;
    for (int round = 0; round < 3; ++round) {
        for (int i = 0; i < 100; ++i) {
            EXPECT_TRUE(blocks.insert(QOB_malloc(80)).second);
        }
        for (void *block : blocks) {
            QOB_free(block);
        }
        blocks.clear();
    }
}

// Freed after everything that the thread made later than the object.
struct FreedAtTheEnd {
    ~FreedAtTheEnd() { QOB_free(block); }
    void *block = nullptr;
};
thread_local FreedAtTheEnd lasting;

TEST(Memory, IsFreedWhileTheThreadEnds) {
    std::thread([] {
        lasting.block = QOB_malloc(80);
        QOB_free(QOB_malloc(80));
    }).join();
}

TEST(Memory, ThatIsFreedGoesBackToTheHeap) {
    std::array<void *, 20000> blocks{};
    const std::size_t before = ::mallinfo2().uordblks;
    std::thread([&blocks] {
        std::generate(blocks.begin(), blocks.end(), [] { return QOB_malloc(500); });
        std::for_each(blocks.begin(), blocks.end(), QOB_free);
    }).join();
    EXPECT_LT(::mallinfo2().uordblks, before + 100000);
}

TEST(Memory, OfNoBytesIsABlockAndNullMayBeFreed) {
    void *block = QOB_malloc(0);
    EXPECT_NE(block, nullptr);
    QOB_free(block);
    QOB_free(nullptr);
}

TEST(MemoryDeathTest, FreedTwiceEndsTheProcess) {
    const auto freeTwice = [](std::size_t size) {
        void *block = QOB_malloc(size);
        void *other = QOB_malloc(size);
        QOB_free(block);
        QOB_free(other);
        QOB_free(block);
    };
    EXPECT_DEATH(freeTwice(80), "");
}
// NOLINTEND(cppcoreguidelines-no-malloc)

} // namespace
