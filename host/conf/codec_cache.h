// SPDX-License-Identifier: MIT
// The codecs and names that a thread has met. Opening a converter costs hundreds of times what a
// short line costs to convert, and a message converts each of its lines by itself.
//
// Codecs are never dropped before the thread ends: there is at most one for each converter that ICU
// has. Names come out of mail: at most kMostNames are remembered.
#ifndef QOB_CONF_CODEC_CACHE_H
#define QOB_CONF_CODEC_CACHE_H

#include <array>
#include <cstdint>
#include <cstring>
#include <memory>
#include <string>
#include <string_view>
#include <unordered_map>

#include "codec.h"

namespace qob {

// Byte order of UTF-16 and UTF-32 text without a mark.
enum class ByteOrder : std::uint8_t { Big, Little };

struct NameHash {
    using is_transparent = void;
    std::size_t operator()(std::string_view name) const {
        return std::hash<std::string_view>()(name);
    }
};
template <class Value>
using NameMap = std::unordered_map<std::string, Value, NameHash, std::equal_to<>>;

// Remembers what names lead to; the names asked for last are found without a search.
template <class Codec> class NameCache {
public:
    // The codec of a name among the last few, else null.
    Codec *recent(const char *name) const {
        for (const Recent &entry : recents_) {
            if (entry.codec != nullptr && entry.name[0] == *name &&
                std::strcmp(entry.name.data(), name) == 0) {
                return entry.codec;
            }
        }
        return nullptr;
    }

    template <class Find> Codec *get(std::string_view name, Find find) {
        auto entry = names_.find(name);
        if (entry == names_.end()) {
            Codec *codec = find(name);
            if (codec == nullptr) {
                return nullptr;
            }
            if (names_.size() >= kMostNames) {
                names_.clear();
            }
            entry = names_.emplace(name, codec).first;
        }
        remember(name, entry->second);
        return entry->second;
    }

private:
    static constexpr std::size_t kMostNames = 256;
    static constexpr std::size_t kMostRecent = 4; // a message's, that of labels, the output's
    struct Recent {
        std::array<char, 32> name{};
        Codec *codec = nullptr;
    };

    // A broken name is looked at each time: not every service takes it.
    void remember(std::string_view name, Codec *codec) {
        Recent &entry = recents_[oldest_];
        if (name.size() < entry.name.size() && !isBrokenName(name)) {
            entry.name[name.copy(entry.name.data(), name.size())] = '\0';
            entry.codec = codec;
            oldest_ = (oldest_ + 1) % kMostRecent;
        }
    }

    NameMap<Codec *> names_;
    std::array<Recent, kMostRecent> recents_;
    std::size_t oldest_ = 0;
};

class CodecCache {
public:
    // The calling thread's. May throw std::bad_alloc, the first time.
    static CodecCache &get() { return current_ != nullptr ? *current_ : create(); }

    CodecCache(const CodecCache &) = delete;
    CodecCache &operator=(const CodecCache &) = delete;

    // The codec of a name among the last few that source() or output() were asked for, else null.
    SourceCodec *recentSource(const char *name) const { return sourceNames_.recent(name); }
    OutputCodec *recentOutput(const char *name) const { return outputNames_.recent(name); }

    // All throw std::bad_alloc. source() is null only when ICU's data cannot be read; output() also
    // when there is no such charset.
    SourceCodec *source(std::string_view name);
    SourceCodec *icuSource(const char *icuName);
    OutputCodec *output(std::string_view name);

    // The order that the last byte order mark of this extraction told.
    ByteOrder lastOrder = ByteOrder::Big;

private:
    CodecCache() = default;
    static CodecCache &create();
    SourceCodec *openSource(const SourceName &name);

    // Eight bytes at a fixed place of the thread's block: read without a call, and little enough
    // for what the C library keeps free there when this library is loaded late.
    [[gnu::tls_model("initial-exec")]] static constinit thread_local CodecCache *current_;

    NameMap<std::unique_ptr<SourceCodec>> sources_;
    NameMap<std::unique_ptr<OutputCodec>> outputs_;
    NameCache<SourceCodec> sourceNames_;
    NameCache<OutputCodec> outputNames_;
};

} // namespace qob

#endif
