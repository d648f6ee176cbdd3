// SPDX-License-Identifier: MIT
// The input of a top-level call as a file with a short name in the innermost scope: an alias of a
// regular file, or a copy of what can be read from anything else.
#pragma once

#include <string>

namespace qob {

struct PreparedInput {
    std::string path;   // empty: failed
    std::string reason; // of the failure, for a person
};

// The file `path`. Must be called inside a scope.
PreparedInput prepareFile(const char *path);

// The file `path` that another one brought: an alias of it, or a copy without the part header in
// front of an embedded message.
PreparedInput prepareEmbedded(const char *path);

// What the descriptor gives up to its end, at most 2^31 - 1 bytes.
PreparedInput prepareDescriptor(int descriptor);

} // namespace qob
