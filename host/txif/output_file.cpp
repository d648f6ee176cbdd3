// SPDX-License-Identifier: MIT
// Output files that take the place of another file only when they are complete. What was there is
// never opened for writing, so that no failure can harm it.
#include <array>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <memory>
#include <new>
#include <string>

#include <fcntl.h>
#include <sys/random.h>
#include <sys/stat.h>
#include <unistd.h>

#include "qob_extract.h"
#include "qob_host_export.h"

struct QobOutputFile {
    std::FILE *stream = nullptr;
    std::string target;
    std::string temporary; // empty: written in place, to a device or a pipe
    int error = 0;         // errno of the first failed write
};

namespace {

constexpr mode_t kNewFileMode = 0666; // less the umask
constexpr mode_t kPermissions = 07777;
constexpr int kNameTries = 16;
constexpr std::size_t kBufferSize = 65536;

// Where a symbolic link leads; the path itself when nothing is there yet.
std::string resolved(const char *path) {
    const std::unique_ptr<char, decltype(&std::free)> real(realpath(path, nullptr), &std::free);
    return real != nullptr ? real.get() : path;
}

std::string hiddenNameBeside(const std::string &target) {
    std::array<unsigned char, 8> random{};
    if (getrandom(random.data(), random.size(), 0) != static_cast<ssize_t>(random.size())) {
        return {};
    }
    std::string name = target.substr(0, target.rfind('/') + 1) + ".qob-";
    for (const unsigned byte : random) {
        constexpr const char *kDigits = "0123456789abcdef";
        name += kDigits[byte >> 4U];
        name += kDigits[byte & 15U];
    }
    return name;
}

// A new file beside the target, its name in file.temporary. -1 with errno set on failure.
int createBeside(QobOutputFile &file) {
    for (int tries = 0; tries < kNameTries; ++tries) {
        file.temporary = hiddenNameBeside(file.target);
        if (file.temporary.empty()) {
            return -1;
        }
        const int descriptor =
            open(file.temporary.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, kNewFileMode);
        if (descriptor >= 0 || errno != EEXIST) {
            return descriptor;
        }
    }
    return -1;
}

// As createBeside for a target that exists, with its permissions.
int createReplacement(QobOutputFile &file, const struct stat &existing) {
    if (access(file.target.c_str(), W_OK) != 0) {
        return -1;
    }
    const int descriptor = createBeside(file);
    if (descriptor >= 0 && fchmod(descriptor, existing.st_mode & kPermissions) != 0) {
        const int error = errno;
        close(descriptor);
        unlink(file.temporary.c_str());
        errno = error;
        return -1;
    }
    return descriptor;
}

int openDescriptor(QobOutputFile &file) {
    struct stat existing {};
    if (stat(file.target.c_str(), &existing) != 0) {
        return errno == ENOENT ? createBeside(file) : -1;
    }
    if (S_ISREG(existing.st_mode)) {
        return createReplacement(file, existing);
    }
    return open(file.target.c_str(), O_WRONLY | O_CLOEXEC);
}

std::unique_ptr<QobOutputFile> openOutput(const char *path) {
    auto file = std::make_unique<QobOutputFile>();
    file->target = resolved(path);
    const int descriptor = openDescriptor(*file);
    if (descriptor < 0) {
        return nullptr;
    }
    file->stream = fdopen(descriptor, "wb");
    if (file->stream == nullptr) {
        const int error = errno;
        close(descriptor);
        if (!file->temporary.empty()) {
            unlink(file->temporary.c_str());
        }
        errno = error;
        return nullptr;
    }
    static_cast<void>(std::setvbuf(file->stream, nullptr, _IOFBF, kBufferSize));
    return file;
}

void noteError(QobOutputFile &file) {
    if (file.error == 0) {
        file.error = errno != 0 ? errno : EIO;
    }
}

} // namespace

QOB_HOST_EXPORT QobOutputFile *qob_output_open(const char *path) {
    if (path == nullptr || *path == '\0') {
        errno = ENOENT;
        return nullptr;
    }
    try {
        return openOutput(path).release();
    } catch (const std::bad_alloc &) {
        errno = ENOMEM;
        return nullptr;
    }
}

QOB_HOST_EXPORT int32_t qob_output_write(void *file, const void *data, uint32_t length) {
    auto &output = *static_cast<QobOutputFile *>(file);
    errno = 0;
    if (output.error == 0 && std::fwrite(data, 1, length, output.stream) != length) {
        noteError(output);
    }
    return output.error == 0 ? 1 : 0;
}

QOB_HOST_EXPORT int32_t qob_output_close(QobOutputFile *file, int32_t commit) {
    if (file == nullptr) {
        return 0;
    }
    const std::unique_ptr<QobOutputFile> output(file);
    errno = 0;
    if (std::fclose(output->stream) != 0) {
        noteError(*output);
    }
    const bool inPlace = output->temporary.empty();
    if (commit != 0 && output->error == 0 && !inPlace &&
        std::rename(output->temporary.c_str(), output->target.c_str()) != 0) {
        noteError(*output);
    }
    if (!inPlace && (commit == 0 || output->error != 0)) {
        unlink(output->temporary.c_str());
    }
    errno = output->error;
    return commit != 0 && output->error != 0 ? -1 : 0;
}
