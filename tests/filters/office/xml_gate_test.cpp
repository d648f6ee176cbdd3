// SPDX-License-Identifier: MIT
// The gate before the XML parser: what passes, what closes it, wherever the pieces end.
#include "xml_gate.h"

#include <gtest/gtest.h>

#include <string>
#include <string_view>

#include "filter_fixture.h"

namespace qob::filters::office {
namespace {

using tests::repeated;

// What the gate lets through of a document that comes in pieces of this size.
std::string passed(std::string_view document, std::size_t pieceSize = 65536) {
    XmlGate gate;
    std::string text;
    while (!document.empty() && !gate.closed()) {
        std::string piece(document.substr(0, pieceSize));
        document.remove_prefix(piece.size());
        piece.resize(gate.pass(piece));
        text += piece;
    }
    return text;
}

bool closes(std::string_view document) {
    XmlGate gate;
    std::string text(document);
    gate.pass(text);
    return gate.closed();
}

std::string tagWith(std::size_t attributes) {
    return "<a " + repeated("b=\"1\" ", attributes) + ">";
}

TEST(XmlGate, PassesOrdinaryXml) {
    constexpr std::string_view kDocument =
        "<?xml version=\"1.0\"?><!DOCTYPE a SYSTEM \"[x]\"><!-- <a --><a b='>\"' c=\">\">t = 1"
        "<![CDATA[<a]]]></a>]]></a>";
    EXPECT_EQ(passed(kDocument), kDocument);
    EXPECT_EQ(passed(kDocument, 1), kDocument);
}

TEST(XmlGate, MakesForbiddenControlsBlanks) {
    EXPECT_EQ(passed(std::string_view("<a>\x01\t\n\r\0\x1F</a>", 13)), "<a> \t\n\r  </a>");
}

TEST(XmlGate, ClosesBeforeDeclarations) {
    constexpr std::string_view kDocument = "<!DOCTYPE a [<!ENTITY b \"c\">]><a>&b;</a>";
    EXPECT_EQ(passed(kDocument), "<!DOCTYPE a ");
    EXPECT_EQ(passed(kDocument, 1), "<!DOCTYPE a ");
}

TEST(XmlGate, AttributesAreBounded) {
    EXPECT_FALSE(closes(tagWith(XmlGate::kMaxAttributes)));
    EXPECT_TRUE(closes(tagWith(XmlGate::kMaxAttributes + 1)));
    EXPECT_FALSE(closes(repeated(tagWith(10), XmlGate::kMaxAttributes)));
}

TEST(XmlGate, QuotedTextDoesNotHideAttributes) {
    EXPECT_TRUE(closes("<a " + repeated("b=\">\" c='>' ", XmlGate::kMaxAttributes) + ">"));
}

TEST(XmlGate, WhatIsNoTagHasNoAttributes) {
    const std::string many = repeated("b=\"1\" ", XmlGate::kMaxAttributes + 1);
    EXPECT_FALSE(closes("<a>" + many + "</a>"));
    EXPECT_FALSE(closes("<!--<a " + many + "-->"));
    EXPECT_FALSE(closes("<![CDATA[<a " + many + "]]>"));
    EXPECT_FALSE(closes("<?a " + many + "?>"));
}

TEST(XmlGate, ACommentDoesNotEndInItsOwnBeginning) {
    EXPECT_FALSE(closes("<!-->" + tagWith(XmlGate::kMaxAttributes + 1)));
    EXPECT_TRUE(closes("<!----->" + tagWith(XmlGate::kMaxAttributes + 1)));
}

TEST(XmlGate, TagsAreBounded) {
    EXPECT_FALSE(closes("<a b=\"" + std::string(XmlGate::kMaxTag - 100, 'x') + "\">"));
    EXPECT_TRUE(closes("<a b=\"" + std::string(XmlGate::kMaxTag, 'x') + "\">"));
}

} // namespace
} // namespace qob::filters::office
