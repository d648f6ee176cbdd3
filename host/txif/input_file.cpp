// SPDX-License-Identifier: MIT
// Aliases and copies of inputs. A filter sees short names only: the names of attachment files
// repeat the base name of the input.
#include "input_file.h"

#include <array>
#include <cerrno>
#include <climits>
#include <cstdint>
#include <cstring>
#include <vector>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include "content_signs.h"
#include "message_lead.h"
#include "qob_host.h"
#include "qob_scope.h"

namespace qob {
namespace {

constexpr std::size_t kNameCapacity = 4096;
constexpr std::size_t kCopyBlock = 65536;

class Descriptor {
public:
    explicit Descriptor(int value) : value_(value) {}
    ~Descriptor() {
        if (value_ >= 0) {
            close(value_);
        }
    }
    Descriptor(const Descriptor &) = delete;
    Descriptor &operator=(const Descriptor &) = delete;
    int get() const { return value_; }

private:
    int value_;
};

PreparedInput failure(const std::string &reason) {
    return {{}, reason};
}

PreparedInput systemFailure() {
    return failure(std::strerror(errno));
}

// Bytes read, 0 at the end, -1 with errno.
ssize_t readSome(int from, std::vector<char> &block) {
    ssize_t count = -1;
    do {
        count = read(from, block.data(), block.size());
    } while (count < 0 && errno == EINTR);
    return count;
}

bool writeAll(int to, const char *data, std::size_t length) {
    while (length > 0) {
        const ssize_t count = write(to, data, length);
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

// Empty when all was copied, else the reason.
std::string copyAll(int from, int to) {
    std::vector<char> block(kCopyBlock);
    uint64_t total = 0;
    for (;;) {
        const ssize_t count = readSome(from, block);
        if (count == 0) {
            return {};
        }
        if (count < 0) {
            return std::strerror(errno);
        }
        total += static_cast<uint64_t>(count);
        if (total > INT32_MAX) {
            return "the input is larger than 2 GiB";
        }
        if (!writeAll(to, block.data(), static_cast<std::size_t>(count))) {
            return std::string("no copy can be made: ") + std::strerror(errno);
        }
    }
}

} // namespace

PreparedInput prepareFile(const char *path) {
    struct stat status {};
    if (stat(path, &status) != 0) {
        return systemFailure();
    }
    if (S_ISDIR(status.st_mode)) {
        return failure("it is a directory");
    }
    if (!S_ISREG(status.st_mode)) {
        const Descriptor input(open(path, O_RDONLY | O_CLOEXEC));
        return input.get() < 0 ? systemFailure() : prepareDescriptor(input.get());
    }
    if (access(path, R_OK) != 0) {
        return systemFailure();
    }
    std::array<char, kNameCapacity> alias{};
    if (qob_scope_alias(path, alias.data()) != 0) {
        return systemFailure();
    }
    return {alias.data(), {}};
}

PreparedInput prepareEmbedded(const char *path) {
    const Descriptor file(open(path, O_RDONLY | O_CLOEXEC));
    std::vector<char> head(kHeadSize);
    const ssize_t count = file.get() < 0 ? -1 : readSome(file.get(), head);
    const std::size_t lead =
        count > 0 ? messageLead({head.data(), static_cast<std::size_t>(count)}) : 0;
    if (lead > 0 && lseek(file.get(), static_cast<off_t>(lead), SEEK_SET) >= 0) {
        return prepareDescriptor(file.get());
    }
    std::array<char, kNameCapacity> alias{};
    if (qob_scope_alias(path, alias.data()) != 0) {
        return systemFailure();
    }
    return {alias.data(), {}};
}

PreparedInput prepareDescriptor(int descriptor) {
    std::array<char, kNameCapacity> name{};
    if (QOB_ASC_tmpnam(name.data()) != 0) {
        return systemFailure();
    }
    std::string path = std::string(name.data()) + ".eml";
    const Descriptor copy(
        open(path.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, S_IRUSR | S_IWUSR));
    if (copy.get() < 0) {
        return systemFailure();
    }
    const std::string reason = copyAll(descriptor, copy.get());
    return reason.empty() ? PreparedInput{std::move(path), {}} : failure(reason);
}

} // namespace qob
