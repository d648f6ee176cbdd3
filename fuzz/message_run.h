// SPDX-License-Identifier: MIT
// One whole message through an entry point, and what every such run promises.
#ifndef QOB_FUZZ_MESSAGE_RUN_H
#define QOB_FUZZ_MESSAGE_RUN_H

#include <string>

#include "input.h"

struct MessageRun {
    int32_t code = -1;
    std::string text = {};   // output file, also when it was deleted in the end, or stream
    bool outputKept = false; // file mode
};

MessageRun runToFile(const FuzzInput &input);
MessageRun runToStream(const FuzzInput &input);

// A message of no known type and without a boundary whose body is encoded: file mode decodes the
// body into the output, stream mode has no file to decode it into and writes none of it.
bool losesBodyInStream(const FuzzInput &input);

#endif
