// SPDX-License-Identifier: MIT
#include "message_files.h"

#include <algorithm>
#include <fstream>
#include <iterator>
#include <sstream>
#include <stdexcept>

namespace fs = std::filesystem;

namespace {

std::string contentOf(const fs::path &path) {
    std::ifstream file(path, std::ios::binary);
    if (!file) {
        throw std::runtime_error("cannot read " + path.string());
    }
    return {std::istreambuf_iterator<char>(file), {}};
}

} // namespace

MessageFile messageFile(const fs::path &path) {
    const auto beside = [&path](const char *ending) {
        return fs::path(path).replace_extension(ending);
    };
    MessageFile message;
    message.path = path;
    message.text = contentOf(beside(".txt"));
    if (fs::exists(beside(".args"))) {
        std::istringstream lines(contentOf(beside(".args")));
        for (std::string line; std::getline(lines, line);) {
            message.arguments.push_back(line);
        }
    }
    if (fs::exists(beside(".exit"))) {
        message.status = std::stoi(contentOf(beside(".exit")));
    }
    return message;
}

std::vector<fs::path> messagesBelow(const fs::path &folder) {
    std::vector<fs::path> messages;
    for (const auto &entry : fs::recursive_directory_iterator(folder)) {
        if (entry.path().extension() == ".eml") {
            messages.push_back(entry.path());
        }
    }
    std::sort(messages.begin(), messages.end());
    return messages;
}
