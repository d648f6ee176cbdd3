// SPDX-License-Identifier: MIT
// The messages below tests/messages and what stands beside each:
//
//   NAME.eml   the message
//   NAME.txt   its text, byte for byte
//   NAME.args  further arguments of the command, one a line (optional)
//   NAME.exit  the exit status, when it is not 0 (optional)
#ifndef QOB_TESTS_E2E_MESSAGE_FILES_H
#define QOB_TESTS_E2E_MESSAGE_FILES_H

#include <filesystem>
#include <string>
#include <vector>

struct MessageFile {
    std::filesystem::path path;
    std::string text;
    std::vector<std::string> arguments;
    int status = 0;
};

// Reads what stands beside a message; throws when its text is missing.
MessageFile messageFile(const std::filesystem::path &path);

// Every message file below `folder`, sorted.
std::vector<std::filesystem::path> messagesBelow(const std::filesystem::path &folder);

#endif
