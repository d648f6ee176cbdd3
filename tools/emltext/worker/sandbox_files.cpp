// SPDX-License-Identifier: MIT
// Which files a sandboxed process may open, by Landlock. Each kernel knows some rights; all that it
// knows are taken away, and few given back.
#include "worker/sandbox.h"

#ifndef EMLTEXT_LANDLOCK

namespace emltext {

std::string restrictFiles(const std::string & /*writable*/) {
    return "emltext was built without <linux/landlock.h>";
}

} // namespace emltext

#else

#include <array>
#include <cerrno>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <string_view>

#include <dlfcn.h>
#include <fcntl.h>
#include <linux/landlock.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>

#include "qob_extract.h"

namespace emltext {
namespace {

// Rights that kernels know and older headers do not.
constexpr uint64_t kTruncate = 1ULL << 14U;
constexpr uint64_t kIoctlDevice = 1ULL << 15U;
constexpr uint64_t kNetwork = 3; // binding and connecting TCP sockets
constexpr uint64_t kScopes = 3;  // abstract sockets and signals

constexpr uint64_t kRead = LANDLOCK_ACCESS_FS_READ_FILE | LANDLOCK_ACCESS_FS_READ_DIR;
constexpr uint64_t kReadAndExecute = kRead | LANDLOCK_ACCESS_FS_EXECUTE;
constexpr uint64_t kOfFiles = LANDLOCK_ACCESS_FS_EXECUTE | LANDLOCK_ACCESS_FS_WRITE_FILE |
                              LANDLOCK_ACCESS_FS_READ_FILE | kTruncate | kIoctlDevice;

// What the system's libraries and the programs that filters start need.
constexpr std::array kProgramPlaces = {"/usr", "/bin", "/sbin", "/lib", "/lib32", "/lib64"};
constexpr std::array kReadPlaces = {"/etc/ld.so.cache",
                                    "/etc/ld.so.preload",
                                    "/etc/fonts",
                                    "/etc/localtime",
                                    "/etc/catdocrc",
                                    "/etc/papersize",
                                    "/etc/ssl/openssl.cnf",
                                    "/var/cache/fontconfig",
                                    "/proc/self",
                                    "/sys/devices/system/cpu",
                                    "/dev/zero",
                                    "/dev/random",
                                    "/dev/urandom"};

// The kernel's structure, as long as the newest one that is used here.
struct Ruleset {
    uint64_t files;
    uint64_t network;
    uint64_t scopes;
};

std::string failure(const char *what) {
    return std::string("Landlock ") + what + ": " + std::strerror(errno);
}

uint64_t rightsOf(long version) {
    constexpr std::array<uint64_t, 5> kRights = {
        (LANDLOCK_ACCESS_FS_MAKE_SYM << 1U) - 1, // all of the first version
        LANDLOCK_ACCESS_FS_REFER, kTruncate, 0, kIoctlDevice};
    uint64_t rights = 0;
    for (std::size_t i = 0; i < kRights.size() && static_cast<long>(i) < version; ++i) {
        rights |= kRights[i];
    }
    return rights;
}

class FileRules {
public:
    explicit FileRules(long version) : rights_(rightsOf(version)) {
        const Ruleset all{rights_, kNetwork, kScopes};
        std::size_t size = sizeof all;
        if (version < 6) {
            size = version < 4 ? offsetof(Ruleset, network) : offsetof(Ruleset, scopes);
        }
        rules_ = static_cast<int>(syscall(SYS_landlock_create_ruleset, &all, size, 0));
    }
    ~FileRules() {
        if (rules_ >= 0) {
            close(rules_);
        }
    }
    FileRules(const FileRules &) = delete;
    FileRules &operator=(const FileRules &) = delete;

    bool exist() const { return rules_ >= 0; }

    // A place that is not there needs no permission.
    bool allow(const std::string &path, uint64_t rights) const {
        const int place = open(path.c_str(), O_PATH | O_CLOEXEC);
        if (place < 0) {
            return true;
        }
        struct stat status {};
        const bool known = fstat(place, &status) == 0;
        const uint64_t fitting = known && S_ISDIR(status.st_mode) ? rights : rights & kOfFiles;
        landlock_path_beneath_attr rule{};
        rule.allowed_access = fitting & rights_;
        rule.parent_fd = place;
        const bool added =
            syscall(SYS_landlock_add_rule, rules_, LANDLOCK_RULE_PATH_BENEATH, &rule, 0) == 0;
        close(place);
        return added;
    }

    bool apply() const { return syscall(SYS_landlock_restrict_self, rules_, 0) == 0; }

private:
    uint64_t rights_;
    int rules_ = -1;
};

// The directories of a list such as LD_LIBRARY_PATH.
bool allowList(const FileRules &rules, const char *list) {
    std::string_view rest = list != nullptr ? list : "";
    bool allowed = true;
    while (!rest.empty()) {
        const std::string_view place = rest.substr(0, rest.find(':'));
        rest.remove_prefix(std::min(place.size() + 1, rest.size()));
        if (!place.empty()) {
            allowed = rules.allow(std::string(place), kReadAndExecute) && allowed;
        }
    }
    return allowed;
}

// Filters lie beside the host's libraries, or where the environment says.
bool allowFilters(const FileRules &rules) {
    Dl_info info{};
    bool allowed = true;
    if (dladdr(reinterpret_cast<const void *>(&qob_extract), &info) != 0 &&
        info.dli_fname != nullptr) {
        const std::string library = info.dli_fname;
        allowed = rules.allow(library.substr(0, library.rfind('/') + 1), kReadAndExecute);
    }
    const char *const filters = secure_getenv("QOB_FILTER_DIR");
    if (filters != nullptr && *filters != '\0') {
        allowed = rules.allow(filters, kReadAndExecute) && allowed;
    }
    return allowList(rules, secure_getenv("LD_LIBRARY_PATH")) && allowed;
}

bool allowAll(const FileRules &rules, const std::string &writable) {
    bool allowed = rules.allow(writable, ~LANDLOCK_ACCESS_FS_EXECUTE);
    allowed = rules.allow("/dev/null", kRead | LANDLOCK_ACCESS_FS_WRITE_FILE) && allowed;
    for (const char *const place : kProgramPlaces) {
        allowed = rules.allow(place, kReadAndExecute) && allowed;
    }
    for (const char *const place : kReadPlaces) {
        allowed = rules.allow(place, kRead) && allowed;
    }
    return allowFilters(rules) && allowed;
}

} // namespace

std::string restrictFiles(const std::string &writable) {
    const long version =
        syscall(SYS_landlock_create_ruleset, nullptr, 0, LANDLOCK_CREATE_RULESET_VERSION);
    if (version < 1) {
        return failure("is not offered by this kernel");
    }
    const FileRules rules(version);
    if (!rules.exist()) {
        return failure("rules cannot be made");
    }
    if (!allowAll(rules, writable)) {
        return failure("does not take a rule");
    }
    return rules.apply() ? std::string() : failure("cannot be switched on");
}

} // namespace emltext

#endif
