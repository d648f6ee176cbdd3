// SPDX-License-Identifier: MIT
// Extraction scopes: a private directory per running extraction and nesting level, the files that
// are open in it, and the short names that stand for long ones. Everything here belongs to the
// calling thread. Leaving a scope cannot fail; what cannot be removed is left where it is.
#include "scope.h"

#include <algorithm>
#include <cerrno>
#include <climits>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <new>
#include <string_view>
#include <system_error>

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

std::string rootFor(const char *tempRoot) {
    if (tempRoot != nullptr) {
        return tempRoot;
    }
    if (const Scope *scope = currentScope()) {
        return scope->root;
    }
    const char *configured = std::getenv("TMPDIR"); // NOLINT(concurrency-mt-unsafe)
    return configured != nullptr && *configured != '\0' ? configured : "/tmp";
}

// The path from '/', so that it holds when the process changes its working directory. Empty with
// errno set when it does not exist.
std::string absolutePath(const std::string &path) {
    char *resolved = ::realpath(path.c_str(), nullptr);
    if (resolved == nullptr) {
        return {};
    }
    std::string result;
    try {
        result = resolved;
    } catch (...) {
        std::free(resolved); // NOLINT(cppcoreguidelines-no-malloc): realpath's
        throw;
    }
    std::free(resolved); // NOLINT(cppcoreguidelines-no-malloc): realpath's
    return result;
}

int32_t enter(const char *tempRoot) {
    Scope scope;
    scope.root = absolutePath(rootFor(tempRoot));
    if (scope.root.empty()) {
        return -1;
    }
    scope.directory = (scope.root == "/" ? std::string() : scope.root) + "/qob-XXXXXX";
    scopes().reserve(scopes().size() + 1);
    if (::mkdtemp(scope.directory.data()) == nullptr) {
        return -1;
    }
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
std::string endingOf(std::string_view path) {
    const std::string_view name = path.substr(path.rfind('/') + 1);
    const std::size_t dot = name.rfind('.');
    if (dot == std::string_view::npos || !isEnding(name.substr(dot + 1))) {
        return {};
    }
    return std::string(name.substr(dot));
}

int32_t makeAlias(Scope &scope, const char *path, char *alias) {
    const std::string name = newScopeName(scope) + endingOf(path);
    if (name.size() >= kNameCapacity) {
        errno = ENAMETOOLONG;
        return -1;
    }
    const std::string target = std::filesystem::absolute(path).string();
    const auto [entry, added] = scope.aliases.emplace(name, qob_scope_real_path(path));
    if (::symlink(target.c_str(), name.c_str()) != 0) {
        if (added) {
            scope.aliases.erase(entry);
        }
        return -1;
    }
    std::memcpy(alias, name.c_str(), name.size() + 1);
    return 0;
}

} // namespace

Scope *currentScope() {
    return scopes().empty() ? nullptr : &scopes().back();
}

// One '_' at the beginning and no other: attachment files of the same directory carry their base
// name twice, and so never such a name.
std::string newScopeName(Scope &scope) {
    return scope.directory + "/_" + base36(++scope.names);
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
    std::vector<QobFile *> &files = qob::scopes().back().files;
    while (!files.empty()) {
        QobFile *file = files.back();
        files.pop_back();
        QOB_FileClose(file);
    }
    try {
        std::error_code ignored;
        std::filesystem::remove_all(qob::scopes().back().directory, ignored);
    } catch (...) { // NOLINT(bugprone-empty-catch): no memory to walk the directory: it stays
    }
    qob::scopes().pop_back();
    errno = savedErrno;
}

QOB_HOST_EXPORT const char *qob_scope_directory(void) {
    const qob::Scope *scope = qob::currentScope();
    return scope == nullptr ? nullptr : scope->directory.c_str();
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

QOB_HOST_EXPORT const char *qob_scope_real_path(const char *path) {
    if (path == nullptr) {
        return nullptr;
    }
    try {
        for (const qob::Scope &scope : qob::scopes()) {
            const auto found = scope.aliases.find(path);
            if (found != scope.aliases.end()) {
                return found->second.c_str();
            }
        }
    } catch (...) { // NOLINT(bugprone-empty-catch): no memory for the key: take the path as it is
    }
    return path;
}
