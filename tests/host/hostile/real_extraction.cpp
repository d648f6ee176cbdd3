// SPDX-License-Identifier: MIT
// The input goes through a file in memory where the system has one: tens of thousands of small
// files are slow on disk.
#include "real_extraction.h"

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <stdexcept>

#include <unistd.h>

namespace hostile_test {
namespace {

std::string quickDirectory() {
    const char *memory = "/dev/shm";
    return access(memory, W_OK) == 0 ? memory : std::filesystem::temp_directory_path().string();
}

class PrivateDirectory {
public:
    PrivateDirectory() : path_(quickDirectory() + "/qob-test-XXXXXX") {
        if (mkdtemp(path_.data()) == nullptr) {
            throw std::runtime_error("no directory for the test");
        }
    }
    ~PrivateDirectory() {
        std::error_code ignored;
        std::filesystem::remove_all(path_, ignored);
    }
    PrivateDirectory(const PrivateDirectory &) = delete;
    PrivateDirectory &operator=(const PrivateDirectory &) = delete;
    const std::string &path() const { return path_; }

private:
    std::string path_;
};

void collectNotice(void *context, const QobNotice *notice) {
    static_cast<Extracted *>(context)->notices.push_back(std::to_string(notice->code) + "@" +
                                                         std::to_string(notice->attachmentNumber));
}

int32_t collectText(void *context, const void *data, uint32_t length) {
    static_cast<Extracted *>(context)->text.append(static_cast<const char *>(data), length);
    return 1;
}

} // namespace

Extracted extract(const std::string &input, QobExtractOptions options) {
    setenv("QOB_FILTER_DIR", FILTERS, 1);
    const PrivateDirectory directory;
    const std::string path = directory.path() + "/input";
    std::ofstream(path, std::ios::binary) << input;
    Extracted extracted;
    const QobErrorCallback callback{&collectNotice, &extracted};
    options.callback = &callback;
    options.tempDirectory = directory.path().c_str();
    const QobSink sink{&collectText, &extracted};
    extracted.code = qob_extract(path.c_str(), &sink, &options, nullptr);
    return extracted;
}

Extracted extract(const std::string &input) {
    return extract(input, defaultOptions());
}

QobExtractOptions defaultOptions() {
    QobExtractOptions options{};
    qob_extract_options_init(&options, sizeof options);
    return options;
}

} // namespace hostile_test
