// SPDX-License-Identifier: MIT
// Looking at files from outside, and at the first five bytes of regular ones.
#include "input/input_kind.h"

#include <array>
#include <cstdlib>
#include <memory>

#include <fcntl.h>
#include <strings.h>
#include <sys/stat.h>
#include <unistd.h>

namespace emltext {
namespace {

constexpr std::string_view kMessageEnding = ".eml";
constexpr std::string_view kMboxStart = "From ";

bool isDirectory(const std::string &path) {
    struct stat status {};
    return stat(path.c_str(), &status) == 0 && S_ISDIR(status.st_mode);
}

// Never waits: a pipe is not opened, nor one that came in the place of a file just now.
bool beginsLikeMbox(const std::string &path) {
    const int descriptor = open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK | O_NOCTTY);
    if (descriptor < 0) {
        return false;
    }
    std::array<char, kMboxStart.size()> start{};
    const bool complete =
        read(descriptor, start.data(), start.size()) == static_cast<ssize_t>(start.size());
    close(descriptor);
    return complete && std::string_view(start.data(), start.size()) == kMboxStart;
}

// A path that ends in the directory's name even when it was given as "." or "..".
std::string withItsName(const std::string &directory) {
    const std::string name = lastNameOf(directory);
    if (name != "." && name != "..") {
        return directory;
    }
    const std::unique_ptr<char, decltype(&std::free)> resolved(realpath(directory.c_str(), nullptr),
                                                               &std::free);
    return resolved == nullptr ? directory : resolved.get();
}

std::string withoutSlashesAtEnd(const std::string &path) {
    const std::size_t last = path.find_last_not_of('/');
    return last == std::string::npos ? path.substr(0, 1) : path.substr(0, last + 1);
}

} // namespace

bool hasMessageEnding(std::string_view name) {
    return name.size() >= kMessageEnding.size() &&
           strncasecmp(name.data() + name.size() - kMessageEnding.size(), kMessageEnding.data(),
                       kMessageEnding.size()) == 0;
}

bool isMaildir(const std::string &directory) {
    return isDirectory(directory + "/cur") && isDirectory(directory + "/new");
}

bool holdsMaildirMessages(const std::string &directory) {
    const std::string path = withItsName(directory);
    const std::string name = lastNameOf(path);
    return (name == "cur" || name == "new") && isMaildir(directoryOf(path));
}

std::string directoryOf(const std::string &path) {
    const std::string trimmed = withoutSlashesAtEnd(path);
    const std::size_t slash = trimmed.rfind('/');
    if (slash == std::string::npos) {
        return ".";
    }
    return slash == 0 ? "/" : withoutSlashesAtEnd(trimmed.substr(0, slash));
}

std::string lastNameOf(const std::string &path) {
    const std::string trimmed = withoutSlashesAtEnd(path);
    return trimmed.substr(trimmed.rfind('/') + 1);
}

InputKind inputKind(const std::string &path) {
    struct stat status {};
    if (path == "-" || stat(path.c_str(), &status) != 0) {
        return InputKind::kMessage;
    }
    if (S_ISDIR(status.st_mode)) {
        return InputKind::kDirectory;
    }
    const bool mayBeMbox = S_ISREG(status.st_mode) && !hasMessageEnding(path) &&
                           !holdsMaildirMessages(directoryOf(path));
    return mayBeMbox && beginsLikeMbox(path) ? InputKind::kMbox : InputKind::kMessage;
}

} // namespace emltext
