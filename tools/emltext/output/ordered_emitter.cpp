// SPDX-License-Identifier: MIT
// Three bounds: on files, on the disk they take, and on the memory that their notes take. Messages
// that are running when one is reached still come in.
#include "output/ordered_emitter.h"

#include <utility>

namespace emltext {
namespace {

constexpr std::size_t kMostWaiting = 4096;
constexpr uint64_t kMostText = uint64_t{1} << 30U;
constexpr uint64_t kMostNotes = uint64_t{1} << 26U;

uint64_t noteBytesOf(const Outcome &outcome) {
    uint64_t bytes = 0;
    for (const Note &note : outcome.notes) {
        bytes += sizeof note + note.reason.size();
    }
    return bytes;
}

} // namespace

void OrderedEmitter::add(Finished finished) {
    textBytes_ += finished.outcome.bytesOut;
    noteBytes_ += noteBytesOf(finished.outcome);
    const uint64_t sequence = finished.job.sequence;
    waiting_.emplace(sequence, std::move(finished));
}

std::optional<Finished> OrderedEmitter::next() {
    if (waiting_.empty() || waiting_.begin()->first != nextSequence_) {
        return std::nullopt;
    }
    Finished finished = std::move(waiting_.extract(waiting_.begin()).mapped());
    textBytes_ -= finished.outcome.bytesOut;
    noteBytes_ -= noteBytesOf(finished.outcome);
    ++nextSequence_;
    return finished;
}

bool OrderedEmitter::hasRoom() const {
    return waiting_.size() < kMostWaiting && textBytes_ < kMostText && noteBytes_ < kMostNotes;
}

} // namespace emltext
