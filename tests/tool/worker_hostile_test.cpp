// SPDX-License-Identifier: MIT
// Messages that break their worker cost themselves and nothing else.
#include <cerrno>
#include <csignal>
#include <fstream>
#include <ostream>

#include <gmock/gmock.h>

#include "qob_extract.h"
#include "worker_support.h"

namespace {

using namespace tool_test;
using emltext::Finished;
using emltext::WorkerPool;
using ::testing::HasSubstr;
using ::testing::SizeIs;

// The number behind "child=".
int childIn(const std::string &text) {
    return std::stoi(text.substr(text.find('=') + 1));
}

struct Fate {
    const char *name;
    const char *message;
    int32_t code;
    const char *reason;
    bool unlessSanitized; // a sanitizer changes the way it dies
};

void PrintTo(const Fate &fate, std::ostream *out) {
    *out << fate.name;
}

class BrokenWorkers : public Workers, public ::testing::WithParamInterface<Fate> {};

TEST_P(BrokenWorkers, CostOnlyTheirMessage) {
    const Fate &fate = GetParam();
    options_.timeoutSeconds = 1;
    options_.memoryBytes = uint64_t{256} << 20U;
    if (kSanitized && fate.unlessSanitized) {
        GTEST_SKIP() << "a sanitizer ends the process its own way";
    }
    const auto all = runMessages({"before\n", std::string("text\n") + fate.message, "after\n"});
    EXPECT_EQ(textOf(all[0]), "before\n");
    EXPECT_EQ(textOf(all[2]), "after\n");
    EXPECT_EQ(all[0].outcome.code, EML_OK);
    EXPECT_EQ(all[2].outcome.code, EML_OK);
    EXPECT_EQ(all[1].outcome.code, fate.code);
    ASSERT_THAT(all[1].outcome.notes, SizeIs(1));
    EXPECT_EQ(all[1].outcome.notes[0].code, fate.code);
    EXPECT_EQ(all[1].outcome.notes[0].attachment, 0U);
    EXPECT_EQ(reasonOf(all[1]), fate.reason);
    const bool lost = fate.code >= emltext::kWorkerCrashed;
    EXPECT_EQ(textOf(all[1]), lost ? "(none)" : "text\n");
}

INSTANTIATE_TEST_SUITE_P(
    All, BrokenWorkers,
    ::testing::Values(
        Fate{"ThatCrash", "crash\n", emltext::kWorkerCrashed,
             "it was ended by signal 11 (Segmentation fault)", true},
        Fate{"ThatAbort", "abort\n", emltext::kWorkerCrashed, "it was ended by signal 6 (Aborted)",
             true},
        Fate{"ThatEndAsIfAllWereWell", "exit 0\n", emltext::kWorkerCrashed, "it ended by itself",
             false},
        Fate{"ThatEnd", "exit 3\n", emltext::kWorkerCrashed, "it ended by itself", false},
        Fate{"ThatTalkNonsense", "garble\nhang\n", emltext::kWorkerCrashed,
             "it was ended by signal 9 (Killed)", false},
        Fate{"ThatCloseTheirSocket", "hang-up\n", emltext::kWorkerCrashed,
             "it was ended by signal 9 (Killed)", false},
        Fate{"ThatHang", "hang\n", emltext::kWorkerTimeout, "it took longer than 1 seconds", false},
        Fate{"ThatAskForTooMuchMemory", "exhaust\n", EML_ERR_MEMORY, "there is not enough memory",
             true},
        Fate{"ThatDoNotLookWhatTheyGot", "exhaust-unchecked\n", emltext::kWorkerMemory,
             "it needed more than 268435456 bytes of memory", true}));

TEST_F(Workers, CrashUnderASanitizerToo) {
    const auto all = runMessages({"crash\n", "text\n"});
    EXPECT_EQ(all[0].outcome.code, emltext::kWorkerCrashed);
    EXPECT_EQ(textOf(all[1]), "text\n");
}

TEST_F(Workers, KeepTheNotesFromBeforeACrash) {
    const auto all = runMessages({"note 4005\nexit 1\n"});
    ASSERT_THAT(all[0].outcome.notes, SizeIs(2));
    EXPECT_EQ(all[0].outcome.notes[0].code, QOB_ERR_ENCRYPTED);
    EXPECT_EQ(all[0].outcome.notes[1].code, emltext::kWorkerCrashed);
}

TEST_F(Workers, AreReplacedAfterACrash) {
    options_.jobs = 1;
    const auto all = runMessages({"pid\n", "exit 1\n", "pid\n", "pid\n"});
    EXPECT_NE(textOf(all[0]), textOf(all[2]));
    EXPECT_EQ(textOf(all[2]), textOf(all[3]));
}

TEST_F(Workers, WithMemoryToSpareAreNotBlamed) {
    options_.memoryBytes = 0;
    const auto all = runMessages({"exit 1\n"});
    EXPECT_EQ(all[0].outcome.code, emltext::kWorkerCrashed);
}

TEST_F(Workers, MayTakeTheTimeTheyHave) {
    options_.timeoutSeconds = 2;
    const auto all = runMessages({"sleep 1500\ntext\n"});
    EXPECT_EQ(textOf(all[0]), "text\n");
    EXPECT_GE(all[0].outcome.milliseconds, 1500U);
}

TEST_F(Workers, WithAChildThatStaysAreReplacedAndTheChildEnded) {
    for (const char *message : {"stay\npid\n", "stay-apart\npid\n"}) {
        options_.jobs = 1;
        WorkerPool pool(options_);
        const auto first = runAll(pool, {this->message(message)});
        EXPECT_EQ(first[0].outcome.code, EML_OK);
        const std::string text = textOf(first[0]);
        EXPECT_FALSE(isAlive(childIn(text))) << message;
        const auto second = runAll(pool, {this->message("pid\n")});
        EXPECT_NE(textOf(second[0]), text.substr(text.find('\n') + 1));
    }
}

TEST_F(Workers, ThatCrashTakeTheirChildrenWithThem) {
    for (const char *message :
         {"stay\nflood 100000\nexit 1\n", "stay-apart\nflood 100000\nexit 1\n",
          "stay-apart\nflood 100000\nhang\n"}) {
        options_.jobs = 1;
        options_.timeoutSeconds = 1;
        WorkerPool pool(options_);
        pool.submit(this->message(message), path("text"));
        std::string text;
        EXPECT_TRUE(soon([&] {
            std::ifstream(path("text")) >> text;
            return !text.empty() || pool.running() == 0;
        }));
        ASSERT_THAT(text, HasSubstr("child=")) << message;
        EXPECT_TRUE(isAlive(childIn(text)) || text.empty());
        while (pool.running() > 0) {
            static_cast<void>(pool.wait(std::chrono::seconds(1)));
        }
        EXPECT_FALSE(isAlive(childIn(text))) << message;
    }
}

TEST_F(Workers, WithAThreadLeftAreReplaced) {
    options_.jobs = 1;
    const auto all = runMessages({"pid\n", "pid\nthread\n", "pid\n"});
    EXPECT_EQ(textOf(all[0]), textOf(all[1]));
    EXPECT_NE(textOf(all[1]), textOf(all[2]));
}

TEST_F(Workers, ThatSpeakWithoutBeingAskedAreReplaced) {
    options_.jobs = 1;
    WorkerPool pool(options_);
    const auto first = runAll(pool, {message("pid\nspeak-later\n")});
    std::this_thread::sleep_for(std::chrono::milliseconds(200));
    const auto second = runAll(pool, {message("pid\n")});
    EXPECT_EQ(second[0].outcome.code, EML_OK);
    EXPECT_NE(textOf(first[0]), textOf(second[0]));
}

TEST_F(Workers, ManyAtOnceEachCostOnlyTheirMessage) {
    options_.timeoutSeconds = 1;
    std::vector<std::string> contents;
    for (int i = 0; i < 200; ++i) {
        contents.push_back("text " + std::to_string(i) + "\n");
    }
    contents[20] += "exit 1\n";
    contents[21] += "hang\n";
    contents[90] += "abort\n";
    contents[150] += "stay\n";
    contents[199] += "crash\n";
    const auto all = runMessages(contents);
    ASSERT_THAT(all, SizeIs(200));
    for (std::size_t i = 0; i < all.size(); ++i) {
        const bool broken = i == 20 || i == 21 || i == 90 || i == 199;
        EXPECT_EQ(all[i].outcome.code != EML_OK, broken) << i;
        EXPECT_EQ(textOf(all[i]).substr(0, contents[i].find('\n')),
                  broken ? "(none)" : "text " + std::to_string(i));
    }
}

} // namespace
