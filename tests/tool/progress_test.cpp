// SPDX-License-Identifier: MIT
// The progress bar, seen through a terminal of the test's own.
#include <algorithm>
#include <chrono>
#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <pty.h>
#include <unistd.h>

#include "process.h"

namespace {

using namespace tool_test;
using ::testing::HasSubstr;
using ::testing::Not;

class Terminal : public Tool {
protected:
    Terminal() { filters_ = HOSTILE_FILTERS; }

    // What the run writes to a terminal of so many columns.
    std::string shown(const std::vector<std::string> &arguments, unsigned short columns,
                      const std::string &input = {}) const {
        struct winsize size {};
        size.ws_col = columns;
        size.ws_row = 24;
        int screen = -1;
        int terminal = -1;
        if (openpty(&screen, &terminal, nullptr, nullptr, &size) != 0) {
            return "no terminal";
        }
        const pid_t process = start(arguments, {.input = input, .terminal = terminal});
        close(terminal);
        std::string text;
        char piece[4096];
        for (ssize_t count = 0; (count = read(screen, piece, sizeof piece)) > 0;) {
            text.append(piece, static_cast<std::size_t>(count));
        }
        close(screen);
        finish(process);
        return text;
    }

    void makeMail() const {
        for (int i = 0; i < 60; ++i) {
            file("mail/" + std::to_string(100 + i) + ".eml",
                 i == 30 ? "fail 3000\n" : "sleep 15\ntext\n");
        }
    }
};

// What stays on the screen: of each line what follows its last carriage return.
std::string remaining(const std::string &shown) {
    std::string result;
    for (std::size_t start = 0; start < shown.size();) {
        const std::size_t end = std::min(shown.find("\r\n", start), shown.size());
        const std::string line = shown.substr(start, end - start);
        result += line.substr(line.rfind('\r') + 1) + "\n";
        start = end + 2;
    }
    return result;
}

TEST_F(Terminal, ShowsABarWhileMessagesAreExtracted) {
    makeMail();
    const std::string text = shown({"-j", "1", "-o", path("out"), path("mail")}, 100);
    EXPECT_THAT(text, HasSubstr("/60 messages, "));
    EXPECT_THAT(text, HasSubstr(" MB/s, "));
    EXPECT_THAT(text, HasSubstr("[#"));
    EXPECT_THAT(text, HasSubstr(" left"));
}

TEST_F(Terminal, ShowsOnlyLinesThatStayInTheEnd) {
    makeMail();
    const std::string text = shown({"-j", "1", "-o", path("out"), path("mail")}, 100);
    const std::string stays = remaining(text);
    EXPECT_THAT(stays, HasSubstr("mail/130.eml: EML_ERR_MEMORY (3000)"));
    EXPECT_THAT(stays, HasSubstr("60 messages, 1 failed"));
    EXPECT_THAT(stays, Not(HasSubstr(" left")));
    EXPECT_THAT(stays, Not(HasSubstr("MB/s")));
}

TEST_F(Terminal, ShowsNothingWiderThanItself) {
    makeMail();
    const std::string text = shown({"-q", "-j", "1", "-o", path("out"), path("mail")}, 40);
    const auto begin = std::chrono::steady_clock::now();
    const std::string bars = shown({"-j", "1", "-o", path("again"), path("mail")}, 30);
    EXPECT_THAT(text, Not(HasSubstr("MB/s")));
    std::size_t start = 0;
    std::size_t updates = 0;
    while ((start = bars.find('\r', start)) != std::string::npos) {
        const std::size_t end = bars.find("\x1B[K", ++start);
        if (end != std::string::npos && bars.find('\r', start) > end) {
            EXPECT_LT(end - start, 30U);
            updates += end > start ? 1 : 0; // not where the bar is only cleared away
        }
    }
    EXPECT_GE(updates, 3U);
    const auto tenths = (std::chrono::steady_clock::now() - begin) / std::chrono::milliseconds(100);
    EXPECT_LE(updates, static_cast<std::size_t>(tenths) + 1);
}

TEST_F(Terminal, ShowsNoBarForOneMessageAndWhenItIsToBeQuiet) {
    const std::string message = file("a.eml", "sleep 400\ntext\n");
    EXPECT_EQ(shown({"-o", path("out"), message}, 100), "");
    EXPECT_EQ(shown({"--quiet", "-o", path("out"), message, message}, 100), "");
}

TEST_F(Terminal, ShowsNoTotalWhenItIsUnknown) {
    makeMail();
    std::string list;
    for (int i = 0; i < 60; ++i) {
        list += path("mail/" + std::to_string(100 + i) + ".eml") + "\n";
    }
    const std::string text = shown({"-j", "1", "-o", path("out"), "--files-from", "-"}, 100, list);
    EXPECT_THAT(text, HasSubstr(" messages, "));
    EXPECT_THAT(text, Not(HasSubstr("[#")));
    EXPECT_THAT(text, Not(HasSubstr("/60")));
}

} // namespace
