// SPDX-License-Identifier: MIT
// Indexes all messages of a folder, attachments too, and tells in which ones a word stands.
// Usage: index_folder FOLDER WORD
#include <cctype>
#include <exception>
#include <filesystem>
#include <iostream>
#include <map>
#include <new>
#include <set>
#include <string>

#include <qob_extract.h>

namespace {

using Index = std::map<std::string, std::set<std::string>>; // from a word to files

// Bytes above 127 are parts of letters in UTF-8.
bool isPartOfWord(unsigned char byte) {
    return std::isalnum(byte) != 0 || byte > 127;
}

// A sink that collects text. No exception may cross the library.
int32_t collect(void *context, const void *text, uint32_t length) {
    try {
        static_cast<std::string *>(context)->append(static_cast<const char *>(text), length);
        return 1;
    } catch (const std::bad_alloc &) {
        return 0;
    }
}

int32_t addMessage(Index &index, const std::string &file) {
    QobExtractOptions options;
    qob_extract_options_init(&options, sizeof options);
    options.type = QOB_TYPE_MESSAGE;
    std::string text;
    const QobSink sink{collect, &text};
    const int32_t code = qob_extract(file.c_str(), &sink, &options, nullptr);
    std::string word;
    for (const char byte : text + ' ') {
        if (isPartOfWord(static_cast<unsigned char>(byte))) {
            word += static_cast<char>(std::tolower(static_cast<unsigned char>(byte)));
        } else if (!word.empty()) {
            index[word].insert(file);
            word.clear();
        }
    }
    return code;
}

// False when a message could not be read in full.
bool addFolder(Index &index, const char *folder) {
    bool complete = true;
    for (const auto &entry : std::filesystem::recursive_directory_iterator(folder)) {
        if (entry.is_regular_file() && entry.path().extension() == ".eml") {
            const std::string file = entry.path().string();
            if (const int32_t code = addMessage(index, file); code != EML_OK) {
                std::cerr << file << ": " << qob_result_text(code) << '\n';
                complete = false;
            }
        }
    }
    return complete;
}

} // namespace

int main(int argc, char **argv) {
    if (argc != 3) {
        std::cerr << "usage: index_folder FOLDER WORD\n";
        return 2;
    }
    try {
        Index index;
        const bool complete = addFolder(index, argv[1]);
        std::cerr << index.size() << " different words\n";
        for (const std::string &file : index[argv[2]]) {
            std::cout << file << '\n';
        }
        return complete ? 0 : 1;
    } catch (const std::exception &error) {
        std::cerr << "index_folder: " << error.what() << '\n';
        return 1;
    }
}
