// SPDX-License-Identifier: MIT
// The scopes of the calling thread, as the file and name services see them. Scopes belong to one
// thread and are never looked at from another.
#ifndef QOB_OSCOMM_SCOPE_H
#define QOB_OSCOMM_SCOPE_H

#include <cstdint>
#include <map>
#include <string>
#include <vector>

#include "qob_host.h"

namespace qob {

struct Scope {
    std::string root;                           // where the directory lies
    std::string directory;                      // absolute, without a final '/'
    std::uint64_t names = 0;                    // names given out so far
    std::vector<QobFile *> files;               // opened in this scope and not closed yet
    std::map<std::string, std::string> aliases; // alias -> path it stands for
};

// The innermost scope, or null.
Scope *currentScope();

// A name in the scope's directory that was never given out before.
std::string newScopeName(Scope &scope);

// Remembers or forgets an open file of this thread. The first may throw std::bad_alloc.
void trackFile(QobFile *file);
void forgetFile(const QobFile *file);

} // namespace qob

#endif
