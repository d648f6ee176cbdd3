// SPDX-License-Identifier: MIT
// An HTML part handed to the host: the same record, count and clean-up from every text walker.
#include "support/text_walker_fixture.h"

namespace {

struct Entry {
    const char *name;
    Walker walker;
    int32_t partType;
    std::string text;
};

const std::string kDelimiter = "--outer--\r\n";

// Each comes to one HTML file.
const Entry kEntries[] = {
    {"text part", Mix_Content_OnePart, EML_CT_TEXT_HTML,
     crlf({"Content-Transfer-Encoding: quoted-printable", "", "x"}) + kDelimiter + kTail},
    {"nested alternative", Mix_Content_alter, EML_CT_MULTIPART_ALTERNATIVE,
     crlf({"--inner", "Content-Type: text/html", "Content-Transfer-Encoding: quoted-printable", "",
           "x"}) +
         kDelimiter + kTail},
    {"message alternative", Mix_Content_Only, EML_CT_TEXT_HTML,
     crlf({"Content-Transfer-Encoding: quoted-printable", "", "x"}) + kDelimiter + kTail},
};

struct HandOverFixture : TextWalkerFixture {
    explicit HandOverFixture(const Entry &entry) {
        std::strcpy(handle.boundary, "outer");
        std::strcpy(handle.partBoundary, "inner");
        handle.contentType = EML_CT_MULTIPART_ALTERNATIVE;
        handle.partContentType = entry.partType;
        setCharset("UTF-8");
        load(entry.text);
    }
};

template <typename Check> void forEachEntry(const Check &check) {
    for (const Entry &entry : kEntries) {
        SCOPED_TRACE(entry.name);
        check(entry);
    }
}

TEST(HtmlHandOver, PassesACopyOfTheParametersWithFlags10) {
    forEachEntry([](const Entry &entry) {
        HandOverFixture f(entry);
        std::strcpy(f.params.outputName, "EUC-JP");
        std::strcpy(f.params.language, "Japanese");
        f.params.outputCode = 0x12345678;
        f.params.options = EML_OPT_NEWLINE_2 | 0x40000000U;
        f.params.flags = 0xFFFF & ~EML_FLAG_KEEP_GOING;
        f.params.outputLimit = 0x123456789ABCULL;
        ASSERT_EQ(entry.walker(&f.handle), EML_OK);
        ASSERT_EQ(f.host.inserts.size(), 1U);
        const InsertCall &call = f.host.inserts[0];
        EXPECT_FALSE(call.sameParams);
        EXPECT_STREQ(call.params.outputName, "EUC-JP");
        EXPECT_STREQ(call.params.language, "Japanese");
        EXPECT_EQ(call.params.outputCode, 0x12345678U);
        EXPECT_EQ(call.params.options, EML_OPT_NEWLINE_2 | 0x40000000U);
        EXPECT_EQ(call.params.flags, 10U);
        EXPECT_EQ(call.params.outputLimit, 0x123456789ABCULL);
    });
}

TEST(HtmlHandOver, CutsStringsThatFillTheirFieldsWhole) {
    forEachEntry([](const Entry &entry) {
        HandOverFixture f(entry);
        std::memset(f.params.language, 'x', sizeof(f.params.language));
        ASSERT_EQ(entry.walker(&f.handle), EML_OK);
        ASSERT_EQ(f.host.inserts.size(), 1U);
        EXPECT_EQ(std::string_view(f.host.inserts[0].params.language, 256),
                  std::string(255, 'x') + std::string(1, '\0'));
    });
}

TEST(HtmlHandOver, GoesToTheOutputOfTheModeWithTheCallersCallback) {
    forEachEntry([](const Entry &entry) {
        for (const bool stream : {false, true}) {
            HandOverFixture f(entry);
            int callback = 0;
            f.handle.errCallback = &callback;
            if (stream) {
                f.useStream();
            }
            ASSERT_EQ(entry.walker(&f.handle), EML_OK);
            ASSERT_EQ(f.host.inserts.size(), 1U);
            EXPECT_EQ(f.host.inserts[0].toStream, stream);
            EXPECT_EQ(f.host.inserts[0].callback, &callback);
            EXPECT_EQ(f.output(), "{" + f.host.inserts[0].content + "}");
            f.expectNothingLeft();
        }
    });
}

TEST(HtmlHandOver, SharesTheOutputCountWithTheHost) {
    forEachEntry([](const Entry &entry) {
        HandOverFixture f(entry);
        f.session.savedOutputCount = 999; // stale
        f.handle.outputCount = 100;
        f.host.insert = [](const InsertCall &) { return std::string("twenty-one bytes here"); };
        ASSERT_EQ(entry.walker(&f.handle), EML_OK);
        ASSERT_EQ(f.host.inserts.size(), 1U);
        EXPECT_EQ(f.host.inserts[0].session.savedOutputCount, 100U);
        EXPECT_EQ(f.handle.outputCount, 121U);
    });
}

TEST(HtmlHandOver, HandsOverAClosedFileAndRemovesItAfterwards) {
    forEachEntry([](const Entry &entry) {
        HandOverFixture f(entry);
        int openDuringCall = -1;
        f.host.insert = [&f, &openDuringCall](const InsertCall &) {
            openDuringCall = f.host.openFiles();
            return std::string();
        };
        ASSERT_EQ(entry.walker(&f.handle), EML_OK);
        EXPECT_EQ(openDuringCall, f.ownFiles());
        ASSERT_EQ(f.host.inserts.size(), 1U);
        EXPECT_EQ(f.host.inserts[0].name, "/tmp/t1.htm");
        EXPECT_EQ(f.host.removed, std::vector<std::string>{"/tmp/t1.htm"});
    });
}

TEST(HtmlHandOver, ReturnsTheHostsErrorOrStoresItWhenTheFlagSaysSo) {
    forEachEntry([](const Entry &entry) {
        for (const bool keepGoing : {false, true}) {
            HandOverFixture f(entry);
            f.params.flags = keepGoing ? EML_FLAG_KEEP_GOING : EML_FLAG_ATTACHMENTS;
            f.host.insertResult = 777;
            EXPECT_EQ(entry.walker(&f.handle), keepGoing ? EML_OK : 777);
            EXPECT_EQ(f.handle.result, keepGoing ? 777 : 0);
            EXPECT_EQ(f.host.removed, std::vector<std::string>{"/tmp/t1.htm"});
            f.expectNothingLeft();
        }
    });
}

TEST(HtmlHandOver, FailsWith3000WithoutTheRecordAndRemovesTheFile) {
    forEachEntry([](const Entry &entry) {
        int allocations = 0;
        {
            HandOverFixture f(entry);
            ASSERT_EQ(entry.walker(&f.handle), EML_OK);
            allocations = f.host.count("QOB_malloc");
        }
        HandOverFixture f(entry);
        f.host.failCall("QOB_malloc", allocations); // the record is the last of them
        EXPECT_EQ(entry.walker(&f.handle), 3000);
        EXPECT_TRUE(f.host.inserts.empty());
        EXPECT_EQ(f.host.removed, std::vector<std::string>{"/tmp/t1.htm"});
        f.expectNothingLeft();
    });
}

TEST(HtmlHandOver, CallsNoHostWhenNeitherModeIsSet) {
    forEachEntry([](const Entry &entry) {
        HandOverFixture f(entry);
        f.handle.fileMode = 0;
        EXPECT_EQ(entry.walker(&f.handle), EML_OK);
        EXPECT_TRUE(f.host.inserts.empty());
        EXPECT_EQ(f.handle.result, 0);
        f.expectNothingLeft();
    });
}

TEST(HtmlHandOver, OfATextPartTakesTheDecodersLastResultForTheHostsWhenNeitherModeIsSet) {
    for (const bool keepGoing : {false, true}) {
        HandOverFixture f(kEntries[0]);
        f.handle.fileMode = 0;
        f.params.flags = keepGoing ? EML_FLAG_KEEP_GOING : 0;
        f.host.failCall("QOB_malloc", 1); // of the quoted-printable decoder
        EXPECT_EQ(Mix_Content_OnePart(&f.handle), keepGoing ? EML_OK : 3000);
        EXPECT_EQ(f.handle.result, keepGoing ? 3000 : 0);
        f.expectNothingLeft();
    }
}

} // namespace
