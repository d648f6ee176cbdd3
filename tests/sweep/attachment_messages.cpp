// SPDX-License-Identifier: MIT
// Digests and messages with attachments; and the list of all messages.
#include "swept_messages.h"

namespace {

const std::string kQp = "Content-Transfer-Encoding: quoted-printable\n";
const std::string kBase64 = "Content-Transfer-Encoding: base64\n";
const std::string kPdf = "--B\nContent-Type: application/pdf\n";

std::string mixed(const std::string &parts) {
    return multipartWithEpilogue("multipart/mixed", parts);
}
std::string digest(const std::string &entries) {
    return multipartWithEpilogue("multipart/digest", entries);
}

std::string disposition(const std::string &parameters) {
    return "Content-Disposition: attachment; " + parameters + "\n";
}

const std::string kNamedPdf = kPdf + kBase64 + disposition("filename=\"two.pdf\"") + "\nUERG\n\n";
const std::string kEntries = "--B\nFrom: x\nSubject: first\n\nOne\n--N\nnested\n--N--\n"
                             "--B\nFrom: y\nSubject:\n\nTwo\n";

} // namespace

std::vector<SweptMessage> digestMessages() {
    return {
        {.name = "Digest", .text = digest(kEntries)},
        {.name = "DigestWithoutLabels",
         .text = digest(kEntries),
         .flags = EML_FLAG_ATTACHMENTS | EML_FLAG_NO_LABELS},
        {.name = "DigestNotHandedOver",
         .text = digest(kEntries),
         .flags = kUsualFlags | EML_FLAG_NO_HANDOVER},
        {.name = "DigestLeftOut", .text = digest(kEntries), .flags = 0},
        {.name = "DigestLongDelimiters",
         .text = digest("--B\nFrom: x\nSubject: s\n\nOne\n--B" + std::string(90, ' ') +
                        "\nFrom: y\nSubject: t\n\nTwo\n"),
         .flags = EML_FLAG_ATTACHMENTS | EML_FLAG_NO_LABELS},
        {.name = "DigestCutOff",
         .text = kHead + "Content-Type: multipart/digest; boundary=\"B\"\n\n--B\nFrom: x\n\nOne\n"},
        {.name = "DigestOfTwoBlocks",
         .text = digest("--B\nFrom: x\n\n" + linesOf(11, 1600, 'x') + "--B\nFrom: y\n\nTwo\n")},
    };
}

