// SPDX-License-Identifier: MIT
// Names and meanings of all result codes, for messages to people.
#include <algorithm>
#include <array>

#include "qob_extract.h"
#include "qob_host_export.h"

namespace {

struct ResultRow {
    int32_t code;
    const char *name;
    const char *text;
};

constexpr std::array kResults = {
    ResultRow{EML_OK, "EML_OK", "the text was written"},
    ResultRow{EML_ERR_NOBUF, "EML_ERR_NOBUF", "there is no buffer for the input or for its text"},
    ResultRow{EML_ERR_INPUT, "EML_ERR_INPUT",
              "the input, or a temporary file, cannot be opened or measured"},
    ResultRow{EML_ERR_OUTPUT, "EML_ERR_OUTPUT", "the output file cannot be created"},
    ResultRow{EML_ERR_SHORT_WRITE, "EML_ERR_SHORT_WRITE",
              "a temporary file did not take all of its data; is the disk full?"},
    ResultRow{EML_ERR_OUTPUT_LOST, "EML_ERR_OUTPUT_LOST",
              "the output file could not be opened earlier in the extraction"},
    ResultRow{EML_ERR_MEMORY, "EML_ERR_MEMORY", "there is not enough memory"},
    ResultRow{EML_ERR_FORMAT, "EML_ERR_FORMAT",
              "this is no message: its header has no sender, recipient or subject"},
    ResultRow{EML_ERR_LIMIT, "EML_ERR_LIMIT",
              "the output size limit was reached; the text up to it was kept"},
    ResultRow{QOB_ERR_NO_FILTER, "QOB_ERR_NO_FILTER", "no filter reads this type of file"},
    ResultRow{QOB_ERR_FILTER_LOAD, "QOB_ERR_FILTER_LOAD",
              "the filter for this type of file is missing or cannot be loaded"},
    ResultRow{QOB_ERR_DEPTH, "QOB_ERR_DEPTH", "files are nested deeper than the limit"},
    ResultRow{QOB_ERR_DAMAGED, "QOB_ERR_DAMAGED",
              "the file is damaged: its text is missing or not complete"},
    ResultRow{QOB_ERR_ENCRYPTED, "QOB_ERR_ENCRYPTED", "the file is encrypted and gave no text"},
    ResultRow{QOB_ERR_TEMP, "QOB_ERR_TEMP",
              "no private directory for temporary files can be made; see TMPDIR"},
    ResultRow{QOB_ERR_CHARSET, "QOB_ERR_CHARSET", "the output charset is not known"},
    ResultRow{QOB_ERR_WRITE, "QOB_ERR_WRITE", "the output did not take all of the text"},
    ResultRow{QOB_ERR_OPTIONS, "QOB_ERR_OPTIONS", "an option has a value without a meaning"},
    ResultRow{QOB_ERR_PARTS, "QOB_ERR_PARTS",
              "there are more attachments and members than the limit"},
    ResultRow{QOB_ERR_UNPACKED, "QOB_ERR_UNPACKED", "more bytes were unpacked than the limit"},
    ResultRow{QOB_ERR_RATIO, "QOB_ERR_RATIO",
              "a file grew by more than the limit when it was unpacked"},
    ResultRow{QOB_ERR_TIME, "QOB_ERR_TIME", "the extraction took longer than the limit"},
    ResultRow{QOB_ERR_HELPER, "QOB_ERR_HELPER",
              "the program that reads this type of file is missing or failed"},
};

const ResultRow *rowOf(int32_t code) {
    const auto *const row =
        std::find_if(kResults.begin(), kResults.end(),
                     [code](const ResultRow &candidate) { return candidate.code == code; });
    return row == kResults.end() ? nullptr : &*row;
}

} // namespace

QOB_HOST_EXPORT const char *qob_result_name(int32_t code) {
    const ResultRow *row = rowOf(code);
    return row != nullptr ? row->name : "unknown result";
}

QOB_HOST_EXPORT const char *qob_result_text(int32_t code) {
    const ResultRow *row = rowOf(code);
    return row != nullptr ? row->text : "the extraction ended with a code that has no name";
}
