// SPDX-License-Identifier: MIT
// The output limit over a whole result: filter's text, the host's insertion, filter's text again.
#include "support/attachment_messages.h"

namespace {

const std::string kMessage =
    messageOf("multipart/mixed", "--b1\n"
                                 "Content-Type: text/plain; charset=us-ascii\n"
                                 "Content-Transfer-Encoding: quoted-printable\n"
                                 "\n"
                                 "Hello=21\n"
                                 "--b1\n"
                                 "Content-Type: image/png; name=\"a.png\"\n"
                                 "Content-Transfer-Encoding: base64\n"
                                 "Content-Disposition: attachment; filename=\"a.png\"\n"
                                 "\n"
                                 "aW5zZXJ0ZWQh\n"
                                 "--b1\n"
                                 "Content-Type: text/plain; charset=us-ascii\n"
                                 "Content-Transfer-Encoding: 7bit\n"
                                 "\n"
                                 "Bye\n");
const std::string kText =
    kHeadText + "Hello!\n\nAttach1:\nattachmemt_name: a.png\n\n<inserted!>Bye\n";

// A host that obeys the limit in what it inserts.
std::string insertedWithinLimit(const InsertCall &call) {
    const uint64_t room = call.params.outputLimit - call.session.savedOutputCount;
    return insertedText(call).substr(0, room);
}

TEST(OutputLimit, CutsTheResultAtEveryByteFromNoneToAll) {
    for (const bool stream : {false, true}) {
        for (size_t limit = 0; limit <= kText.size() + 1; ++limit) {
            ScriptedHost host;
            host.insert = insertedWithinLimit;
            HostParams params = defaultParams();
            params.options |= EML_OPT_LIMIT_OUTPUT;
            params.outputLimit = limit;
            const Extraction e = extract(host, params, kMessage, stream);
            EXPECT_EQ(e.text, kText.substr(0, limit)) << limit;
            EXPECT_TRUE(e.outputKept) << limit;
            // Only the file entry point reports the limit.
            EXPECT_EQ(e.code, !stream && limit < kText.size() ? EML_ERR_LIMIT : EML_OK) << limit;
            expectCleanHost(host);
        }
    }
}

TEST(OutputLimit, StillHandsTheAttachmentOver) {
    ScriptedHost host;
    host.insert = insertedWithinLimit;
    HostParams params = defaultParams();
    params.options |= EML_OPT_LIMIT_OUTPUT;
    params.outputLimit = 10;
    extractToFile(host, params, kMessage);
    ASSERT_EQ(host.inserts.size(), 1U);
    EXPECT_EQ(host.inserts[0].session.savedOutputCount, 10U);
    EXPECT_EQ(host.inserts[0].content, "inserted!");
}

TEST(OutputLimit, DoesNotCountTheInsertionWithoutSharing) {
    ScriptedHost host;
    host.insert = insertedText;
    HostParams params = defaultParams();
    params.flags = EML_FLAG_ATTACHMENTS;
    params.options |= EML_OPT_LIMIT_OUTPUT;
    params.outputLimit = kText.size() - std::string("<inserted!>").size();
    const Extraction e = extractToFile(host, params, kMessage);
    EXPECT_EQ(e.code, EML_OK);
    EXPECT_EQ(e.text, kText);
}

TEST(OutputLimit, IsNotInForceWithoutItsOption) {
    ScriptedHost host;
    host.insert = insertedText;
    HostParams params = defaultParams();
    params.outputLimit = 3;
    const Extraction e = extractToFile(host, params, kMessage);
    EXPECT_EQ(e.code, EML_OK);
    EXPECT_EQ(e.text, kText);
}

} // namespace
