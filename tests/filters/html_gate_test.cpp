// SPDX-License-Identifier: MIT
// What the gate lets through to the parser.
#include "html_gate.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <string>

#include "filter_fixture.h"

namespace qob::tests {
namespace {

using filters::HtmlGate;

// Feeds `step` bytes at a time.
std::string passed(std::string_view page, std::size_t step) {
    HtmlGate gate;
    std::string result;
    for (std::size_t at = 0; at < page.size(); at += step) {
        gate.feed(page.substr(at, step), result);
    }
    gate.finish(result);
    return result;
}

std::string passed(std::string_view page) {
    return passed(page, page.size() + 1);
}

constexpr std::string_view kPage =
    "<!DOCTYPE html><HTML><body class='a>b'><P\nid=1>a &amp b &lt;c&gt; &x; <b>d</b>"
    "<!-- c --><script>x</script ><img src=x alt=\"q'>\" /><a href=\"u>v</a>w<br/>\r\n1 < 2 &";

TEST(HtmlGate, PassesTextAndTheTagsThatShapeIt) {
    EXPECT_EQ(passed(kPage), "<p>a &amp; b &lt;c&gt; &amp;x; d<img alt=\"q'&gt;\">v"
                             "w<br>\n1 &lt; 2 &amp;");
}

TEST(HtmlGate, PassesTheSameHoweverThePageIsCut) {
    for (const std::size_t step : {1U, 2U, 3U, 7U}) {
        EXPECT_EQ(passed(kPage, step), passed(kPage)) << step;
    }
}

TEST(HtmlGate, DividesLongText) {
    const std::string text = passed(repeated("x", 3 * HtmlGate::kMaxTextRun));
    EXPECT_EQ(text.find("<!---->"), HtmlGate::kMaxTextRun);
    EXPECT_EQ(text.size(), 3 * HtmlGate::kMaxTextRun + 2 * std::string("<!---->").size());
}

TEST(HtmlGate, DividesBetweenCharacters) {
    std::string joined = passed(repeated("漢", HtmlGate::kMaxTextRun));
    EXPECT_NE(joined.find("<!---->"), std::string::npos);
    for (std::size_t at = joined.find('<'); at != std::string::npos; at = joined.find('<')) {
        EXPECT_EQ(at % 3, 0U);
        joined.erase(at, std::string("<!---->").size());
    }
    EXPECT_EQ(joined, repeated("漢", HtmlGate::kMaxTextRun));
}

TEST(HtmlGate, CutsAnAlternativeTextBetweenCharacters) {
    const std::string image = passed("<img alt='" + repeated("漢", 10000) + "'>");
    EXPECT_EQ(image, "<img alt=\"" + repeated("漢", HtmlGate::kMaxAlternative / 3) + "\">");
}

TEST(HtmlGate, WaitsForAClosingQuoteOnlySoLong) {
    const std::string text = repeated("y", HtmlGate::kMaxSwallowed + 10);
    HtmlGate gate;
    std::string result;
    gate.feed("<a href=\"x>" + text, result);
    EXPECT_EQ(std::count(result.begin(), result.end(), 'y'),
              static_cast<std::ptrdiff_t>(text.size()));
}

} // namespace
} // namespace qob::tests
