// SPDX-License-Identifier: MIT
// A TNEF file as ranges of bytes, and a cursor over one of them that never leaves it.
//
// Nothing of the file is kept in memory but one window, so that its size does not matter. Every
// length in it is untrusted: what reaches beyond a range is cut or refused here, and nowhere else.
#ifndef QOB_FILTERS_TNEF_FILE_H
#define QOB_FILTERS_TNEF_FILE_H

#include <cstdint>
#include <string_view>

#include "input_file.h"
#include "qob_txeml.h"

namespace qob::tnef {

struct Range {
    uint64_t offset = 0;
    uint64_t size = 0;
};

class TnefFile {
public:
    // The input must outlive the object.
    explicit TnefFile(filters::InputFile &input) : input_(input) {}

    // Up to `limit` bytes at the start of the range, good until the next call; fewer where the file
    // ends or cannot be read, or the extraction's time is over. At least min(limit, 4096)
    // otherwise.
    std::string_view bytes(Range range, uint64_t limit = filters::InputFile::kPieceSize);

    // EML_OK, or QOB_ERR_TIME once that has been met: nothing more is read then.
    int32_t stopped() const { return stopped_; }

    uint64_t size() const { return input_.size(); }

private:
    bool load(uint64_t offset);

    filters::InputFile &input_;
    uint64_t windowStart_ = 0;
    std::string_view window_;
    int32_t stopped_ = EML_OK;
};

// Reads little-endian numbers. Once something is missing it has failed and gives zeros.
class Cursor {
public:
    Cursor(TnefFile &file, Range range)
        : file_(&file), position_(range.offset), end_(range.offset + range.size) {}

    bool ok() const { return ok_; }
    uint64_t left() const { return end_ - position_; }

    uint8_t byte() { return static_cast<uint8_t>(number(1)); }
    uint32_t word32() { return number(4); }
    uint16_t word16() { return static_cast<uint16_t>(number(2)); }

    void skip(uint64_t count);

    // The next `size` bytes, cut at the end, which is a failure then.
    Range take(uint64_t size);

    // As take, with the padding to a multiple of four skipped as far as it is there.
    Range takePadded(uint64_t size);

private:
    uint32_t number(unsigned size);

    TnefFile *file_;
    uint64_t position_;
    uint64_t end_;
    bool ok_ = true;
};

} // namespace qob::tnef

#endif
