// SPDX-License-Identifier: MIT
// The top-level call: its options, its results, and what it leaves behind.
#include <cstddef>
#include <cstring>
#include <string>

#include <sys/stat.h>
#include <unistd.h>

#include <gmock/gmock.h>

#include "support.h"

namespace {

using namespace txif_test;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;

class Extract : public ScriptedFilters {};

TEST_F(Extract, WritesTheTextAndCountsIt) {
    const Outcome outcome = extract(message("m.eml", "text\n"));
    EXPECT_EQ(outcome.code, EML_OK);
    EXPECT_EQ(outcome.text, "Subject: script\n\ntext\n");
    EXPECT_EQ(outcome.result.bytesWritten, outcome.text.size());
}

TEST_F(Extract, TakesNullForTheDefaultsAndForTheResult) {
    std::string text;
    const QobSink sink = stringSink(text);
    const std::string path = message("m.eml", "text\n");
    EXPECT_EQ(qob_extract(path.c_str(), &sink, nullptr, nullptr), EML_OK);
    EXPECT_EQ(text, "Subject: script\n\ntext\n");
}

TEST_F(Extract, ReadsAnyFileThatAFilterReads) {
    EXPECT_EQ(extract(file("page", "<html>\nlibrary\n")).text, "<html>\nlibrary=txhtml\n");
    EXPECT_EQ(extract(file("note", "library\n")).text, "library=txtext\n");
}

TEST_F(Extract, TakesAHeaderForAMessageWhateverTheName) {
    EXPECT_THAT(extract(message("m.dat", "library\n")).text, HasSubstr("library=txeml"));
}

TEST_F(Extract, TakesTheCallersWordThatItIsAMessage) {
    QobExtractOptions options = defaultOptions();
    options.type = QOB_TYPE_MESSAGE;
    EXPECT_EQ(extract(file("note", "library\n"), options).text, "library=txeml\n");
}

TEST_F(Extract, OfAnImageIsRefused) {
    const std::string path = file("photo.eml", "\x89PNG\r\n\x1A\n");
    const Outcome outcome = extract(path);
    EXPECT_EQ(outcome.code, QOB_ERR_NO_FILTER);
    EXPECT_THAT(outcome.notices,
                ElementsAre(Notice{path, 0, QOB_ERR_NO_FILTER, "the file is a PNG image"}));
}

TEST_F(Extract, ByDefaultAsksForLabelsAndAttachmentsAndGoesOn) {
    EXPECT_THAT(extract(message("m.eml", "flags\noptions\n")).text,
                HasSubstr("flags=1a\noptions=8\n"));
}

struct OptionRow {
    const char *name;
    void (*change)(QobExtractOptions &);
    const char *expected;
};

class ExtractOption : public Extract, public ::testing::WithParamInterface<OptionRow> {};

TEST_P(ExtractOption, ReachesTheFilter) {
    QobExtractOptions options = defaultOptions();
    GetParam().change(options);
    EXPECT_THAT(extract(message("m.eml", "flags\noptions\nlanguage\n"), options).text,
                HasSubstr(GetParam().expected));
}

INSTANTIATE_TEST_SUITE_P(
    Options, ExtractOption,
    ::testing::Values(
        OptionRow{"NoLabels", [](QobExtractOptions &o) { o.labels = 0; }, "flags=801a\n"},
        OptionRow{"NoAttachments", [](QobExtractOptions &o) { o.attachments = 0; }, "flags=1e\n"},
        OptionRow{"NotGoingOn", [](QobExtractOptions &o) { o.keepGoing = 0; }, "flags=a\n"},
        OptionRow{"Log", [](QobExtractOptions &o) { o.log = 1; }, "options=9\n"},
        OptionRow{"Crlf", [](QobExtractOptions &o) { o.newline = QOB_NEWLINE_CRLF; },
                  "options=10\n"},
        OptionRow{"Cr", [](QobExtractOptions &o) { o.newline = QOB_NEWLINE_CR; }, "options=40\n"},
        OptionRow{"Limit", [](QobExtractOptions &o) { o.maxOutput = 1000; }, "options=400008\n"},
        OptionRow{"LimitBeyondWhatFiltersCount",
                  [](QobExtractOptions &o) { o.maxOutput = 0x100000000U; }, "options=8\n"},
        OptionRow{"Language", [](QobExtractOptions &o) { o.language = "ko"; }, "language=ko\n"}),
    [](const auto &row) { return std::string(row.param.name); });

TEST_F(Extract, LeavesOptionsThatTheCallerDoesNotKnowAtTheirDefaults) {
    QobExtractOptions options{};
    constexpr std::size_t kOldSize = offsetof(QobExtractOptions, depthLimit);
    std::memset(&options, 0xAA, sizeof options);
    qob_extract_options_init(&options, kOldSize);
    EXPECT_EQ(options.depthLimit, 0xAAAAAAAAU);
    EXPECT_THAT(extract(message("m.eml", "flags\n"), options).text, HasSubstr("flags=1a\n"));
}

TEST_F(Extract, OfAProgramThatKnowsNoLimitsKeepsThem) {
    QobExtractOptions options{};
    constexpr std::size_t kSizeBeforeTheLimits = 64;
    std::memset(&options, 0, sizeof options);
    qob_extract_options_init(&options, kSizeBeforeTheLimits);
    EXPECT_EQ(options.size, kSizeBeforeTheLimits);
    EXPECT_EQ(options.maxSeconds, 0U) << "not written beyond what the program knows";
    EXPECT_THAT(extract(message("m.eml", "left\n"), options).text,
                ::testing::ContainsRegex("left=(60000|59[0-9][0-9][0-9])\n"));
}

TEST_F(Extract, ByDefaultHasEveryLimit) {
    const QobExtractOptions options = defaultOptions();
    EXPECT_EQ(options.size, sizeof options);
    EXPECT_EQ(options.maxOutput, uint64_t{4} << 30U);
    EXPECT_EQ(options.depthLimit, 50U);
    EXPECT_EQ(options.maxParts, 10000U);
    EXPECT_EQ(options.maxUnpacked, uint64_t{1} << 30U);
    EXPECT_EQ(options.maxRatio, 200U);
    EXPECT_EQ(options.maxSeconds, 60U);
}

TEST_F(Extract, RefusesOptionsWithoutAMeaning) {
    const std::string path = message("m.eml", "text\n");
    QobExtractOptions options = defaultOptions();
    options.newline = 3;
    EXPECT_EQ(extract(path, options).code, QOB_ERR_OPTIONS);
    options = defaultOptions();
    options.type = 2;
    EXPECT_EQ(extract(path, options).code, QOB_ERR_OPTIONS);
    options = defaultOptions();
    const std::string longName(256, 'x');
    options.language = longName.c_str();
    const Outcome outcome = extract(path, options);
    EXPECT_EQ(outcome.code, QOB_ERR_OPTIONS);
    EXPECT_THAT(outcome.noticeSummary(), ElementsAre("4009@0"));
}

TEST_F(Extract, RefusesAnUnknownCharset) {
    const std::string path = message("m.eml", "text\n");
    for (const char *charset : {"", "no-such-charset"}) {
        QobExtractOptions options = defaultOptions();
        options.charset = charset;
        const Outcome outcome = extract(path, options);
        EXPECT_EQ(outcome.code, QOB_ERR_CHARSET);
        EXPECT_THAT(outcome.noticeSummary(), ElementsAre("4007@0"));
        EXPECT_EQ(outcome.text, "");
    }
}

TEST_F(Extract, KnowsTheConvertersOwnCharsetNames) {
    QobExtractOptions options = defaultOptions();
    options.charset = "ChineseGBK";
    EXPECT_EQ(extract(message("m.eml", "text\n"), options).code, EML_OK);
}

TEST_F(Extract, OfAMissingFileNamesItAndTheReason) {
    const std::string path = files() + "/none.eml";
    const Outcome outcome = extract(path);
    EXPECT_EQ(outcome.code, EML_ERR_INPUT);
    EXPECT_THAT(outcome.notices,
                ElementsAre(Notice{path, 0, EML_ERR_INPUT, "No such file or directory"}));
}

TEST_F(Extract, OfADirectorySaysSo) {
    const Outcome outcome = extract(files());
    EXPECT_EQ(outcome.code, EML_ERR_INPUT);
    EXPECT_THAT(outcome.notices,
                ElementsAre(Notice{files(), 0, EML_ERR_INPUT, "it is a directory"}));
}

TEST_F(Extract, ReadsAPipeOfAFile) {
    const std::string path = files() + "/pipe";
    ASSERT_EQ(mkfifo(path.c_str(), 0600), 0);
    const pid_t writer = fork();
    if (writer == 0) {
        const std::string script = "Subject: piped\n\nlibrary\n";
        FILE *pipe = fopen(path.c_str(), "w");
        fwrite(script.data(), 1, script.size(), pipe);
        fclose(pipe);
        _exit(0);
    }
    EXPECT_EQ(extract(path).text, "Subject: piped\n\nlibrary=txeml\n");
}

TEST_F(Extract, ReadsADescriptorToItsEnd) {
    int ends[2];
    ASSERT_EQ(pipe(ends), 0);
    const std::string script = "Subject: x\n\nlibrary\noptions\n";
    ASSERT_EQ(write(ends[1], script.data(), script.size()), static_cast<ssize_t>(script.size()));
    close(ends[1]);
    std::string text;
    const QobSink sink = stringSink(text);
    QobExtractOptions options = defaultOptions();
    options.tempDirectory = temporary().c_str();
    options.log = 1;
    EXPECT_EQ(qob_extract_descriptor(ends[0], "input", &sink, &options, nullptr), EML_OK);
    EXPECT_EQ(text, "Subject: x\n\nlibrary=txeml\noptions=8\n");
    close(ends[0]);
}

TEST_F(Extract, OfABadDescriptorIsRefused) {
    std::string text;
    const QobSink sink = stringSink(text);
    EXPECT_EQ(qob_extract_descriptor(-1, "input", &sink, nullptr, nullptr), QOB_ERR_OPTIONS);
}

TEST_F(Extract, HandsALongNamedFileOnUnderAShortName) {
    const std::string path = file(std::string(200, 'n') + ".eml", "Subject: x\n\npath-length\n");
    const Outcome outcome = extract(path);
    EXPECT_THAT(outcome.text, HasSubstr("path-length=6\n"));
}

TEST_F(Extract, KnowsTheFileByItsOwnNameInNotices) {
    const std::string path = message("m.eml", "report 4004\n");
    EXPECT_EQ(extract(path).notices[0].path, path);
}

TEST_F(Extract, TellsThatThereIsNoPlaceForTemporaryFiles) {
    std::string text;
    const QobSink sink = stringSink(text);
    Notices notices;
    QobExtractOptions options = defaultOptions();
    options.tempDirectory = "/nonexistent/directory";
    options.callback = notices.callback();
    const std::string path = message("m.eml", "text\n");
    EXPECT_EQ(qob_extract(path.c_str(), &sink, &options, nullptr), QOB_ERR_TEMP);
    EXPECT_THAT(notices.summary(), ElementsAre("4006@0"));
}

TEST_F(Extract, EndsWithAWriteErrorWhenTheSinkRefuses) {
    const QobSink refusing{[](void *, const void *, uint32_t) -> int32_t { return 0; }, nullptr};
    Notices notices;
    QobExtractOptions options = defaultOptions();
    options.callback = notices.callback();
    const std::string inner = file("inner.txt", "text\n");
    const std::string path = message("m.eml", "insert " + inner + "\n");
    EXPECT_EQ(qob_extract(path.c_str(), &refusing, &options, nullptr), QOB_ERR_WRITE);
    EXPECT_THAT(notices.summary(), ElementsAre("4008@0"));
}

TEST_F(Extract, PassesTheFiltersCodeOnAndReportsIt) {
    const Outcome outcome = extract(message("m.eml", "fail 3002\n"));
    EXPECT_EQ(outcome.code, EML_ERR_FORMAT);
    EXPECT_THAT(outcome.noticeSummary(), ElementsAre("3002@0"));
}

TEST_F(Extract, ToAFileReplacesItOnSuccessAndAtTheLimit) {
    const std::string output = file("out", "old");
    const std::string path = message("m.eml", "text\n");
    EXPECT_EQ(qob_extract_to_file(path.c_str(), output.c_str(), nullptr, nullptr), EML_OK);
    EXPECT_EQ(contentOf(output), "Subject: script\n\ntext\n");
    QobExtractOptions options = defaultOptions();
    options.maxOutput = 7;
    EXPECT_EQ(qob_extract_to_file(path.c_str(), output.c_str(), &options, nullptr), EML_ERR_LIMIT);
    EXPECT_EQ(contentOf(output), "Subject");
}

TEST_F(Extract, ToAFileLeavesItAfterAFailure) {
    const std::string output = file("out", "old");
    const std::string path = message("m.eml", "text\nfail 3000\n");
    EXPECT_EQ(qob_extract_to_file(path.c_str(), output.c_str(), nullptr, nullptr), EML_ERR_MEMORY);
    EXPECT_EQ(contentOf(output), "old");
    EXPECT_THAT(namesIn(files()), ElementsAre("m.eml", "out"));
}

TEST_F(Extract, ToAPlaceThatDoesNotExistIsAnOutputError) {
    Notices notices;
    QobExtractOptions options = defaultOptions();
    options.callback = notices.callback();
    const std::string path = message("m.eml", "text\n");
    EXPECT_EQ(qob_extract_to_file(path.c_str(), "/nonexistent/out", &options, nullptr),
              EML_ERR_OUTPUT);
    EXPECT_THAT(notices.summary(), ElementsAre("23@0"));
}

} // namespace
