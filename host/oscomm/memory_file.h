// SPDX-License-Identifier: MIT
// Small temporary files that are only in memory, and the private directory of a scope, which is
// made when something has to lie in it.
//
// A temporary file begins in memory. It moves to disk, under its name, when it outgrows one block,
// when it is opened a second time while somebody writes it, when it is removed while it is open,
// or when a program asks for it that opens it by itself (storeOnDisk). Until then it exists for the
// file services of the thread whose scope it belongs to, and for nobody else.
#ifndef QOB_OSCOMM_MEMORY_FILE_H
#define QOB_OSCOMM_MEMORY_FILE_H

#include <cstddef>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "open_file.h"

namespace qob {

class TempFiles;

struct MemoryFile {
    MemoryFile(TempFiles &where, std::string_view called, char *content)
        : owner(&where), name(called), block(content) {}

    TempFiles *owner;
    std::string name; // within the directory
    char *block;      // kBlockSize bytes
    std::size_t size = 0;
    std::vector<OpenFile *> handles; // any number that read, or one that writes
};

// Moves the file to disk and everybody who has it open with it; the object is gone then. False with
// errno set, and nothing changed, when that cannot be done.
bool storeOnDisk(MemoryFile &memory) noexcept;

// The handle does not use its memory file any more.
void closeInMemory(OpenFile &file) noexcept;

// The temporary files of one scope. Belongs to one thread; handles may be closed on any.
class TempFiles {
public:
    TempFiles() = default;
    ~TempFiles() { end(); }
    TempFiles(const TempFiles &) = delete;
    TempFiles &operator=(const TempFiles &) = delete;

    // No file yet, and the directory `ROOT/NAME`, which is not made yet. Not twice without an
    // end().
    void begin(std::string_view root, std::string_view name);

    // Removes the directory with everything that was made in it. False when it could not be made
    // although it was needed.
    bool end() noexcept;

    // Absolute, without a final '/'.
    const std::string &directory() const { return directory_; }

    // The name of a file that lies directly in the directory, else nothing.
    std::string_view nameOf(std::string_view path) const;

    // Makes the directory unless it is made. False with errno set.
    bool makeDirectory() noexcept;

    // As OpenFile::onDisk for `path`, whose name in the directory is `name`.
    OpenFile *open(const char *path, std::string_view name, const OpenMode &mode);

    // Files in memory and on disk, as the system's calls of these names: 0 or -1 with errno set.
    int find(const char *path, std::string_view name) const;
    int remove(const char *path, std::string_view name);

    // Makes sure that the file is on disk, if there is one. False with errno set.
    bool store(std::string_view name);
    bool isInMemory(std::string_view name) const { return lookUp(name) != nullptr; }

private:
    friend bool storeOnDisk(MemoryFile &memory) noexcept;

    MemoryFile *lookUp(std::string_view name) const;
    void drop(const MemoryFile &memory) noexcept;
    bool mayBegin(const char *path) const;
    OpenFile *beginFile(std::string_view name, const OpenMode &mode);
    static OpenFile *openInMemory(MemoryFile &memory, const OpenMode &mode);

    std::string directory_;
    bool made_ = false;
    bool refused_ = false; // by the system, at the last attempt to make it
    std::vector<std::unique_ptr<MemoryFile>> files_;
};

} // namespace qob

#endif
