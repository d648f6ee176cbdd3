// SPDX-License-Identifier: MIT
// A message with attachments, extracted by the host with all the filters there are.
#ifndef QOB_TESTS_EXTRACTED_MESSAGE_H
#define QOB_TESTS_EXTRACTED_MESSAGE_H

#include <cstdint>
#include <functional>
#include <string>
#include <string_view>
#include <vector>

#include "qob_extract.h"

namespace qob::tests {

struct Attached {
    std::string name; // ASCII
    std::string content;
};

struct AttachmentNotice {
    uint32_t attachmentNumber;
    int32_t code;
    std::string reason;
};

struct Extracted {
    int32_t code = 0;
    std::string text; // behind the header and the body
    std::vector<AttachmentNotice> notices;
};

// A message from Ann whose body is "See the attachments." and the attachments.
std::string messageWith(const std::vector<Attached> &attachments);

// The text of a message that messageWith made.
Extracted extractedMessage(const std::vector<Attached> &attachments,
                           const std::function<void(QobExtractOptions &)> &adjust = {});

// The text of any file.
std::string extractedFile(const std::string &path);

} // namespace qob::tests

#endif
