// SPDX-License-Identifier: MIT
// PDF documents for the tests, written by hand.
#ifndef QOB_TESTS_PDF_WRITER_H
#define QOB_TESTS_PDF_WRITER_H

#include <string>
#include <vector>

namespace qob::tests {

// A document with one page for each content stream; the font /F1 is Helvetica in WinAnsiEncoding.
// `trailer` is added to the trailer dictionary.
std::string pdfOfContents(const std::vector<std::string> &contents,
                          const std::string &trailer = {});

// A page of lines, as a content stream. The texts are PDF strings without their brackets.
std::string linesContent(const std::vector<std::string> &lines);

} // namespace qob::tests

#endif
