// SPDX-License-Identifier: MIT
// A folder for one test, removed with everything in it when the test ends.
#ifndef QOB_TESTS_TEMP_FOLDER_H
#define QOB_TESTS_TEMP_FOLDER_H

#include <filesystem>
#include <fstream>
#include <sstream>
#include <stdexcept>
#include <string>
#include <string_view>
#include <system_error>

#include <stdlib.h>

class TempFolder {
public:
    TempFolder() {
        std::string pattern = (std::filesystem::temp_directory_path() / "qobtest-XXXXXX").string();
        if (::mkdtemp(pattern.data()) == nullptr) {
            throw std::runtime_error("no folder for the test: " + pattern);
        }
        path_ = pattern;
    }
    TempFolder(const TempFolder &) = delete;
    TempFolder &operator=(const TempFolder &) = delete;
    ~TempFolder() {
        std::error_code ignored;
        std::filesystem::remove_all(path_, ignored);
    }

    std::string path() const { return path_; }
    std::string file(std::string_view name) const { return path_ + "/" + std::string(name); }

    std::string write(std::string_view name, std::string_view content) const {
        std::ofstream(file(name), std::ios::binary) << content;
        return file(name);
    }
    std::size_t entries() const {
        std::size_t count = 0;
        for ([[maybe_unused]] const auto &entry : std::filesystem::directory_iterator(path_)) {
            ++count;
        }
        return count;
    }

private:
    std::string path_;
};

inline std::string contentOf(const std::string &path) {
    std::ostringstream content;
    content << std::ifstream(path, std::ios::binary).rdbuf();
    return content.str();
}

#endif
