// SPDX-License-Identifier: MIT
// Short writes and interruptions are gone on from.
#include "output/whole_write.h"

#include <cerrno>

#include <unistd.h>

namespace emltext {

bool writeWhole(int descriptor, std::string_view bytes) {
    while (!bytes.empty()) {
        const ssize_t count = write(descriptor, bytes.data(), bytes.size());
        if (count >= 0) {
            bytes.remove_prefix(static_cast<std::size_t>(count));
        } else if (errno != EINTR) {
            return false;
        }
    }
    return true;
}

} // namespace emltext
