// SPDX-License-Identifier: MIT
// Mixed messages: text parts, skipped parts, and alternatives inside them.
#include "swept_messages.h"

namespace {

const std::string kPlainPart = "--B\nContent-Type: text/plain; charset=utf-8\n";
const std::string kHtmlPart = "--B\nContent-Type: text/html; charset=utf-8\n";
const std::string kQp = "Content-Transfer-Encoding: quoted-printable\n";
const std::string kBase64 = "Content-Transfer-Encoding: base64\n";
const std::string kEightBit = "Content-Transfer-Encoding: 8bit\n";

std::string mixed(const std::string &parts) {
    return multipart("multipart/mixed", parts);
}
std::string mixedWithEpilogue(const std::string &parts) {
    return multipartWithEpilogue("multipart/mixed", parts);
}
// A mixed message that ends in the middle of its last part.
std::string cutOff(const std::string &parts) {
    const std::string whole = mixed(parts);
    return whole.substr(0, whole.size() - std::string("--B--\n").size());
}

const std::string kAlternative = "--B\nContent-Type: multipart/alternative; boundary=\"I\"\n\n";
const std::string kInnerPlain = "--I\nContent-Type: text/plain; charset=utf-8\n";
const std::string kInnerHtml = "--I\nContent-Type: text/html; charset=utf-8\n";

std::string nested(const std::string &parts) {
    return mixedWithEpilogue(kAlternative + parts + "--I--\n\n");
}

} // namespace

std::vector<SweptMessage> mixedMessages() {
    return {
        {.name = "MixedPlain",
         .text = mixed(kPlainPart + "\nHello\n\nyou\n--B goes on\nContent-Description: x\nend\n")},
        {.name = "MixedPlainEncoded",
         .text = mixedWithEpilogue(kPlainPart + kQp + "\na=3Db=\nc\n\nd\n" + kPlainPart + kBase64 +
                                   "\nSGVsbG8=\n\n" + kPlainPart + kEightBit + "\nraw\n")},
        {.name = "MixedPlainEncodingBelowTheType",
         .text = mixed("--B\nContent-Type: text/plain\n" + kQp + " charset=\"utf-8\"\n\na=3D\n" +
                       kBase64 + "\nSGVsbG8=\n\n--B\n" + kBase64 +
                       "Content-Type: text/plain;\n charset=\"utf-8\"\n\nSGVsbG8=\n\n")},
        {.name = "MixedPlainCutOff",
         .text = cutOff(kPlainPart + kBase64 + "\nSGVsbG8=\n\n"),
         .leaves = {1, 0, "encoded text that no boundary ends is lost, and its file stays"}},
        {.name = "MixedPlainCutOffBeforeItsText", .text = cutOff(kPlainPart + "\nraw\n")},
        {.name = "MixedHtml",
         .text =
             mixedWithEpilogue(kHtmlPart + "\n<p>Hello\n\n</p>\n" + kHtmlPart + kQp +
                               "\n<p a=3Db>\n\n" + kHtmlPart + kBase64 + "\nPHA+SGVsbG88L3A+\n\n")},
        {.name = "MixedHtmlStopsAtHostErrors",
         .text = mixed(kHtmlPart + "\n<p>Hello</p>\n"),
         .flags = EML_FLAG_ATTACHMENTS | EML_FLAG_BOUND_TMPNAM},
        {.name = "MixedHtmlCutOff",
         .text = cutOff("--B\nContent-Type: text/html;\n charset=\"utf-8\"\n\n<p>Hello</p>\n")},
        {.name = "MixedOfTwoBlocks",
         .text = mixed(kPlainPart + "\n" + linesOf(12, 1500, 'x') + kPlainPart + kBase64 +
                       "\nSGVsbG8=\n\n")},
        {.name = "MixedSkippedParts",
         .text = mixedWithEpilogue("--B\nContent-Type: image/gif\n\nR0lG\n"
                                   "--B\nContent-Type: multipart/mixed; boundary=\"N\"\n\n"
                                   "--N\nContent-Type: text/plain\n\nnested\n--N--\n"
                                   "--B\nContent-Type: message/delivery-status\n\nStatus: 5\n"
                                   "--X\nContent-Disposition: inline\n  --X indented\n" +
                                   kPlainPart + "\nend\n")},
        {.name = "MixedEmptyCharset",
         .text = mixed("--B\nContent-Type: text/plain; charset=\n" + kBase64 +
                       "\nnot text yet\n charset=\"utf-8\"\n\nSGVsbG8=\n\n")},
        {.name = "MixedDeliveryStatusInAMessage",
         .text = mixed("  indented\n--B\nX: y\n indented\n"
                       "Content-Type: message/delivery-status; boundary=\"N\"\n\n--M\n--N\n"
                       "Content-Type: message/rfc822\n\nFrom: x\n\ninner\n")},
        {.name = "MixedSecondBoundaryHidesTheNestedOne",
         .text = mixed("--B\nContent-Type: multipart/mixed; boundary=\"N\"\n\n--B\n--N\n" +
                       std::string("Content-Type: text/plain\n\nouter\n"))},
        {.name = "MixedLongEncodingLine",
         .text = mixedWithEpilogue(kPlainPart + longLine(kQp) + "\na=3D\n")},
        {.name = "MixedStopsAtADot", .text = mixed("--B\nX: y\n.\n" + kPlainPart + "\nnever\n")},
        {.name = "MixedFoldedType",
         .text = mixed("--B\nContent-Type: image/png;\n x=y\n charset=utf-8\n"
                       " text/plain; charset=utf-8\n\nR0lG\n")},
        {.name = "UntypedWithABoundary",
         .text = multipart("multipart/signed", kPlainPart + "\nsigned\n")},
        {.name = "Report",
         .text = multipartWithEpilogue(
             "multipart/report", kPlainPart +
                                     "\nreport\n--B\nContent-Type: message/delivery-status\n\n"
                                     "Status: 5.0.0\n\n--B\nContent-Type: message/rfc822\n\n"
                                     "From: x\n\ninner\n")},
    };
}

