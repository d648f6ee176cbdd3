// SPDX-License-Identifier: MIT
// Every combination of the flags 0x1, 0x2, 0x4, 0x8, 0x10 and 0x8000 on a message with two
// attachments, in both modes, with a host that extracts them and with one that refuses.
#include <functional>

#include "support/attachment_messages.h"

namespace {

constexpr uint32_t kLimit = 100000; // never reached; it makes the filter count its output

// One combination of flags in one mode, and what it means for kTwoAttachments.
struct FlagsCase {
    uint32_t flags;
    bool stream;

    bool set(uint32_t flag) const { return (flags & flag) != 0; }
    bool labels() const { return set(0x2) && !set(0x8000); }
    bool handsOver() const { return set(0x2) && !set(0x4); }

    std::string firstLabel() const {
        return labels() ? "\nAttach1:\nattachmemt_name: one.png\n\n" : "";
    }
    std::string secondLabel() const {
        return labels() ? "\nAttach2:\nattachmemt_name: two.pdf\n\n" : "";
    }
    std::string inserted(const std::string &text) const { return handsOver() ? text : ""; }

    Extraction run(ScriptedHost &host) const {
        HostParams params = defaultParams();
        params.flags = flags;
        params.options |= EML_OPT_LIMIT_OUTPUT;
        params.outputLimit = kLimit;
        host.insert = insertedText;
        return extract(host, params, kTwoAttachments, stream);
    }
};

const std::string kHead = kHeadText + "Hello!\n";

void forEachCase(const std::function<void(const FlagsCase &)> &check) {
    for (uint32_t low = 0; low < 0x20; ++low) {
        for (const uint32_t high : {0x0U, 0x8000U}) {
            for (const bool stream : {false, true}) {
                const FlagsCase c = {low | high, stream};
                SCOPED_TRACE("flags " + std::to_string(c.flags) + (stream ? ", stream" : ", file"));
                check(c);
            }
        }
    }
}

TEST(AttachmentFlags, DecideOnLabelsAndTexts) {
    forEachCase([](const FlagsCase &c) {
        ScriptedHost host;
        const Extraction e = c.run(host);
        EXPECT_EQ(e.code, EML_OK);
        EXPECT_EQ(e.text, kHead + c.firstLabel() + c.inserted("<one\n>") + c.secondLabel() +
                              c.inserted("<two\n>"));
        EXPECT_EQ(host.inserts.size(), c.handsOver() ? 2U : 0U);
        expectCleanHost(host);
    });
}

TEST(AttachmentFlags, DecideOnTheSharedCount) {
    forEachCase([](const FlagsCase &c) {
        ScriptedHost host;
        c.run(host);
        const std::string first = kHead + c.firstLabel();
        const std::string second = first + c.inserted("<one\n>") + c.secondLabel();
        // Without sharing the host adds its first text to nothing, the second to the first.
        const size_t shared[] = {first.size(), second.size()};
        const size_t unshared[] = {0, std::string("<one\n>").size()};
        for (size_t n = 0; n < host.inserts.size(); ++n) {
            const InsertCall &call = host.inserts[n];
            EXPECT_EQ(call.session.savedOutputCount, c.set(0x8) ? shared[n] : unshared[n]);
            EXPECT_EQ(call.session.attachmentNumber, n);
            EXPECT_TRUE(call.sameParams);
            EXPECT_EQ(call.toStream, c.stream);
        }
    });
}

TEST(AttachmentFlags, DecideOnTheHostsRefusal) {
    forEachCase([](const FlagsCase &c) {
        ScriptedHost host;
        host.failCall("insert", 1, ScriptedHost::Failure::kFromThere);
        const Extraction e = c.run(host);
        const bool ended = c.handsOver() && !c.set(0x10);
        EXPECT_EQ(e.code, c.handsOver() ? 4242 : EML_OK);
        EXPECT_EQ(e.outputKept, c.stream || !ended);
        if (e.outputKept) {
            EXPECT_EQ(e.text, kHead + c.firstLabel() + (ended ? "" : c.secondLabel()));
        }
        EXPECT_EQ(host.inserts.size(), !c.handsOver() ? 0U : ended ? 1U : 2U);
        expectCleanHost(host);
    });
}

// One name is the entry point's, for the attachments; the other is the text part's.
TEST(AttachmentFlags, DecideOnTheTemporaryNames) {
    forEachCase([](const FlagsCase &c) {
        ScriptedHost host;
        c.run(host);
        const int both = c.stream ? 1 : 2; // the stream entry point's own name is never bound
        const int bound = c.set(0x1) ? both : 0;
        EXPECT_EQ(host.count("QOB_ASC_tmpnam1"), bound);
        EXPECT_EQ(host.count("QOB_ASC_tmpnam"), 2 - bound);
        if (bound > 0) {
            EXPECT_TRUE(host.called(std::string("QOB_ASC_tmpnam1 ") +
                                    (c.stream ? kInputName : kOutputName)));
        }
    });
}

} // namespace
