// SPDX-License-Identifier: MIT
// Lines out of blocks: a megabyte of lines, read as the walkers read them.
#include <benchmark/benchmark.h>

#include <filesystem>
#include <fstream>
#include <unistd.h>

#include "emlcomm/line_reader.h"
#include "routine.h"

namespace {

constexpr size_t kTextSize = 1 << 20;

// A file that is gone with this object.
struct InputFile {
    explicit InputFile(const std::string &text)
        : path(std::filesystem::temp_directory_path() /
               ("bench-lines-" + std::to_string(getpid()))) {
        std::ofstream(path, std::ios::binary) << text;
    }
    ~InputFile() { std::filesystem::remove(path); }
    InputFile(const InputFile &) = delete;
    InputFile &operator=(const InputFile &) = delete;

    std::filesystem::path path;
};

void readLines(benchmark::State &state, const std::string &line) {
    const std::string text = repeated(line, kTextSize);
    const InputFile file(text);
    Routine routine;
    routine.openInput(file.path);
    int64_t lines = 0;
    for (auto _ : state) {
        routine.rewind();
        while (eml::readNextLine(&routine.handle) == eml::NextLine::kRead) {
            ++lines;
        }
    }
    state.SetItemsProcessed(lines);
    state.SetBytesProcessed(static_cast<int64_t>(text.size() * state.iterations()));
}

BENCHMARK_CAPTURE(readLines, "76 bytes, LF", std::string(76, 'x') + "\n");
BENCHMARK_CAPTURE(readLines, "76 bytes, CR LF", std::string(76, 'x') + "\r\n");
BENCHMARK_CAPTURE(readLines, "1000 bytes, LF", std::string(1000, 'x') + "\n");
BENCHMARK_CAPTURE(readLines, "empty, LF", std::string("\n"));

} // namespace
