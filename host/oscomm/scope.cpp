// SPDX-License-Identifier: MIT
// Extraction scopes: a private directory per running extraction and nesting level, the files that
// are open in it, and the short names that stand for long ones. Everything here belongs to the
// calling thread. Leaving a scope cannot fail; what cannot be removed is left where it is.
#include "scope.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <climits>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <new>
#include <system_error>
#include <utility>

#include <sys/random.h>
#include <unistd.h>

#include "base36.h"
#include "qob_host_export.h"
#include "qob_scope.h"

namespace qob {
namespace {

constexpr std::size_t kNameCapacity = 4096;
constexpr std::size_t kLongestEnding = 8;

std::vector<Scope> &scopes() {
    thread_local std::vector<Scope> threadScopes;
    return threadScopes;
}

// The path from '/', so that it holds when the process changes its working directory. Empty with
// errno set when it does not exist.
std::string absolutePath(const char *path) {
    std::array<char, PATH_MAX> resolved{};
    return ::realpath(path, resolved.data()) != nullptr ? resolved.data() : std::string();
}

const char *rootFor(const char *tempRoot) {
    if (tempRoot != nullptr) {
        return tempRoot;
    }
    const char *configured = std::getenv("TMPDIR"); // NOLINT(concurrency-mt-unsafe)
    return configured != nullptr && *configured != '\0' ? configured : "/tmp";
}

// Empty with errno set when no directory can be made there. The enclosing scope has asked already.
std::string checkedRoot(const char *tempRoot) {
    const Scope *outer = currentScope();
    if (tempRoot == nullptr && outer != nullptr) {
        return outer->root;
    }
    std::string root = absolutePath(rootFor(tempRoot));
    return root.empty() || ::access(root.c_str(), W_OK | X_OK) != 0 ? std::string() : root;
}

// The directory is made when something has to lie in it: most extractions need none.
int32_t enter(const char *tempRoot) {
    Scope scope;
    scope.root = checkedRoot(tempRoot);
    std::uint64_t random = 0;
    if (scope.root.empty() || !fillRandom(&random, sizeof random)) {
        return -1;
    }
    scope.temporary = std::make_unique<TempFiles>((scope.root == "/" ? std::string() : scope.root) +
                                                  "/qob-" + base36(random));
    scopes().push_back(std::move(scope));
    return 0;
}

bool isEnding(std::string_view text) {
    return !text.empty() && text.size() <= kLongestEnding &&
           std::all_of(text.begin(), text.end(), [](char c) {
               return (c >= '0' && c <= '9') || (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z');
           });
}

// ".eml" of "/mail/a.eml"; empty when there is none worth keeping.
std::string_view endingOf(std::string_view path) {
    const std::string_view name = path.substr(path.rfind('/') + 1);
    const std::size_t dot = name.rfind('.');
    const bool kept = dot != std::string_view::npos && isEnding(name.substr(dot + 1));
    return kept ? name.substr(dot) : std::string_view{};
}

bool link(Scope &scope, const std::string &name, const std::string &target) {
    return scope.temporary->makeDirectory() && ::symlink(target.c_str(), name.c_str()) == 0;
}

// A file that is only in memory can have no link.
bool isInMemory(const std::string &path) {
    const Place place = placeOf(path.c_str());
    return place.temporary != nullptr && place.temporary->isInMemory(place.name);
}

int32_t makeAlias(Scope &scope, const char *path, char *alias) {
    const std::string name = newScopeName(scope) + std::string(endingOf(path));
    if (name.size() >= kNameCapacity) {
        errno = ENAMETOOLONG;
        return -1;
    }
    const std::string target = std::filesystem::absolute(placeOf(path).path).string();
    const bool linked = !isInMemory(target);
    const auto entry =
        scope.aliases.emplace(name, Alias{qob_scope_real_path(path), target, linked}).first;
    if (linked && !link(scope, name, target)) {
        scope.aliases.erase(entry);
        return -1;
    }
    std::memcpy(alias, name.c_str(), name.size() + 1);
    return 0;
}

bool storeTarget(const char *path) {
    const Place place = placeOf(path);
    return place.temporary == nullptr || place.temporary->store(place.name);
}

bool store(const char *path) {
    if (!storeTarget(path)) {
        return false;
    }
    for (Scope &scope : scopes()) {
        const auto found = scope.aliases.find(std::string_view(path));
        if (found != scope.aliases.end() && !found->second.linked) {
            found->second.linked = link(scope, found->first, found->second.target);
            return found->second.linked;
        }
    }
    return true;
}

void closeAll(Scope &scope) {
    while (!scope.files.empty()) {
        QobFile *file = scope.files.back();
        scope.files.pop_back();
        QOB_FileClose(file);
    }
    if (scope.waiting != nullptr) {
        OpenFile::close(std::exchange(scope.waiting, nullptr));
    }
}

} // namespace

bool fillRandom(void *bytes, std::size_t size) {
    ssize_t got = -1;
    do {
        got = ::getrandom(bytes, size, 0);
    } while (got < 0 && errno == EINTR);
    return got == static_cast<ssize_t>(size);
}

Scope *currentScope() {
    return scopes().empty() ? nullptr : &scopes().back();
}

// One '_' at the beginning and no other: attachment files of the same directory carry their base
// name twice, and so never such a name.
std::string newScopeName(Scope &scope) {
    return scope.temporary->directory() + "/_" + base36(++scope.names);
}

Place placeOf(const char *path) {
    Place place{path, nullptr, {}};
    const std::string_view text = path;
    for (auto scope = scopes().rbegin(); scope != scopes().rend(); ++scope) {
        const std::string_view name = scope->temporary->nameOf(text);
        if (name.empty()) {
            continue;
        }
        const auto alias = scope->aliases.find(text);
        if (alias != scope->aliases.end() && !alias->second.linked) {
            return placeOf(alias->second.target.c_str()); // no alias of this kind itself
        }
        place.temporary = scope->temporary.get();
        place.name = name;
        break;
    }
    return place;
}

int32_t removeAlias(std::string_view alias) {
    for (Scope &scope : scopes()) {
        const auto found = scope.aliases.find(alias);
        if (found != scope.aliases.end()) {
            scope.aliases.erase(found);
            return 0;
        }
    }
    return -1;
}

void trackFile(QobFile *file) {
    if (Scope *scope = currentScope()) {
        scope->files.push_back(file);
    }
}

// What was opened last is mostly closed first.
void forgetFile(const QobFile *file) {
    for (auto scope = scopes().rbegin(); scope != scopes().rend(); ++scope) {
        const auto found = std::find(scope->files.rbegin(), scope->files.rend(), file);
        if (found != scope->files.rend()) {
            scope->files.erase(std::next(found).base());
            return;
        }
    }
}

} // namespace qob

QOB_HOST_EXPORT int32_t qob_scope_enter(const char *tempRoot) {
    try {
        return qob::enter(tempRoot);
    } catch (...) {
        errno = ENOMEM;
        return -1;
    }
}

QOB_HOST_EXPORT void qob_scope_leave(void) {
    if (qob::scopes().empty()) {
        return;
    }
    const int savedErrno = errno;
    qob::closeAll(qob::scopes().back());
    qob::scopes().pop_back();
    errno = savedErrno;
}

QOB_HOST_EXPORT const char *qob_scope_directory(void) {
    const qob::Scope *scope = qob::currentScope();
    if (scope == nullptr || !scope->temporary->makeDirectory()) {
        return nullptr;
    }
    return scope->temporary->directory().c_str();
}

QOB_HOST_EXPORT uint32_t qob_scope_depth(void) {
    return static_cast<uint32_t>(qob::scopes().size());
}

QOB_HOST_EXPORT int32_t qob_scope_alias(const char *path, char *alias) {
    alias[0] = '\0';
    qob::Scope *scope = qob::currentScope();
    if (scope == nullptr || path == nullptr || *path == '\0') {
        errno = scope == nullptr ? ENOENT : EINVAL;
        return -1;
    }
    try {
        return qob::makeAlias(*scope, path, alias);
    } catch (const std::system_error &error) {
        errno = error.code().value();
    } catch (...) {
        errno = ENOMEM;
    }
    return -1;
}

QOB_HOST_EXPORT int32_t qob_scope_store(const char *path) {
    try {
        return path != nullptr && qob::store(path) ? 0 : -1;
    } catch (...) {
        errno = ENOMEM;
        return -1;
    }
}

QOB_HOST_EXPORT const char *qob_scope_real_path(const char *path) {
    if (path == nullptr) {
        return nullptr;
    }
    for (const qob::Scope &scope : qob::scopes()) {
        const auto found = scope.aliases.find(std::string_view(path));
        if (found != scope.aliases.end()) {
            return found->second.real.c_str();
        }
    }
    return path;
}
