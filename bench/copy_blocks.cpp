// SPDX-License-Identifier: MIT
// The floor of the benchmark: copies every file of a list through the host's file services, read in
// the filter's blocks with a seek before each, written into one temporary file for each input.
// "--lines" writes line by line, as the filter does, instead of block by block.
//
// Usage: copy_blocks LIST TEMPORARY_FILE [--lines]
#include <array>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string_view>

#include "emlcomm/limits.h"
#include "peers/tally.h"
#include "qob_host.h"

namespace {

struct Copying {
    const char *target;
    bool byLine;
};

[[noreturn]] void fail(const char *what, const char *path) {
    std::fprintf(stderr, "bench: cannot %s %s\n", what, path);
    std::exit(1);
}

void writePiece(std::string_view piece, QobFile *target) {
    const auto length = static_cast<int32_t>(piece.size());
    if (QOB_FileWrite(piece.data(), 1, length, target) != length) {
        fail("write", "the copy");
    }
}

void writeLines(std::string_view block, QobFile *target) {
    while (!block.empty()) {
        const auto *end = static_cast<const char *>(std::memchr(block.data(), '\n', block.size()));
        const size_t length =
            end == nullptr ? block.size() : static_cast<size_t>(end + 1 - block.data());
        writePiece(block.substr(0, length), target);
        block.remove_prefix(length);
    }
}

void copyFile(const char *path, void *context) {
    const Copying &copying = *static_cast<const Copying *>(context);
    QobFile *input = QOB_FileOpen(path, "rb");
    QobFile *target = QOB_FileOpen(copying.target, "wb+");
    if (input == nullptr || target == nullptr) {
        fail("copy", path);
    }
    std::array<char, kBlockSize> block;
    const auto size = static_cast<int32_t>(QOB_FileTellSize(input));
    for (int32_t at = 0; at < size; at += kBlockSize) {
        QOB_FileSeek(input, at, 0);
        const int32_t count = QOB_FileRead(block.data(), 1, kBlockSize, input);
        const std::string_view text(block.data(), static_cast<size_t>(count));
        copying.byLine ? writeLines(text, target) : writePiece(text, target);
    }
    QOB_FileClose(input);
    QOB_FileClose(target);
    QOB_ASC_remove(copying.target);
}

} // namespace

int main(int argc, char **argv) {
    const bool byLine = argc == 4 && std::strcmp(argv[3], "--lines") == 0;
    if (argc != 3 && !byLine) {
        std::fprintf(stderr, "usage: %s LIST TEMPORARY_FILE [--lines]\n", argv[0]);
        return 2;
    }
    Copying copying{argv[2], byLine};
    bench_each(argv[1], copyFile, &copying);
    return 0;
}
