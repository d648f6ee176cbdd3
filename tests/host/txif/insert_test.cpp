// SPDX-License-Identifier: MIT
// The insert services: another file's text in the same output, under one limit, with one notice for
// each failure.
#include <cstring>
#include <memory>
#include <string>

#include <gmock/gmock.h>

#include "qob_conf_language.h"
#include "qob_insert.h"
#include "qob_scope.h"
#include "support.h"

namespace {

using namespace txif_test;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;

class Insert : public ScriptedFilters {};

TEST_F(Insert, PutsTheTextWhereItIsCalled) {
    const std::string inner = file("inner.txt", "inner\n");
    const Outcome outcome = extract(message("m.eml", "before\ninsert " + inner + "\nafter\n"));
    EXPECT_EQ(outcome.code, EML_OK);
    EXPECT_EQ(outcome.text, std::string(kHeaderText) + "before\ninner\nafter\n");
    EXPECT_THAT(outcome.notices, IsEmpty());
}

TEST_F(Insert, ChoosesTheFilterByContentAndName) {
    const std::string html = file("a", "<html>\nlibrary\n");
    const std::string text = file("b", "library\n");
    const std::string mail = message("c.eml", "library\n");
    const Outcome outcome = extract(
        message("m.eml", "insert " + html + "\ninsert " + text + "\ninsert " + mail + "\n"));
    EXPECT_THAT(outcome.text, HasSubstr("<html>\nlibrary=txhtml\nlibrary=txtext\n"));
    EXPECT_THAT(outcome.text, HasSubstr("\nlibrary=txeml\n"));
}

TEST_F(Insert, GivesTheInsertedMessageTheFlagsOfTheOutermostCall) {
    const std::string inner = message("inner.eml", "flags\n");
    QobExtractOptions options = defaultOptions();
    options.labels = 0;
    const Outcome outcome = extract(message("m.eml", "insert-body " + inner + "\n"), options);
    EXPECT_THAT(outcome.text, HasSubstr("flags=801a\n"));
}

TEST_F(Insert, WritesNoLogForTheInsertedMessage) {
    const std::string inner = message("inner.eml", "options\n");
    QobExtractOptions options = defaultOptions();
    options.log = 1;
    const Outcome outcome = extract(message("m.eml", "options\ninsert " + inner + "\n"), options);
    EXPECT_THAT(outcome.text, HasSubstr("options=9\n"));
    EXPECT_THAT(outcome.text, HasSubstr("options=8\n"));
}

TEST_F(Insert, TellsFiltersOfNoLimitThatTheyCannotCount) {
    const std::string inner = message("inner.eml", "options\n");
    const Outcome outcome =
        extract(message("m.eml", "text before\noptions\ninsert " + inner + "\n"));
    EXPECT_THAT(outcome.text, HasSubstr("text before\noptions=8\nSubject: script\n\noptions=8\n"));
}

TEST_F(Insert, HandsTheFileOnUnderAShortName) {
    const std::string inner = file(std::string(200, 'x') + ".eml", "path-length\n");
    const Outcome outcome = extract(message("m.eml", "insert " + inner + "\n"));
    EXPECT_THAT(outcome.text, HasSubstr("path-length=6\n"));
}

TEST_F(Insert, ReadsTheFileInTheLanguageOfTheExtraction) {
    const std::string inner = file("inner.txt", "language\n");
    QobExtractOptions options = defaultOptions();
    options.language = "Korean";
    qob_conf_set_language("cn");
    const Outcome outcome = extract(message("m.eml", "insert " + inner + "\n"), options);
    EXPECT_THAT(outcome.text, HasSubstr("language=Korean\n"));
    EXPECT_STREQ(qob_conf_language(), "cn");
    qob_conf_set_language("");
}

TEST_F(Insert, ClearsWhatTheFilterLeavesAlsoAfterAFailure) {
    const std::string inner = message("inner.eml", "litter\nfail 3000\n");
    const Outcome outcome = extract(message("m.eml", "litter\ninsert " + inner + "\n"));
    EXPECT_THAT(outcome.noticeSummary(), ElementsAre("3000@1"));
    EXPECT_EQ(qob_scope_depth(), 0U);
    // The fixture looks into the temporary directory.
}

TEST_F(Insert, ReportsAnAttachmentOnceAndGoesOn) {
    const std::string image = file("photo", "\x89PNG\r\n\x1A\n");
    const std::string text = file("text", "text\n");
    const Outcome outcome =
        extract(message("m.eml", "insert " + text + "\ninsert " + image + "\nafter\n"));
    EXPECT_EQ(outcome.code, EML_OK);
    EXPECT_EQ(outcome.text, std::string(kHeaderText) + "text\nafter\n");
    EXPECT_THAT(outcome.notices,
                ElementsAre(Notice{image, 2, QOB_ERR_NO_FILTER, "the file is a PNG image"}));
    EXPECT_EQ(outcome.result.attachmentsFailed, 1U);
    EXPECT_EQ(outcome.result.attachmentCode, QOB_ERR_NO_FILTER);
}

TEST_F(Insert, PassesOnWhatTheFilterReportedWithoutRepeatingIt) {
    const std::string inner = message("inner.eml", "report 4004\nfail 4004\n");
    const Outcome outcome = extract(message("m.eml", "insert " + inner + "\n"));
    EXPECT_THAT(outcome.notices,
                ElementsAre(Notice{inner, 1, QOB_ERR_DAMAGED, "as the script says"}));
}

TEST_F(Insert, CountsAMissingBodyAsAFailureOfTheMessage) {
    const std::string body = file("body.htm", "<html>\nfail 4004\n");
    const Outcome outcome = extract(message("m.eml", "insert-body " + body + "\nafter\n"));
    EXPECT_EQ(outcome.code, QOB_ERR_DAMAGED);
    EXPECT_THAT(outcome.text, HasSubstr("after\n"));
    EXPECT_THAT(outcome.noticeSummary(), ElementsAre("4004@0"));
    EXPECT_EQ(outcome.result.attachmentsFailed, 0U);
}

TEST_F(Insert, CountsTheMissingBodyOfAnAttachedMessageAsAFailureOfTheAttachment) {
    const std::string body = file("body.htm", "<html>\nfail 4004\n");
    const std::string inner = message("inner.eml", "insert-body " + body + "\n");
    const Outcome outcome = extract(message("m.eml", "insert " + inner + "\n"));
    EXPECT_EQ(outcome.code, EML_OK);
    EXPECT_THAT(outcome.noticeSummary(), ElementsAre("4004@1"));
}

TEST_F(Insert, TellsAFailureOfTheMessageApartFromTheSameOneOfAnAttachment) {
    const std::string inner = message("inner.eml", "fail 22\n");
    const Outcome outcome = extract(message("m.eml", "insert " + inner + "\nfail 22\n"));
    EXPECT_EQ(outcome.code, EML_ERR_INPUT);
    EXPECT_THAT(outcome.noticeSummary(), ElementsAre("22@1", "22@0"));
}

TEST_F(Insert, EndsTheExtractionWhenTheCallerDoesNotGoOnWithoutAttachments) {
    const std::string inner = message("inner.eml", "fail 4005\n");
    QobExtractOptions options = defaultOptions();
    options.keepGoing = 0;
    const Outcome outcome = extract(message("m.eml", "insert " + inner + "\nafter\n"), options);
    EXPECT_EQ(outcome.code, QOB_ERR_ENCRYPTED);
    EXPECT_EQ(outcome.text, std::string(kHeaderText) + kHeaderText);
    EXPECT_THAT(outcome.noticeSummary(), ElementsAre("4005@1"));
}

TEST_F(Insert, OfAMissingFileIsReported) {
    const Outcome outcome = extract(message("m.eml", "insert " + files() + "/none\nafter\n"));
    EXPECT_EQ(outcome.code, EML_OK);
    EXPECT_THAT(outcome.noticeSummary(), ElementsAre("22@1"));
    EXPECT_THAT(outcome.notices[0].reason, HasSubstr("No such file"));
}

// ---- without a top-level call ----

class DirectInsert : public ScriptedFilters {
protected:
    DirectInsert() { std::memcpy(params.outputName, "UTF-8", 6); }

