// SPDX-License-Identifier: MIT
// Members of containers: their names, their text by recursion, their failures and their limits.
#include <csignal>
#include <string>

#include <dlfcn.h>
#include <sys/resource.h>

#include <gmock/gmock.h>

#include "support.h"

namespace {

using namespace txif_test;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

class MembersOf : public ScriptedFilters {
protected:
    static constexpr const char *kSignature = "BZh91AY&SY\n";

    // A container that obeys the script.
    std::string container(const std::string &name, const std::string &script) const {
        return file(name, kSignature + script);
    }

    // The container filter's entry point that writes a file.
    static decltype(&GetTextWithErrCallback) fileEntryPoint() {
        void *library = dlopen(SCRIPTED_FILTERS "/libqob_txarchive.so.5", RTLD_NOW);
        return reinterpret_cast<decltype(&GetTextWithErrCallback)>(
            dlsym(library, "GetTextWithErrCallback"));
    }
};

std::string textMember(const std::string &name, const std::string &line) {
    return "member " + name + "\ntext " + line + "\nend\n";
}

TEST_F(MembersOf, AContainerComeUnderTheirNamesWithAnEmptyLineBehind) {
    const Outcome outcome =
        extract(container("c", textMember("a.txt", "first") + textMember("docs/b.txt", "second")));
    EXPECT_EQ(outcome.code, EML_OK);
    EXPECT_EQ(outcome.text, "a.txt\nfirst\n\ndocs/b.txt\nsecond\n\n");
    EXPECT_THAT(outcome.notices, IsEmpty());
}

TEST_F(MembersOf, AContainerBeginOnALineOfTheirOwnAndEndTheirs) {
    const Outcome outcome =
        extract(container("c", "say the body\n" + textMember("a.txt", "bare word") + "say end\n"));
    EXPECT_EQ(outcome.text, "the body\na.txt\nword\n\nend");
}

TEST_F(MembersOf, AContainerWithoutTextHaveTheirNameOnly) {
    EXPECT_EQ(extract(container("c", "member empty.txt\nend\n" + textMember("a", "x"))).text,
              "empty.txt\n\na\nx\n\n");
}

TEST_F(MembersOf, AContainerHaveNoNamesWhenLabelsAreOff) {
    QobExtractOptions options = defaultOptions();
    options.labels = 0;
    EXPECT_EQ(
        extract(container("c", "member empty.txt\nend\n" + textMember("a", "x")), options).text,
        "x\n\n");
}

TEST_F(MembersOf, AContainerAreNamedOnlyWhenAttachmentsAreOff) {
    QobExtractOptions options = defaultOptions();
    options.attachments = 0;
    EXPECT_EQ(extract(container("c", textMember("a", "x")), options).text, "a\n\n");
}

TEST_F(MembersOf, AContainerLieOnDiskForAFilterThatTellsNothingOfItsFiles) {
    EXPECT_EQ(extract(container("c", textMember("a.txt", "on-disk"))).text, "a.txt\non-disk=1\n\n");
}

TEST_F(MembersOf, AContainerThatAreMessagesNeedNoFileOnDisk) {
    const std::string mail = "member a.eml\ntext Subject: x\ntext To: y\ntext on-disk\nend\n";
    EXPECT_THAT(extract(container("c", mail)).text, testing::HasSubstr("on-disk=0\n"));
}

TEST_F(MembersOf, AContainerGoToTheFilterOfTheirEnding) {
    EXPECT_EQ(extract(container("c", textMember("a/page.HTML", "library") +
                                         textMember("a.html/page", "library")))
                  .text,
              "a/page.HTML\nlibrary=txhtml\n\na.html/page\nlibrary=txtext\n\n");
}

TEST_F(MembersOf, AContainerNeverLeaveTheirDirectory) {
    const std::string names = textMember("../../escape.txt", "up") +
                              textMember("/etc/absolute.txt", "root") +
                              textMember("a.x/../../y", "ending");
    EXPECT_EQ(extract(container("c", names)).text,
              "../../escape.txt\nup\n\n/etc/absolute.txt\nroot\n\na.x/../../y\nending\n\n");
    EXPECT_THAT(namesIn(files()), ElementsAre("c"));
}

TEST_F(MembersOf, AContainerThatAreDroppedLeaveNothing) {
    EXPECT_EQ(extract(container("c", "member a\ntext x\nabandon\nend\nmember b\ntext y\n")).text,
              "");
    // The fixture looks into the temporary directory.
}

TEST_F(MembersOf, AContainerThatFindNoRoomForTheirFileEndIt) {
    const std::string path = container("c", "member a\nbytes 200000\nend\n");
    const auto ignored = std::signal(SIGXFSZ, SIG_IGN);
    rlimit before{};
    getrlimit(RLIMIT_FSIZE, &before);
    const rlimit small{100000, before.rlim_max};
    setrlimit(RLIMIT_FSIZE, &small);
    const Outcome outcome = extract(path);
    setrlimit(RLIMIT_FSIZE, &before);
    static_cast<void>(std::signal(SIGXFSZ, ignored));
    EXPECT_EQ(outcome.code, EML_ERR_SHORT_WRITE);
    EXPECT_THAT(outcome.noticeSummary(), ElementsAre("24@0"));
}

TEST_F(MembersOf, AContainerInAContainerAreRead) {
    const std::string inner = "member inner.bz2\ntext BZh91AY&SY\ntext member leaf\n"
                              "text text deep\ntext end\nend\n";
    EXPECT_EQ(extract(container("c", inner)).text, "inner.bz2\nleaf\ndeep\n\n\n");
}

TEST_F(MembersOf, AContainerComeInTheOutputCharset) {
    QobExtractOptions options = defaultOptions();
    options.charset = "UTF-16";
    options.newline = QOB_NEWLINE_CRLF;
    EXPECT_EQ(extract(container("c", "member \xC3\xA4\nend\n"), options).text,
              std::string("\0\xE4\0\r\0\n\0\r\0\n", 10));
}

TEST_F(MembersOf, AContainerThatFailAreReportedByName) {
    const std::string path =
        container("c", textMember("docs/photo.jpg", "\xFF\xD8\xFF") +
                           textMember("a.txt", "fail 4004") + textMember("b.txt", "read"));
    const Outcome outcome = extract(message("m.eml", "insert " + path + "\nafter\n"));
    EXPECT_EQ(outcome.code, EML_OK);
    EXPECT_THAT(outcome.text, ::testing::HasSubstr("b.txt\nread\n\nafter\n"));
    EXPECT_THAT(
        outcome.notices,
        ElementsAre(Notice{"docs/photo.jpg", 1, QOB_ERR_NO_FILTER,
                           "docs/photo.jpg: the file is a JPEG image"},
                    Notice{"a.txt", 1, QOB_ERR_DAMAGED,
                           "a.txt: the file is damaged: its text is missing or not complete"}));
}

TEST_F(MembersOf, AContainerWithoutANameAreReportedAsTheContainer) {
    const std::string path = container("c", textMember("", "\xFF\xD8\xFF"));
    const Outcome outcome = extract(path);
    EXPECT_THAT(outcome.notices,
                ElementsAre(Notice{path, 1, QOB_ERR_NO_FILTER, "the file is a JPEG image"}));
}

TEST_F(MembersOf, AContainerOfTheTopLevelAreNumbered) {
    const Outcome outcome =
        extract(container("c", textMember("a", "x") + textMember("b", "fail 4004")));
    EXPECT_THAT(outcome.noticeSummary(), ElementsAre("4004@2"));
}

TEST_F(MembersOf, AContainerCountAgainstThePartsLimit) {
    QobExtractOptions options = defaultOptions();
    options.maxParts = 2;
    const std::string two = textMember("a", "x") + textMember("b", "y");
    Outcome outcome = extract(container("c", two), options);
    EXPECT_THAT(outcome.notices, IsEmpty());
    outcome = extract(container("c", two + textMember("c", "z")), options);
    EXPECT_EQ(outcome.code, EML_OK);
    EXPECT_EQ(outcome.text, "a\nx\n\nb\ny\n\n");
    EXPECT_THAT(outcome.noticeSummary(), ElementsAre("4010@0"));
}

TEST_F(MembersOf, AContainerThatInsertsOneTooManyIsLeft) {
    QobExtractOptions options = defaultOptions();
    options.maxParts = 2;
    const std::string inner = "member inner.bz2\ntext BZh91AY&SY\ntext member one\ntext end\n"
                              "text member two\ntext end\nend\n";
    const Outcome outcome = extract(container("c", inner + textMember("after", "x")), options);
    EXPECT_EQ(outcome.text, "inner.bz2\none\n\n\n");
    EXPECT_THAT(outcome.noticeSummary(), ElementsAre("4010@1"));
}

TEST_F(MembersOf, AContainerAreCutAtTheUnpackedLimit) {
    QobExtractOptions options = defaultOptions();
    options.maxUnpacked = 12;
    Outcome outcome = extract(container("c", "member a\ntext first\ntext secon\nend\n"), options);
    EXPECT_EQ(outcome.text, "a\nfirst\nsecon\n\n");
    EXPECT_THAT(outcome.notices, IsEmpty());
    outcome = extract(container("c", "member a\ntext first\ntext second\nend\n"), options);
    EXPECT_EQ(outcome.code, EML_OK);
    EXPECT_EQ(outcome.text, "a\nfirst\n\n");
    EXPECT_THAT(outcome.noticeSummary(), ElementsAre("4011@0"));
}

TEST_F(MembersOf, AContainerAreCutAtTheRatioToItsSize) {
    Outcome outcome = extract(container("c", "member a\nbytes 1000000\nbytes 48576\nend\n"));
    EXPECT_EQ(outcome.text, "a\n" + std::string(1048576, 'x') + "\n\n");
    EXPECT_THAT(outcome.notices, IsEmpty());
    outcome = extract(container("c", "member a\nbytes 1000000\nbytes 48577\nend\n"));
    EXPECT_EQ(outcome.code, EML_OK);
    EXPECT_EQ(outcome.text, "a\n" + std::string(1000000, 'x') + "\n\n");
    EXPECT_THAT(outcome.noticeSummary(), ElementsAre("4012@0"));
}

TEST_F(MembersOf, AContainerBeginNoMoreWhenTheTimeIsOver) {
    const Outcome outcome =
        extract(container("c", textMember("a", "x") + "wait 61000\n" + textMember("b", "y")));
    EXPECT_EQ(outcome.code, EML_OK);
    EXPECT_EQ(outcome.text, "a\nx\n\n");
    EXPECT_THAT(outcome.noticeSummary(), ElementsAre("4013@0"));
}

TEST_F(MembersOf, AContainerHaveNamesOfPrintableCharacters) {
    EXPECT_EQ(extract(container("c", "member a\x01\xFF\xE2\x80\xAE z\xC3\xA4\nend\n")).text,
              "a\xEF\xBF\xBD\xEF\xBF\xBD\xEF\xBF\xBD z\xC3\xA4\n\n");
}

TEST_F(MembersOf, AContainerHaveNamesOfUpTo1024Bytes) {
    const std::string longest(1024, 'n');
    EXPECT_EQ(extract(container("c", "member " + longest + "\nend\n")).text, longest + "\n\n");
    EXPECT_EQ(extract(container("c", "member " + longest + "n\nend\n")).text, longest + "\n\n");
}

TEST_F(MembersOf, AContainerObeyTheOutputLimitAtEveryByte) {
    const std::string path = container("c", "say body\n" + textMember("a", "first") +
                                                textMember("b", "second") + "say end\n");
    const std::string whole = extract(path).text;
    for (std::size_t limit = 0; limit <= whole.size(); ++limit) {
        QobExtractOptions options = defaultOptions();
        options.maxOutput = limit;
        const Outcome outcome = extract(path, options);
        EXPECT_EQ(outcome.text, whole.substr(0, limit)) << limit;
        EXPECT_EQ(outcome.code, limit < whole.size() ? EML_ERR_LIMIT : EML_OK) << limit;
    }
}

TEST_F(MembersOf, AContainerEndTheCallThatDoesNotGoOnWithoutThem) {
    QobExtractOptions options = defaultOptions();
    options.keepGoing = 0;
    const Outcome outcome =
        extract(container("c", textMember("a", "fail 4004") + textMember("b", "x")), options);
    EXPECT_EQ(outcome.code, QOB_ERR_DAMAGED);
    EXPECT_EQ(outcome.text, "a\n\n");
    EXPECT_THAT(outcome.noticeSummary(), ElementsAre("4004@1"));
}

TEST_F(MembersOf, AContainerRunByItsEntryPointAloneAreRead) {
    const std::string path = container("c", textMember("a", "first") + textMember("b", "second"));
    const std::string output = files() + "/out";
    HostParams params{};
    params.flags = EML_FLAG_KEEP_GOING;
    EXPECT_EQ(fileEntryPoint()(path.c_str(), output.c_str(), &params, nullptr, nullptr), EML_OK);
    EXPECT_EQ(contentOf(output), "a\nfirst\n\nb\nsecond\n\n");
}

TEST_F(MembersOf, AContainerRunByItsEntryPointAloneObeyTheLimitOfTheFile) {
    const std::string path = container("c", textMember("a", "first") + textMember("b", "second"));
    const std::string output = files() + "/out";
    HostParams params{};
    params.flags = EML_FLAG_KEEP_GOING;
    params.options = EML_OPT_LIMIT_OUTPUT;
    params.outputLimit = 14;
    EXPECT_EQ(fileEntryPoint()(path.c_str(), output.c_str(), &params, nullptr, nullptr),
              EML_ERR_LIMIT);
    EXPECT_EQ(contentOf(output), "a\nfirst\n\nb\nsec");
}

TEST_F(MembersOf, AContainerWhoseOwnTextTakesTooLongKeepThatText) {
    const Outcome outcome = extract(container("c", "letters 20000\nwait 61000\nletters 40000\n"));
    EXPECT_EQ(outcome.code, EML_OK);
    EXPECT_EQ(outcome.text.size(), 36384U) << "up to the piece behind which the time was over";
    EXPECT_THAT(outcome.noticeSummary(), ElementsAre("4013@0"));
}

} // namespace
