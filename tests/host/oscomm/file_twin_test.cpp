// SPDX-License-Identifier: MIT
// Promise: whatever is read, written and asked in whatever order, files of the host answer as plain
// stdio files do, on disk, in a scope's memory, and while one becomes the other.
#include <algorithm>
#include <array>
#include <cstdint>
#include <random>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "oscomm/plain_file.h"
#include "qob_host.h"
#include "qob_scope.h"
#include "temp_folder.h"

namespace {

constexpr std::array kModes = {"rb", "rb+", "wb", "wb+", "ab", "ab+"};

struct Sizes {
    const char *name;
    uint32_t seed;
    int32_t longest; // bytes of one transfer
    int32_t reach;   // of seeks
};

class Twins {
public:
    Twins(const std::string &ours, const std::string &plain, const char *mode, uint32_t seed,
          const Sizes &sizes)
        : file_(QOB_FileOpen(ours.c_str(), mode)), plain_(plain, mode), random_(seed),
          sizes_(sizes), given_(static_cast<std::size_t>(sizes.longest)), got_(given_.size()),
          wanted_(given_.size()) {}

    bool areOpen() const { return file_ != nullptr && plain_.isOpen(); }

    // Random calls on both, up to the first difference.
    void steps(int count) {
        for (int i = 0; i < count && !testing::Test::HasFailure(); ++i) {
            step();
        }
    }

    void close() {
        EXPECT_EQ(QOB_FileClose(file_), plain_.close());
        file_ = nullptr;
    }

private:
    void step() {
        switch (below(10)) {
        case 0:
        case 1:
        case 2:
        case 3:
            write();
            break;
        case 4:
        case 5:
        case 6:
            read();
            break;
        case 7:
        case 8:
            seek();
            break;
        default:
            EXPECT_EQ(QOB_FileTellSize(file_), plain_.size());
            break;
        }
        EXPECT_EQ(QOB_FileTell(file_), plain_.tell());
    }

    int32_t below(int32_t bound) {
        return std::uniform_int_distribution<int32_t>(0, bound - 1)(random_);
    }

    // Mostly short, as lines are.
    int32_t transferSize() { return 1 + below(below(4) == 0 ? sizes_.longest : 80); }

    void write() {
        const int32_t size = transferSize();
        std::generate_n(given_.begin(), size, [this] { return static_cast<char>(random_()); });
        EXPECT_EQ(QOB_FileWrite(given_.data(), 1, size, file_),
                  plain_.write(given_.data(), 1, size));
    }

    // In items of one byte or of several, of which the last may be cut.
    void read() {
        const int32_t item = below(4) == 0 ? 1 + below(7) : 1;
        const int32_t count = std::max(transferSize() / item, 1);
        const auto bytes = static_cast<std::size_t>(item) * static_cast<std::size_t>(count);
        if (bytes > got_.size()) {
            return;
        }
        const int32_t read = QOB_FileRead(got_.data(), item, count, file_);
        ASSERT_EQ(read, plain_.read(wanted_.data(), item, count));
        const auto whole = static_cast<std::ptrdiff_t>(read) * item;
        EXPECT_TRUE(std::equal(got_.begin(), got_.begin() + whole, wanted_.begin()));
    }

    void seek() {
        const int32_t whence = below(3);
        const int32_t offset = below(2 * sizes_.reach) - sizes_.reach / (whence == 0 ? 8 : 1);
        EXPECT_EQ(QOB_FileSeek(file_, offset, whence), plain_.seek(offset, whence))
            << offset << " from " << whence;
    }

    QobFile *file_;
    PlainFile plain_;
    std::mt19937 random_;
    Sizes sizes_;
    std::vector<char> given_;
    std::vector<char> got_;
    std::vector<char> wanted_;
};

std::string contentByHost(const std::string &path) {
    std::string content;
    std::array<char, 5000> piece{};
    QobFile *file = QOB_FileOpen(path.c_str(), "rb");
    int32_t count = 0;
    while ((count = QOB_FileRead(piece.data(), 1, piece.size(), file)) > 0) {
        content.append(piece.data(), static_cast<std::size_t>(count));
    }
    QOB_FileClose(file);
    return content;
}

// One file and its twin, opened again and again.
void expectTwins(const std::string &ours, const std::string &plain, const Sizes &sizes) {
    std::mt19937 random(sizes.seed);
    for (int round = 0; round < 30; ++round) {
        const char *mode = round == 0 ? "wb+" : kModes[random() % kModes.size()];
        SCOPED_TRACE(std::string(mode) + " in round " + std::to_string(round));
        Twins twins(ours, plain, mode, static_cast<uint32_t>(random()), sizes);
        ASSERT_TRUE(twins.areOpen());
        twins.steps(50);
        twins.close();
        ASSERT_EQ(contentByHost(ours), contentOf(plain));
        ASSERT_FALSE(testing::Test::HasFailure());
    }
}

class FileTwins : public testing::TestWithParam<Sizes> {};

TEST_P(FileTwins, OnDiskAnswerAlike) {
    const TempFolder folder;
    expectTwins(folder.file("ours"), folder.file("plain"), GetParam());
}

TEST_P(FileTwins, InAScopeAnswerAlike) {
    const TempFolder folder;
    ASSERT_EQ(qob_scope_enter(folder.path().c_str()), 0);
    Sizes sizes = GetParam();
    for (int file = 0; file < 2; ++file, sizes.seed += 100) {
        std::array<char, 4096> name{};
        ASSERT_EQ(QOB_ASC_tmpnam(name.data()), 0);
        expectTwins(name.data(), folder.file("plain"), sizes);
        EXPECT_EQ(QOB_ASC_remove(name.data()), 0);
        std::filesystem::remove(folder.file("plain"));
    }
    qob_scope_leave();
    EXPECT_EQ(folder.entries(), 0U);
}

TEST_P(FileTwins, StoredInTheMiddleAnswerAlike) {
    const TempFolder folder;
    ASSERT_EQ(qob_scope_enter(folder.path().c_str()), 0);
    std::array<char, 4096> name{};
    ASSERT_EQ(QOB_ASC_tmpnam(name.data()), 0);
    Twins twins(name.data(), folder.file("plain"), "wb+", GetParam().seed, GetParam());
    twins.steps(30);
    EXPECT_EQ(qob_scope_store(name.data()), 0);
    EXPECT_TRUE(std::filesystem::exists(name.data()));
    twins.steps(170);
    twins.close();
    EXPECT_EQ(contentByHost(name.data()), contentOf(folder.file("plain")));
    qob_scope_leave();
}

INSTANTIATE_TEST_SUITE_P(Sizes, FileTwins,
                         testing::Values(Sizes{"Lines", 1, 300, 2000},
                                         Sizes{"Pieces", 2, 40000, 50000},
                                         Sizes{"AroundTheBlock", 3, 300000, 200000}),
                         [](const auto &row) { return std::string(row.param.name); });

} // namespace
