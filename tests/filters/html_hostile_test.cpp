// SPDX-License-Identifier: MIT
// Pages made to overflow a stack, exhaust the memory or take forever. Each must end, with what can
// be read; the test's time limit stands for "takes forever", because the parser alone needs hours
// for most of them.
#include <string>

#include "filter_fixture.h"

namespace qob::tests {
namespace {

constexpr std::size_t kMany = 100000;

class HtmlHostile : public FilterTest {
protected:
    void expectText(const std::string &page, const std::string &text) {
        const Outcome outcome = run(HTML_FILTER, page);
        EXPECT_EQ(outcome.code, EML_OK);
        EXPECT_EQ(outcome.text == text, true)
            << outcome.text.size() << " bytes: " << outcome.text.substr(0, 200);
    }
};

TEST_F(HtmlHostile, DeepNestingIsRead) {
    expectText(repeated("<div>", kMany) + "x" + repeated("</div>", kMany) + "y", "x\ny\n");
    expectText(repeated("<table><tr><td>", kMany) + "x", "x\n");
    expectText(repeated("<ul><li>", kMany) + "x", "x\n");
}

TEST_F(HtmlHostile, DeepNestingKeepsTheOrderOfText) {
    std::string page;
    std::string text;
    for (int i = 0; i < 2000; ++i) {
        page += "<div>" + std::to_string(i);
        text += std::to_string(i) + "\n";
    }
    expectText(page, text);
}

TEST_F(HtmlHostile, PreformattedTextEndsBelowDeepNesting) {
    expectText("<pre>" + repeated("<div>", 1000) + "a  b</pre>", "a b\n");
    expectText(repeated("<div>", 1000) + "<pre>a  b\n c</pre>d  e", "a  b\n c\nd e\n");
}

TEST_F(HtmlHostile, EndTagsThatMatchNothingDeepDownAreCheap) {
    expectText(repeated("<div>", kMany) + repeated("</li>", kMany) + "x", "x\n");
}

TEST_F(HtmlHostile, PageLongerThanTheParserKeepsIsRead) {
    std::string page;
    std::string text;
    for (int i = 0; i < 100000; ++i) {
        page += "<div><p>line " + std::to_string(i) + " &amp; more</p></div>\n";
        text += "line " + std::to_string(i) + " & more\n";
    }
    expectText(page, text);
}

TEST_F(HtmlHostile, AttributesWithoutNumberAreSkipped) {
    std::string page = "<img";
    for (std::size_t i = 0; i < kMany; ++i) {
        page += " a" + std::to_string(i);
    }
    expectText(page + " alt=ok>", "ok\n");
}

TEST_F(HtmlHostile, LongAttributeIsSkipped) {
    expectText("<img src=\"data:" + repeated("x", 5000000) + "\" alt=ok>y", "ok y\n");
}

TEST_F(HtmlHostile, QuotesInPiecesDoNotStallTheParser) {
    expectText(repeated("<img alt=\"b\">a", kMany), "b " + repeated("a b ", kMany - 1) + "a\n");
}

TEST_F(HtmlHostile, AmpersandsAreText) {
    expectText(repeated("&", kMany) + ";", repeated("&", kMany) + ";\n");
}

TEST_F(HtmlHostile, EntityFloodIsRead) {
    expectText(repeated("&amp;", kMany), repeated("&", kMany) + "\n");
    expectText("&" + repeated("a", kMany) + ";", "&" + repeated("a", kMany) + ";\n");
    expectText("&#" + repeated("9", 30) + ";x", "\uFFFDx\n");
}

TEST_F(HtmlHostile, EntityDeclarationsAreNotRead) {
    expectText("<!DOCTYPE html [<!ENTITY a SYSTEM \"file:///etc/hostname\">]>&a;", "]>&a;\n");
}

TEST_F(HtmlHostile, HugeTextIsRead) {
    expectText(repeated("x", 5000000), repeated("x", 5000000) + "\n");
    expectText(repeated("漢", kMany), repeated("漢", kMany) + "\n");
    expectText(repeated("word ", kMany) + "end", repeated("word ", kMany) + "end\n");
}

TEST_F(HtmlHostile, ZeroBytesAreLeftOut) {
    expectText(std::string("a\0b<p\0>c", 8) + std::string(kMany, '\0') + "d", "abcd\n");
}

TEST_F(HtmlHostile, UnclosedConstructsEnd) {
    expectText("a" + repeated("<!-- ", kMany), "a\n");
    expectText("a<script>" + repeated("</scrip", kMany), "a\n");
    expectText("a" + repeated("<a ", kMany), "a\n");
    expectText("a" + repeated("<meta content=\"", kMany), "a\n");
    expectText(repeated("<", kMany), repeated("<", kMany) + "\n");
    expectText("a" + repeated("<a x=\">", kMany) + repeated("<a y='>", kMany), "a\n");
}

} // namespace
} // namespace qob::tests
