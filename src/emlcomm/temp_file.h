// SPDX-License-Identifier: MIT
// Temporary files and what is done with them: made, filled with decoded lines, read back into the
// output, handed to the host, removed.
//
// Walkers that share these steps differ in which failure ends them and in what they leave behind;
// each difference is told by a result here and decided at the call.
#ifndef QOB_EMLCOMM_TEMP_FILE_H
#define QOB_EMLCOMM_TEMP_FILE_H

#include <string_view>

#include "emlcomm/handle.h"

namespace eml {

// A temporary file of one walker. It outlives its open handle: a closed file keeps its name until
// it is removed. An empty name: never made, or removed.
struct TempFile {
    QobFile *file = nullptr;
    char name[kPathSize] = {};

    bool isOpen() const { return file != nullptr; }
    bool exists() const { return name[0] != '\0'; }
};

inline constexpr const char *kHtmlEnding = ".htm";

// Makes a temporary name with `ending` appended and opens it. False when no name can be made, when
// it would pass 4095 characters, or when it cannot be opened; nothing is left then.
bool openTempFile(ExtractionHandle *handle, TempFile &temp, const char *ending, const char *mode);

// Opens a file of the name already in `temp` in the same way.
bool openNamedFile(TempFile &temp, const char *ending, const char *mode);

void closeTempFile(TempFile &temp);

// Removes the file, closing it first, and forgets its name. One that was never made is skipped.
void discardTempFile(TempFile &temp);

// What reading a temporary file whole came to.
enum class ReadBack { kDone, kNotOpened, kNoBuffer };

// Reads the whole file `name` into a new buffer. A size of 0, or one that cannot be told, gives no
// text: kDone with a null buffer and length 0.
ReadBack readWholeFile(const char *name, Buffer &text, uint32_t &length);

// Converts collected text from charsetName, writes it to the output in one piece, so that
// characters split across encoded lines come out whole, and removes the file. A file that was
// never made is nothing to flush.
ReadBack flushCollectedText(ExtractionHandle *handle, TempFile &temp);

// How much of a line that is not encoded a file took.
enum class RawWrite : int32_t { kWhole, kPart, kNothing };

// What writing one line into a file came to: the decoder's code, or how much of a raw line went in.
struct LineDecoding {
    int32_t code;
    RawWrite raw;
};

enum class RawLineEnd { kNone, kAdd };

// Decodes the line in hand into `file` by `encoding`, EML_TE_BASE64 or EML_TE_QUOTED_PRINTABLE;
// with any other it is raw. A raw line goes in as it stands, followed by a line end when one is
// asked for.
LineDecoding decodeLine(ExtractionHandle *handle, std::string_view line, int32_t encoding,
                        QobFile *file, RawLineEnd lineEnd);

// Writes the META element that declares `charset` to the host's HTML filter; `onlyFirstTag` stops
// behind the first '>', which a charset name may hold.
void writeMetaTag(QobFile *file, std::string_view charset, bool onlyFirstTag);

// The insert record: a copy of the host's parameters with flags 10, for the extraction of an HTML
// file. Null on failure.
Buffer newInsertRecord(const HostParams *params);

// Hands an HTML file to the host with an insert record and removes it; a null record is
// EML_ERR_MEMORY. The first makes the record itself. `noHostResult`
// counts as the host's result when neither mode is set. EML_OK, EML_ERR_MEMORY, or the host's error
// unless EML_FLAG_KEEP_GOING stores that in handle->result.
int32_t handOverHtml(ExtractionHandle *handle, TempFile &html, int32_t noHostResult);
int32_t handOverHtmlWith(ExtractionHandle *handle, TempFile &html, Buffer record,
                         int32_t noHostResult);

// Calls the insert service of the current mode for the file `name` with `params`.
int32_t insertFileText(ExtractionHandle *handle, const char *name, const HostParams *params,
                       int32_t noHostResult);

// A host error as the caller returns it: itself, or EML_OK after it was stored in handle->result.
int32_t hostErrorOrStored(ExtractionHandle *handle, int32_t hostResult);

} // namespace eml

#endif
