// SPDX-License-Identifier: MIT
// What the tests of libqob_txif share: a directory of their own, scripts for the scripted filters,
// and extraction into a string.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "qob_extract.h"

namespace txif_test {

struct Notice {
    std::string path;
    uint32_t attachmentNumber;
    int32_t code;
    std::string reason;

    bool operator==(const Notice &) const = default;
};

// Collects notices; its callback() may be passed wherever a callback is asked for.
class Notices {
public:
    Notices();
    Notices(const Notices &) = delete;
    Notices &operator=(const Notices &) = delete;
    QobErrorCallback *callback() { return &callback_; }
    const std::vector<Notice> &all() const { return all_; }
    // "code@attachment" of each, in order.
    std::vector<std::string> summary() const;

private:
    QobErrorCallback callback_;
    std::vector<Notice> all_;
};

struct Outcome {
    int32_t code;
    std::string text;
    QobExtractResult result;
    std::vector<Notice> notices;

    std::vector<std::string> noticeSummary() const;
};

// A sink that appends to a string.
QobSink stringSink(std::string &text);

// The defaults.
QobExtractOptions defaultOptions();

// Uses the scripted filters. files() and temporary() are empty directories at the start; a test
// fails that leaves something in temporary().
class ScriptedFilters : public ::testing::Test {
protected:
    static void SetUpTestSuite();
    void SetUp() override;
    void TearDown() override;

    const std::string &files() const { return files_; }
    const std::string &temporary() const { return temporary_; }

    // Writes a file into files() and returns its path.
    std::string file(const std::string &name, const std::string &content) const;
    // A message for the scripted filter: a header and the lines of a script.
    std::string message(const std::string &name, const std::string &script) const;

    Outcome extract(const std::string &path) const { return extract(path, defaultOptions()); }
    // Sets the callback and the temporary directory of the options.
    Outcome extract(const std::string &path, QobExtractOptions options) const;

    // What a message's script writes before its own lines.
    static constexpr const char *kHeaderText = "Subject: script\n\n";

private:
    std::string root_;
    std::string files_;
    std::string temporary_;
};

std::string contentOf(const std::string &path);
std::vector<std::string> namesIn(const std::string &directory);

} // namespace txif_test
