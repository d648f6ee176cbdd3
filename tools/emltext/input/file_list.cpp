// SPDX-License-Identifier: MIT
// Byte by byte through stdio, so that a list without an end costs no memory.
#include "input/file_list.h"

#include <cerrno>
#include <climits>

namespace emltext {
namespace {

constexpr std::size_t kKept = PATH_MAX + 1;

} // namespace

void FileList::Close::operator()(std::FILE *file) const {
    if (file != stdin) {
        static_cast<void>(std::fclose(file));
    }
}

FileList::FileList(const std::string &path, char end)
    : file_(path == "-" ? stdin : std::fopen(path.c_str(), "rbe")), end_(end) {
    if (file_ == nullptr) {
        error_ = errno;
    }
}

std::optional<std::string> FileList::next() {
    std::string path;
    while (file_ != nullptr) {
        errno = 0;
        const int byte = std::getc(file_.get());
        if (byte == EOF && errno == EINTR) {
            std::clearerr(file_.get());
        } else if (byte == EOF || byte == static_cast<unsigned char>(end_)) {
            if (byte == EOF) {
                error_ = std::ferror(file_.get()) != 0 ? errno : 0;
                file_.reset();
            }
            if (!path.empty()) {
                return path;
            }
        } else if (path.size() < kKept) {
            path.push_back(static_cast<char>(byte));
        }
    }
    return std::nullopt;
}

} // namespace emltext
