// SPDX-License-Identifier: MIT
// Runs a filter, loaded from its library, over input given as bytes.
#ifndef QOB_TESTS_FILTER_FIXTURE_H
#define QOB_TESTS_FILTER_FIXTURE_H

#include <gtest/gtest.h>

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "qob_host.h"
#include "qob_notice.h"

namespace qob::tests {

struct Notice {
    std::string path;
    int32_t code;
    std::string reason;
};

// What a run left behind.
struct Outcome {
    int32_t code = 0;
    std::string text;
    bool outputExists = false;
    std::vector<Notice> notices;
};

// A private directory, and the parameters of the next run: UTF-8, LF, no language, no limit.
class FilterTest : public testing::Test {
protected:
    FilterTest();
    ~FilterTest() override;

    // Through the file entry point of the filter library.
    Outcome run(const char *library, std::string_view input);
    // Through the stream entry point. `takes` is how many bytes the sink takes before it refuses.
    Outcome runStream(const char *library, std::string_view input, std::size_t takes = SIZE_MAX);

    std::string textOf(const char *library, std::string_view input) {
        return run(library, input).text;
    }

    void setCharset(const char *name);
    void setLanguage(const char *name);
    void setLimit(uint64_t bytes);

    std::string inputPath() const { return directory_ + "/input"; }
    std::string outputPath() const { return directory_ + "/output"; }

    HostParams params_{};

private:
    std::string directory_;
};

// A FilterTest without a test, for threads of their own.
class FilterRunner : public FilterTest {
public:
    using FilterTest::textOf;

private:
    void TestBody() override {}
};

// The texts that `threads` threads get, each running the filter over the input `runs` times.
std::vector<std::string> textsOfThreads(const char *library, const std::string &input, int threads,
                                        int runs);

// Text of another charset, by the ICU name, from UTF-8.
std::string encoded(const char *charset, std::string_view utf8);

// `piece`, `count` times.
std::string repeated(std::string_view piece, std::size_t count);

} // namespace qob::tests

#endif
