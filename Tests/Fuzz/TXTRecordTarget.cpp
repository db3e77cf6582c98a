// SPDX-License-Identifier: GPL-3.0-or-later
#include "Foundation/Text.h"
#include "Sources/TXTRecord.h"
#include "Tests/Fuzz/FuzzInput.h"
#include "Tests/Fuzz/Targets.h"

namespace quorrel::fuzz {

void readTXTRecord(std::string_view input) {
    const TXTRecord record(TXTRecord::Bytes(input.begin(), input.end()));
    TXTRecord::Bytes written;
    for (const auto& [key, value] : record.values()) {
        require(!key.empty() && !contains(key, "="), "a key is a word");
        require(key == Text::lowerCase(key), "a key is in lower case");
        const auto text = record.textFor(key);
        require(!text || Text::isUTF8(*text), "a text is UTF-8");
        require(!text || (value && *text == std::string(value->begin(), value->end())), "a text is a key's value");
        const auto length = key.size() + (value ? value->size() + 1 : 0);
        require(length <= 255, "a string of a record fits its length");
        written.push_back(static_cast<std::uint8_t>(length));
        written.insert(written.end(), key.begin(), key.end());
        if (value) {
            written.push_back('=');
            written.insert(written.end(), value->begin(), value->end());
        }
    }
    require(TXTRecord(written).values() == record.values(), "a record that is written again reads the same");
    static_cast<void>(record.textFor("model"));
}

} // namespace quorrel::fuzz
