// SPDX-License-Identifier: MIT
// Content types and transfer encodings as the header reader and the walkers see them.
#include <cctype>
#include <string>

#include "emlcontent/field_finders.h"
#include "support/exact_text.h"

#include <gtest/gtest.h>

namespace {

constexpr int32_t kBefore = 99; // a code that no value gives

int32_t messageType(const std::string &value) {
    ExtractionHandle handle = {};
    handle.contentType = kBefore;
    EXPECT_EQ(analyzeContentType(&handle, exactString(value).data()), 0);
    return handle.contentType;
}

int32_t partType(const std::string &value) {
    ExtractionHandle handle = {};
    handle.partContentType = kBefore;
    EXPECT_EQ(analyzeContentType_pre(&handle, exactString(value).data()), 0);
    return handle.partContentType;
}

int32_t messageEncoding(const std::string &value) {
    ExtractionHandle handle = {};
    handle.transferEncoding = kBefore;
    EXPECT_EQ(findTransfer(&handle, exactString(value).data()), 0);
    return handle.transferEncoding;
}

int32_t partEncoding(const std::string &value) {
    ExtractionHandle handle = {};
    handle.partTransferEncoding = kBefore;
    EXPECT_EQ(findTransfer_pre(&handle, exactString(value).data()), 0);
    return handle.partTransferEncoding;
}

struct TypeRow {
    std::string value;
    int32_t message;
    int32_t part;
};
// Unknown values leave the message's code and clear the part's.
const TypeRow kTypes[] = {
    {"text/plain", 1, 1},
    {"text/html", 2, 2},
    {"text/enriched", kBefore, 2},
    {"application", 3, 3},
    {"multipart/mixed", 4, 4},
    {"multipart/alternative", 5, 5},
    {"multipart/related", 6, 5},
    {"multipart/report", 7, 0},
    {"multipart/appledouble", kBefore, 7},
    {"image/jpeg", 8, 8},
    {"image/gif", 9, 9},
    {"multipart/digest", 10, 0},
    {"message/rfc822", kBefore, 20},
    {"message/delivery-status", kBefore, 30},
    {"multipart/signed", kBefore, 0},
    {"text/calendar", kBefore, 0},
    {"image/png", kBefore, 0},
};

TEST(ContentType, BecomesACode) {
    for (const TypeRow &row : kTypes) {
        SCOPED_TRACE(row.value);
        std::string upper = row.value;
        for (char &c : upper) {
            c = static_cast<char>(std::toupper(c));
        }
        for (const std::string &value :
             {row.value, upper, " " + row.value, "  \t\r\n" + row.value, row.value + "; x=y",
              row.value + ";charset=utf-8; name=\"" + std::string(2000, 'n') + "\"",
              row.value + "tail"}) {
            EXPECT_EQ(messageType(value), row.message) << value;
            EXPECT_EQ(partType(value), row.part) << value;
        }
        const std::string shorter = row.value.substr(0, row.value.size() - 1);
        EXPECT_EQ(messageType(shorter), kBefore);
        EXPECT_EQ(partType(shorter), 0);
        EXPECT_EQ(messageType("x" + row.value), kBefore);
        EXPECT_EQ(partType("x" + row.value), 0);
    }
}

TEST(ContentType, OfApplicationsNeedsNoSubtype) {
    for (const char *value : {"application/pdf", "Application/octet-stream", "application"}) {
        EXPECT_EQ(messageType(value), 3) << value;
        EXPECT_EQ(partType(value), 3) << value;
    }
}

TEST(ContentType, OfNothingIsUnknown) {
    for (const char *value : {"", " ", "\t\r\n", ";", "text", "text / plain"}) {
        EXPECT_EQ(messageType(value), kBefore) << value;
        EXPECT_EQ(partType(value), 0) << value;
    }
}

TEST(ContentType, WithLeadingBlanksAndACharsetIsHtmlInBothPlaces) {
    EXPECT_EQ(messageType("  text/html; charset=utf-8"), 2);
    EXPECT_EQ(partType("  text/html; charset=utf-8"), 2);
}

struct EncodingRow {
    const char *value;
    int32_t code;
};
constexpr EncodingRow kEncodings[] = {
    {"base64", 1},
    {"BASE64", 1},
    {"   Base64", 1},
    {"\t\r\n bAsE64 (comment)", 1},
    {"base64x", 1},
    {"base6", 3},
    {"quoted-printable", 2},
    {" Quoted-Printable", 2},
    {"QUOTED-PRINTABLE; x", 2},
    {"quoted-printabl", 3},
    {"quoted printable", 3},
    {"7bit", 3},
    {"8bit", 3},
    {"binary", 3},
    {"x-uuencode", 3},
    {"\"base64\"", 3},
    {"", 3},
    {"   ", 3},
};

TEST(TransferEncoding, BecomesACode) {
    for (const EncodingRow &row : kEncodings) {
        EXPECT_EQ(messageEncoding(row.value), row.code) << row.value;
        EXPECT_EQ(partEncoding(row.value), row.code) << row.value;
    }
}

TEST(PartFields, AreTheNestedOnesWhileANestedPartIsRead) {
    for (const int32_t nested : {1, 2, -1}) {
        ExtractionHandle handle = {};
        handle.inNestedPart = nested;
        handle.partContentType = kBefore;
        handle.partTransferEncoding = kBefore;
        analyzeContentType_pre(&handle, " text/html");
        findTransfer_pre(&handle, " base64");
        EXPECT_EQ(handle.nestedContentType, 2);
        EXPECT_EQ(handle.nestedTransferEncoding, 1);
        EXPECT_EQ(handle.partContentType, kBefore);
        EXPECT_EQ(handle.partTransferEncoding, kBefore);
        analyzeContentType_pre(&handle, " video/mp4");
        EXPECT_EQ(handle.nestedContentType, 0);
    }
}

TEST(PartFields, AreTheOuterOnesOtherwise) {
    ExtractionHandle handle = {};
    handle.nestedContentType = kBefore;
    handle.nestedTransferEncoding = kBefore;
    analyzeContentType_pre(&handle, " text/html");
    findTransfer_pre(&handle, " base64");
    EXPECT_EQ(handle.partContentType, 2);
    EXPECT_EQ(handle.partTransferEncoding, 1);
    EXPECT_EQ(handle.nestedContentType, kBefore);
    EXPECT_EQ(handle.nestedTransferEncoding, kBefore);
}

TEST(PartFields, LeaveTheMessageAlone) {
    ExtractionHandle handle = {};
    analyzeContentType_pre(&handle, "text/html");
    findTransfer_pre(&handle, "base64");
    EXPECT_EQ(handle.contentType, 0);
    EXPECT_EQ(handle.transferEncoding, 0);
    ExtractionHandle other = {};
    analyzeContentType(&other, "text/html");
    findTransfer(&other, "base64");
    EXPECT_EQ(other.partContentType, 0);
    EXPECT_EQ(other.partTransferEncoding, 0);
}

TEST(ContentType, KeepsAnEarlierOneWhenTheMessagesIsUnknown) {
    ExtractionHandle handle = {};
    analyzeContentType(&handle, "multipart/signed");
    EXPECT_EQ(handle.contentType, 0);
    analyzeContentType(&handle, "text/plain");
    analyzeContentType(&handle, "multipart/signed");
    EXPECT_EQ(handle.contentType, 1);
}

} // namespace