std::vector<SweptMessage> nestedAlternativeMessages() {
    const Leftovers left = {1, 1,
                            "text behind an image or message part is neither written, nor "
                            "is its file closed or removed"};
    return {
        {.name = "NestedPlainThenHtml",
         .text = nested(kInnerPlain + kQp + "\na=3Db\n\nc\n" + kInnerHtml + "\n<p>x\n\n</p>\n")},
        {.name = "NestedHtmlThenPlain",
         .text = nested(kInnerHtml + kQp + "\n<p a=3Db>\n\n" + kInnerPlain + kBase64 +
                        "\nSGVsbG8=\n\n")},
        {.name = "NestedPlainRaw",
         .text = nested(kInnerPlain + kEightBit + "\nraw\n\ntext\n" + kEightBit + "gone\n")},
        {.name = "NestedSecondPlain",
         .text = nested(kInnerPlain + kEightBit + "\nfirst\n" + kInnerPlain + kEightBit +
                        "\nsecond\n")},
        {.name = "NestedPlainWithoutAnEncoding", .text = nested(kInnerPlain + "\ndropped\n")},
        {.name = "NestedImageLast",
         .text = nested(kInnerPlain + kEightBit + "\nkept back\n--I\nContent-Type: image/gif\n" +
                        "Content-Disposition: inline\n\nR0lG\n"),
         .leaves = left},
        {.name = "NestedMessageLastCutOff",
         .text = cutOff(kAlternative + kInnerPlain + kEightBit +
                        "\nkept\n--I\n"
                        "Content-Type: text/enriched\n" +
                        kBase64 + "\nPEhUTUw+\n\nPHA+\n\n")},
        {.name = "NestedFoldedParameters",
         .text = mixedWithEpilogue("--B\nContent-Type: multipart/related;\n boundary=\"I\"\n\n" +
                                   std::string("--I\nContent-Type: text/html;\n charset=\"utf-8\"\n"
                                               "\n<HTML><p>x</p>\n") +
                                   "--I\nX: y\nContent-Type: text/plain;\n charset=\"utf-8\"\n" +
                                   kEightBit + "\nHello\n--I--\n\n")},
        {.name = "NestedHtmlGoesOnBelowAnEncoding",
         .text = nested(kInnerHtml + "X: y\n folded\n\n<p>\n" + kQp + "X: z\n<p a=3Db>\n\n" +
                        "boundary=\"I\"\n--I goes on\n")},
        {.name = "NestedLongLines",
         .text = mixedWithEpilogue(kAlternative + kInnerPlain + longLine(kQp) + "\na=3D\n" +
                                   longLine("--I--\n") + "\n")},
        {.name = "NestedWithoutItsBoundary",
         .text = mixedWithEpilogue("--B\nContent-Type: multipart/alternative\nX: y\n"
                                   "boundary=\"I\"\n" +
                                   kInnerPlain + kEightBit + "\nHello\n--I--\n\n")},
        {.name = "NestedEndsAtTheOuterBoundary",
         .text = mixed(kAlternative + kInnerPlain + kEightBit + "\nHello\n--B\nX: y\n")},
        {.name = "NestedHtmlEndsAtTheOuterBoundary",
         .text = mixed(kAlternative + kInnerHtml +
                       "\n<p>x</p>\nContent-Type: dropped\n"
                       "boundary=\"J\"\n"),
         .flags = EML_FLAG_ATTACHMENTS},
    };
}
