// SPDX-License-Identifier: MIT
// A list of paths in a file, read as far as it is needed.
#pragma once

#include <cstdio>
#include <memory>
#include <optional>
#include <string>

namespace emltext {

class FileList {
public:
    // "-" is standard input. The paths end with `end`; the last one need not.
    FileList(const std::string &path, char end);

    // The next path that is not empty; nothing at the end, or when error() tells why not. Of a path
    // longer than the system can open, as much as makes it refuse is given.
    std::optional<std::string> next();

    int error() const { return error_; } // errno, or 0

private:
    struct Close {
        void operator()(std::FILE *file) const;
    };

    std::unique_ptr<std::FILE, Close> file_;
    char end_;
    int error_ = 0;
};

} // namespace emltext
