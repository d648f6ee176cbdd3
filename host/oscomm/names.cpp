// SPDX-License-Identifier: MIT
// Temporary names, and questions about names. Inside a scope a temporary name lies in the scope's
// private directory and is short ("/tmp/qob-Ab3dEf/_1"); outside every scope it lies in $TMPDIR or
// /tmp and carries 128 random bits, since others may write there. No name is given out twice.
#include <array>
#include <atomic>
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <string>

#include <sys/stat.h>
#include <unistd.h>

#include "base36.h"
#include "qob_host.h"
#include "qob_host_export.h"
#include "scope.h"
#include "secret_numbers.h"

namespace {

constexpr std::size_t kNameCapacity = 4096;
constexpr int32_t kFailed = -1;

// Empty when the system has no random numbers to give.
std::string unscopedName() {
    static std::atomic<std::uint64_t> counter{0};
    std::array<std::uint64_t, 2> random{};
    if (!qob::secretNumber(random[0]) || !qob::secretNumber(random[1])) {
        return {};
    }
    const char *root = std::getenv("TMPDIR"); // NOLINT(concurrency-mt-unsafe)
    const std::string directory = root != nullptr && *root != '\0' ? root : "/tmp";
    return directory + "/qob-" + qob::base36(random[0]) + qob::base36(random[1]) + "-" +
           qob::base36(++counter);
}

// A few letters that tell names of different base paths apart (FNV-1a, 20 bits).
std::string tagOf(const char *path) {
    std::uint32_t hash = 2166136261U;
    for (; *path != '\0'; ++path) {
        hash = (hash ^ static_cast<unsigned char>(*path)) * 16777619U;
    }
    return "-" + qob::base36((hash ^ (hash >> 20U)) & 0xFFFFFU);
}

int32_t temporaryName(const char *basePath, char *name) {
    name[0] = '\0';
    try {
        qob::Scope *scope = qob::currentScope();
        std::string result = scope == nullptr ? unscopedName() : qob::newScopeName(*scope);
        if (result.empty()) {
            return kFailed;
        }
        if (basePath != nullptr && *basePath != '\0') {
            result += tagOf(basePath);
        }
        if (result.size() >= kNameCapacity) {
            return kFailed;
        }
        std::memcpy(name, result.c_str(), result.size() + 1);
        return 0;
    } catch (...) {
        return kFailed;
    }
}

} // namespace

QOB_HOST_EXPORT int32_t QOB_ASC_tmpnam(char *name) {
    return temporaryName(nullptr, name);
}

QOB_HOST_EXPORT int32_t QOB_ASC_tmpnam1(const char *basePath, char *name) {
    return temporaryName(basePath, name);
}

// Files only: a directory is never removed by name.
QOB_HOST_EXPORT int32_t QOB_ASC_remove(const char *path) {
    if (path == nullptr || *path == '\0') {
        return kFailed;
    }
    const qob::Place place = qob::placeOf(path);
    if (place.path != path) {
        return qob::removeAlias(path);
    }
    const int result =
        place.temporary != nullptr ? place.temporary->remove(path, place.name) : ::unlink(path);
    return result != 0 ? kFailed : 0;
}

// A symbolic link takes its name even when it leads nowhere.
QOB_HOST_EXPORT int32_t QOB_FindFile(const char *path) {
    struct stat status {};
    if (path == nullptr || *path == '\0') {
        return kFailed;
    }
    const qob::Place place = qob::placeOf(path);
    if (place.path != path) {
        return 0;
    }
    const int result = place.temporary != nullptr ? place.temporary->find(path, place.name)
                                                  : ::lstat(path, &status);
    return result != 0 ? kFailed : 0;
}
