// SPDX-License-Identifier: MIT
// In memory a finished message is a number and the place of its line; the line itself is read again
// to be sure.
#include "output/resume_state.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <functional>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include "output/resume_record.h"
#include "output/whole_write.h"

namespace emltext {
namespace {

constexpr std::size_t kPieceSize = 65536; // longer than any line

uint64_t numberOf(const std::string &path, uint64_t index) {
    return std::hash<std::string>()(path + "/" + std::to_string(index));
}

// Of this process alone; its children do not hold it.
bool lock(int descriptor) {
    struct flock whole {};
    whole.l_type = F_WRLCK;
    whole.l_whence = SEEK_SET;
    return fcntl(descriptor, F_SETLK, &whole) == 0;
}

// As many bytes as are there, up to `length`; empty with errno set on a failure.
std::string readAt(int descriptor, uint64_t offset, std::size_t length) {
    std::string bytes(length, '\0');
    std::size_t filled = 0;
    errno = 0;
    while (filled < length) {
        const ssize_t count = pread(descriptor, bytes.data() + filled, length - filled,
                                    static_cast<off_t>(offset + filled));
        if (count == 0 || (count < 0 && errno != EINTR)) {
            break;
        }
        filled += count > 0 ? static_cast<std::size_t>(count) : 0;
    }
    bytes.resize(filled);
    return bytes;
}

ResumeState::Problem wrongState(const std::string &path, const std::string &what) {
    return {kWrongUsage, path + " " + what + "; give another file to --resume, or remove it"};
}

ResumeState::Problem failedState(const std::string &path, int error) {
    return {kMessageFailed, path + " cannot be used to resume from: " + std::strerror(error)};
}

} // namespace

ResumeState::~ResumeState() {
    if (descriptor_ >= 0) {
        close(descriptor_);
    }
}

std::optional<ResumeState::Problem> ResumeState::open(const std::string &path,
                                                      const Options &options) {
    descriptor_ = ::open(path.c_str(), O_RDWR | O_CREAT | O_APPEND | O_CLOEXEC | O_NOCTTY, 0666);
    if (descriptor_ < 0) {
        return failedState(path, errno);
    }
    if (!lock(descriptor_)) {
        return errno == EACCES || errno == EAGAIN
                   ? Problem{kMessageFailed, path + " is being used by another emltext"}
                   : failedState(path, errno);
    }
    return read(path, resumeHeader(options));
}

std::optional<ResumeState::Problem> ResumeState::read(const std::string &path,
                                                      const std::string &header) {
    const std::string start = readAt(descriptor_, 0, header.size());
    if (start.size() < header.size() && header.starts_with(start)) {
        // New, or killed while it was begun.
        const bool begun = ftruncate(descriptor_, 0) == 0 && writeWhole(descriptor_, header);
        return begun ? std::nullopt : std::optional(failedState(path, errno));
    }
    const std::string title = header.substr(0, header.find('\n') + 1);
    if (!start.starts_with(title)) {
        return wrongState(path, "is no state file of this version of emltext");
    }
    if (start != header) {
        return wrongState(path, "belongs to a run with other options (" +
                                    headerDifference(header, start) + ")");
    }
    uint64_t offset = header.size();
    std::string piece;
    while (!(piece = readAt(descriptor_, offset, kPieceSize)).empty()) {
        const std::size_t end = piece.rfind('\n');
        if (end == std::string::npos && piece.size() < kPieceSize) {
            break;
        }
        if (end == std::string::npos ||
            !readLines(std::string_view(piece).substr(0, end + 1), offset)) {
            return wrongState(path, "is damaged");
        }
        offset += end + 1;
    }
    const bool cut = errno == 0 && ftruncate(descriptor_, static_cast<off_t>(offset)) == 0;
    std::sort(places_.begin(), places_.end(), [](const Place &a, const Place &b) {
        return a.number != b.number ? a.number < b.number : a.offset < b.offset;
    });
    return cut ? std::nullopt : std::optional(failedState(path, errno));
}

bool ResumeState::readLines(std::string_view content, uint64_t offset) {
    while (!content.empty()) {
        const std::size_t length = content.find('\n');
        const auto record = readResumeLine(content.substr(0, length));
        if (!record) {
            return false;
        }
        places_.push_back(
            {numberOf(record->path, record->index), offset, static_cast<uint32_t>(length), false});
        outputSize_ = record->outputSize;
        offset += length + 1;
        content.remove_prefix(length + 1);
    }
    return true;
}

std::string ResumeState::lineAt(const Place &place) const {
    return readAt(descriptor_, place.offset, place.length);
}

void ResumeState::reserveNames(NameTable &names) const {
    for (const Place &place : places_) {
        if (const auto record = readResumeLine(lineAt(place)); record && !record->name.empty()) {
            names.reserve(record->name);
        }
    }
}

std::optional<int32_t> ResumeState::takeFinished(const Job &job) {
    const uint64_t number = numberOf(job.path, job.index);
    auto place =
        std::lower_bound(places_.begin(), places_.end(), number,
                         [](const Place &entry, uint64_t wanted) { return entry.number < wanted; });
    for (; place != places_.end() && place->number == number; ++place) {
        if (place->taken) {
            continue;
        }
        const auto record = readResumeLine(lineAt(*place));
        if (record && record->path == job.path && record->index == job.index) {
            place->taken = true;
            return record->code;
        }
    }
    return std::nullopt;
}

bool ResumeState::append(const Job &job, int32_t code, uint64_t outputSize) {
    outputSize_ = outputSize;
    return writeWhole(descriptor_, resumeLine({code, outputSize, job.index, job.name, job.path}));
}

} // namespace emltext
