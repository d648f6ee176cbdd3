// SPDX-License-Identifier: MIT
// Per-thread store of opened converters.
#include "codec_cache.h"

#include <utility>

#include "qob_charset_codes.h"
#include "qob_host_export.h"

namespace qob {
namespace {

// Kinds without an ICU name get a key that no converter has.
std::string keyOf(const SourceName &name) {
    if (name.kind == SourceKind::Named) {
        return name.icuName;
    }
    return "*" + std::to_string(static_cast<unsigned>(name.kind));
}

} // namespace

constinit thread_local CodecCache *CodecCache::current_ = nullptr;

CodecCache &CodecCache::create() {
    thread_local CodecCache cache;
    current_ = &cache;
    return cache;
}

SourceCodec *CodecCache::openSource(const SourceName &name) {
    const std::string key = keyOf(name);
    if (const auto found = sources_.find(key); found != sources_.end()) {
        return found->second.get();
    }
    auto codec = SourceCodec::open(name);
    return codec == nullptr ? nullptr : sources_.emplace(key, std::move(codec)).first->second.get();
}

SourceCodec *CodecCache::source(std::string_view name) {
    return sourceNames_.get(
        name, [this](std::string_view wanted) { return openSource(resolveSource(wanted)); });
}

SourceCodec *CodecCache::icuSource(const char *icuName) {
    if (const auto found = sources_.find(std::string_view(icuName)); found != sources_.end()) {
        return found->second.get();
    }
    return openSource({SourceKind::Named, icuName});
}

OutputCodec *CodecCache::output(std::string_view name) {
    return outputNames_.get(name, [this](std::string_view wanted) -> OutputCodec * {
        const std::string icuName = resolveOutput(wanted);
        if (const auto found = outputs_.find(icuName); found != outputs_.end()) {
            return found->second.get();
        }
        auto codec = OutputCodec::open(icuName);
        return codec == nullptr ? nullptr
                                : outputs_.emplace(icuName, std::move(codec)).first->second.get();
    });
}

} // namespace qob

QOB_HOST_EXPORT const char *qob_charset_output(const char *name, uint32_t code) {
    try {
        const char *wanted = name != nullptr && *name != '\0' ? name : qob_charset_name(code);
        const qob::OutputCodec *codec =
            wanted == nullptr ? nullptr : qob::CodecCache::get().output(wanted);
        return codec == nullptr ? nullptr : codec->icuName().c_str();
    } catch (...) {
        return nullptr;
    }
}
