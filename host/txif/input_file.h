// SPDX-License-Identifier: MIT
// The input of a filter: the file that it opens, under a name short enough to be doubled, and the
// file's type. The file is opened and its head is read once, here.
#pragma once

#include <string>

#include "file_type.h"

namespace qob {

struct PreparedInput {
    std::string path;     // empty: failed
    std::string reason{}; // of the failure, for a person
    FileType type{};
    int error = 0; // errno when the file's head cannot be read; there is no type then
};

// The file `path`. Must be called inside a scope, as those below.
PreparedInput prepareFile(const char *path, Claim claim);

// The file `path` that another one brought, or a copy without the part header in front of an
// embedded message.
PreparedInput prepareEmbedded(const char *path);

// What the descriptor gives up to its end, at most 2^31 - 1 bytes.
PreparedInput prepareDescriptor(int descriptor, Claim claim);

} // namespace qob
