// SPDX-License-Identifier: MIT
// Temporary files in memory and on disk. One lock guards who has which memory file open, since a
// handle may be closed on another thread than the scope's.
#include "memory_file.h"

#include <algorithm>
#include <cerrno>
#include <filesystem>
#include <mutex>
#include <system_error>
#include <utility>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include "block_pool.h"

namespace qob {
namespace {

constexpr mode_t kPrivate = 0700;
constexpr mode_t kNewFileMode = 0666; // less the umask, as for every other file

// Blocks that a thread's temporary files may hold; those that come later begin on disk.
constexpr std::size_t kMostInMemory = 16;
thread_local std::size_t inMemory = 0;

std::mutex &handlesLock() {
    static auto *lock = new std::mutex; // never destroyed: threads may outlive main()
    return *lock;
}

// Descriptors for the handles of a file that moves to disk.
class Descriptors {
public:
    ~Descriptors() {
        const int error = errno;
        for (const int descriptor : all_) {
            ::close(descriptor);
        }
        errno = error;
    }
    Descriptors() = default;
    Descriptors(const Descriptors &) = delete;
    Descriptors &operator=(const Descriptors &) = delete;

    bool add(const char *path, int flags, std::size_t expected) {
        all_.reserve(expected);
        const int descriptor = ::open(path, flags | O_RDWR | O_CLOEXEC, kNewFileMode);
        if (descriptor >= 0) {
            all_.push_back(descriptor);
        }
        return descriptor >= 0;
    }
    int first() const { return all_.front(); }
    int take() {
        const int descriptor = all_.back();
        all_.pop_back();
        return descriptor;
    }

private:
    std::vector<int> all_;
};

bool writeAll(int descriptor, const char *data, std::size_t length) {
    while (length > 0) {
        const ssize_t count = ::write(descriptor, data, length);
        if (count < 0 && errno != EINTR) {
            return false;
        }
        if (count > 0) {
            data += count;
            length -= static_cast<std::size_t>(count);
        }
    }
    return true;
}

bool writeOut(const MemoryFile &memory, const std::string &path, Descriptors &descriptors) {
    const std::size_t handles = memory.handles.size();
    if (!descriptors.add(path.c_str(), O_CREAT | O_EXCL, handles + 1)) {
        return false;
    }
    bool done = writeAll(descriptors.first(), memory.block, memory.size);
    for (std::size_t i = 1; done && i < handles; ++i) {
        done = descriptors.add(path.c_str(), 0, handles);
    }
    if (!done) {
        const int error = errno;
        ::unlink(path.c_str());
        errno = error;
    }
    return done;
}

// A handle that outlives its scope has no file any more, and every call with it fails.
void detachHandles(const MemoryFile &memory) noexcept {
    const std::lock_guard guard(handlesLock());
    for (OpenFile *file : memory.handles) {
        file->moveToDisk(-1);
    }
}

} // namespace

bool storeOnDisk(MemoryFile &memory) noexcept {
    try {
        TempFiles &owner = *memory.owner;
        const std::string path = owner.directory() + "/" + memory.name;
        const std::lock_guard guard(handlesLock());
        for (OpenFile *file : memory.handles) {
            file->settleMemory();
        }
        Descriptors descriptors;
        if (!owner.makeDirectory() || !writeOut(memory, path, descriptors)) {
            return false;
        }
        for (OpenFile *file : memory.handles) {
            file->moveToDisk(descriptors.take());
        }
        owner.drop(memory);
        return true;
    } catch (...) {
        errno = ENOMEM;
        return false;
    }
}

void closeInMemory(OpenFile &file) noexcept {
    const std::lock_guard guard(handlesLock());
    file.settleMemory();
    std::vector<OpenFile *> &handles = file.memory()->handles;
    handles.erase(std::remove(handles.begin(), handles.end(), &file), handles.end());
}

void TempFiles::begin(std::string_view root, std::string_view name) {
    directory_.reserve(root.size() + 1 + name.size());
    directory_.assign(root == "/" ? std::string_view{} : root);
    directory_ += '/';
    directory_ += name;
}

// Never follows a link. Mostly the directory is empty, or was not needed.
bool TempFiles::end() noexcept {
    while (!files_.empty()) {
        detachHandles(*files_.back());
        drop(*files_.back());
    }
    const bool refused = std::exchange(refused_, false);
    if (!std::exchange(made_, false) || ::rmdir(directory_.c_str()) == 0) {
        return !refused;
    }
    try {
        std::error_code ignored;
        std::filesystem::remove_all(directory_, ignored);
    } catch (...) { // NOLINT(bugprone-empty-catch): no memory to walk the directory: it stays
    }
    return true;
}

std::string_view TempFiles::nameOf(std::string_view path) const {
    const std::size_t length = directory_.size();
    if (path.size() <= length + 1 || path[length] != '/' || !path.starts_with(directory_)) {
        return {};
    }
    const std::string_view name = path.substr(length + 1);
    return name.find('/') == std::string_view::npos ? name : std::string_view{};
}

bool TempFiles::makeDirectory() noexcept {
    made_ = made_ || ::mkdir(directory_.c_str(), kPrivate) == 0;
    refused_ = !made_;
    return made_;
}

MemoryFile *TempFiles::lookUp(std::string_view name) const {
    const auto found = std::find_if(files_.rbegin(), files_.rend(),
                                    [name](const auto &file) { return file->name == name; });
    return found == files_.rend() ? nullptr : found->get();
}

void TempFiles::drop(const MemoryFile &memory) noexcept {
    giveBlock(memory.block);
    --inMemory;
    files_.erase(std::find_if(files_.begin(), files_.end(),
                              [&memory](const auto &file) { return file.get() == &memory; }));
}

OpenFile *TempFiles::open(const char *path, std::string_view name, const OpenMode &mode) {
    if (MemoryFile *memory = lookUp(name)) {
        const bool written = !memory->handles.empty() && memory->handles.front()->mayWrite();
        if (!written && (memory->handles.empty() || !mode.writes)) {
            return openInMemory(*memory, mode);
        }
        return storeOnDisk(*memory) ? OpenFile::onDisk(path, mode) : nullptr;
    }
    if (mode.creates && mayBegin(path)) {
        if (OpenFile *file = beginFile(name, mode)) {
            return file;
        }
    }
    if (mode.creates ? !makeDirectory() : !made_) {
        errno = mode.creates ? errno : ENOENT;
        return nullptr;
    }
    return OpenFile::onDisk(path, mode);
}

// A new file may begin in memory when none of this name is on disk.
bool TempFiles::mayBegin(const char *path) const {
    struct stat status {};
    return inMemory < kMostInMemory && (!made_ || ::lstat(path, &status) != 0);
}

// Null when there is no memory: the file begins on disk then.
OpenFile *TempFiles::beginFile(std::string_view name, const OpenMode &mode) {
    files_.reserve(files_.size() + 1);
    auto memory = std::make_unique<MemoryFile>(*this, name, nullptr);
    memory->block = takeBlock();
    if (memory->block == nullptr) {
        return nullptr;
    }
    ++inMemory;
    files_.push_back(std::move(memory));
    MemoryFile &begun = *files_.back();
    OpenFile *file = openInMemory(begun, mode);
    if (file == nullptr) {
        drop(begun);
    }
    return file;
}

OpenFile *TempFiles::openInMemory(MemoryFile &memory, const OpenMode &mode) {
    const std::lock_guard guard(handlesLock());
    memory.handles.reserve(memory.handles.size() + 1);
    if (mode.truncates) {
        memory.size = 0;
    }
    OpenFile *file = OpenFile::inMemory(memory, mode);
    if (file == nullptr) {
        errno = ENOMEM;
        return nullptr;
    }
    memory.handles.push_back(file);
    return file;
}

int TempFiles::find(const char *path, std::string_view name) const {
    struct stat status {};
    if (isInMemory(name)) {
        return 0;
    }
    return made_ ? ::lstat(path, &status) : -1;
}

int TempFiles::remove(const char *path, std::string_view name) {
    MemoryFile *memory = lookUp(name);
    if (memory != nullptr && memory->handles.empty()) {
        drop(*memory);
        return 0;
    }
    if (memory != nullptr && !storeOnDisk(*memory)) {
        return -1;
    }
    errno = ENOENT;
    return made_ ? ::unlink(path) : -1;
}

bool TempFiles::store(std::string_view name) {
    MemoryFile *memory = lookUp(name);
    return memory == nullptr || storeOnDisk(*memory);
}

} // namespace qob
