// SPDX-License-Identifier: MIT
// A list leads to directories, these to mbox files, these to messages: the innermost that is open
// gives the next one.
#include "input/message_source.h"

#include <algorithm>

#include "input/input_kind.h"
#include "output/name_table.h"

namespace emltext {
namespace {

constexpr std::size_t kIndexDigits = 6;

SourceItem failed(const std::string &path, int error) {
    SourceItem item;
    item.job.path = path;
    item.error = error;
    return item;
}

SourceItem message(const std::string &path, const std::string &name) {
    SourceItem item;
    item.job.path = path;
    item.job.name = outputName(name);
    return item;
}

std::string digits(uint64_t index) {
    std::string text = std::to_string(index);
    return std::string(kIndexDigits - std::min(kIndexDigits, text.size()), '0') + text;
}

} // namespace

MessageSource::MessageSource(const Options &options) : options_(options) {
    if (options.outputIsDirectory) {
        output_ = identityOf(*options.outputPath);
    }
}

std::optional<SourceItem> MessageSource::next() {
    for (;;) {
        if (mbox_) {
            if (auto item = nextOfMbox()) {
                return item;
            }
        } else if (directory_) {
            if (auto item = nextOfDirectory()) {
                return item;
            }
        } else if (const auto input = nextInput()) {
            if (auto item = begin(*input)) {
                return item;
            }
        } else if (list_ && list_->error() != 0 && !listEnded_) {
            listEnded_ = true;
            return failed(*options_.filesFrom, list_->error());
        } else {
            return std::nullopt;
        }
    }
}

std::optional<std::string> MessageSource::nextInput() {
    if (inputsBegun_ < options_.inputs.size()) {
        return options_.inputs[inputsBegun_++];
    }
    if (!options_.filesFrom) {
        return std::nullopt;
    }
    if (!list_) {
        list_.emplace(*options_.filesFrom, options_.nulSeparated ? '\0' : '\n');
    }
    auto path = list_->next();
    if (path == "-") {
        path = "./-"; // a file: standard input can only be asked for by an argument
    }
    return path;
}

// Nothing when the input was opened and gives messages from now on.
std::optional<SourceItem> MessageSource::begin(const std::string &input) {
    if (input == "-") {
        return message(input, "stdin");
    }
    switch (inputKind(input)) {
    case InputKind::kDirectory:
        directory_.emplace(input, options_.allFiles, output_);
        return std::nullopt;
    case InputKind::kMbox:
        openMbox(input, lastNameOf(input));
        return std::nullopt;
    case InputKind::kMessage:
        break;
    }
    return message(input, lastNameOf(input));
}

std::optional<SourceItem> MessageSource::nextOfDirectory() {
    const auto entry = directory_->next();
    if (!entry) {
        directory_.reset();
        return std::nullopt;
    }
    if (entry->error != 0) {
        return failed(entry->path, entry->error);
    }
    if (options_.allFiles && inputKind(entry->path) == InputKind::kMbox) {
        openMbox(entry->path, entry->below);
        return std::nullopt;
    }
    return message(entry->path, entry->below);
}

void MessageSource::openMbox(const std::string &path, const std::string &name) {
    mboxPath_ = path;
    mboxName_ = name;
    mbox_.emplace(path);
}

std::optional<SourceItem> MessageSource::nextOfMbox() {
    if (const auto found = mbox_->next()) {
        SourceItem item = message(mboxPath_, mboxName_ + "/" + digits(found->index));
        item.job.index = found->index;
        item.job.offset = found->offset;
        item.job.length = found->length;
        return item;
    }
    const int error = mbox_->error();
    mbox_.reset();
    return error == 0 ? std::nullopt : std::optional(failed(mboxPath_, error));
}

} // namespace emltext
