// SPDX-License-Identifier: MIT
// Read and removed.
#include "output/spool_file.h"

#include <cerrno>
#include <vector>

#include <fcntl.h>
#include <unistd.h>

namespace emltext {
namespace {

constexpr std::size_t kPieceSize = 65536;

bool readAll(int descriptor, const std::function<bool(std::string_view)> &take) {
    std::vector<char> piece(kPieceSize);
    for (;;) {
        const ssize_t count = read(descriptor, piece.data(), piece.size());
        if (count < 0 && errno == EINTR) {
            continue;
        }
        if (count <= 0 || !take({piece.data(), static_cast<std::size_t>(count)})) {
            return count >= 0;
        }
    }
}

} // namespace

bool emptySpoolFile(const std::string &path, const std::function<bool(std::string_view)> &take) {
    const int descriptor = open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NOFOLLOW);
    if (descriptor < 0) {
        return errno == ENOENT;
    }
    unlink(path.c_str());
    const bool complete = readAll(descriptor, take);
    const int error = errno;
    close(descriptor);
    errno = error;
    return complete;
}

} // namespace emltext
