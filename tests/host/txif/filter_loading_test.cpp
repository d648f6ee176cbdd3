// SPDX-License-Identifier: MIT
// Filters are found, loaded once, and missed with a reason.
#include <array>
#include <cstdlib>
#include <string>

#include <gmock/gmock.h>

#include "filter_loader.h"
#include "support.h"

namespace {

using namespace txif_test;
using ::testing::ElementsAre;
using ::testing::EndsWith;
using ::testing::HasSubstr;
using ::testing::SizeIs;
using ::testing::StartsWith;

class FilterLoading : public ScriptedFilters {};

TEST_F(FilterLoading, OfALibraryThatIsNoFilterIsReportedWithTheReason) {
    const std::string pdf = file("a.pdf", "%PDF-1.4\n");
    const Outcome outcome = extract(pdf);
    EXPECT_EQ(outcome.code, QOB_ERR_FILTER_LOAD);
    ASSERT_THAT(outcome.notices, SizeIs(1));
    EXPECT_THAT(outcome.notices[0].reason, HasSubstr("GetTextStreamWithErrCallback"));
}

TEST_F(FilterLoading, ThatFailedForAnAttachmentLetsTheMessageGoOn) {
    const std::string pdf = file("a.pdf", "%PDF-1.4\n");
    const Outcome outcome = extract(message("m.eml", "insert " + pdf + "\nafter\n"));
    EXPECT_EQ(outcome.code, EML_OK);
    EXPECT_THAT(outcome.text, HasSubstr("after\n"));
    EXPECT_THAT(outcome.noticeSummary(), ElementsAre("4002@1"));
}

TEST_F(FilterLoading, TakesTheLibraryOfTheChosenDirectory) {
    std::array<char, 4096> path{};
    EXPECT_EQ(qob_message_filter_path(path.data()), EML_OK);
    EXPECT_THAT(std::string(path.data()), EndsWith("/filters/libqob_txeml.so.5"));
}

TEST_F(FilterLoading, OfAMissingLibraryNamesIt) {
    const qob::Filter &filter = qob::filterOf("libqob_txnone.so.5");
    EXPECT_EQ(filter.extract, nullptr);
    EXPECT_THAT(filter.reason,
                StartsWith("its filter is not installed, or was left out of the build: "
                           "libqob_txnone.so.5: cannot open shared object file"));
    EXPECT_EQ(qob::filterPath(filter), "");
}

TEST_F(FilterLoading, ThatFailedIsReportedForEachFileOnceWithTheReason) {
    const std::string pdf = file("a.pdf", "%PDF-1.4\n");
    const Outcome outcome =
        extract(message("m.eml", "insert " + pdf + "\ninsert " + pdf + "\nafter\n"));
    EXPECT_EQ(outcome.code, EML_OK);
    ASSERT_THAT(outcome.noticeSummary(), ElementsAre("4002@1", "4002@2"));
    EXPECT_THAT(outcome.notices[1].reason, HasSubstr("GetTextStreamWithErrCallback"));
}

TEST_F(FilterLoading, OfALibraryThatIsDamagedLooksNoFurther) {
    file("libqob_txtext.so.5", "not a library");
    setenv("QOB_FILTER_DIR", files().c_str(), 1);
    const qob::Filter &filter = qob::filterOf("libqob_txtext.so.5");
    setenv("QOB_FILTER_DIR", SCRIPTED_FILTERS, 1);
    EXPECT_EQ(filter.extract, nullptr);
    EXPECT_THAT(filter.reason, HasSubstr(files() + "/libqob_txtext.so.5"));
}

TEST_F(FilterLoading, KeepsItsAnswer) {
    const qob::Filter &first = qob::filterOf("libqob_txhtml.so.5");
    EXPECT_NE(first.extract, nullptr);
    EXPECT_EQ(&qob::filterOf("libqob_txhtml.so.5"), &first);
}

} // namespace
