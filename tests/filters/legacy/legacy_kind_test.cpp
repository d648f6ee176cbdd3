// SPDX-License-Identifier: MIT
// Telling what an OLE file holds, also when it is made to mislead.
#include "legacy_kind.h"

#include <gmock/gmock.h>

#include <chrono>
#include <fstream>
#include <random>

#include "filter_fixture.h"
#include "legacy_documents.h"
#include "ole_writer.h"

namespace qob::tests {
namespace {

using filters::LegacyKind;
using filters::legacyKind;
using filters::OleFile;

class Ole : public FilterTest {
protected:
    void write(std::string_view bytes) {
        std::ofstream(inputPath(), std::ios::binary)
            .write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
    }

    LegacyKind kindOf(std::string_view bytes) {
        write(bytes);
        OleFile file(inputPath().c_str());
        return file.open() ? legacyKind(file) : LegacyKind::kNone;
    }
};

TEST_F(Ole, DocumentsAreToldByTheirStreams) {
    EXPECT_EQ(kindOf(wordDocument("text\r")), LegacyKind::kWord);
    EXPECT_EQ(kindOf(excelDocument({"a"})), LegacyKind::kExcel);
    EXPECT_EQ(kindOf(powerPointDocument({"a"})), LegacyKind::kPowerPoint);
    EXPECT_EQ(kindOf(oleFile({{"Book", std::string(5000, '\0')}})), LegacyKind::kExcel);
    EXPECT_EQ(kindOf(oleFile({{"__properties_version1.0", "x"}})), LegacyKind::kNone);
    EXPECT_EQ(kindOf(oleFile({})), LegacyKind::kNone);
}

TEST_F(Ole, EncryptedDocumentsAreToldByTheirHeaders) {
    EXPECT_EQ(kindOf(wordDocument("text\r", true)), LegacyKind::kEncrypted);
    EXPECT_EQ(kindOf(excelDocument({"a"}, true)), LegacyKind::kEncrypted);
    EXPECT_EQ(kindOf(powerPointDocument({"a"}, true)), LegacyKind::kEncrypted);
    EXPECT_EQ(kindOf(oleFile({{"EncryptedPackage", "x"}, {"EncryptionInfo", "y"}})),
              LegacyKind::kEncrypted);
}

TEST_F(Ole, StreamsBeginWhereTheDirectorySays) {
    std::string large(10000, 'x');
    large.replace(5000, 3, "abc");
    std::string small(1000, 'y');
    small.replace(130, 3, "def");
    write(oleFile({{"one", "first"}, {"two", large}, {"three", small}}));
    OleFile file(inputPath().c_str());
    ASSERT_TRUE(file.open());
    ASSERT_EQ(file.entries().size(), 3U);
    EXPECT_EQ(file.beginning(*file.find("one"), 100), "first");
    EXPECT_EQ(file.beginning(*file.find("two"), 20000), large);
    EXPECT_EQ(file.beginning(*file.find("two"), 5002).substr(5000), "ab");
    EXPECT_EQ(file.beginning(*file.find("three"), 1000), small);
    EXPECT_EQ(file.find("four"), nullptr);
}

TEST_F(Ole, OtherFilesAreNone) {
    for (const std::string &bytes :
         {std::string(), std::string("text"), oleFile({}).substr(0, 511),
          std::string("\xD0\xCF\x11\xE0\xA1\xB1\x1A\xE1", 8) + std::string(2000, '\0'),
          std::string("\xD0\xCF\x11\xE0\xA1\xB1\x1A\xE1", 8) + std::string(2000, '\xFF')}) {
        write(bytes);
        EXPECT_FALSE(OleFile(inputPath().c_str()).open());
    }
    EXPECT_FALSE(OleFile("/nonexistent").open());
}

TEST_F(Ole, CirclesInTheDirectoryAreWalkedOnce) {
    std::string bytes = wordDocument("text\r");
    // The second entry of the directory, its right neighbour: itself.
    const std::size_t entry = bytes.find(wide("WordDocument"));
    bytes.replace(entry + 72, 4, little32(1));
    EXPECT_EQ(kindOf(bytes), LegacyKind::kWord);
}

TEST_F(Ole, CirclesInTheSectorTableEnd) {
    // 64 MiB in which every chain leads around.
    std::string bytes = oleFile({{"WordDocument", "x"}});
    std::string table;
    for (uint32_t i = 0; i < 128; ++i) {
        table += little32((i + 1) % 128);
    }
    bytes.replace(512, 512, table);
    bytes.replace(0x44, 4, little32(0));
    bytes.resize(std::size_t{64} << 20, '\0');
    bytes.replace(bytes.find(wide("WordDocument")) + 116, 8, little32(0x7FFFFF) + little32(0xFFF));
    const auto start = std::chrono::steady_clock::now();
    EXPECT_EQ(kindOf(bytes), LegacyKind::kWord);
    EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(20));
}

TEST_F(Ole, EveryTruncationEnds) {
    const std::string whole = powerPointDocument({"a"});
    for (std::size_t length = 0; length < whole.size(); length += 37) {
        const LegacyKind kind = kindOf(whole.substr(0, length));
        EXPECT_TRUE(kind == LegacyKind::kNone || kind == LegacyKind::kPowerPoint) << length;
    }
}

TEST_F(Ole, FlippedBytesDoNoHarm) {
    std::mt19937 random(20261121);
    const std::string whole = powerPointDocument({"a"}, true);
    int damaged = 0;
    for (int round = 0; round < 500; ++round) {
        std::string bytes = whole;
        for (int flips = 0; flips < 8; ++flips) {
            bytes[random() % 2560] = static_cast<char>(random());
        }
        damaged += kindOf(bytes) == LegacyKind::kEncrypted ? 0 : 1;
    }
    EXPECT_GT(damaged, 0);
}

} // namespace
} // namespace qob::tests
