// SPDX-License-Identifier: MIT
// Line by line; of a line only its first bytes and its length are looked at.
#include "input/mbox_reader.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <string_view>

#include <fcntl.h>
#include <unistd.h>

namespace emltext {
namespace {

constexpr std::size_t kPieceSize = 262144;
constexpr std::string_view kFrom = "From ";

} // namespace

MboxReader::MboxReader(const std::string &path)
    : descriptor_(open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NOCTTY)), piece_(kPieceSize) {
    if (descriptor_ < 0) {
        error_ = errno;
        return;
    }
    const auto line = readLine();
    if (line && line->isFrom) {
        start_ = line->end;
    }
}

MboxReader::~MboxReader() {
    if (descriptor_ >= 0) {
        close(descriptor_);
    }
}

// False at the end of the file and after a failure.
bool MboxReader::fill() {
    ssize_t count = -1;
    do {
        count = error_ != 0 ? 0 : read(descriptor_, piece_.data(), piece_.size());
    } while (count < 0 && errno == EINTR);
    if (count < 0) {
        error_ = errno;
    }
    at_ = 0;
    filled_ = count > 0 ? static_cast<std::size_t>(count) : 0;
    return filled_ > 0;
}

std::optional<MboxReader::Line> MboxReader::readLine() {
    std::string head; // as much as tells what the line is
    const uint64_t start = position_;
    bool complete = false;
    while (!complete && (at_ < filled_ || fill())) {
        const char *const rest = piece_.data() + at_;
        const auto *const end = static_cast<const char *>(std::memchr(rest, '\n', filled_ - at_));
        complete = end != nullptr;
        const std::size_t length =
            complete ? static_cast<std::size_t>(end - rest) + 1 : filled_ - at_;
        head.append(rest, std::min(length, kFrom.size() - std::min(kFrom.size(), head.size())));
        at_ += length;
        position_ += length;
    }
    if (position_ == start) {
        return std::nullopt;
    }
    const uint64_t length = position_ - start;
    const bool isEmpty = (length == 1 && head == "\n") || (length == 2 && head == "\r\n");
    return Line{start, position_, isEmpty, head == kFrom};
}

std::optional<MboxReader::Message> MboxReader::next() {
    if (!start_) {
        return std::nullopt;
    }
    uint64_t end = *start_; // without the empty line that may turn out to be the last one
    bool afterEmpty = false;
    std::optional<Line> line;
    while ((line = readLine()) && !(line->isFrom && afterEmpty)) {
        afterEmpty = line->isEmpty;
        end = afterEmpty ? line->start : line->end;
    }
    const Message message{++index_, *start_, end - *start_};
    start_ = line ? std::optional(line->end) : std::nullopt;
    return error_ == 0 ? std::optional(message) : std::nullopt;
}

} // namespace emltext
