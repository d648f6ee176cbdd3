// SPDX-License-Identifier: MIT
// How the bytes of the fuzzer become what a target works on.
//
// Without settings the bytes are the message, or the text, as they stand: every mail in the corpus
// is a seed. The byte 0xFF in front announces 7 bytes of settings; one of their bits has the bytes
// behind them folded into a mail-like alphabet, in which boundaries, header names, encoded words
// and long runs come up with every random byte.
#ifndef QOB_FUZZ_INPUT_H
#define QOB_FUZZ_INPUT_H

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

#include "memory_host.h"

// The longest folded text: three blocks of input, so that block ends are crossed, and no more, so
// that an execution stays short.
inline constexpr size_t kLongestFolded = 49152;

struct Settings {
    bool folded = false;
    uint32_t options = 0;
    uint32_t flags = EML_FLAG_ATTACHMENTS | EML_FLAG_SHARE_COUNT | EML_FLAG_KEEP_GOING;
    uint32_t outputLimit = 0;
    std::string_view language = "English";
    HostBehaviour host = {};
};

struct FuzzInput {
    Settings settings = {};
    std::string text = {}; // folded when the settings say so
};

// Takes the settings, when there are any, from the front of the bytes.
FuzzInput readInput(const uint8_t *data, size_t size);

// Printable ASCII, TAB, CR, LF and the first control bytes stand for themselves, every other byte
// for a token of mail.
std::string foldIntoMail(std::string_view bytes);

HostParams paramsOf(const Settings &settings);

// Takes one byte off the front; 0 when there is none.
uint8_t takeByte(std::string_view &bytes);

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size);

#endif
