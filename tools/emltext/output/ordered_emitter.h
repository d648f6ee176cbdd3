// SPDX-License-Identifier: MIT
// Puts finished messages back in the order of their sequence. What is finished early waits, its
// text in a file; how much may wait is bounded.
#pragma once

#include <cstdint>
#include <map>
#include <optional>

#include "worker/worker_pool.h"

namespace emltext {

class OrderedEmitter {
public:
    // Takes a finished message.
    void add(Finished finished);

    // The next one in order, if it is there.
    std::optional<Finished> next();

    // False while so much waits that no further message should be begun.
    bool hasRoom() const;

private:
    std::map<uint64_t, Finished> waiting_; // by sequence
    uint64_t nextSequence_ = 0;
    uint64_t textBytes_ = 0;
    uint64_t noteBytes_ = 0;
};

} // namespace emltext
