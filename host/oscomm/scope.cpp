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
#include <memory>
#include <new>
#include <span>
#include <system_error>
#include <utility>

#include <unistd.h>

#include "base36.h"
#include "qob_host_export.h"
#include "qob_scope.h"
#include "secret_numbers.h"

namespace qob {
namespace {

constexpr std::size_t kNameCapacity = 4096;
constexpr std::size_t kLongestEnding = 8;

// Scopes that may be kept behind the innermost one, with the memory they have, to be entered again.
constexpr std::size_t kMostSpare = 4;

struct ThreadScopes {
    std::vector<std::unique_ptr<Scope>> all; // entered ones, then spare ones
    std::size_t depth = 0;                   // how many are entered
    std::string usableRoot;                  // the last one in which directories could be made

    std::span<const std::unique_ptr<Scope>> entered() const { return {all.data(), depth}; }
};

ThreadScopes &scopes() {
    thread_local ThreadScopes threadScopes;
    return threadScopes;
}

const char *rootFor(const char *tempRoot) {
    if (tempRoot != nullptr) {
        return tempRoot;
    }
    const char *configured = std::getenv("TMPDIR"); // NOLINT(concurrency-mt-unsafe)
    return configured != nullptr && *configured != '\0' ? configured : "/tmp";
}

// The path from '/', so that it holds when the process changes its working directory, and without
// a '/' at the end. Empty with errno set when it does not exist.
std::string absolutePath(const char *path) {
    if (*path != '/') {
        std::array<char, PATH_MAX> resolved{};
        return ::realpath(path, resolved.data()) != nullptr ? resolved.data() : std::string();
    }
    std::string_view absolute = path;
    while (absolute.size() > 1 && absolute.back() == '/') {
        absolute.remove_suffix(1);
    }
    return std::string(absolute);
}

// Empty with errno set when no directory can be made there. The enclosing scope has asked already,
// and so has the last one that was entered in this root, unless it was refused a directory.
std::string checkedRoot(const char *tempRoot) {
    const Scope *outer = currentScope();
    if (tempRoot == nullptr && outer != nullptr) {
        return outer->root;
    }
    std::string root = absolutePath(rootFor(tempRoot));
    std::string &usable = scopes().usableRoot;
    if (root.empty() || root == usable) {
        return root;
    }
    if (::access(root.c_str(), W_OK | X_OK) != 0) {
        return {};
    }
    usable = root;
    return root;
}

// The directory is made when something has to lie in it: most extractions need none.
int32_t enter(const char *tempRoot) {
    ThreadScopes &thread = scopes();
    std::string root = checkedRoot(tempRoot);
    std::uint64_t random = 0;
    if (root.empty() || !secretNumber(random)) {
        return -1;
    }
    if (thread.depth == thread.all.size()) {
        thread.all.push_back(std::make_unique<Scope>());
    }
    Scope &scope = *thread.all[thread.depth];
    scope.temporary.begin(root, "qob-" + base36(random));
    scope.root = std::move(root);
    ++thread.depth;
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
    return scope.temporary.makeDirectory() && ::symlink(target.c_str(), name.c_str()) == 0;
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
    for (const auto &scope : scopes().entered()) {
        const auto found = scope->aliases.find(std::string_view(path));
        if (found != scope->aliases.end() && !found->second.linked) {
            found->second.linked = link(*scope, found->first, found->second.target);
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

void leave(ThreadScopes &thread) {
    Scope &scope = *thread.all[thread.depth - 1];
    closeAll(scope);
    if (!scope.temporary.end()) {
        thread.usableRoot.clear();
    }
    scope.aliases.clear();
    scope.names = 0;
    --thread.depth;
    thread.all.resize(std::min(thread.all.size(), thread.depth + kMostSpare));
}

} // namespace

Scope *currentScope() {
    const ThreadScopes &thread = scopes();
    return thread.depth == 0 ? nullptr : thread.all[thread.depth - 1].get();
}

// One '_' at the beginning and no other: attachment files of the same directory carry their base
// name twice, and so never such a name.
std::string newScopeName(Scope &scope) {
    return scope.temporary.directory() + "/_" + base36(++scope.names);
}

Place placeOf(const char *path) {
    Place place{path, nullptr, {}};
    const std::string_view text = path;
    const auto entered = scopes().entered();
    for (auto entry = entered.rbegin(); entry != entered.rend(); ++entry) {
        Scope *scope = entry->get();
        const std::string_view name = scope->temporary.nameOf(text);
        if (name.empty()) {
            continue;
        }
        const auto alias = scope->aliases.find(text);
        if (alias != scope->aliases.end() && !alias->second.linked) {
            return placeOf(alias->second.target.c_str()); // no alias of this kind itself
        }
        place.temporary = &scope->temporary;
        place.name = name;
        break;
    }
    return place;
}

int32_t removeAlias(std::string_view alias) {
    for (const auto &scope : scopes().entered()) {
        const auto found = scope->aliases.find(alias);
        if (found != scope->aliases.end()) {
            scope->aliases.erase(found);
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
    const auto entered = scopes().entered();
    for (auto entry = entered.rbegin(); entry != entered.rend(); ++entry) {
        Scope *scope = entry->get();
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
    if (qob::scopes().depth == 0) {
        return;
    }
    const int savedErrno = errno;
    qob::leave(qob::scopes());
    errno = savedErrno;
}

QOB_HOST_EXPORT const char *qob_scope_directory(void) {
    qob::Scope *scope = qob::currentScope();
    if (scope == nullptr || !scope->temporary.makeDirectory()) {
        return nullptr;
    }
    return scope->temporary.directory().c_str();
}

QOB_HOST_EXPORT uint32_t qob_scope_depth(void) {
    return static_cast<uint32_t>(qob::scopes().depth);
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
    for (const auto &scope : qob::scopes().entered()) {
        const auto found = scope->aliases.find(std::string_view(path));
        if (found != scope->aliases.end()) {
            return found->second.real.c_str();
        }
    }
    return path;
}
