// SPDX-License-Identifier: MIT
// Messages that are about their header, and messages without parts.
#include "swept_messages.h"

namespace {

constexpr uint32_t kLimited = EML_OPT_LIMIT_OUTPUT;

const std::string kBody = "\nHello\n\nyou\nthere\n";

std::string typed(const std::string &fields, const std::string &body) {
    return kHead + fields + "\n" + body;
}

const std::string kQp = "Content-Transfer-Encoding: quoted-printable\n";
const std::string kBase64 = "Content-Transfer-Encoding: base64\n";
const std::string kPlain = "Content-Type: text/plain; charset=utf-8\n";
const std::string kHtml = "Content-Type: text/html; charset=utf-8\n";
const std::string kPlainWithBoundary = "Content-Type: text/plain; boundary=\"B\"; charset=utf-8\n";
const std::string kHtmlWithBoundary = "Content-Type: text/html; boundary=\"B\"; charset=utf-8\n";
const std::string kQpBody = "a=3Db=\njoined\n\nend=0D=0A\n=4\n";
const std::string kBase64Body = "SGVsbG8sIHlvdSE=\n\n";

} // namespace

std::vector<SweptMessage> headerMessages() {
    return {
        {.name = "AllFieldsAndDateInPlace",
         .text = "From: =?UTF-8?B?YWJj?= \"q\" <a@b>\nTo: c@d\nCc: e@f\nBcc: g@h\n"
                 "Subject: =?iso-8859-1?Q?a=20b?= =?UTF-8?B?Yw==?= z\n"
                 "Date: Mon, 1 Jan 2024 00:00:00 +0000\n" +
                 kPlain + kBody},
        {.name = "FoldedFieldsAndLists",
         .text = "Date: early\nX-MimeOLE: x\nX-Other: y\nFROM:\n folded <a@b>\nTo: c@d,\n"
                 "not folded\nTo: second\nTo:none,\n last\nCc:x@y\n e,\n f@g\nBcc: h@i,\nj@k\n l\n"
                 "Subject:\n more\n still =?\nSubject: again <open\nDate: later\n" +
                 kPlain + kBody},
        {.name = "EncodedWordsThatEndBadly",
         .text = "From: =??B?YQ==?= =?UTF-8?B?\?= =?x?Q?never ends\n"
                 "Subject: =?UTF-8?Q?soft=?= \"=?UTF-8?b?YWI=?= \" =?" +
                 std::string(40, 'c') + "?Q?d?=\n" + kPlain + kBody},
        {.name = "NoKnownField", .text = "X: y\n\nbody\n", .code = EML_ERR_FORMAT},
        {.name = "Empty", .text = ""},
        {.name = "HeaderWithoutAnEnd", .text = "From: a@b\nSubject: s"},
        {.name = "HeaderEndsAtABoundary",
         .text = kHead + "Content-Type: multipart/mixed;\n boundary=\"B\"\n--B\n"
                         "Content-Type: text/plain\n\nHello\n--B--\n"},
        {.name = "HeaderLongerThanABlock",
         .text = "From: a@b\n" + linesOf(9, 2040, 'x') + "Subject: s\n" + kPlain + kBody},
        {.name = "AddressesWithoutBlanks",
         .text = "To:\nTo:x@y,\nFrom:z\nCc:\nCc: a\n b,\nBcc:c\nBcc: d,\ne\n"
                 "Content-Type: text/plain; Boundary=\"B\"\n--no boundary\n" +
                 kBody},
        {.name = "LimitInTheHeader",
         .text = typed(kPlain, "Hello\n"),
         .options = kLimited,
         .limit = 8,
         .code = EML_ERR_LIMIT},
        {.name = "LimitInTheBody",
         .text = typed(kPlain, "Hello\n\nyou\n"),
         .options = kLimited | EML_OPT_1000 | EML_OPT_MIRROR_COUNT,
         .limit = 40,
         .code = EML_ERR_LIMIT},
        {.name = "ZeroBeforeEveryLineEnd",
         .text = typed(kPlain, "Hello\n\nyou\n"),
         .options = EML_OPT_ZERO_BEFORE_LINE_END},
    };
}

std::vector<SweptMessage> singlePartMessages() {
    return {
        {.name = "Plain", .text = typed(kPlain, kBody)},
        {.name = "PlainOfThreeBlocks", .text = typed(kPlain, linesOf(18, 2000, 'x'))},
        {.name = "PlainQuotedPrintable", .text = typed(kPlain + kQp, kQpBody)},
        {.name = "PlainBase64",
         .text = typed(kPlain + kBase64, kBase64Body),
         .flags = kUsualFlags | EML_FLAG_BOUND_TMPNAM},
        {.name = "PlainLongLogicalLine",
         .text = typed(kPlain + kQp, linesOf(2, 2047, 'x') + std::string(3000, 'y') + "=\n" +
                                         std::string(2040, 'z') + "=\nend\n")},
        {.name = "Html", .text = typed(kHtml, "\n<p>Hello</p>\n\n<p>you</p>\n")},
        {.name = "HtmlOfThreeBlocks", .text = typed(kHtml, linesOf(18, 2000, 'x'))},
        {.name = "HtmlQuotedPrintable", .text = typed(kHtml + kQp, "<p a=3Db>\nx\n")},
        {.name = "HtmlBase64",
         .text = typed(kHtml + kBase64, "PHA+SGVsbG88L3A+\n\n"),
         .flags = EML_FLAG_ATTACHMENTS},
        {.name = "MixedWithoutABoundary",
         .text = typed("Content-Type: multipart/mixed\n", "<p>Hello\n\n</p>\n")},
        {.name = "Untyped", .text = typed("", "Hello\n\nyou\n")},
        {.name = "UntypedQuotedPrintable", .text = typed(kQp, "a=3Db\n\nc\n")},
        {.name = "UntypedBase64", .text = typed(kBase64, kBase64Body)},
        {.name = "Image", .text = typed("Content-Type: image/gif\n", "R0lG\n")},
        {.name = "ImageWithABoundary",
         .text = typed("Content-Type: image/gif; boundary=\"B\"\n", "R0lG\n")},
        {.name = "PlainWithABoundary", .text = typed(kPlainWithBoundary, kBody)},
        {.name = "PlainWithABoundaryQuotedPrintable",
         .text = typed(kPlainWithBoundary + kQp, kQpBody)},
        {.name = "PlainWithABoundaryBase64",
         .text = typed(kPlainWithBoundary + kBase64, kBase64Body)},
        {.name = "HtmlWithABoundary", .text = typed(kHtmlWithBoundary, "<p>Hello\n\n</p>\n")},
        {.name = "HtmlWithABoundaryQuotedPrintable",
         .text = typed(kHtmlWithBoundary + kQp, "<p a=3Db>\n\nx\n")},
        {.name = "HtmlWithABoundaryBase64",
         .text = typed(kHtmlWithBoundary + kBase64, "PHA+SGVsbG88L3A+\n\n")},
        {.name = "HtmlWithABoundaryOfTwoBlocks",
         .text = typed(kHtmlWithBoundary, linesOf(10, 2000, 'x') + "\n")},
    };
}
