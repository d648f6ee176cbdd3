// SPDX-License-Identifier: MIT
// Where the system keeps its programs.
#include "child.h"

#include <unistd.h>

#include <array>
#include <cstdlib>

namespace qob::filters {
namespace {

constexpr std::array<std::string_view, 3> kDirectories{"/usr/bin", "/bin", "/usr/local/bin"};

std::string programIn(std::string_view directory, std::string_view name) {
    std::string path(directory);
    path += '/';
    path += name;
    return access(path.c_str(), X_OK) == 0 ? path : std::string();
}

} // namespace

std::string findProgram(std::string_view name) {
    const char *own = secure_getenv("QOB_HELPER_DIR");
    if (own != nullptr && own[0] == '/') {
        return programIn(own, name);
    }
    for (const std::string_view directory : kDirectories) {
        if (std::string path = programIn(directory, name); !path.empty()) {
            return path;
        }
    }
    return {};
}

} // namespace qob::filters
