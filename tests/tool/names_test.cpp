// SPDX-License-Identifier: MIT
// Names of output files.
#include <string>

#include <gtest/gtest.h>

#include "output/name_table.h"

namespace {

using emltext::NameTable;
using emltext::outputName;

TEST(OutputName, IsWithoutTheEndingOfAMessage) {
    EXPECT_EQ(outputName("a.eml"), "a");
    EXPECT_EQ(outputName("lists/a.EML"), "lists/a");
}

TEST(OutputName, KeepsEveryOtherEnding) {
    EXPECT_EQ(outputName("1234.host:2,S"), "1234.host:2,S");
    EXPECT_EQ(outputName("a.txt"), "a.txt");
    EXPECT_EQ(outputName("box/000001"), "box/000001");
}

TEST(OutputName, IsShortEnoughForAFileSystemWithWhatComesBehindIt) {
    EXPECT_EQ(outputName(std::string(240, 'a')), std::string(240, 'a'));
    EXPECT_EQ(outputName("x/" + std::string(255, 'a') + "/y"), "x/" + std::string(240, 'a') + "/y");
}

TEST(OutputName, IsNotCutInTheMiddleOfACharacter) {
    EXPECT_EQ(outputName(std::string(239, 'a') + "\xE2\x82\xAC\xE2\x82\xAC"),
              std::string(239, 'a'));
}

TEST(NameTable, GivesEachNameOnce) {
    NameTable names;
    EXPECT_EQ(names.claim("a"), "a");
    EXPECT_EQ(names.claim("b"), "b");
    EXPECT_EQ(names.claim("a"), "a.2");
    EXPECT_EQ(names.claim("a"), "a.3");
}

TEST(NameTable, DoesNotGiveANumberedNameThatAFileHas) {
    NameTable names;
    EXPECT_EQ(names.claim("a.2"), "a.2");
    EXPECT_EQ(names.claim("a"), "a");
    EXPECT_EQ(names.claim("a"), "a.3");
    EXPECT_EQ(names.claim("a.2"), "a.2.2");
}

TEST(NameTable, KeepsReservedNames) {
    NameTable names;
    names.reserve("a");
    names.reserve("a.3");
    EXPECT_EQ(names.claim("a"), "a.2");
    EXPECT_EQ(names.claim("a"), "a.4");
}

TEST(NameTable, IsQuickWithManyMessagesOfOneName) {
    NameTable names;
    std::string last;
    for (int i = 0; i < 200000; ++i) {
        last = names.claim("a");
    }
    EXPECT_EQ(last, "a.200000");
}

} // namespace
