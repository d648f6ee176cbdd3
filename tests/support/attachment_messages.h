// SPDX-License-Identifier: MIT
// Whole messages with attachments, and whole calls on them in both modes.
#ifndef QOB_TESTS_ATTACHMENT_MESSAGES_H
#define QOB_TESTS_ATTACHMENT_MESSAGES_H

#include <string>

#include "support/walker_fixture.h"

// What the header of these messages comes to, the label of the body included.
inline const std::string kHeadText = "From: a@b\nSubject: s\n\n\nContent: \n";

// A message of the type `type` with the boundary "b1" around `parts`, and an epilogue that keeps
// the last part away from the end of the last block.
inline std::string messageOf(const std::string &type, const std::string &parts) {
    return "From: a@b\nSubject: s\nContent-Type: " + type + "; boundary=\"b1\"\n\n" + parts +
           "--b1--\n\n" + std::string(100, '.') + "\n";
}

inline const std::string kTwoAttachments =
    messageOf("multipart/mixed", "--b1\n"
                                 "Content-Type: text/plain; charset=us-ascii\n"
                                 "Content-Transfer-Encoding: quoted-printable\n"
                                 "\n"
                                 "Hello=21\n"
                                 "--b1\n"
                                 "Content-Type: image/png; name=\"one.png\"\n"
                                 "Content-Transfer-Encoding: base64\n"
                                 "Content-Disposition: attachment; filename=\"one.png\"\n"
                                 "\n"
                                 "b25l\n"
                                 "\n"
                                 "--b1\n"
                                 "Content-Type: application/pdf\n"
                                 "Content-Transfer-Encoding: base64\n"
                                 "Content-Disposition: attachment; filename=\"two.pdf\"\n"
                                 "\n"
                                 "dHdv\n"
                                 "\n");

inline const std::string kDigest = messageOf("multipart/digest", "--b1\n"
                                                                 "From: x\n"
                                                                 "Subject: first\n"
                                                                 "\n"
                                                                 "One\n"
                                                                 "--b1\n"
                                                                 "From: y\n"
                                                                 "\n"
                                                                 "Two\n");

// The same message with CR LF for every LF.
inline std::string withCrLf(const std::string &message) {
    std::string result;
    for (const char c : message) {
        result += c == '\n' ? "\r\n" : std::string(1, c);
    }
    return result;
}

inline Extraction extract(ScriptedHost &host, const HostParams &params, std::string_view message,
                          bool stream) {
    return stream ? extractToStream(host, params, message) : extractToFile(host, params, message);
}

// Checks that the call left nothing but its input and, if kept, its output.
inline void expectCleanHost(const ScriptedHost &host) {
    EXPECT_EQ(host.liveAllocations(), 0U);
    EXPECT_EQ(host.openFiles(), 0);
    EXPECT_EQ(host.logsOpen, 0);
    EXPECT_EQ(host.convertersOpen, 0);
    EXPECT_TRUE(host.filesBut({kInputName, kOutputName}).empty());
}

#endif
