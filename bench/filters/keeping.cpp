// SPDX-License-Identifier: MIT
// Keeps every attachment: a file of its own in the directory that BENCH_KEEP names. A second name
// for the host's temporary file is enough where both lie in one file system.
#include <atomic>
#include <cstdlib>
#include <fcntl.h>
#include <filesystem>
#include <string>
#include <system_error>
#include <unistd.h>

#include "entry.h"
#include "qob_scope.h"

// The attachment lies on disk, as the files of the peers do.
BENCH_EXPORT const uint32_t qob_filter_files = QOB_FILTER_HOST_TEMPORARIES;

int32_t takeFile(const char *path, QobStream *stream) {
    static_cast<void>(stream);
    static std::atomic<int> kept = 0;
    const char *directory = std::getenv("BENCH_KEEP");
    if (directory == nullptr) {
        return EML_ERR_OUTPUT;
    }
    const std::filesystem::path target =
        std::filesystem::path(directory) / ("attachment-" + std::to_string(++kept));
    const char *file = qob_scope_real_path(path);
    if (linkat(AT_FDCWD, file, AT_FDCWD, target.c_str(), AT_SYMLINK_FOLLOW) == 0) {
        return EML_OK;
    }
    std::error_code failed;
    return std::filesystem::copy_file(file, target, failed) ? EML_OK : EML_ERR_OUTPUT;
}
