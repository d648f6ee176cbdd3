// SPDX-License-Identifier: MIT
// What the unit tests start from: a scripted host, a handle as an entry point would set it up, and
// an input whose first block is loaded.
#ifndef QOB_TESTS_FILTER_FIXTURE_H
#define QOB_TESTS_FILTER_FIXTURE_H

#include <gtest/gtest.h>

#include <string>
#include <string_view>

#include "emlcomm/handle.h"
#include "support/scripted_host.h"

inline constexpr const char *kInputName = "/mail/in.eml";
inline constexpr const char *kOutputName = "/out/text";

// A handle in file mode with open input and output and all buffers, no input yet. The handle's
// buffers are released, and the files closed, at the end.
class FilterFixture {
public:
    FilterFixture();
    ~FilterFixture();
    FilterFixture(const FilterFixture &) = delete;
    FilterFixture &operator=(const FilterFixture &) = delete;

    // Makes `text` the input and loads the block at its start, as the driver does for a body: the
    // whole input when it is shorter than a block, else 16384 bytes.
    void load(std::string_view text);
    // Goes over to stream mode.
    void useStream();
    void setLimit(uint32_t bytes);

    // The text written so far: output file or stream.
    std::string output() const;
    std::string inputName = kInputName;

    ScriptedHost host;
    HostParams params = {};
    SessionRecord session = {};
    ExtractionHandle handle = {};
};

// A whole call of an entry point on the message `text`.
struct Extraction {
    int32_t code = -1;
    bool outputKept = false;
    std::string text;
};
Extraction extractToFile(ScriptedHost &host, const HostParams &params, std::string_view message,
                         void *callback = nullptr);
Extraction extractToStream(ScriptedHost &host, const HostParams &params, std::string_view message,
                           void *callback = nullptr);

// Parameters as the reference host sets them: flags 2 | 8 | 0x10, English.
HostParams defaultParams();

#endif
