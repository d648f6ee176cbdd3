// SPDX-License-Identifier: MIT
// The files below a directory, in byte order of their names. Only the listings of the directories
// from the root to the present one are held.
#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <vector>

#include <sys/types.h>

namespace emltext {

// A file or directory, whatever it is called.
struct FileIdentity {
    dev_t device = 0;
    ino_t inode = 0;
    bool operator==(const FileIdentity &) const = default;
};

std::optional<FileIdentity> identityOf(const std::string &path);

class DirectoryWalk {
public:
    struct Entry {
        std::string path;  // the root and the names below it
        std::string below; // the names below the root
        int error = 0;     // errno: `path` is a directory that could not be read
    };

    // By default files that end in ".eml" and the messages of Maildirs, without hidden files;
    // hidden directories only where they are Maildirs. `all`: every regular file. Symbolic links
    // to directories are not followed. `leftOut` is not entered, unless it is the root.
    DirectoryWalk(std::string root, bool all, std::optional<FileIdentity> leftOut);

    // The next file, or a directory that could not be read; nothing at the end.
    std::optional<Entry> next();

private:
    struct Name {
        std::string text;
        bool isDirectory;
    };
    struct Level {
        std::string below;
        std::vector<Name> names;
        std::size_t at = 0;
        int error = 0; // reading the listing broke off
    };

    std::string pathOf(const std::string &below) const;
    int enter(const std::string &below);
    int list(const std::string &path, Level &level) const;
    bool isWanted(const std::string &directory, const std::string &name, unsigned char type,
                  bool everyFile, bool &isDirectory) const;

    std::string root_;
    bool all_;
    std::optional<FileIdentity> leftOut_;
    std::vector<Level> levels_;
    bool begun_ = false;
};

} // namespace emltext
