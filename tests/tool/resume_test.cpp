// SPDX-License-Identifier: MIT
// Runs that are killed and gone on with: together they do what one undisturbed run does.
#include <algorithm>
#include <chrono>
#include <filesystem>
#include <random>
#include <string>
#include <thread>
#include <vector>

#include <gmock/gmock.h>
#include <nlohmann/json.hpp>

#include "process.h"

namespace {

namespace fs = std::filesystem;
using namespace std::chrono_literals;
using namespace tool_test;
using nlohmann::json;
using ::testing::HasSubstr;
using ::testing::Not;

constexpr int kMessages = 300;
constexpr int kKills = 20;
constexpr unsigned kSeed = 20261121;

// Without what differs between two runs by nature.
std::string withoutTimes(const std::string &jsonLines) {
    std::string result;
    for (std::size_t start = 0; start < jsonLines.size();) {
        const std::size_t end = jsonLines.find('\n', start);
        json line = json::parse(jsonLines.substr(start, end - start));
        line.erase("milliseconds");
        result += line.dump() + "\n";
        start = end + 1;
    }
    return result;
}

class Resume : public Tool {
protected:
    Resume() { filters_ = HOSTILE_FILTERS; }

    // Files, an mbox and names that want numbers; every 50th message crashes.
    void makeMail() const {
        std::string box;
        for (int i = 0; i < kMessages; ++i) {
            const std::string text = "sleep 2\nmessage " + std::to_string(i) + "\n" +
                                     std::string(static_cast<std::size_t>(i) * 7, 'x') +
                                     (i % 50 == 7 ? "\ncrash\n" : "\n");
            const std::string number = std::to_string(i / 2);
            if (i % 5 == 4) {
                box += "From a\n" + text + "\n";
            } else {
                file("mail/" + std::to_string(i / 2 % 3) + "/" + number +
                         (i % 2 == 0 ? ".eml" : ".EML"),
                     text);
            }
        }
        file("box", box);
    }

    std::vector<std::string> arguments(const std::vector<std::string> &output) const {
        std::vector<std::string> all = {"-j",         "3",         "--no-sandbox",
                                        path("mail"), path("box"), path("mail/0")};
        all.insert(all.end(), output.begin(), output.end());
        return all;
    }

    // Kills the run again and again: every fourth time while it starts, else after it has written
    // down up to a dozen messages more and a moment has passed.
    void killOften(const std::vector<std::string> &run) {
        std::mt19937 random(kSeed);
        for (int kills = 0; kills < kKills; ++kills) {
            const pid_t process = start(run);
            if (kills % 4 != 0) {
                waitForLines(static_cast<long>(random() % 12));
            }
            std::this_thread::sleep_for(std::chrono::microseconds(random() % 20000));
            kill9(process);
        }
    }

