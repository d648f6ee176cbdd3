// SPDX-License-Identifier: MIT
// A file for each message. A worker writes it under a hidden name in its directory, so that a file
// with the name of a message's text is always complete. The hidden name follows from the name: what
// a killed run left behind is replaced when the message's turn comes again.
#include "output/message_output.h"

#include <cerrno>
#include <filesystem>
#include <system_error>
#include <utility>

#include <sys/stat.h>
#include <unistd.h>

namespace emltext {
namespace {

// 0, or errno.
int makeDirectories(const std::string &path) {
    struct stat status {};
    if (stat(path.c_str(), &status) == 0) {
        return S_ISDIR(status.st_mode) ? 0 : ENOTDIR;
    }
    std::error_code failure;
    std::filesystem::create_directories(path, failure);
    return failure.value();
}

class TreeOutput : public MessageOutput {
public:
    explicit TreeOutput(std::string directory) : directory_(std::move(directory)) {}

    bool isOrdered() const override { return false; }

    Place place(const Job &job) override {
        const std::string path = finalPath(job);
        const std::size_t slash = path.rfind('/');
        return {hiddenPath(path), makeDirectories(path.substr(0, slash))};
    }

    bool take(Finished &finished) override {
        Outcome &outcome = finished.outcome;
        if (finished.textPath.empty()) {
            return true;
        }
        if (!gaveText(outcome.code)) {
            unlink(finished.textPath.c_str());
        } else if (rename(finished.textPath.c_str(), finalPath(finished.job).c_str()) != 0) {
            const int error = errno;
            unlink(finished.textPath.c_str());
            failWith(outcome, EML_ERR_OUTPUT, error);
        }
        return true;
    }

    bool commit() override { return true; }
    Failure failure() const override { return {directory_, ""}; }

private:
    std::string finalPath(const Job &job) const {
        return directory_ + (directory_.ends_with('/') ? "" : "/") + job.name + ".txt";
    }

    // As long as the final name, and never the final name of another message.
    static std::string hiddenPath(const std::string &path) {
        const std::size_t name = path.rfind('/') + 1;
        const std::size_t ending = path.size() - 4;
        return path.substr(0, name) + "." + path.substr(name, ending - name) + ".t~";
    }

    std::string directory_;
};

} // namespace

std::unique_ptr<MessageOutput> treeOutput(const std::string &directory) {
    return std::make_unique<TreeOutput>(directory);
}

} // namespace emltext
