// SPDX-License-Identifier: MIT
// The zip file around a document: names, order, damage, passwords, and files that it brings along.
#include <gmock/gmock.h>

#include <algorithm>

#include "documents.h"
#include "filter_fixture.h"

namespace qob::tests {
namespace {

constexpr char kDamaged[] = "the office document is damaged and gave no text";
constexpr char kEncrypted[] = "the office document is encrypted and needs a password";

class OfficePackage : public FilterTest {
protected:
    void expectRefused(const std::string &document, int32_t code, const std::string &reason) {
        expectRefusal(run(OFFICE_FILTER, document), code, reason);
        expectRefusal(runStream(OFFICE_FILTER, document), code, reason);
    }

private:
    void expectRefusal(const Outcome &outcome, int32_t code, const std::string &reason) {
        EXPECT_EQ(outcome.code, code);
        EXPECT_EQ(outcome.text, "");
        EXPECT_FALSE(outcome.outputExists);
        EXPECT_THAT(outcome.notices,
                    testing::ElementsAre(testing::FieldsAre(inputPath(), code, reason)));
    }
};

TEST_F(OfficePackage, MembersMayStandInAnyOrder) {
    MemberList members = docxMembers(paragraph("a"));
    std::reverse(members.begin(), members.end());
    EXPECT_EQ(textOf(OFFICE_FILTER, zipOf(members)), "a\n");
}

TEST_F(OfficePackage, MembersMayBeStored) {
    EXPECT_EQ(textOf(OFFICE_FILTER, zipOf(docxMembers(paragraph("a")), "compression=store")),
              "a\n");
}

TEST_F(OfficePackage, NamesAreComparedWithoutRegardToCase) {
    MemberList members = docxMembers(paragraph("a"));
    members[2].first = "Word\\Document.XML";
    EXPECT_EQ(textOf(OFFICE_FILTER, zipOf(members)), "a\n");
}

TEST_F(OfficePackage, OfMembersWithOneNameTheFirstCounts) {
    MemberList members = docxMembers(paragraph("a"));
    members.push_back(docxMembers(paragraph("b"))[2]);
    EXPECT_EQ(textOf(OFFICE_FILTER, zipOf(members)), "a\n");
}

TEST_F(OfficePackage, WhatIsNoOfficeDocumentIsReportedOnce) {
    expectRefused("", QOB_ERR_DAMAGED, kDamaged);
    expectRefused("PK\x03\x04", QOB_ERR_DAMAGED, kDamaged);
    expectRefused("no zip file", QOB_ERR_DAMAGED, kDamaged);
    expectRefused(zipOf({{"a.txt", "text"}}), QOB_ERR_DAMAGED, kDamaged);
    expectRefused(zipOf({}), QOB_ERR_DAMAGED, kDamaged);
}

TEST_F(OfficePackage, MissingMainPartIsReportedOnce) {
    MemberList members = docxMembers("");
    members.pop_back();
    expectRefused(zipOf(members), QOB_ERR_DAMAGED, kDamaged);
}

TEST_F(OfficePackage, BrokenXmlKeepsTheTextBeforeTheFaultAndIsReported) {
    MemberList members = docxMembers("");
    members[2].second = "<w:document><w:body>" + paragraph("a") + "<w:p><w:r><w:t>b</w:oops>";
    const Outcome outcome = run(OFFICE_FILTER, zipOf(members));
    EXPECT_EQ(outcome.code, EML_OK);
    EXPECT_EQ(outcome.text, "a\nb\n");
    ASSERT_EQ(outcome.notices.size(), 1U);
    EXPECT_EQ(outcome.notices[0].code, QOB_ERR_DAMAGED);
    EXPECT_EQ(outcome.notices[0].reason,
              "the office document is damaged, its text may not be complete");
}

TEST_F(OfficePackage, BrokenXmlWithoutTextIsReportedOnce) {
    MemberList members = docxMembers("");
    members[2].second = "<w:document><w:body></oops>";
    expectRefused(zipOf(members), QOB_ERR_DAMAGED, kDamaged);
}

TEST_F(OfficePackage, TruncatedFileKeepsTheTextBeforeItsEnd) {
    const std::string document = zipOf(
        docxMembers(paragraph("begin") + repeated(paragraph("middle"), 100)), "compression=store");
    const std::string text =
        textOf(OFFICE_FILTER, document.substr(0, document.find("middle") + 400));
    EXPECT_TRUE(text.starts_with("begin\nmiddle\n")) << text;
}

// Base64 padding that was taken for data.
TEST_F(OfficePackage, StrayBytesBehindTheFileAreNoDamage) {
    const std::string document = zipOf(docxMembers(paragraph("a")));
    for (const char *stray : {"@", "\x10@", "\r\n"}) {
        const Outcome outcome = run(OFFICE_FILTER, document + stray);
        EXPECT_EQ(outcome.text, "a\n");
        EXPECT_TRUE(outcome.notices.empty());
    }
}

TEST_F(OfficePackage, LostDirectoryIsNoLoss) {
    const std::string document = zipOf(docxMembers(paragraph("a")));
    EXPECT_EQ(textOf(OFFICE_FILTER, document.substr(0, document.rfind("PK\x01\x02"))), "a\n");
}

TEST_F(OfficePackage, MembersWithPasswordsAreReportedOnce) {
    expectRefused(encryptedZipOf(docxMembers(paragraph("a"))), QOB_ERR_ENCRYPTED, kEncrypted);
}

TEST_F(OfficePackage, EncryptedPackageIsReportedOnce) {
    const std::string name = encoded("UTF-16LE", "EncryptedPackage");
    const std::string compound = "\xD0\xCF\x11\xE0\xA1\xB1\x1A\xE1" + std::string(70000 - 8, '\0');
    expectRefused(compound + name, QOB_ERR_ENCRYPTED, kEncrypted);
    expectRefused(compound.substr(0, 65536 - 10) + name, QOB_ERR_ENCRYPTED, kEncrypted);
    expectRefused(compound, QOB_ERR_DAMAGED, kDamaged);
}

TEST_F(OfficePackage, StreamThatTakesNothingMoreIsNoFailure) {
    const Outcome outcome = runStream(OFFICE_FILTER, docxOf(repeated(paragraph("text"), 10000)), 0);
    EXPECT_EQ(outcome.code, EML_OK);
    EXPECT_EQ(outcome.text, "");
    EXPECT_TRUE(outcome.notices.empty());
}

TEST_F(OfficePackage, UnknownOutputCharsetIsRefused) {
    setCharset("no-such-charset");
    EXPECT_EQ(run(OFFICE_FILTER, docxOf(paragraph("a"))).code, QOB_ERR_CHARSET);
}

} // namespace
} // namespace qob::tests