std::vector<SweptMessage> attachmentMessages() {
    return {
        {.name = "AttachmentBase64", .text = mixed(kNamedPdf)},
        {.name = "AttachmentStopsAtHostErrors",
         .text = multipart("multipart/mixed", kNamedPdf),
         .flags = EML_FLAG_ATTACHMENTS},
        {.name = "AttachmentQuotedPrintable",
         .text = mixed("--B\nContent-Type: text/csv; name=\"a.csv\"\n" + kQp +
                       disposition("filename=\"a.csv\"") + "\na=3Db=\nc\n\n")},
        {.name = "AttachmentRaw",
         .text = mixed("--B\nContent-Type: text/csv; name=\"a.csv\"\n" +
                       disposition("filename=\"a.csv\"") + "\na;b\n\nc\n")},
        {.name = "AttachmentNamedBeforeItsType",
         .text = mixed("--B\n" + disposition("filename=\"x.pdf\"") + kBase64 +
                       "Content-Type: application/pdf\n charset=\"utf-8\"\n\nUERG\n\n")},
        {.name = "AttachmentCharsetBeforeItsType",
         .text = mixed("--B\nContent-Disposition: attachment;\n filename=\"x.csv\"\n"
                       "Content-Type: text/csv; name=\"x\";\n charset=\"utf-8\"\n\na;b\n")},
        {.name = "AttachmentNamedByItsType",
         .text = mixed("--B\nContent-Type: application/pdf; name=\"n.pdf\"\n" + kBase64 +
                       "\nheader line\n\nUERG\n\n")},
        {.name = "AttachmentFoldedName",
         .text = mixed(kPdf + disposition("filename=\"=?UTF-8?B?YQ==?=") + "  rest\"\n" + kBase64 +
                       "\nUERG\n\n")},
        {.name = "AttachmentExtendedName",
         .text =
             mixed(kPdf + disposition("filename*0*=utf-8''a;") + " filename*1*=b.pdf\n" + kBase64 +
                   "\nUERG\n\n" + kPdf + disposition("filename=\"\" \"late\"") + "\nraw\n")},
        {.name = "AttachmentWithoutANameOrMessage",
         .text = mixed("--B\nContent-Type: image/png; Name=x\n\ndropped\n--B\nX: y\n")},
        {.name = "AttachmentNamedInOtherCase",
         .text = mixed("--B\nContent-Disposition: attachment; FileName=\"x.csv\"\n"
                       "Content-Type: text/csv; Name=x\n\na;b\n--B\n"
                       "Content-Type: image/png; name*=x\nContent-Disposition: x; filename*=x\n\n"
                       "raw\n")},
        {.name = "AttachmentUnnamedApplication", .text = mixed(kPdf + kBase64 + "\nUERG\n\n")},
        {.name = "AttachmentMessage",
         .text = mixed("--B\nContent-Type: message/rfc822\nContent-Disposition: attachment\n\n"
                       "From: x\nContent-Disposition: inline\n\ninner\n--B\n"
                       "Content-Type: message/rfc822\n\nFrom: y\n\nlast\n")},
        {.name = "AttachmentMessageNamed",
         .text = mixed("--B\nContent-Type: message/rfc822\n"
                       "Content-Disposition: inline; filename=\"m.eml\"\n" +
                       disposition("filename=\"again.eml\"") + "\nFrom: x\n\ninner\n--B\n" +
                       "Content-Type: message/rfc822; name=\"n.eml\"\n\n\n\nFrom: y\n")},
        {.name = "AttachmentNestedMessage",
         .text = mixed("--B\nContent-Type: multipart/mixed; boundary=\"N\"\n\n--N\n"
                       "Content-Type: message/rfc822\n\n\nFrom: x\n\ninner\n--N--\n")},
        {.name = "AttachmentAppleDouble",
         .text = mixed("--B\nContent-Type: multipart/appledouble; name=\"x\";\n boundary=\"A\"\n\n"
                       "--A\nContent-Type: application/applefile\n" +
                       kBase64 + disposition("filename=\"x\"") + "\nUERG\n\n--A--\n\n")},
        {.name = "AttachmentInANestedMultipart",
         .text = mixed("--B\nContent-Type: multipart/mixed; boundary=\"N\"\n\n--N\n" +
                       std::string("Content-Type: application/pdf\n") + kBase64 +
                       disposition("filename=\"n.pdf\"") + "\nUERG\n\n--N--\n\n" +
                       "--B\nContent-Type: multipart/mixed; boundary=\"N\"\n\n--N\n" +
                       "Content-Type: text/csv; name=\"n.csv\"\n" + kQp +
                       disposition("filename=\"n.csv\"") + "\na=3Db\n\n--N--\n\n")},
        {.name = "AttachmentAtANestedBoundary",
         .text = mixed("--B\nX: y\n--B\nContent-Type: image/png\n--X\n"
                       "Content-Type: application/pdf; name=\"n.pdf\"\n--X\n--X--\n" +
                       disposition("filename=\"n.pdf\"") + "\nraw\n--X\nmore\n--X--\n")},
        {.name = "AttachmentWithoutLabels",
         .text = mixed(kNamedPdf + kPdf + "\nraw\n"),
         .flags = kUsualFlags | EML_FLAG_NO_LABELS},
        {.name = "AttachmentNotHandedOver",
         .text = mixed(kNamedPdf),
         .flags = EML_FLAG_ATTACHMENTS | EML_FLAG_NO_HANDOVER},
        {.name = "AttachmentLeftOut", .text = mixed(kNamedPdf), .flags = 0},
        {.name = "AttachmentsOverTheLimit",
         .text = mixed(kNamedPdf + kNamedPdf),
         .options = EML_OPT_LIMIT_OUTPUT | EML_OPT_1000 | EML_OPT_MIRROR_COUNT,
         .limit = 90,
         .code = EML_ERR_LIMIT},
        {.name = "AttachmentOfTwoBlocks",
         .text = mixed(kPdf + disposition("filename=\"x\"") + "\n" + linesOf(12, 1500, 'x'))},
    };
}

const std::vector<SweptMessage> &sweptMessages() {
    static const std::vector<SweptMessage> all = [] {
        std::vector<SweptMessage> joined;
        for (const auto &group :
             {headerMessages(), singlePartMessages(), mixedMessages(), nestedAlternativeMessages(),
              messageAlternativeMessages(), digestMessages(), attachmentMessages()}) {
            joined.insert(joined.end(), group.begin(), group.end());
        }
        return joined;
    }();
    return all;
}
