// SPDX-License-Identifier: MIT
// Fields between tabs; in paths and names, bytes that would disturb are written as %XX.
#include "output/resume_record.h"

#include <array>
#include <charconv>
#include <filesystem>
#include <system_error>
#include <vector>

namespace emltext {
namespace {

constexpr std::string_view kTitle = "emltext-state\t1\n";
constexpr int kHexadecimal = 16;

bool isPlain(unsigned char byte) {
    return byte > 0x20U && byte != 0x7FU && byte != '%';
}

std::string escaped(std::string_view text) {
    constexpr std::string_view kDigits = "0123456789ABCDEF";
    std::string result;
    for (const char c : text) {
        const auto byte = static_cast<unsigned char>(c);
        if (isPlain(byte)) {
            result += c;
        } else {
            result += '%';
            result += kDigits[byte >> 4U];
            result += kDigits[byte & 0x0FU];
        }
    }
    return result;
}

template <typename Number>
bool readNumberField(std::string_view text, Number &number, int base = 10) {
    const char *const end = text.data() + text.size();
    const auto [parsedEnd, error] = std::from_chars(text.data(), end, number, base);
    return error == std::errc() && parsedEnd == end;
}

std::optional<std::string> unescaped(std::string_view text) {
    std::string result;
    for (std::size_t i = 0; i < text.size(); ++i) {
        if (text[i] != '%') {
            result += text[i];
            continue;
        }
        uint8_t byte = 0;
        if (i + 2 >= text.size() || !readNumberField(text.substr(i + 1, 2), byte, kHexadecimal)) {
            return std::nullopt;
        }
        result += static_cast<char>(byte);
        i += 2;
    }
    return result;
}

std::vector<std::string_view> fieldsOf(std::string_view line) {
    std::vector<std::string_view> fields;
    for (std::size_t start = 0; start <= line.size();) {
        const std::size_t end = std::min(line.find('\t', start), line.size());
        fields.push_back(line.substr(start, end - start));
        start = end + 1;
    }
    return fields;
}

std::string absolutePath(std::string path) {
    while (path.size() > 1 && path.ends_with('/')) {
        path.pop_back();
    }
    // weakly_canonical alone leaves a path relative whose first part does not exist.
    std::error_code failure;
    const auto absolute = std::filesystem::absolute(path, failure);
    const auto resolved = failure ? absolute : std::filesystem::weakly_canonical(absolute, failure);
    return failure ? path : resolved.string();
}

// A line without its line end: "charset\tUTF-8" is "charset is UTF-8".
std::string_view valueOf(std::string_view line) {
    const std::size_t tab = line.find('\t');
    return tab == std::string_view::npos ? line : line.substr(tab + 1);
}

std::string_view firstLine(std::string_view text) {
    return text.substr(0, text.find('\n'));
}

} // namespace

std::string resumeHeader(const Options &options) {
    std::string header(kTitle);
    const auto add = [&header](const char *name, const std::string &value) {
        header += std::string(name) + "\t" + escaped(value) + "\n";
    };
    add("output", absolutePath(options.outputPath.value_or("")));
    add("jsonl", options.jsonLines ? "yes" : "no");
    add("all", options.allFiles ? "yes" : "no");
    add("charset", options.charset);
    add("language", options.language);
    add("newline", std::to_string(options.newline));
    add("labels", options.labels ? "yes" : "no");
    add("attachments", options.attachments ? "yes" : "no");
    add("max-output", std::to_string(options.maxOutput));
    add("max-unpacked", std::to_string(options.maxUnpacked));
    add("max-ratio", std::to_string(options.maxRatio));
    add("max-parts", std::to_string(options.maxParts));
    add("max-depth", std::to_string(options.depthLimit));
    return header;
}

std::string headerDifference(const std::string &expected, std::string_view found) {
    std::string_view rest = expected;
    while (!rest.empty() && firstLine(rest) == firstLine(found)) {
        rest.remove_prefix(firstLine(rest).size() + 1);
        found.remove_prefix(std::min(found.size(), firstLine(found).size() + 1));
    }
    const std::string_view line = firstLine(rest);
    return std::string(line.substr(0, line.find('\t'))) + " is \"" +
           std::string(valueOf(firstLine(found))) + "\" there and \"" + std::string(valueOf(line)) +
           "\" here";
}

std::string resumeLine(const ResumeRecord &record) {
    return "done\t" + std::to_string(record.code) + "\t" + std::to_string(record.outputSize) +
           "\t" + std::to_string(record.index) + "\t" + escaped(record.name) + "\t" +
           escaped(record.path) + "\n";
}

std::optional<ResumeRecord> readResumeLine(std::string_view line) {
    constexpr std::size_t kFields = 6;
    const auto fields = fieldsOf(line);
    ResumeRecord record;
    if (fields.size() != kFields || fields[0] != "done" ||
        !readNumberField(fields[1], record.code) ||
        !readNumberField(fields[2], record.outputSize) ||
        !readNumberField(fields[3], record.index)) {
        return std::nullopt;
    }
    auto name = unescaped(fields[4]);
    auto path = unescaped(fields[5]);
    if (!name || !path) {
        return std::nullopt;
    }
    record.name = std::move(*name);
    record.path = std::move(*path);
    return record;
}

} // namespace emltext
