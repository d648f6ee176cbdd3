// SPDX-License-Identifier: MIT
// See legacy_kind.h. The streams in the root tell; documents embedded in the document are further
// down.
#include "legacy_kind.h"

namespace qob::filters {
namespace {

uint32_t number16At(std::string_view bytes, std::size_t at) {
    if (at + 2 > bytes.size()) {
        return 0;
    }
    return static_cast<uint32_t>(static_cast<uint8_t>(bytes[at])) |
           static_cast<uint32_t>(static_cast<uint8_t>(bytes[at + 1])) << 8U;
}

uint32_t number32At(std::string_view bytes, std::size_t at) {
    return number16At(bytes, at) | number16At(bytes, at + 2) << 16U;
}

bool isEncryptedWord(std::string_view stream) {
    constexpr std::size_t kFlags = 10;
    constexpr uint32_t kEncrypted = 0x0100;
    return (number16At(stream, kFlags) & kEncrypted) != 0;
}

// The record that tells how a workbook is encrypted stands in front of its sheets' names.
bool isEncryptedExcel(std::string_view stream) {
    constexpr uint32_t kFilePass = 0x2F;
    constexpr uint32_t kBoundSheet = 0x85;
    constexpr uint32_t kEnd = 0x0A;
    for (std::size_t at = 0; at + 4 <= stream.size(); at += 4 + number16At(stream, at + 2)) {
        const uint32_t record = number16At(stream, at);
        if (record == kFilePass) {
            return true;
        }
        if (record == kBoundSheet || record == kEnd) {
            return false;
        }
    }
    return false;
}

bool isEncryptedPowerPoint(OleFile &file) {
    constexpr std::size_t kToken = 12;
    constexpr uint32_t kEncrypted = 0xF3D1C4DF;
    const OleEntry *user = file.find("Current User");
    return user != nullptr && number32At(file.beginning(*user, kToken + 4), kToken) == kEncrypted;
}

LegacyKind unlessEncrypted(bool encrypted, LegacyKind kind) {
    return encrypted ? LegacyKind::kEncrypted : kind;
}

} // namespace

LegacyKind legacyKind(OleFile &file) {
    constexpr std::size_t kBeginning = 16384;
    if (const OleEntry *word = file.find("WordDocument"); word != nullptr && word->isStream) {
        return unlessEncrypted(isEncryptedWord(file.beginning(*word, kBeginning)),
                               LegacyKind::kWord);
    }
    for (const char *name : {"Workbook", "Book", "WORKBOOK", "BOOK"}) {
        if (const OleEntry *book = file.find(name); book != nullptr && book->isStream) {
            return unlessEncrypted(isEncryptedExcel(file.beginning(*book, kBeginning)),
                                   LegacyKind::kExcel);
        }
    }
    if (file.find("PowerPoint Document") != nullptr) {
        return unlessEncrypted(isEncryptedPowerPoint(file), LegacyKind::kPowerPoint);
    }
    // A newer document with a password.
    return file.find("EncryptedPackage") != nullptr ? LegacyKind::kEncrypted : LegacyKind::kNone;
}

} // namespace qob::filters