    // Until the state file has more lines than now, or for ten seconds.
    void waitForLines(long more) const {
        const auto lines = [this] {
            const std::string state = contentOf(path("state"));
            return std::count(state.begin(), state.end(), '\n');
        };
        const auto wanted = lines() + more;
        for (int tries = 0; tries < 5000 && lines() < wanted; ++tries) {
            std::this_thread::sleep_for(2ms);
        }
    }
};

TEST_F(Resume, OfATreeEndsAsIfNothingHadHappened) {
    makeMail();
    const Finished undisturbed = run(arguments({"-o", path("expected")}));
    const auto resumed = arguments({"-o", path("out"), "--resume", path("state")});
    killOften(resumed);
    const Finished last = run(resumed);
    EXPECT_EQ(last.status, undisturbed.status);
    EXPECT_EQ(undisturbed.status, 1);
    EXPECT_TRUE(treeOf(path("out")) == treeOf(path("expected")));
    EXPECT_THAT(last.err, HasSubstr(" were finished before"));
}

TEST_F(Resume, OfJsonLinesEndsAsIfNothingHadHappened) {
    makeMail();
    const Finished undisturbed = run(arguments({"--jsonl", "-o", path("expected")}));
    const auto resumed = arguments({"--jsonl", "-o", path("out"), "--resume", path("state")});
    killOften(resumed);
    const Finished last = run(resumed);
    EXPECT_EQ(last.status, undisturbed.status);
    EXPECT_TRUE(withoutTimes(contentOf(path("out"))) == withoutTimes(contentOf(path("expected"))));
    EXPECT_THAT(last.err, HasSubstr(" were finished before"));
}

TEST_F(Resume, OfAFinishedRunDoesNothing) {
    const std::vector<std::string> arguments = {"-o",       path("out/"),         "--resume",
                                                path("st"), file("a.eml", "a\n"), path("none")};
    EXPECT_EQ(run(arguments).status, 1);
    file("out/a.txt", "changed since");
    const Finished again = run(arguments);
    EXPECT_EQ(contentOf(path("out/a.txt")), "changed since");
    EXPECT_THAT(again.err, HasSubstr("0 messages, 0 failed"));
    EXPECT_THAT(again.err, HasSubstr("2 were finished before, 1 of them failed"));
    EXPECT_EQ(again.status, 1);
}

TEST_F(Resume, ExtractsOnlyWhatIsNew) {
    const std::vector<std::string> arguments = {"--jsonl",  "-o",          path("out"),
                                                "--resume", path("state"), path("mail")};
    file("mail/b.eml", "b\n");
    EXPECT_EQ(run(arguments).status, 0);
    const std::string before = contentOf(path("out"));
    file("mail/a.eml", "a\n");
    EXPECT_EQ(run(arguments).status, 0);
    const std::string after = contentOf(path("out"));
    ASSERT_TRUE(after.starts_with(before));
    EXPECT_EQ(json::parse(after.substr(before.size()))["text"], "a\n");
}

TEST_F(Resume, DoesAMessageThatIsAskedForTwiceTwice) {
    const std::string message = file("a.eml", "a\n");
    const std::vector<std::string> arguments = {"--jsonl",  "-o",    path("out"), "--resume",
                                                path("st"), message, message};
    EXPECT_EQ(run(arguments).status, 0);
    EXPECT_EQ(run(arguments).status, 0);
    const std::string out = contentOf(path("out"));
    EXPECT_EQ(std::count(out.begin(), out.end(), '\n'), 2);
}

TEST_F(Resume, CutsOffWhatWasNotWrittenDown) {
    const std::vector<std::string> arguments = {
        "--jsonl",           "-o", path("out"), "--resume", path("state"), file("a.eml", "a\n"),
        file("b.eml", "b\n")};
    run(arguments);
    const std::string whole = contentOf(path("out"));
    const std::string state = contentOf(path("state"));
    // Killed after the second object was written and its line in the state only in part.
    file("state", state.substr(0, state.size() - 5));
    file("out", whole.substr(0, whole.size()) + "{\"half\":");
    EXPECT_EQ(run(arguments).status, 0);
    EXPECT_EQ(withoutTimes(contentOf(path("out"))), withoutTimes(whole));
}

TEST_F(Resume, RefusesTheStateOfOtherOptions) {
    const std::string message = file("a.eml", "a\n");
    EXPECT_EQ(run({"-o", path("out/"), "--resume", path("state"), message}).status, 0);
    const std::string state = contentOf(path("state"));
    const Finished result =
        run({"-o", path("out/"), "--resume", path("state"), "--charset", "EUC-JP", message});
    EXPECT_THAT(result.err, HasSubstr("charset is \"UTF-8\" there and \"EUC-JP\" here"));
    EXPECT_EQ(result.status, 2);
    EXPECT_EQ(contentOf(path("state")), state);
}

TEST_F(Resume, RefusesTheStateOfAnotherOutput) {
    const std::string message = file("a.eml", "a\n");
    EXPECT_EQ(run({"-o", path("out/"), "--resume", path("state"), message}).status, 0);
    const Finished result = run({"-o", path("other/"), "--resume", path("state"), message});
    EXPECT_THAT(result.err, HasSubstr("output is \"" + path("out")));
    EXPECT_EQ(result.status, 2);
    EXPECT_FALSE(fs::exists(path("other")));
}

TEST_F(Resume, RefusesAFileThatIsNoState) {
    const Finished result =
        run({"-o", path("out/"), "--resume", file("state", "my diary\n"), file("a.eml", "a\n")});
    EXPECT_THAT(result.err, HasSubstr("is no state file"));
    EXPECT_EQ(result.status, 2);
    EXPECT_EQ(contentOf(path("state")), "my diary\n");
}

TEST_F(Resume, RefusesAnOutputThatIsShorterThanTheStateSays) {
    const std::vector<std::string> arguments = {"--jsonl",  "-o",          path("out"),
                                                "--resume", path("state"), file("a.eml", "a\n")};
    EXPECT_EQ(run(arguments).status, 0);
    file("out", "{}");
    const Finished result = run(arguments);
    EXPECT_THAT(result.err, HasSubstr("it is too short; remove both to begin anew"));
    EXPECT_EQ(result.status, 2);
}

TEST_F(Resume, TellsWhyTheStateCannotBeWritten) {
    const Finished result =
        run({"-o", path("out/"), "--resume", "/nonexistent/state", file("a.eml", "a\n")});
    EXPECT_THAT(result.err, HasSubstr("/nonexistent/state cannot be used to resume from: No such "
                                      "file or directory"));
    EXPECT_EQ(result.status, 1);
}

TEST_F(Resume, LetsNoSecondRunUseTheState) {
    const std::vector<std::string> arguments = {"-q",       "-o",          path("out/"),
                                                "--resume", path("state"), file("a.eml", "hang\n")};
    const pid_t first = start(arguments);
    ASSERT_TRUE(waitForContent(path("state")));
    const Finished second = run(arguments);
    kill9(first);
    EXPECT_THAT(second.err, HasSubstr("state is being used by another emltext"));
    EXPECT_EQ(second.status, 1);
}

} // namespace
