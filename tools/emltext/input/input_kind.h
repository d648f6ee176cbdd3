// SPDX-License-Identifier: MIT
// What a path leads to: a message, a directory of messages, or an mbox file full of them.
#pragma once

#include <string>
#include <string_view>

namespace emltext {

enum class InputKind {
    kMessage, // a file, a pipe, something that does not exist: whoever opens it will see
    kDirectory,
    kMbox
};

// A regular file is an mbox when it begins with "From ", its name does not end in ".eml" and it
// does not lie in a Maildir. "-" is a message.
InputKind inputKind(const std::string &path);

// "a.eml", "A.EML"
bool hasMessageEnding(std::string_view name);

// Whether `directory` is a Maildir: there are directories `cur` and `new` in it.
bool isMaildir(const std::string &directory);

// Whether `directory` is the `cur` or `new` of a Maildir.
bool holdsMaildirMessages(const std::string &directory);

// The part of a path before its last name: "a" of "a/b", "." of "b", "/" of "/b".
std::string directoryOf(const std::string &path);

// The last name of a path: "b" of "a/b" and of "a/b/".
std::string lastNameOf(const std::string &path);

} // namespace emltext
