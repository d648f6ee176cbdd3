// SPDX-License-Identifier: MIT
// The messages that a command line asks for, one at a time and in order: directories, lists and
// mbox files are read as far as messages are wanted.
#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include "console/options.h"
#include "input/directory_walk.h"
#include "input/file_list.h"
#include "input/mbox_reader.h"
#include "job.h"

namespace emltext {

// A message, or what takes its place.
struct SourceItem {
    Job job;       // without a sequence; `name` may be one that others have too
    int error = 0; // errno: this is a directory, list or mbox that could not be read (further)
};

class MessageSource {
public:
    // `options` must outlive the source.
    explicit MessageSource(const Options &options);

    // Nothing at the end.
    std::optional<SourceItem> next();

private:
    std::optional<std::string> nextInput();
    std::optional<SourceItem> nextOfMbox();
    std::optional<SourceItem> nextOfDirectory();
    std::optional<SourceItem> begin(const std::string &input);
    void openMbox(const std::string &path, const std::string &name);

    const Options &options_;
    std::optional<FileIdentity> output_; // a directory that is no input
    std::size_t inputsBegun_ = 0;
    std::optional<FileList> list_;
    bool listEnded_ = false;
    std::optional<DirectoryWalk> directory_;
    std::optional<MboxReader> mbox_;
    std::string mboxPath_;
    std::string mboxName_;
};

} // namespace emltext
