// SPDX-License-Identifier: MIT
// The file in which finished messages are written down.
#include <algorithm>
#include <string>

#include <gmock/gmock.h>

#include "output/resume_record.h"
#include "output/resume_state.h"
#include "process.h"

namespace {

using namespace tool_test;
using emltext::Job;
using emltext::ResumeState;
using ::testing::HasSubstr;

Job job(const std::string &path, uint64_t index = 0, const std::string &name = "") {
    Job made;
    made.path = path;
    made.index = index;
    made.name = name;
    return made;
}

class StateFile : public Tool {
protected:
    emltext::Options options() const {
        emltext::Options options;
        options.outputPath = path("out");
        return options;
    }
};

TEST_F(StateFile, FindsWhatIsFinished) {
    {
        ResumeState state;
        ASSERT_FALSE(state.open(path("state"), options()));
        EXPECT_TRUE(state.append(job("a\tb\n%.eml", 0, "a b"), 0, 10));
        EXPECT_TRUE(state.append(job("box", 2), 5001, 30));
    }
    ResumeState state;
    ASSERT_FALSE(state.open(path("state"), options()));
    EXPECT_EQ(state.outputSize(), 30U);
    EXPECT_EQ(state.takeFinished(job("a\tb\n%.eml")), 0);
    EXPECT_EQ(state.takeFinished(job("box", 2)), 5001);
    EXPECT_EQ(state.takeFinished(job("box", 2)), std::nullopt);
    EXPECT_EQ(state.takeFinished(job("box", 1)), std::nullopt);
    emltext::NameTable names;
    state.reserveNames(names);
    EXPECT_EQ(names.claim("a b"), "a b.2");
}

TEST_F(StateFile, MayEndAnywhere) {
    {
        ResumeState state;
        ASSERT_FALSE(state.open(path("state"), options()));
        state.append(job("a"), 0, 10);
        state.append(job("b"), 0, 20);
    }
    const std::string whole = contentOf(path("state"));
    const std::size_t header = emltext::resumeHeader(options()).size();
    // Of the options at the beginning a few places do.
    for (std::size_t length = 0; length <= whole.size(); length += length < header - 8 ? 7 : 1) {
        file("state", whole.substr(0, length));
        ResumeState state;
        ASSERT_FALSE(state.open(path("state"), options())) << length;
        const auto complete = length < header
                                  ? 0
                                  : std::count(whole.begin() + static_cast<long>(header),
                                               whole.begin() + static_cast<long>(length), '\n');
        EXPECT_EQ(state.outputSize(), static_cast<uint64_t>(complete) * 10) << length;
        EXPECT_EQ(state.takeFinished(job("a")).has_value(), complete > 0) << length;
        EXPECT_EQ(state.takeFinished(job("b")).has_value(), complete > 1) << length;
        EXPECT_TRUE(state.append(job("c"), 0, 5));
        EXPECT_TRUE(contentOf(path("state")).ends_with("\ndone\t0\t5\t0\t\tc\n")) << length;
    }
}

TEST_F(StateFile, ThatIsDamagedIsRefused) {
    {
        ResumeState state;
        ASSERT_FALSE(state.open(path("state"), options()));
    }
    const std::string header = contentOf(path("state"));
    for (const char *line :
         {"done\n", "done\t0\t1\t0\ta\n", "done\tx\t1\t0\ta\tb\n", "gone\t0\t1\t0\ta\tb\n",
          "done\t0\t1\t0\ta\tb%\n", "done\t0\t1\t0\ta\tb%G0\n", "\n"}) {
        file("state", header + line);
        ResumeState state;
        const auto problem = state.open(path("state"), options());
        ASSERT_TRUE(problem) << line;
        EXPECT_THAT(problem->sentence, HasSubstr("is damaged"));
        EXPECT_EQ(problem->exitStatus, 2);
    }
}

TEST_F(StateFile, MayBeLong) {
    {
        ResumeState state;
        ASSERT_FALSE(state.open(path("state"), options()));
        for (int i = 0; i < 50000; ++i) {
            state.append(job("/home/somebody/mail/" + std::to_string(i)), 0, 1);
        }
    }
    ResumeState state;
    ASSERT_FALSE(state.open(path("state"), options()));
    for (int i = 0; i < 50000; ++i) {
        ASSERT_EQ(state.takeFinished(job("/home/somebody/mail/" + std::to_string(i))), 0);
    }
}

} // namespace
