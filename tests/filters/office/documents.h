// SPDX-License-Identifier: MIT
// Office documents for tests: zip files of XML strings, with the parts that every document needs.
#ifndef QOB_TESTS_OFFICE_DOCUMENTS_H
#define QOB_TESTS_OFFICE_DOCUMENTS_H

#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace qob::tests {

using Member = std::pair<std::string, std::string>; // name, bytes
using MemberList = std::vector<Member>;

// A zip file. `options` are libarchive's of the zip format ("compression=store").
std::string zipOf(const MemberList &members, const char *options = "");

// A zip file whose members need a password.
std::string encryptedZipOf(const MemberList &members);

// A word processing document with this in w:body, and more members.
std::string docxOf(std::string_view body, const MemberList &more = {});
MemberList docxMembers(std::string_view body, const MemberList &more = {});

// <Relationships> of identifier, kind and target.
struct Link {
    std::string_view id;
    std::string_view kind;
    std::string_view target;
};
std::string relationsOf(const std::vector<Link> &links);

// "<w:p>" with one run of this text.
std::string paragraph(std::string_view text);

// A workbook of one sheet "Sheet1" with this in sheetData. Shared strings are si elements; styles
// are the content of styleSheet.
struct Workbook {
    std::string rows;
    std::string strings;
    std::string styles;
    std::string properties; // attributes of workbookPr
    MemberList more;
};
std::string xlsxOf(const Workbook &workbook);
MemberList xlsxMembers(const Workbook &workbook);

// A presentation of slides; each is the content of p:spTree.
std::string pptxOf(const std::vector<std::string> &slides, const MemberList &more = {});
// A shape with paragraphs.
std::string shape(const std::vector<std::string> &paragraphs);

// An OpenDocument file: `kind` is "text", "spreadsheet" or "presentation", `body` the content of
// its element in office:body.
std::string odfOf(std::string_view kind, std::string_view body, const MemberList &more = {});
MemberList odfMembers(std::string_view kind, std::string_view body, const MemberList &more = {});

} // namespace qob::tests

#endif
