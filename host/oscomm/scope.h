// SPDX-License-Identifier: MIT
// The scopes of the calling thread, as the file and name services see them. Scopes belong to one
// thread and are never looked at from another.
#ifndef QOB_OSCOMM_SCOPE_H
#define QOB_OSCOMM_SCOPE_H

#include <cstdint>
#include <map>
#include <string>
#include <string_view>
#include <vector>

#include "memory_file.h"
#include "qob_host.h"

namespace qob {

struct Alias {
    std::string real;   // the path that it stands for, as people know it
    std::string target; // the file that opens under its name
    bool linked = true; // there is a symbolic link on disk
};

struct Scope {
    std::string root;             // where the directory lies
    TempFiles temporary;          // the directory and what is in it
    std::uint64_t names = 0;      // names given out so far
    std::vector<QobFile *> files; // opened in this scope and not closed yet
    std::map<std::string, Alias, std::less<>> aliases;
    std::string waitingPath;     // of the file that waits for the next one who opens it
    OpenFile *waiting = nullptr; // or null
};

// The innermost scope, or null.
Scope *currentScope();

// A name in the scope's directory that was never given out before.
std::string newScopeName(Scope &scope);

// Where a path lies, as far as this thread's scopes know.
struct Place {
    const char *path = nullptr;     // behind an alias that is no link
    TempFiles *temporary = nullptr; // whose directory it lies in, or null
    std::string_view name;          // in that directory
};
Place placeOf(const char *path);

// Ends an alias that is no link. 0, or -1 when there is none.
int32_t removeAlias(std::string_view alias);

// Remembers or forgets an open file of this thread. The first may throw std::bad_alloc.
void trackFile(QobFile *file);
void forgetFile(const QobFile *file);

} // namespace qob

#endif
