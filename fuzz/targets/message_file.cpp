// SPDX-License-Identifier: MIT
// A whole message through the file entry point.
//
//  1. The result code is a documented one; without a failing host it is 0, 3002, 3005 or the code
//     of an insertion.
//  2. The output file is kept with 0, 3005 and a stored insertion's code, and deleted with every
//     other.
//  3. Every block is freed, every converter terminated, the log closed.
//  4. No file stays open or behind but the body texts that message_run.cpp lists.
//  5. Host calls, output and memory are linear in the message's size; message_run.cpp states the
//     constants.
//  6. With an output limit, no more is written; message_run.cpp names the two exceptions.
//  7. A file that is handed over exists and is closed; the host's other preconditions hold.
#include "message_run.h"

int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
    runToFile(readInput(data, size));
    return 0;
}
