// SPDX-License-Identifier: MIT
// A message file's text through the real host's own call, with what its arguments ask for.
#ifndef QOB_TESTS_E2E_REAL_EXTRACTION_H
#define QOB_TESTS_E2E_REAL_EXTRACTION_H

#include <string>

#include "message_files.h"

struct RealExtraction {
    int32_t code = -1;
    std::string text;

    bool operator==(const RealExtraction &other) const = default;
};

// Extracts `path` with the arguments of `message`; neither throws nor uses anything shared.
RealExtraction extractReally(const std::filesystem::path &path, const MessageFile &message);

#endif
