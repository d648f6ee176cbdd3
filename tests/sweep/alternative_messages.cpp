// SPDX-License-Identifier: MIT
// Messages that are alternatives themselves.
#include "swept_messages.h"

namespace {

const std::string kPlain = "--B\nContent-Type: text/plain; charset=utf-8\n";
const std::string kHtml = "--B\nContent-Type: text/html; charset=utf-8\n";
const std::string kQp = "Content-Transfer-Encoding: quoted-printable\n";
const std::string kBase64 = "Content-Transfer-Encoding: base64\n";

std::string alternative(const std::string &parts) {
    return multipart("multipart/alternative", parts);
}
std::string related(const std::string &parts) {
    return multipartWithEpilogue("multipart/related", parts);
}
std::string htmlIn(const std::string &charset) {
    return alternative("--B\nContent-Type: text/html; charset=" + charset +
                       "\n\n<p>~{VPND~}</p>\n");
}

const std::string kInner = "--B\nContent-Type: multipart/alternative;\n boundary=\"I\"\n\n";

} // namespace

std::vector<SweptMessage> messageAlternativeMessages() {
    const char *const left = "plain text in front of an inner closing delimiter, or of a NextPart "
                             "line, is neither written nor removed";
    return {
        {.name = "AlternativePlainThenHtml",
         .text = alternative(kPlain + "\nHello\n\nyou\n" + kHtml + "\n<p>x\n\n</p>\n")},
        {.name = "AlternativePlainOnly", .text = alternative(kPlain + "\nHello\n\nyou\n")},
        {.name = "AlternativePlainEncoded",
         .text = alternative("X: y\n" + kPlain + kQp + "\na=3Db\n\n" + "--B\n" + kBase64 +
                             "Content-Type: text/plain; charset=utf-8\n\nSGVsbG8=\n\n")},
        {.name = "AlternativeEmptyPlain",
         .text =
             alternative(kPlain + kQp + "X-Other: y\n\n\n\n") + "\n" + kPlain + "\nafter\n--B--\n"},
        {.name = "AlternativeHtmlEncoded",
         .text = alternative(kHtml + kQp + "\n<p a=3Db>\n") + kHtml + kBase64 +
                 "Content-ID: <x>\n\nPHA+\n\n--B--\n"},
        {.name = "AlternativeHtmlStopsAtHostErrors",
         .text = alternative(kHtml + "\n<p>x</p>\n"),
         .flags = EML_FLAG_ATTACHMENTS | EML_FLAG_BOUND_TMPNAM},
        {.name = "AlternativeHtmlCutOff",
         .text = kHead + "Content-Type: multipart/alternative; boundary=\"B\"\n\n" + kHtml +
                 "\n<p>x</p>\n"},
        {.name = "AlternativeUtf7", .text = htmlIn("utf-7")},
        {.name = "AlternativeHz", .text = htmlIn("hz-gb-2312")},
        {.name = "AlternativeOfTwoBlocks",
         .text = alternative(kHtml + "\n" + linesOf(12, 1500, 'x'))},
        {.name = "AlternativeWithNames",
         .text = alternative("--B\nContent-Type: text/plain; name=\"x\"\n indented\n\nHello\n"
                             "--B\n indented too\nContent-Type: image/gif;\n boundary=\"x\"\n"
                             " charset=utf-8\n\nR0lG\n" +
                             kPlain + "\nend\n")},
        {.name = "AlternativeNextPartBehindPlain",
         .text = alternative(kPlain + "\nHello\n------=_NextPart_000\nrest\n"),
         .leaves = {1, 0, left}},
        {.name = "AlternativeNextPartBehindHtml",
         .text = alternative(kHtml + "\n<p>x</p>\n------=_NextPart_000\nrest\n")},
        {.name = "RelatedWithInnerAlternative",
         .text = related(kInner + "--I\nContent-Type: text/plain;\n charset=\"utf-8\"\n" + kQp +
                         "\na=3D\n--I\nContent-Type: text/html;\n charset=\"utf-8\"\n" + kQp +
                         "\n<p>\n--I\nContent-Type: image/gif\n\nR0lG\n--I--\n\n")},
        {.name = "RelatedInnerPlainLast",
         .text = related(kInner + "--I\nContent-Type: text/plain; charset=utf-8\n\nHello\n"
                                  "--I--\n\n"),
         .leaves = {1, 0, left}},
        {.name = "RelatedInnerHtmlLast",
         .text = related(kInner + "--I\nContent-Type: text/html; charset=utf-8\n\n<p>\n--I--\n\n")},
        {.name = "RelatedEmptyCharset",
         .text = related("--B\nContent-Type: text/plain; charset=\n" + kQp + "\ndropped\n\n--B\n" +
                         "Content-Type: text/html; charset=\n\n<dropped>\n\n--B\n" +
                         "Content-Type: image/gif\n--B\n" + kPlain.substr(4) + "\nlast\n")},
        {.name = "RelatedInnerPartsWithoutText",
         .text = related(kInner + "--I\nContent-Type: text/html; charset=utf-8\n--I\n" +
                         "Content-Type: text/plain\n--I\n--I\nX: y\n\nHello\n" + kQp +
                         "boundary=\"I\"\n\na=3D\nboundary=\"I\"\n")},
        {.name = "AlternativeFoldedEncoding",
         .text = alternative("--B\nContent-Type: text/plain; charset=utf-8\n " + kBase64 +
                             "text/html\n\nPHA+\n\n")},
        {.name = "AlternativeImageBehindPlain",
         .text = alternative(kPlain + "\nHello\n--B\nContent-Type: text/plain;\n " + kBase64 +
                             "text/html\n\nPHA+\n\n--B\nContent-Type: image/gif\n\nR0lG\n"
                             "--B\nX: y\n")},
        {.name = "AlternativeLongEncodingLine",
         .text = alternative("--B\nX: y\n" + kPlain + longLine(kQp) + "Content-ID: <x>\n\na=3D\n")},
        {.name = "AlternativeClosesAtOnce", .text = alternative(kPlain)},
        {.name = "RelatedTypeBelowTheEncoding",
         .text = related("--B\nContent-Type: text/plain\n" + kQp +
                         "Content-Type: text/html; charset=utf-8\n\n<p a=3Db>\n\n--B\nX: y\n" +
                         kBase64 + "\n" + kQp + "boundary=\"J\"\n")},
    };
}
