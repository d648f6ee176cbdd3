// SPDX-License-Identifier: MIT
// Messages whose body is moved towards the end of a block by lines that come before its first
// part, where nobody reads them.
#ifndef QOB_TESTS_SHIFTED_MESSAGE_H
#define QOB_TESTS_SHIFTED_MESSAGE_H

#include <string>
#include <vector>

#include "swept_messages.h"

// The text behind the empty line that ends the header.
std::string bodyOf(const std::string &message);

// Positions of all LFs.
std::vector<size_t> lineEndsIn(const std::string &text);

// The message with `bytes` more bytes in front of its body: lines of at most 62 bytes.
SweptMessage shifted(const SweptMessage &message, size_t bytes);

// Messages with parts and a body shorter than a block.
std::vector<SweptMessage> shiftableMessages();

#endif
