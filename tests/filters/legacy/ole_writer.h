// SPDX-License-Identifier: MIT
// OLE containers for the tests, written by hand.
#ifndef QOB_TESTS_OLE_WRITER_H
#define QOB_TESTS_OLE_WRITER_H

#include <cstdint>
#include <string>
#include <vector>

namespace qob::tests {

struct OleStream {
    std::string name; // ASCII
    std::string bytes;
};

// A container with these streams in its root; those of less than 4096 bytes lie in the mini stream.
std::string oleFile(const std::vector<OleStream> &streams);

// Numbers as these formats write them.
std::string little16(uint32_t number);
std::string little32(uint32_t number);

// Text as UTF-16LE; ASCII only for `ascii`.
std::string wide(const std::string &ascii);

} // namespace qob::tests

#endif
