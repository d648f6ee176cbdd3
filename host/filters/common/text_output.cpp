// SPDX-License-Identifier: MIT
// Text is collected, converted by the host's converter a piece of whole characters at a time, and
// written under the limit: the rules of counting and cutting are those of the e-mail filter, so
// that one limit means the same to both.
#include "text_output.h"

#include <unicode/utf8.h>

#include <iterator>
#include <memory>

#include "qob_insert.h"
#include "qob_limits.h"
#include "qob_notice.h"

namespace qob::filters {
namespace {

// Text converted at once: large enough that setting a conversion up costs nothing in comparison.
constexpr std::size_t kPieceSize = 16384;

// The most bytes that one byte of UTF-8 text becomes: a LF as CR LF in UTF-32 is 8 bytes, and
// UTF-7 and the ISO-2022 family switch their state for single characters.
constexpr std::size_t kGrowth = 10;
constexpr std::size_t kGrowthBase = 64;

constexpr char kReplacement[] = "\xEF\xBF\xBD";

uint32_t newlineMode(uint32_t options) {
    constexpr uint32_t kBits[] = {EML_OPT_NEWLINE_1, EML_OPT_NEWLINE_2, EML_OPT_NEWLINE_3,
                                  EML_OPT_NEWLINE_4, EML_OPT_NEWLINE_5};
    for (uint32_t mode = 0; mode < std::size(kBits); ++mode) {
        if ((options & kBits[mode]) != 0) {
            return mode + 1;
        }
    }
    return 1;
}

} // namespace

std::size_t wholeCharacters(std::string_view text) {
    for (std::size_t back = 1; back <= 3 && back <= text.size(); ++back) {
        const auto byte = static_cast<uint8_t>(text[text.size() - back]);
        if (U8_IS_LEAD(byte)) {
            const auto missing = static_cast<std::size_t>(U8_COUNT_TRAIL_BYTES(byte)) + 1 > back;
            return missing ? text.size() - back : text.size();
        }
        if (!U8_IS_TRAIL(byte)) {
            break;
        }
    }
    return text.size();
}

void TextOutput::append(std::string_view utf8) {
    if (!utf8.empty()) {
        atLineStart_ = utf8.back() == '\n';
    }
    while (isOpen() && !utf8.empty()) {
        const std::string_view part = utf8.substr(0, kPieceSize);
        utf8.remove_prefix(part.size());
        pending_ += part;
        if (pending_.size() < kPieceSize) {
            continue;
        }
        const std::size_t whole = wholeCharacters(pending_);
        writeText(std::string_view(pending_).substr(0, whole));
        pending_.erase(0, whole);
        if (isOpen()) {
            status_ = qob_limits_time();
        }
    }
}

void TextOutput::finish() {
    if (!isOpen()) {
        return;
    }
    const std::size_t whole = wholeCharacters(pending_);
    if (whole < pending_.size()) {
        pending_.resize(whole);
        pending_ += kReplacement;
    }
    writeText(pending_);
    pending_.clear();
}

int32_t TextOutput::insert(const char *path, SessionRecord &session, void *callback) {
    finish();
    if (!isOpen()) {
        return status_;
    }
    session.savedOutputCount = written_;
    const int32_t code =
        stream_ != nullptr
            ? QOB_GetInsertFileTextStreamWithErrCallback(path, stream_, &params_, &session,
                                                         callback)
            : QOB_GetInsertFileTextWithErrCallback(path, file_, &params_, &session, callback);
    if ((params_.options & EML_OPT_LIMIT_OUTPUT) != 0) {
        written_ = static_cast<uint32_t>(session.savedOutputCount);
    }
    if (const int32_t ending = qob_insert_ending(); ending != QOB_INSERTED_NOTHING) {
        atLineStart_ = ending == QOB_INSERTED_LINES;
    }
    return code;
}

void TextOutput::writeText(std::string_view utf8) {
    if (utf8.empty()) {
        return;
    }
    uint32_t produced = 0;
    const int32_t code = convert(utf8, produced);
    if (code != 0) {
        status_ = code;
        return;
    }
    writeBytes(converted_.data(), produced);
}

int32_t TextOutput::convert(std::string_view utf8, uint32_t &produced) {
    converted_.resize(utf8.size() * kGrowth + kGrowthBase);
    CconvOutputRecord how{};
    how.outputCode = params_.outputCode;
    how.firstConversion = convertedBefore_ ? 0 : 1;
    how.textConversion = 1;
    how.newlineMode = newlineMode(params_.options);
    const auto context = std::make_unique<CconvContext>();
    if (const int32_t code =
            cconvInitConvert(context.get(), &how, &params_, convertedBefore_ ? 1 : 0);
        code != 0) {
        return code == EML_ERR_MEMORY ? code : int32_t{QOB_ERR_CHARSET};
    }
    convertedBefore_ = true;
    CconvSourceRecord source{1, 0, 1};
    int32_t code = cconvChgCharset(context.get(), &source, "UTF-8");
    if (code == 0) {
        context->input = utf8.data();
        context->inputLength = static_cast<uint32_t>(utf8.size());
        context->output = converted_.data();
        context->produced = 0;
        context->outputCapacity = static_cast<uint32_t>(converted_.size());
        code = cconvConvert(context.get());
        produced = context->produced;
    }
    cconvTermConvert(context.get());
    return code;
}

void TextOutput::writeBytes(const char *data, uint32_t length) {
    if ((params_.options & EML_OPT_LIMIT_OUTPUT) == 0) {
        putBytes(data, length);
        return;
    }
    const auto limit = static_cast<uint32_t>(params_.outputLimit);
    const uint32_t room = limit - written_;
    if (length <= room) {
        putBytes(data, length);
        written_ += length;
        return;
    }
    const uint32_t fitting = room == 0 ? 0 : CutStr(data, length, room, &params_);
    putBytes(data, fitting);
    written_ += fitting;
    if (isOpen()) {
        status_ = EML_ERR_LIMIT;
    }
}

// A stream takes nothing more when the whole extraction's limit is reached or its end is broken;
// its owner knows which.
void TextOutput::putBytes(const char *data, uint32_t length) {
    if (length == 0) {
        return;
    }
    if (stream_ != nullptr) {
        if (QOB_WriteStream(stream_, length, data) == 0) {
            status_ = EML_ERR_LIMIT;
        }
        return;
    }
    const auto count = static_cast<int32_t>(length);
    if (QOB_FileWrite(data, 1, count, file_) != count) {
        status_ = EML_ERR_SHORT_WRITE;
    }
}

} // namespace qob::filters
