// SPDX-License-Identifier: MIT
// The codecs and names that a thread has met. Opening a converter costs hundreds of times what a
// short line costs to convert, and a message converts each of its lines by itself.
//
// Codecs are never dropped before the thread ends: there is at most one for each converter that ICU
// has. Names come out of mail: at most kMostNames are remembered.
#ifndef QOB_CONF_CODEC_CACHE_H
#define QOB_CONF_CODEC_CACHE_H

#include <cstdint>
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

// Remembers what names lead to; the name asked for last is found without a search.
template <class Codec> class NameCache {
public:
    template <class Find> Codec *get(std::string_view name, Find find) {
        if (last_ != nullptr && last_->first == name) {
            return last_->second;
        }
        auto entry = names_.find(name);
        if (entry == names_.end()) {
            Codec *codec = find(name);
            if (codec == nullptr) {
                return nullptr;
            }
            if (names_.size() >= kMostNames) {
                last_ = nullptr;
                names_.clear();
            }
            entry = names_.emplace(name, codec).first;
        }
        last_ = &*entry;
        return entry->second;
    }

private:
    static constexpr std::size_t kMostNames = 256;
    NameMap<Codec *> names_;
    const std::pair<const std::string, Codec *> *last_ = nullptr;
};

class CodecCache {
public:
    // The calling thread's.
    static CodecCache &get();

    // All throw std::bad_alloc. source() is null only when ICU's data cannot be read; output() also
    // when there is no such charset.
    SourceCodec *source(std::string_view name);
    SourceCodec *icuSource(const char *icuName);
    OutputCodec *output(std::string_view name);

    // The order that the last byte order mark of this extraction told.
    ByteOrder lastOrder = ByteOrder::Big;

private:
    SourceCodec *openSource(const SourceName &name);

    NameMap<std::unique_ptr<SourceCodec>> sources_;
    NameMap<std::unique_ptr<OutputCodec>> outputs_;
    NameCache<SourceCodec> sourceNames_;
    NameCache<OutputCodec> outputNames_;
};

} // namespace qob

#endif
