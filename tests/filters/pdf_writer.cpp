// SPDX-License-Identifier: MIT
// See pdf_writer.h. Object 1 is the catalog, 2 the page tree, 3 the font; then come a page and its
// content in turn.
#include "pdf_writer.h"

#include <cstdio>

namespace qob::tests {
namespace {

std::string tenDigits(std::size_t number) {
    char digits[24];
    std::snprintf(digits, sizeof digits, "%010zu", number);
    return digits;
}

} // namespace

std::string pdfOfContents(const std::vector<std::string> &contents, const std::string &trailer) {
    std::vector<std::string> objects = {
        "<< /Type /Catalog /Pages 2 0 R >>",
        {},
        "<< /Type /Font /Subtype /Type1 /BaseFont /Helvetica /Encoding /WinAnsiEncoding >>"};
    std::string kids;
    for (const std::string &content : contents) {
        const std::size_t page = objects.size() + 1;
        kids += std::to_string(page) + " 0 R ";
        objects.push_back("<< /Type /Page /Parent 2 0 R /MediaBox [0 0 612 792] /Contents " +
                          std::to_string(page + 1) +
                          " 0 R /Resources << /Font << /F1 3 0 R >> >> >>");
        objects.push_back("<< /Length " + std::to_string(content.size()) + " >>\nstream\n" +
                          content + "\nendstream");
    }
    objects[1] =
        "<< /Type /Pages /Kids [" + kids + "] /Count " + std::to_string(contents.size()) + " >>";

    std::string pdf = "%PDF-1.4\n";
    std::string table = "0000000000 65535 f \n";
    for (std::size_t i = 0; i < objects.size(); ++i) {
        table += tenDigits(pdf.size()) + " 00000 n \n";
        pdf += std::to_string(i + 1) + " 0 obj\n" + objects[i] + "\nendobj\n";
    }
    const std::string count = std::to_string(objects.size() + 1);
    const std::string start = std::to_string(pdf.size());
    return pdf + "xref\n0 " + count + "\n" + table + "trailer\n<< /Size " + count +
           " /Root 1 0 R " + trailer + " >>\nstartxref\n" + start + "\n%%EOF\n";
}

std::string linesContent(const std::vector<std::string> &lines) {
    std::string content = "BT /F1 12 Tf 14 TL 72 720 Td";
    for (const std::string &line : lines) {
        content += " (" + line + ") Tj T*";
    }
    return content + " ET";
}

} // namespace qob::tests
