// SPDX-License-Identifier: GPL-3.0-or-later
#include "Tests/Desktop/Translation.h"

#include <fstream>

namespace quorrel::Translation {

namespace {

std::string unquoted(const std::string& line) {
    std::string text;
    const auto end = line.rfind('"');
    for (auto place = line.find('"') + 1; place < end; ++place) {
        if (line[place] != '\\') {
            text += line[place];
            continue;
        }
        ++place;
        text += line[place] == 'n' ? '\n' : line[place];
    }
    return text;
}

} // namespace

std::vector<std::string> languages() {
    std::vector<std::string> found { "en" };
    std::ifstream file(QUORREL_TRANSLATIONS "/LINGUAS");
    for (std::string language; std::getline(file, language);)
        found.push_back(language);
    return found;
}

FakeStringTable::Texts texts(const std::string& language) {
    FakeStringTable::Texts texts;
    std::ifstream file(QUORREL_TRANSLATIONS "/" + language + ".po");
    std::string key;
    std::string text;
    std::string* part = nullptr;
    for (std::string line; std::getline(file, line);) {
        if (line.starts_with("msgid ")) {
            texts[key] = text;
            key.clear();
            text.clear();
            part = &key;
        } else if (line.starts_with("msgstr ")) {
            part = &text;
        }
        if (part && line.find('"') != std::string::npos && !line.starts_with('#'))
            *part += unquoted(line);
    }
    texts[key] = text;
    texts.erase(std::string()); // the header
    return texts;
}

} // namespace quorrel::Translation
