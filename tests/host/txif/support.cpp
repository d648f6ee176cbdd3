// SPDX-License-Identifier: MIT
// Directories, scripts and collected output of the tests.
#include "support.h"

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>

namespace txif_test {
namespace fs = std::filesystem;

namespace {

std::vector<std::string> summaryOf(const std::vector<Notice> &notices) {
    std::vector<std::string> lines;
    lines.reserve(notices.size());
    for (const Notice &notice : notices) {
        lines.push_back(std::to_string(notice.code) + "@" +
                        std::to_string(notice.attachmentNumber));
    }
    return lines;
}

} // namespace

Notices::Notices()
    : callback_{[](void *context, const QobNotice *notice) {
                    static_cast<Notices *>(context)->all_.push_back(
                        {notice->path, notice->attachmentNumber, notice->code, notice->reason});
                },
                this} {}

std::vector<std::string> Notices::summary() const {
    return summaryOf(all_);
}

std::vector<std::string> Outcome::noticeSummary() const {
    return summaryOf(notices);
}

QobSink stringSink(std::string &text) {
    return {[](void *context, const void *data, uint32_t length) -> int32_t {
                static_cast<std::string *>(context)->append(static_cast<const char *>(data),
                                                            length);
                return 1;
            },
            &text};
}

QobExtractOptions defaultOptions() {
    QobExtractOptions options{};
    qob_extract_options_init(&options, sizeof options);
    return options;
}

void ScriptedFilters::SetUpTestSuite() {
    setenv("QOB_FILTER_DIR", SCRIPTED_FILTERS, 1);
}

void ScriptedFilters::SetUp() {
    std::string pattern = (fs::temp_directory_path() / "txif-test-XXXXXX").string();
    ASSERT_NE(mkdtemp(pattern.data()), nullptr);
    root_ = pattern;
    files_ = root_ + "/files";
    temporary_ = root_ + "/temporary";
    fs::create_directory(files_);
    fs::create_directory(temporary_);
}

void ScriptedFilters::TearDown() {
    EXPECT_EQ(namesIn(temporary_), std::vector<std::string>{});
    fs::remove_all(root_);
}

std::string ScriptedFilters::file(const std::string &name, const std::string &content) const {
    std::string path = files_ + "/" + name;
    std::ofstream(path, std::ios::binary) << content;
    return path;
}

std::string ScriptedFilters::message(const std::string &name, const std::string &script) const {
    return file(name, kHeaderText + script);
}

Outcome ScriptedFilters::extract(const std::string &path, QobExtractOptions options) const {
    Outcome outcome{};
    Notices notices;
    options.callback = notices.callback();
    options.tempDirectory = temporary_.c_str();
    const QobSink sink = stringSink(outcome.text);
    outcome.code = qob_extract(path.c_str(), &sink, &options, &outcome.result);
    outcome.notices = notices.all();
    return outcome;
}

std::string contentOf(const std::string &path) {
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
}

std::vector<std::string> namesIn(const std::string &directory) {
    std::vector<std::string> names;
    for (const auto &entry : fs::directory_iterator(directory)) {
        names.push_back(entry.path().filename().string());
    }
    std::sort(names.begin(), names.end());
    return names;
}

} // namespace txif_test
