// SPDX-License-Identifier: MIT
// See filter_fixture.h.
#include "filter_fixture.h"

#include <dlfcn.h>
#include <unicode/ucnv.h>

#include <cstring>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <mutex>
#include <stdexcept>
#include <thread>

#include "qob_extract.h"

namespace qob::tests {
namespace {

using FileEntry = decltype(&GetTextWithErrCallback);
using StreamEntry = decltype(&GetTextStreamWithErrCallback);

template <typename Entry> Entry entryOf(const char *library, const char *name) {
    void *handle = dlopen(library, RTLD_NOW | RTLD_LOCAL);
    if (handle == nullptr) {
        throw std::runtime_error(dlerror());
    }
    return reinterpret_cast<Entry>(dlsym(handle, name));
}

void collect(void *context, const QobNotice *notice) {
    static_cast<std::vector<Notice> *>(context)->push_back(
        {notice->path, notice->code, notice->reason});
}

struct Sink {
    std::string text;
    std::size_t takes;
};

int32_t take(void *context, const void *data, uint32_t length) {
    auto *sink = static_cast<Sink *>(context);
    if (length > sink->takes) {
        return 0;
    }
    sink->takes -= length;
    sink->text.append(static_cast<const char *>(data), length);
    return 1;
}

void writeFile(const std::string &path, std::string_view bytes) {
    std::ofstream(path, std::ios::binary)
        .write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
}

std::string readFile(const std::string &path) {
    if (!std::filesystem::is_regular_file(path)) {
        return {};
    }
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
}

} // namespace

FilterTest::FilterTest() {
    std::string pattern = (std::filesystem::temp_directory_path() / "qob-filters-XXXXXX").string();
    if (mkdtemp(pattern.data()) == nullptr) {
        throw std::runtime_error("no directory for the test");
    }
    directory_ = pattern;
    setCharset("UTF-8");
}

FilterTest::~FilterTest() {
    std::error_code ignored;
    std::filesystem::remove_all(directory_, ignored);
}

Outcome FilterTest::run(const char *library, std::string_view input) {
    Outcome outcome;
    writeFile(inputPath(), input);
    QobErrorCallback callback{collect, &outcome.notices};
    outcome.code = entryOf<FileEntry>(library, "GetTextWithErrCallback")(
        inputPath().c_str(), outputPath().c_str(), &params_, nullptr, &callback);
    outcome.outputExists = std::filesystem::exists(outputPath());
    outcome.text = readFile(outputPath());
    return outcome;
}

Outcome FilterTest::runStream(const char *library, std::string_view input, std::size_t takes) {
    Outcome outcome;
    writeFile(inputPath(), input);
    Sink sink{{}, takes};
    const QobSink hostSink{take, &sink};
    QobErrorCallback callback{collect, &outcome.notices};
    QobStream *stream = qob_stream_open(&hostSink, nullptr);
    outcome.code = entryOf<StreamEntry>(library, "GetTextStreamWithErrCallback")(
        inputPath().c_str(), stream, &params_, nullptr, &callback);
    qob_stream_close(stream);
    outcome.text = sink.text;
    return outcome;
}

void FilterTest::setCharset(const char *name) {
    std::strncpy(params_.outputName, name, sizeof params_.outputName - 1);
}

void FilterTest::setLanguage(const char *name) {
    std::strncpy(params_.language, name, sizeof params_.language - 1);
}

void FilterTest::setLimit(uint64_t bytes) {
    params_.options |= EML_OPT_LIMIT_OUTPUT;
    params_.outputLimit = bytes;
}

std::vector<std::string> textsOfThreads(const char *library, const std::string &input, int threads,
                                        int runs) {
    std::vector<std::string> texts;
    std::mutex mutex;
    std::vector<std::thread> running;
    for (int i = 0; i < threads; ++i) {
        running.emplace_back([&] {
            FilterRunner runner;
            for (int run = 0; run < runs; ++run) {
                std::string text = runner.textOf(library, input);
                const std::lock_guard<std::mutex> lock(mutex);
                texts.push_back(std::move(text));
            }
        });
    }
    for (std::thread &thread : running) {
        thread.join();
    }
    return texts;
}

std::string encoded(const char *charset, std::string_view utf8) {
    std::string bytes(utf8.size() * 4 + 64, '\0');
    UErrorCode error = U_ZERO_ERROR;
    const int32_t length =
        ucnv_convert(charset, "UTF-8", bytes.data(), static_cast<int32_t>(bytes.size()),
                     utf8.data(), static_cast<int32_t>(utf8.size()), &error);
    if (U_FAILURE(error)) {
        throw std::runtime_error(u_errorName(error));
    }
    bytes.resize(static_cast<std::size_t>(length));
    return bytes;
}

std::string repeated(std::string_view piece, std::size_t count) {
    std::string text;
    text.reserve(piece.size() * count);
    for (std::size_t i = 0; i < count; ++i) {
        text += piece;
    }
    return text;
}

} // namespace qob::tests
