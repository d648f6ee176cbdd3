// SPDX-License-Identifier: MIT
// The plain line readers, a byte at a time.
#include "plain_reader.h"

#include <algorithm>

namespace {

constexpr int64_t kBlock = 16384;
constexpr size_t kLongestLine = 2047;
constexpr int64_t kMargin = 77;

} // namespace

char PlainReader::byteAt(int64_t position) const {
    const int64_t offset = start + position;
    return offset < static_cast<int64_t>(file.size()) ? file[static_cast<size_t>(offset)] : '\0';
}

bool PlainReader::lineEndAt(int64_t position) const {
    return byteAt(position) == '\r' || byteAt(position) == '\n';
}

bool PlainReader::readable(int64_t limit) const {
    return at < limit && at < length && start + at < static_cast<int64_t>(file.size());
}

std::string PlainReader::copy(int64_t limit) {
    std::string line;
    while (line.size() < kLongestLine && readable(limit) && !lineEndAt(at)) {
        line += byteAt(at);
        ++at;
    }
    return line;
}

void PlainReader::load() {
    start += at;
    at = 0;
    length = std::min(static_cast<int64_t>(file.size()) - start, kBlock);
}

int64_t PlainReader::lineEndLength() const {
    return byteAt(at) == '\r' && at + 1 < length && byteAt(at + 1) == '\n' ? 2 : 1;
}

void PlainReader::consumeLineEnd() {
    if (at + 1 >= length) {
        load();
    }
    at += lineEndLength();
}

std::string PlainReader::everyLine(int64_t limit) {
    lineEndSeen = false;
    std::string line = copy(limit);
    if (readable(limit) && lineEndAt(at)) {
        consumeLineEnd();
        lineEndSeen = true;
    }
    return line;
}

void PlainReader::skipLineEnds(int64_t limit) {
    while (readable(limit) && at < limit - 1 && lineEndAt(at)) {
        ++at;
    }
}

std::string PlainReader::textLine(int64_t limit) {
    skipLineEnds(limit);
    std::string line = copy(limit);
    if (readable(limit) && lineEndAt(at)) {
        consumeLineEnd();
    }
    return line;
}

std::string PlainReader::lineWithEnd(int64_t limit) {
    std::string line = copy(limit);
    if (!readable(limit) || !lineEndAt(at)) {
        return line;
    }
    if (at + 1 >= length) {
        load();
    }
    const int64_t count = lineEndLength();
    if (line.size() + static_cast<size_t>(count) <= kLongestLine) {
        for (int64_t i = 0; i < count; ++i) {
            line += byteAt(at);
            ++at;
        }
    }
    return line;
}

std::string PlainReader::lineWithFirstEndByte(int64_t limit) {
    skipLineEnds(limit);
    std::string line = copy(limit);
    if (readable(limit) && lineEndAt(at) && line.size() < kLongestLine) {
        line += byteAt(at);
        ++at;
    }
    return line;
}

std::string PlainReader::lineAt(int64_t maxLength, int64_t position) {
    std::string line;
    const auto size = static_cast<int64_t>(file.size());
    const int64_t longest = std::min<int64_t>(maxLength, kLongestLine);
    while (position >= 0 && static_cast<int64_t>(line.size()) < longest &&
           start + position < size) {
        if (position >= length) {
            loadAgain();
            if (failed) {
                return line;
            }
            line.clear();
            position = 0;
        }
        if (lineEndAt(position)) {
            break;
        }
        line += byteAt(position);
        ++position;
    }
    return line;
}

bool PlainReader::moreText() const {
    return !lineEndAt(at);
}

void PlainReader::loadAgain() {
    failed = start + at >= static_cast<int64_t>(file.size());
    if (failed) {
        start += at; // and the position stays
    } else {
        load();
    }
}

bool PlainReader::refill() {
    if (start + at >= static_cast<int64_t>(file.size())) {
        return false;
    }
    if (length - at <= kMargin) {
        load();
    }
    return true;
}
