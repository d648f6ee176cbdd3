// SPDX-License-Identifier: MIT
// Loads filters with dlopen and keeps them in a table that is never emptied: a filter may have
// thread-local state of its own, so that no moment is safe for unloading it.
#include "filter_loader.h"

#include <cstdlib>
#include <dlfcn.h>
#include <map>
#include <mutex>
#include <unistd.h>
#include <vector>

namespace qob {
namespace {

// Any address inside this library will do.
std::string ownDirectory() {
    Dl_info info{};
    if (dladdr(reinterpret_cast<const void *>(&filterOf), &info) == 0 ||
        info.dli_fname == nullptr) {
        return {};
    }
    const std::string path = info.dli_fname;
    const std::size_t slash = path.rfind('/');
    return slash == std::string::npos ? std::string{} : path.substr(0, slash);
}

std::vector<std::string> directories() {
    std::vector<std::string> found;
    if (const char *chosen = secure_getenv("QOB_FILTER_DIR");
        chosen != nullptr && *chosen != '\0') {
        found.emplace_back(chosen);
    }
    if (std::string own = ownDirectory(); !own.empty()) {
        found.push_back(std::move(own));
    }
    return found;
}

// The library's own path where it lies, else its bare name for the linker to look for.
std::string locate(const char *library) {
    for (const std::string &directory : directories()) {
        std::string path = directory + '/' + library;
        if (access(path.c_str(), F_OK) == 0) {
            return path;
        }
    }
    return library;
}

std::string lastLinkerError(const char *library) {
    const char *error = dlerror();
    return error != nullptr ? error : std::string(library) + " cannot be loaded";
}

Filter load(const char *library) {
    Filter filter;
    const std::string path = locate(library);
    void *handle = dlopen(path.c_str(), RTLD_NOW | RTLD_LOCAL);
    if (handle == nullptr) {
        const bool nowhere = path == library;
        filter.reason =
            (nowhere ? "its filter is not installed, or was left out of the build: " : "") +
            lastLinkerError(library);
        return filter;
    }
    filter.extract =
        reinterpret_cast<StreamEntryPoint>(dlsym(handle, "GetTextStreamWithErrCallback"));
    if (filter.extract == nullptr) {
        filter.reason = lastLinkerError(library);
    }
    if (const void *files = dlsym(handle, "qob_filter_files")) {
        filter.files = *static_cast<const uint32_t *>(files);
    }
    return filter;
}

struct Table {
    std::mutex mutex;
    std::map<std::string, Filter, std::less<>> filters;
};

// Never destroyed: a thread may still extract while the process ends.
Table &table() {
    static Table *const kTable = new Table;
    return *kTable;
}

} // namespace

const Filter &filterOf(const char *library) {
    Table &known = table();
    const std::lock_guard<std::mutex> lock(known.mutex);
    auto row = known.filters.find(library);
    if (row == known.filters.end()) {
        row = known.filters.emplace(library, load(library)).first;
    }
    return row->second;
}

std::string filterPath(const Filter &filter) {
    Dl_info info{};
    if (filter.extract == nullptr ||
        dladdr(reinterpret_cast<const void *>(filter.extract), &info) == 0 ||
        info.dli_fname == nullptr) {
        return {};
    }
    return info.dli_fname;
}

} // namespace qob
