// SPDX-License-Identifier: MIT
// See documents.h.
#include "documents.h"

#include <archive.h>
#include <archive_entry.h>

#include <memory>
#include <stdexcept>

namespace qob::tests {
namespace {

struct Closer {
    void operator()(archive *handle) const { archive_write_free(handle); }
    void operator()(archive_entry *entry) const { archive_entry_free(entry); }
};

void check(archive *handle, int result) {
    if (result != ARCHIVE_OK) {
        throw std::runtime_error(archive_error_string(handle));
    }
}

la_ssize_t append(archive * /*handle*/, void *context, const void *data, size_t length) {
    static_cast<std::string *>(context)->append(static_cast<const char *>(data), length);
    return static_cast<la_ssize_t>(length);
}

void addMember(archive *zip, const Member &member) {
    const std::unique_ptr<archive_entry, Closer> entry(archive_entry_new());
    archive_entry_set_pathname(entry.get(), member.first.c_str());
    archive_entry_set_filetype(entry.get(), AE_IFREG);
    archive_entry_set_perm(entry.get(), 0644);
    archive_entry_set_size(entry.get(), static_cast<la_int64_t>(member.second.size()));
    check(zip, archive_write_header(zip, entry.get()));
    std::string_view rest = member.second;
    while (!rest.empty()) {
        const la_ssize_t count = archive_write_data(zip, rest.data(), rest.size());
        if (count <= 0) {
            throw std::runtime_error(archive_error_string(zip));
        }
        rest.remove_prefix(static_cast<std::size_t>(count));
    }
}

std::string written(const MemberList &members, const char *options, const char *password) {
    std::string bytes;
    const std::unique_ptr<archive, Closer> zip(archive_write_new());
    check(zip.get(), archive_write_set_format_zip(zip.get()));
    check(zip.get(), archive_write_set_bytes_per_block(zip.get(), 1));
    check(zip.get(), archive_write_set_options(zip.get(), options));
    if (password != nullptr) {
        check(zip.get(), archive_write_set_passphrase(zip.get(), password));
    }
    check(zip.get(), archive_write_open(zip.get(), &bytes, nullptr, append, nullptr));
    for (const Member &member : members) {
        addMember(zip.get(), member);
    }
    check(zip.get(), archive_write_close(zip.get()));
    return bytes;
}

std::string typesOf(std::string_view part, std::string_view type) {
    return "<Types xmlns=\"http://schemas.openxmlformats.org/package/2006/content-types\">"
           "<Override PartName=\"/" +
           std::string(part) + "\" ContentType=\"application/vnd.openxmlformats-officedocument." +
           std::string(type) + ".main+xml\"/></Types>";
}

// What every Office Open XML package begins with.
MemberList packageOf(std::string_view mainPart, std::string_view type) {
    return {{"[Content_Types].xml", typesOf(mainPart, type)},
            {"_rels/.rels", relationsOf({{"rId1", "officeDocument", mainPart}})}};
}

void addAll(MemberList &members, const MemberList &more) {
    members.insert(members.end(), more.begin(), more.end());
}

} // namespace

std::string zipOf(const MemberList &members, const char *options) {
    return written(members, options, nullptr);
}

std::string encryptedZipOf(const MemberList &members) {
    return written(members, "zip:encryption=traditional", "secret");
}

std::string relationsOf(const std::vector<Link> &links) {
    std::string xml =
        "<Relationships xmlns=\"http://schemas.openxmlformats.org/package/2006/relationships\">";
    for (const Link &link : links) {
        xml.append("<Relationship Id=\"").append(link.id);
        xml.append(
            "\" Type=\"http://schemas.openxmlformats.org/officeDocument/2006/relationships/");
        xml.append(link.kind).append("\" Target=\"").append(link.target).append("\"/>");
    }
    return xml + "</Relationships>";
}

std::string paragraph(std::string_view text) {
    return "<w:p><w:r><w:t>" + std::string(text) + "</w:t></w:r></w:p>";
}

MemberList docxMembers(std::string_view body, const MemberList &more) {
    MemberList members = packageOf("word/document.xml", "wordprocessingml.document");
    members.emplace_back("word/document.xml",
                         "<?xml version=\"1.0\" encoding=\"UTF-8\" standalone=\"yes\"?>\n"
                         "<w:document xmlns:w=\"w\" xmlns:mc=\"mc\"><w:body>" +
                             std::string(body) + "</w:body></w:document>");
    addAll(members, more);
    return members;
}

std::string docxOf(std::string_view body, const MemberList &more) {
    return zipOf(docxMembers(body, more));
}

MemberList xlsxMembers(const Workbook &workbook) {
    MemberList members = packageOf("xl/workbook.xml", "spreadsheetml.sheet");
    members.emplace_back("xl/workbook.xml",
                         "<workbook xmlns:r=\"r\"><workbookPr " + workbook.properties +
                             "/><sheets><sheet name=\"Sheet1\" sheetId=\"7\" r:id=\"rId1\"/>"
                             "</sheets></workbook>");
    members.emplace_back("xl/_rels/workbook.xml.rels",
                         relationsOf({{"rId1", "worksheet", "worksheets/sheet1.xml"},
                                      {"rId2", "sharedStrings", "sharedStrings.xml"},
                                      {"rId3", "styles", "styles.xml"}}));
    members.emplace_back("xl/worksheets/sheet1.xml",
                         "<worksheet><sheetData>" + workbook.rows + "</sheetData></worksheet>");
    members.emplace_back("xl/sharedStrings.xml", "<sst>" + workbook.strings + "</sst>");
    members.emplace_back("xl/styles.xml", "<styleSheet>" + workbook.styles + "</styleSheet>");
    addAll(members, workbook.more);
    return members;
}

std::string xlsxOf(const Workbook &workbook) {
    return zipOf(xlsxMembers(workbook));
}

std::string shape(const std::vector<std::string> &paragraphs) {
    std::string xml = "<p:sp><p:txBody><a:bodyPr/>";
    for (const std::string &text : paragraphs) {
        xml += "<a:p><a:r><a:rPr lang=\"en\"/><a:t>" + text + "</a:t></a:r></a:p>";
    }
    return xml + "</p:txBody></p:sp>";
}

std::string pptxOf(const std::vector<std::string> &slides, const MemberList &more) {
    MemberList members = packageOf("ppt/presentation.xml", "presentationml.presentation");
    std::string list;
    std::string relations;
    for (std::size_t i = 0; i < slides.size(); ++i) {
        const std::string number = std::to_string(i + 1);
        list.append("<p:sldId id=\"256\" r:id=\"rId").append(number).append("\"/>");
        relations.append("<Relationship Id=\"rId").append(number);
        relations.append("\" Type=\"x/slide\" Target=\"slides/slide").append(number);
        relations.append(".xml\"/>");
        members.emplace_back("ppt/slides/slide" + number + ".xml",
                             "<p:sld xmlns:p=\"p\" xmlns:a=\"a\"><p:cSld><p:spTree>" + slides[i] +
                                 "</p:spTree></p:cSld></p:sld>");
    }
    members.emplace_back("ppt/presentation.xml", "<p:presentation xmlns:p=\"p\" xmlns:r=\"r\">"
                                                 "<p:sldIdLst>" +
                                                     list + "</p:sldIdLst></p:presentation>");
    members.emplace_back("ppt/_rels/presentation.xml.rels",
                         "<Relationships>" + relations + "</Relationships>");
    addAll(members, more);
    return zipOf(members);
}

MemberList odfMembers(std::string_view kind, std::string_view body, const MemberList &more) {
    const std::string element = "office:" + std::string(kind);
    MemberList members = {
        {"mimetype", "application/vnd.oasis.opendocument." + std::string(kind)},
        {"content.xml", "<office:document-content xmlns:office=\"o\"><office:automatic-styles/>"
                        "<office:body><" +
                            element + ">" + std::string(body) + "</" + element +
                            "></office:body></office:document-content>"},
        {"META-INF/manifest.xml",
         "<!DOCTYPE manifest:manifest PUBLIC \"-//Manifest 1.0//EN\" \"Manifest.dtd\">\n"
         "<manifest:manifest xmlns:manifest=\"m\"/>"}};
    addAll(members, more);
    return members;
}

std::string odfOf(std::string_view kind, std::string_view body, const MemberList &more) {
    return zipOf(odfMembers(kind, body, more));
}

} // namespace qob::tests
