// SPDX-License-Identifier: MIT
// What the micro benchmarks work with: a handle as an entry point sets it up in stream mode, on the
// real host, with a stream that throws text away.
#ifndef BENCH_ROUTINE_H
#define BENCH_ROUTINE_H

#include <cstdint>
#include <string>
#include <string_view>

#include "emlcomm/handle.h"
#include "qob_extract.h"

class Routine {
public:
    explicit Routine(const char *outputCharset = "UTF-8");
    ~Routine();
    Routine(const Routine &) = delete;
    Routine &operator=(const Routine &) = delete;

    // Makes the file `path` the input; its first block is loaded by rewind().
    void openInput(const std::string &path);
    void rewind();

    HostParams params = {};
    SessionRecord session = {};
    ExtractionHandle handle = {};
    QobFile *nowhere; // takes every write and keeps nothing

private:
    QobSink sink_;
};

// `text` over and over, `size` bytes of it at least, never cut.
std::string repeated(std::string_view text, size_t size);

#endif
