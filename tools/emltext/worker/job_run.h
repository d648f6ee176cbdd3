// SPDX-License-Identifier: MIT
// Extracting one message in a worker process, the way the command line asks for.
#pragma once

#include <cstdint>
#include <string>

#include "console/options.h"
#include "job.h"

namespace emltext {

// Told of what is reported while a message is extracted.
class NoteListener {
public:
    virtual ~NoteListener() = default;
    virtual void take(const Note &note) = 0;
};

// Writes the text of the file `path` to the descriptor `output`; temporary files lie in
// `temporary`. At most kMaxNotes notes are passed on, and one that says so when there were more;
// the code of a message that failed is among them. Returns the outcome without notes, time and
// bytesIn.
Outcome extractJob(const std::string &path, int output, const Options &options,
                   const std::string &temporary, NoteListener &listener);

} // namespace emltext
