// SPDX-License-Identifier: MIT
// Where a filter's text goes: a file or a stream of the host, in the output charset, with the
// host's line ends, and never beyond the output limit.
#ifndef QOB_FILTERS_TEXT_OUTPUT_H
#define QOB_FILTERS_TEXT_OUTPUT_H

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "qob_host.h"

namespace qob::filters {

// The length of UTF-8 text without a character that begins at its end and is not whole.
std::size_t wholeCharacters(std::string_view text);

class TextOutput {
public:
    // The target and the parameters must outlive the object; it closes nothing.
    TextOutput(QobFile *file, const HostParams &params) : file_(file), params_(params) {}
    TextOutput(QobStream *stream, const HostParams &params) : stream_(stream), params_(params) {}
    TextOutput(const TextOutput &) = delete;
    TextOutput &operator=(const TextOutput &) = delete;

    // Takes UTF-8 text whose lines end in LF; a piece may end inside a character. After a failure
    // it takes nothing any more.
    void append(std::string_view utf8);

    // Writes what is still held back. A character cut off by the end becomes U+FFFD. More text may
    // follow.
    void finish();

    // Puts the text of the file `path` here, by the host's insert service, and counts it. `session`
    // names the file's number; its count is filled in. Returns the service's code.
    int32_t insert(const char *path, SessionRecord &session, void *callback);

    // Nothing was written yet, or the end of a line was written last.
    bool atLineStart() const { return atLineStart_; }

    // EML_OK; EML_ERR_LIMIT once text was cut or dropped at the limit, or the stream took no more;
    // EML_ERR_SHORT_WRITE once the file took less than it was given; QOB_ERR_CHARSET when the
    // output charset is not known; QOB_ERR_TIME when the extraction's time was over before all text
    // was there; or the converter's code.
    int32_t status() const { return status_; }
    bool isOpen() const { return status_ == EML_OK; }

private:
    void writeText(std::string_view utf8);
    int32_t convert(std::string_view utf8, uint32_t &produced);
    void writeBytes(const char *data, uint32_t length);
    void putBytes(const char *data, uint32_t length);

    QobFile *file_ = nullptr;
    QobStream *stream_ = nullptr;
    const HostParams &params_;
    std::string pending_;         // UTF-8 text not yet converted
    std::vector<char> converted_; // reused from piece to piece
    uint32_t written_ = 0;        // bytes, counted only under a limit
    bool convertedBefore_ = false;
    bool atLineStart_ = true;
    int32_t status_ = EML_OK;
};

} // namespace qob::filters

#endif
