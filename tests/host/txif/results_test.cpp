// SPDX-License-Identifier: MIT
// Result codes have names and meanings for people.
#include <string>

#include <gtest/gtest.h>

#include "qob_extract.h"

namespace {

struct Row {
    int32_t code;
    const char *name;
};

class ResultName : public ::testing::TestWithParam<Row> {};

TEST_P(ResultName, IsTheNameInTheHeaderAndHasAMeaning) {
    EXPECT_STREQ(qob_result_name(GetParam().code), GetParam().name);
    EXPECT_STRNE(qob_result_text(GetParam().code), qob_result_text(-1));
}

INSTANTIATE_TEST_SUITE_P(
    EveryCode, ResultName,
    ::testing::Values(
        Row{0, "EML_OK"}, Row{12, "EML_ERR_NOBUF"}, Row{22, "EML_ERR_INPUT"},
        Row{23, "EML_ERR_OUTPUT"}, Row{24, "EML_ERR_SHORT_WRITE"}, Row{863, "EML_ERR_OUTPUT_LOST"},
        Row{3000, "EML_ERR_MEMORY"}, Row{3002, "EML_ERR_FORMAT"}, Row{3005, "EML_ERR_LIMIT"},
        Row{4001, "QOB_ERR_NO_FILTER"}, Row{4002, "QOB_ERR_FILTER_LOAD"},
        Row{4003, "QOB_ERR_DEPTH"}, Row{4004, "QOB_ERR_DAMAGED"}, Row{4005, "QOB_ERR_ENCRYPTED"},
        Row{4006, "QOB_ERR_TEMP"}, Row{4007, "QOB_ERR_CHARSET"}, Row{4008, "QOB_ERR_WRITE"},
        Row{4009, "QOB_ERR_OPTIONS"}, Row{4010, "QOB_ERR_PARTS"}, Row{4011, "QOB_ERR_UNPACKED"},
        Row{4012, "QOB_ERR_RATIO"}, Row{4013, "QOB_ERR_TIME"}, Row{4014, "QOB_ERR_HELPER"}),
    [](const auto &row) { return std::string(row.param.name); });

TEST(ResultName, OfACodeThatHasNoneSaysSo) {
    EXPECT_STREQ(qob_result_name(12345), "unknown result");
    EXPECT_STRNE(qob_result_text(12345), "");
}

} // namespace
