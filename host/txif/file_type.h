// SPDX-License-Identifier: MIT
// The types of files that the host tells apart, and the filter library of each.
#pragma once

#include <cstdint>
#include <string_view>

namespace qob {

struct FileType {
    const char *name;    // for people: "a PDF document"
    const char *library; // soname of the filter, or null when nothing reads this type
    bool nests;          // may bring files of its own, so that it counts towards the depth limit
    uint32_t files = 0;  // what is known of its filter, as qob_filter_files tells it
};

// What the caller knows about the file.
enum class Claim {
    kNone,            // a message only by content and the ending ".eml"
    kMessagePossible, // a message by content, whatever its name
    kMessage          // a message unless it begins with a signature that no message begins with
};

// The type of a file that begins with `head` (up to kHeadSize bytes) and is called `name`. Content
// decides first, then the name's ending, then it is text. Unreadable types name their kind.
FileType fileTypeOf(std::string_view head, std::string_view name, Claim claim);

// The row of messages.
const FileType &messageType();

} // namespace qob
