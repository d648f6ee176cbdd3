// SPDX-License-Identifier: MIT
// Legacy documents and the programs that read them, which here are made up: what they are asked,
// what becomes of their text, and what is told when they fail.
#include <gmock/gmock.h>

#include <chrono>
#include <fstream>
#include <string>
#include <vector>

#include "legacy_documents.h"
#include "ole_writer.h"
#include "program_fixture.h"
#include "qob_extract.h"

namespace qob::tests {
namespace {

int32_t appendTo(void *text, const void *data, uint32_t length) {
    static_cast<std::string *>(text)->append(static_cast<const char *>(data), length);
    return 1;
}

void noteCode(void *codes, const QobNotice *notice) {
    static_cast<std::vector<int32_t> *>(codes)->push_back(notice->code);
}

class LegacyProgram : public ProgramTest {
protected:
    void expectFailure(const Outcome &outcome, int32_t code, const std::string &reason) {
        EXPECT_EQ(outcome.code, code);
        ASSERT_EQ(outcome.notices.size(), 1U);
        EXPECT_EQ(outcome.notices[0].code, code);
        EXPECT_EQ(outcome.notices[0].path, inputPath());
        EXPECT_EQ(outcome.notices[0].reason, reason);
    }

    const std::string word_ = wordDocument("text\r");
    const std::string excel_ = excelDocument({"a"});
    const std::string powerPoint_ = powerPointDocument({"a"});
};

TEST_F(LegacyProgram, EachKindHasItsOwn) {
    for (const char *name : {"antiword", "catdoc", "xls2csv", "catppt"}) {
        addProgram(name, "echo ${0##*/} \"$@\"");
    }
    EXPECT_EQ(textOf(LEGACY_FILTER, word_), "antiword -m UTF-8.txt -w 0 " + inputPath() + "\n");
    EXPECT_EQ(textOf(LEGACY_FILTER, excel_), "xls2csv -d utf-8 -q 0 -c \t " + inputPath() + "\n");
    EXPECT_EQ(textOf(LEGACY_FILTER, powerPoint_), "catppt -d utf-8 " + inputPath() + "\n");
    EXPECT_EQ(runStream(LEGACY_FILTER, powerPoint_).text, "catppt -d utf-8 " + inputPath() + "\n");
}

TEST_F(LegacyProgram, TextIsLaidOutAndMadeValid) {
    addProgram("antiword", "printf '\\n\\n\\na  \\n\\n\\n\\nb\\f\\303\\251\\377c\\t\\td'");
    EXPECT_EQ(textOf(LEGACY_FILTER, word_), "a\n\nb\n\u00E9\uFFFDc\t\td\n");
}

TEST_F(LegacyProgram, WritesTheOutputCharsetAndTheHostsLineEnds) {
    addProgram("antiword", "printf '\\303\\251\\nb\\n'");
    setCharset("ISO-8859-1");
    params_.options = EML_OPT_NEWLINE_2;
    EXPECT_EQ(textOf(LEGACY_FILTER, word_), "\xE9\r\nb\r\n");
}

TEST_F(LegacyProgram, MissingProgramIsToldWithItsPackage) {
    expectFailure(run(LEGACY_FILTER, word_), QOB_ERR_HELPER,
                  "the program antiword is missing; install the Debian package antiword");
    expectFailure(runStream(LEGACY_FILTER, excel_), QOB_ERR_HELPER,
                  "the program xls2csv is missing; install the Debian package catdoc");
    expectFailure(run(LEGACY_FILTER, powerPoint_), QOB_ERR_HELPER,
                  "the program catppt is missing; install the Debian package catdoc");
}

TEST_F(LegacyProgram, SecondProgramReadsWhatTheFirstDoesNot) {
    addProgram("catdoc", "echo second");
    EXPECT_EQ(textOf(LEGACY_FILTER, word_), "second\n");
    addProgram("antiword", "exit 1");
    const Outcome outcome = run(LEGACY_FILTER, word_);
    EXPECT_EQ(outcome.code, EML_OK);
    EXPECT_EQ(outcome.text, "second\n");
    EXPECT_TRUE(outcome.notices.empty());
}

TEST_F(LegacyProgram, TextOfAFailedProgramStaysAndIsNotReadTwice) {
    addProgram("antiword", "echo first; exit 1");
    addProgram("catdoc", "echo second");
    const Outcome outcome = runStream(LEGACY_FILTER, word_);
    EXPECT_EQ(outcome.text, "first\n");
    expectFailure(outcome, QOB_ERR_HELPER, "the program antiword ended with status 1");
}

TEST_F(LegacyProgram, CrashIsTold) {
    addProgram("xls2csv", "echo part; kill -SEGV $$");
    const Outcome outcome = runStream(LEGACY_FILTER, excel_);
    EXPECT_EQ(outcome.text, "part\n");
    expectFailure(outcome, QOB_ERR_HELPER, "the program xls2csv was ended by signal 11");
}

TEST_F(LegacyProgram, FloodEndsAtTheOutputLimit) {
    addProgram("antiword", "while :; do echo text; done");
    setLimit(100000);
    const Outcome outcome = run(LEGACY_FILTER, word_);
    EXPECT_EQ(outcome.code, EML_ERR_LIMIT);
    EXPECT_EQ(outcome.text.size(), 100000U);
}

TEST_F(LegacyProgram, FloodEndsAtTheRatioOfUnpackedToPacked) {
    addProgram("antiword", "while :; do echo text; done");
    const Outcome outcome = runStream(LEGACY_FILTER, word_);
    EXPECT_EQ(outcome.code, QOB_ERR_RATIO);
    EXPECT_THAT(outcome.text, testing::StartsWith("text\ntext\n"));
    ASSERT_EQ(outcome.notices.size(), 1U);
    EXPECT_EQ(outcome.notices[0].code, QOB_ERR_RATIO);
}

TEST_F(LegacyProgram, HangingProgramEndsWithTheTimeOfTheExtraction) {
    addProgram("antiword", "echo before; sleep 1000");
    std::ofstream(inputPath(), std::ios::binary) << word_;
    std::string text;
    std::vector<int32_t> codes;
    const QobSink sink{appendTo, &text};
    const QobErrorCallback callback{noteCode, &codes};
    QobExtractOptions options;
    qob_extract_options_init(&options, sizeof options);
    options.maxSeconds = 1;
    options.callback = &callback;
    const auto start = std::chrono::steady_clock::now();
    qob_extract(inputPath().c_str(), &sink, &options, nullptr);
    EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(20));
    EXPECT_EQ(text, "before\n");
    EXPECT_THAT(codes, testing::ElementsAre(QOB_ERR_TIME));
}

TEST_F(LegacyProgram, ProgramThatFindsNoTextIsNoFailure) {
    addProgram("antiword", "echo");
    const Outcome outcome = run(LEGACY_FILTER, word_);
    EXPECT_EQ(outcome.code, EML_OK);
    EXPECT_EQ(outcome.text, "");
}

TEST_F(LegacyProgram, EncryptedDocumentIsReportedOnceAndNotRead) {
    addProgram("antiword", "echo read");
    const Outcome outcome = run(LEGACY_FILTER, wordDocument("text\r", true));
    EXPECT_EQ(outcome.text, "");
    expectFailure(outcome, QOB_ERR_ENCRYPTED, "the document is encrypted and needs a password");
}

TEST_F(LegacyProgram, ContainerOfAnotherKindHasNoFilter) {
    expectFailure(run(LEGACY_FILTER, oleFile({{"__properties_version1.0", "x"}})),
                  QOB_ERR_NO_FILTER, "is an OLE file without a Word, Excel or PowerPoint document");
}

TEST_F(LegacyProgram, DamagedContainerIsReportedOnce) {
    expectFailure(run(LEGACY_FILTER, word_.substr(0, 600)), QOB_ERR_DAMAGED,
                  "the OLE file is damaged and gave no text");
    expectFailure(run(LEGACY_FILTER, "text"), QOB_ERR_DAMAGED,
                  "the OLE file is damaged and gave no text");
}

} // namespace
} // namespace qob::tests
