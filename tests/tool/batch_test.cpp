// SPDX-License-Identifier: MIT
// Many messages, some of which do their worst: each of these costs itself and nothing else.
#include <algorithm>
#include <array>
#include <string>

#include <gmock/gmock.h>

#include "process.h"

namespace {

using namespace tool_test;
using ::testing::HasSubstr;
using ::testing::Not;

constexpr int kMessages = 2000;

struct Culprit {
    const char *order;  // to the filter
    const char *report; // on standard error
};

// A sanitizer needs the memory for itself, so that there is no limit, and writes reports of its
// own.
#if defined(__SANITIZE_ADDRESS__)
constexpr bool kSanitized = true;
#else
constexpr bool kSanitized = false;
#endif

constexpr std::array<Culprit, 5> kCulprits = {{
    {"crash", "EMLTEXT_ERR_CRASH (5001)"},
    {"abort", "EMLTEXT_ERR_CRASH (5001)"},
    {"exit 3", "EMLTEXT_ERR_CRASH (5001)"},
    kSanitized ? Culprit{"abort", "EMLTEXT_ERR_CRASH (5001)"}
               : Culprit{"exhaust-unchecked", "EMLTEXT_ERR_MEMORY (5003)"},
    {"hang", "EMLTEXT_ERR_TIMEOUT (5002)"},
}};

std::string number(int i) {
    return std::to_string(10000 + i).substr(1);
}

// Every hundredth message is one.
const Culprit *culprit(int i) {
    return i % 100 == 57 ? &kCulprits.at(static_cast<std::size_t>(i) / 100 % kCulprits.size())
                         : nullptr;
}

class Batch : public Tool {
protected:
    Batch() { filters_ = HOSTILE_FILTERS; }

    void SetUp() override {
        Tool::SetUp();
        for (int i = 0; i < kMessages; ++i) {
            const Culprit *bad = culprit(i);
            file("mail/" + number(i % 10) + "/" + number(i) + ".eml",
                 "text of " + number(i) + "\n" + (bad == nullptr ? "" : bad->order) + "\n");
        }
    }

    static void expectReports(const Finished &result) {
        int reports = 0;
        for (int i = 0; i < kMessages; ++i) {
            if (const Culprit *bad = culprit(i)) {
                EXPECT_THAT(result.err, HasSubstr(number(i) + ".eml: " + bad->report));
                ++reports;
            }
        }
        EXPECT_EQ(reports, 20);
        if (!kSanitized) {
            EXPECT_EQ(std::count(result.err.begin(), result.err.end(), '\n'), 21) << result.err;
        }
        EXPECT_THAT(result.err, HasSubstr("emltext: 2,000 messages, 20 failed, "));
        EXPECT_EQ(result.status, 1);
    }
};

TEST_F(Batch, OfATreeHasEveryTextButThoseOfTheCulprits) {
    expectReports(
        run({"-j", "4", "--timeout", "1", "--memory", "200M", "-o", path("out"), path("mail")}));
    std::string expected;
    for (int folder = 0; folder < 10; ++folder) {
        for (int i = folder; i < kMessages; i += 10) {
            if (culprit(i) == nullptr) {
                expected +=
                    number(folder) + "/" + number(i) + ".txt: text of " + number(i) + "\n\n\n";
            }
        }
    }
    EXPECT_TRUE(treeOf(path("out")) == expected);
}

TEST_F(Batch, OnStandardOutputIsInOrderWithoutTheCulprits) {
    const Finished result = run({"-j", "4", "--timeout", "1", "--memory", "200M", path("mail")});
    expectReports(result);
    std::string expected;
    for (int folder = 0; folder < 10; ++folder) {
        for (int i = folder; i < kMessages; i += 10) {
            expected += culprit(i) == nullptr ? "text of " + number(i) + "\n\n" : "";
        }
    }
    EXPECT_TRUE(result.out == expected);
}

} // namespace