    int32_t insertIntoFile(const std::string &path, const std::string &outputPath) {
        QobFile *output = QOB_FileOpen(outputPath.c_str(), "wb");
        QOB_FileWrite("before\n", 1, 7, output);
        const int32_t code = QOB_GetInsertFileTextWithErrCallback(
            path.c_str(), output, &params, session.get(), notices.callback());
        QOB_FileWrite("after\n", 1, 6, output);
        QOB_FileClose(output);
        return code;
    }

    HostParams params{};
    std::unique_ptr<SessionRecord> session = std::make_unique<SessionRecord>();
    Notices notices;
};

TEST_F(DirectInsert, WritesIntoAnOpenFileAtItsPosition) {
    const std::string output = files() + "/out";
    EXPECT_EQ(insertIntoFile(file("a.txt", "text\n"), output), EML_OK);
    EXPECT_EQ(contentOf(output), "before\ntext\nafter\n");
}

TEST_F(DirectInsert, CountsFromTheSavedCountAndStoresTheNewOne) {
    session->savedOutputCount = 7;
    EXPECT_EQ(insertIntoFile(file("a.txt", "text\n"), files() + "/out"), EML_OK);
    EXPECT_EQ(session->savedOutputCount, 12U);
}

TEST_F(DirectInsert, KeepsTheLimitOverTheWholeResult) {
    params.options = EML_OPT_LIMIT_OUTPUT;
    params.outputLimit = 10;
    session->savedOutputCount = 7;
    const std::string output = files() + "/out";
    EXPECT_EQ(insertIntoFile(file("a.txt", "text\n"), output), EML_OK);
    EXPECT_EQ(contentOf(output), "before\ntexafter\n");
    EXPECT_EQ(session->savedOutputCount, 10U);
}

TEST_F(DirectInsert, BeyondTheLimitWritesNothing) {
    params.options = EML_OPT_LIMIT_OUTPUT;
    params.outputLimit = 5;
    session->savedOutputCount = 7;
    const std::string output = files() + "/out";
    EXPECT_EQ(insertIntoFile(file("a.txt", "text\n"), output), EML_OK);
    EXPECT_EQ(contentOf(output), "before\nafter\n");
    EXPECT_EQ(session->savedOutputCount, 7U);
}

TEST_F(DirectInsert, ThatSparedACharacterLeavesNoRoomForText) {
    params.options = EML_OPT_LIMIT_OUTPUT;
    params.outputLimit = 10;
    session->savedOutputCount = 7;
    const std::string output = files() + "/out";
    EXPECT_EQ(insertIntoFile(file("a.txt", "te\xE2\x82\xACx\n"), output), EML_OK);
    EXPECT_EQ(contentOf(output), "before\nteafter\n");
    EXPECT_EQ(session->savedOutputCount, 10U);
}

TEST_F(DirectInsert, ReturnsTheCodeOfTheExtractionThatFailed) {
    session->attachmentNumber = 4;
    EXPECT_EQ(insertIntoFile(message("a.eml", "fail 3002\n"), files() + "/out"), EML_ERR_FORMAT);
    EXPECT_THAT(notices.summary(), ElementsAre("3002@5"));
}

TEST_F(DirectInsert, OfANestedMessageReportsItsFailureOnce) {
    const std::string inner = message("b.eml", "fail 3002\n");
    EXPECT_EQ(insertIntoFile(message("a.eml", "insert " + inner + "\n"), files() + "/out"),
              EML_ERR_FORMAT);
    EXPECT_THAT(notices.summary(), ElementsAre("3002@1"));
}

TEST_F(DirectInsert, RefusesNullArguments) {
    const std::string path = file("a.txt", "text\n");
    QobFile *output = QOB_FileOpen((files() + "/out").c_str(), "wb");
    EXPECT_EQ(
        QOB_GetInsertFileTextWithErrCallback(nullptr, output, &params, session.get(), nullptr),
        EML_ERR_INPUT);
    EXPECT_EQ(QOB_GetInsertFileTextWithErrCallback(path.c_str(), nullptr, &params, session.get(),
                                                   nullptr),
              EML_ERR_INPUT);
    EXPECT_EQ(
        QOB_GetInsertFileTextWithErrCallback(path.c_str(), output, nullptr, session.get(), nullptr),
        EML_ERR_INPUT);
    EXPECT_EQ(QOB_GetInsertFileTextWithErrCallback(path.c_str(), output, &params, nullptr, nullptr),
              EML_ERR_INPUT);
    EXPECT_EQ(QOB_GetInsertFileTextStreamWithErrCallback(path.c_str(), nullptr, &params,
                                                         session.get(), nullptr),
              EML_ERR_INPUT);
    QOB_FileClose(output);
}

TEST_F(DirectInsert, IntoAStreamThatSparedACharacterLeavesNoRoomForText) {
    HostParams limited = params;
    limited.options = EML_OPT_LIMIT_OUTPUT;
    limited.outputLimit = 3;
    std::string text;
    const QobSink sink = stringSink(text);
    QobStream *stream = qob_stream_open(&sink, &limited);
    const std::string path = file("a.txt", "te\xE2\x82\xAC\n");
    EXPECT_EQ(QOB_GetInsertFileTextStreamWithErrCallback(path.c_str(), stream, &params,
                                                         session.get(), nullptr),
              EML_OK);
    EXPECT_EQ(QOB_WriteStream(stream, 1, "x"), 0);
    EXPECT_EQ(qob_stream_close(stream), EML_ERR_LIMIT);
    EXPECT_EQ(text, "te");
}

TEST_F(DirectInsert, TellsHowTheTextEnds) {
    const auto endingOf = [this](const std::string &script) {
        EXPECT_EQ(insertIntoFile(file("a.txt", script), files() + "/out"), EML_OK);
        return qob_insert_ending();
    };
    EXPECT_EQ(endingOf(""), QOB_INSERTED_NOTHING);
    EXPECT_EQ(endingOf("line\n"), QOB_INSERTED_LINES);
    EXPECT_EQ(endingOf("line\nbare word\n"), QOB_INSERTED_PART_LINE);
    EXPECT_EQ(endingOf("bare word\r\n"), QOB_INSERTED_LINES);
    EXPECT_EQ(endingOf("bare \xE2\x80\xA8\n"), QOB_INSERTED_LINES);
    std::memcpy(params.outputName, "UTF-16", 7);
    EXPECT_EQ(endingOf(std::string("bare \0\n", 7)), QOB_INSERTED_PART_LINE) << "half a unit";
    EXPECT_EQ(endingOf(std::string("bare \0\r\n", 8)), QOB_INSERTED_LINES);
    EXPECT_EQ(endingOf(std::string("bare \n\r\n", 8)), QOB_INSERTED_PART_LINE) << "U+0A0D";
}

TEST_F(DirectInsert, TellsThatTheStreamTookNothing) {
    const QobSink refusing{[](void *, const void *, uint32_t) -> int32_t { return 0; }, nullptr};
    QobStream *stream = qob_stream_open(&refusing, &params);
    const std::string path = file("a.txt", "text\n");
    EXPECT_EQ(QOB_GetInsertFileTextStreamWithErrCallback(path.c_str(), stream, &params,
                                                         session.get(), notices.callback()),
              QOB_ERR_WRITE);
    EXPECT_THAT(notices.summary(), ElementsAre("4008@1"));
    EXPECT_EQ(qob_stream_close(stream), QOB_ERR_WRITE);
}

} // namespace
