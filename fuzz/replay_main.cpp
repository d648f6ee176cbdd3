// SPDX-License-Identifier: MIT
// Runs a fuzz target over files, for any compiler: replay FILE-OR-FOLDER...
//
// Each folder's files are taken, those of its subfolders too. A folder without any file is a
// mistake and fails: a test that reads nothing must not pass.
#include <algorithm>
#include <cstdio>
#include <exception>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <span>
#include <string>
#include <vector>

#include "input.h"

namespace {

using Path = std::filesystem::path;

std::vector<Path> filesOf(const Path &path) {
    if (!std::filesystem::is_directory(path)) {
        return {path};
    }
    std::vector<Path> files;
    for (const auto &entry : std::filesystem::recursive_directory_iterator(path)) {
        if (entry.is_regular_file()) {
            files.push_back(entry.path());
        }
    }
    std::sort(files.begin(), files.end());
    return files;
}

// The exact bytes, in memory of exactly that size, so that an address checker sees every overrun.
bool replay(const Path &file) {
    std::ifstream stream(file, std::ios::binary);
    const std::vector<char> bytes{std::istreambuf_iterator<char>(stream),
                                  std::istreambuf_iterator<char>()};
    if (!stream.is_open() || stream.bad()) {
        std::fprintf(stderr, "replay: %s cannot be read\n", file.c_str());
        return false;
    }
    LLVMFuzzerTestOneInput(reinterpret_cast<const uint8_t *>(bytes.data()), bytes.size());
    return true;
}

int replayAll(std::span<char *> arguments) {
    size_t count = 0;
    for (const char *argument : arguments) {
        const std::vector<Path> files = filesOf(argument);
        if (files.empty()) {
            std::fprintf(stderr, "replay: no file in %s\n", argument);
            return 1;
        }
        for (const Path &file : files) {
            // The name stays the last line when the target ends the process.
            std::printf("%s\n", file.c_str());
            std::fflush(stdout);
            if (!replay(file)) {
                return 1;
            }
        }
        count += files.size();
    }
    std::printf("replayed %zu files\n", count);
    return count > 0 ? 0 : 1;
}

} // namespace

int main(int argc, char **argv) {
    try {
        return replayAll(std::span(argv, static_cast<size_t>(argc)).subspan(1));
    } catch (const std::exception &error) {
        std::fprintf(stderr, "replay: %s\n", error.what());
        return 1;
    }
}
