// SPDX-License-Identifier: MIT
// A whole message through the stream entry point.
//
//  1. The result code is a documented one, and never 3005: a reached limit is not reported.
//  2. No output file is made.
//  3. Every block is freed, every converter terminated, the log closed.
//  4. No file stays open or behind but the body texts that message_run.cpp lists.
//  5. Host calls, output and memory are linear in the message's size.
//  6. With an output limit, no more is written; message_run.cpp names the two exceptions.
#include "message_run.h"

int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
    runToStream(readInput(data, size));
    return 0;
}
