// SPDX-License-Identifier: MIT
// Depth first, one sorted listing per level. What is not wanted is left out of the listing at once.
#include "input/directory_walk.h"

#include <algorithm>
#include <cerrno>
#include <memory>
#include <utility>

#include <dirent.h>
#include <sys/stat.h>

#include "input/input_kind.h"

namespace emltext {
namespace {

struct CloseDirectory {
    void operator()(DIR *directory) const { closedir(directory); }
};
using Directory = std::unique_ptr<DIR, CloseDirectory>;

// Unfinished files of a run that was killed; see tree_output.
constexpr std::string_view kUnfinishedEnding = ".t~";

// What a name is: a regular file, also behind a symbolic link; a directory, but not behind one; or
// DT_UNKNOWN for everything else.
unsigned char typeOf(const std::string &path, unsigned char listed) {
    struct stat status {};
    if (listed == DT_UNKNOWN && lstat(path.c_str(), &status) == 0) {
        listed = static_cast<unsigned char>(IFTODT(status.st_mode));
    }
    if (listed == DT_LNK) {
        const bool toFile = stat(path.c_str(), &status) == 0 && S_ISREG(status.st_mode);
        return toFile ? DT_REG : DT_UNKNOWN;
    }
    return listed == DT_REG || listed == DT_DIR ? listed : static_cast<unsigned char>(DT_UNKNOWN);
}

} // namespace

std::optional<FileIdentity> identityOf(const std::string &path) {
    struct stat status {};
    if (stat(path.c_str(), &status) != 0) {
        return std::nullopt;
    }
    return FileIdentity{status.st_dev, status.st_ino};
}

DirectoryWalk::DirectoryWalk(std::string root, bool all, std::optional<FileIdentity> leftOut)
    : root_(std::move(root)), all_(all), leftOut_(leftOut) {}

std::string DirectoryWalk::pathOf(const std::string &below) const {
    if (below.empty()) {
        return root_;
    }
    return root_ + (root_.ends_with('/') ? "" : "/") + below;
}

std::optional<DirectoryWalk::Entry> DirectoryWalk::next() {
    if (!begun_) {
        begun_ = true;
        if (const int error = enter("")) {
            return Entry{root_, "", error};
        }
    }
    while (!levels_.empty()) {
        Level &level = levels_.back();
        if (level.at == level.names.size()) {
            const Entry entry{pathOf(level.below), level.below, level.error};
            levels_.pop_back();
            if (entry.error != 0) {
                return entry;
            }
            continue;
        }
        const Name name = std::move(level.names[level.at++]);
        const std::string below = level.below.empty() ? name.text : level.below + "/" + name.text;
        const int error = name.isDirectory ? enter(below) : 0;
        if (!name.isDirectory || error != 0) {
            return Entry{pathOf(below), below, error};
        }
    }
    return std::nullopt;
}

// 0, or the errno of a directory that cannot be read.
int DirectoryWalk::enter(const std::string &below) {
    const std::string path = pathOf(below);
    if (!below.empty() && leftOut_ && identityOf(path) == leftOut_) {
        return 0;
    }
    Level level{below, {}, 0, 0};
    if (const int error = list(path, level)) {
        return error;
    }
    std::sort(level.names.begin(), level.names.end(),
              [](const Name &a, const Name &b) { return a.text < b.text; });
    levels_.push_back(std::move(level));
    return 0;
}

int DirectoryWalk::list(const std::string &path, Level &level) const {
    const Directory directory(opendir(path.c_str()));
    if (directory == nullptr) {
        return errno;
    }
    const bool everyFile = all_ || holdsMaildirMessages(path);
    for (;;) {
        errno = 0;
        const dirent *entry = readdir(directory.get()); // NOLINT(concurrency-mt-unsafe)
        if (entry == nullptr) {
            level.error = errno;
            return 0;
        }
        const std::string name = entry->d_name;
        bool isDirectory = false;
        if (isWanted(path, name, entry->d_type, everyFile, isDirectory)) {
            level.names.push_back({name, isDirectory});
        }
    }
}

bool DirectoryWalk::isWanted(const std::string &directory, const std::string &name,
                             unsigned char type, bool everyFile, bool &isDirectory) const {
    const bool hidden = name.starts_with('.');
    const bool mayBeFile = (everyFile || hasMessageEnding(name)) && (all_ || !hidden) &&
                           !(hidden && name.ends_with(kUnfinishedEnding));
    if (name == "." || name == ".." || (type == DT_REG && !mayBeFile)) {
        return false;
    }
    const std::string path = directory + "/" + name;
    type = typeOf(path, type);
    isDirectory = type == DT_DIR;
    return isDirectory ? all_ || !hidden || isMaildir(path) : type == DT_REG && mayBeFile;
}

} // namespace emltext
