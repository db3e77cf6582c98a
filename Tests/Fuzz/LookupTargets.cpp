// SPDX-License-Identifier: GPL-3.0-or-later
#include "Foundation/Text.h"
#include "Sources/NSLookUp.h"
#include "Sources/SMBLookup.h"
#include "Tests/Fuzz/CannedTool.h"
#include "Tests/Fuzz/FuzzInput.h"
#include "Tests/Fuzz/FuzzLog.h"
#include "Tests/Fuzz/Targets.h"

#include <cstddef>
#include <string>
#include <string_view>

namespace quorrel::fuzz {

namespace {

bool hasControl(const std::string& text) {
    for (std::size_t index = 0; index < text.size(); ++index) {
        const auto byte = static_cast<unsigned char>(text[index]);
        const bool isOfTwo = byte == 0xC2 && static_cast<unsigned char>(text[index + 1]) < 0xA0;
        if (byte < 0x20 || byte == 0x7F || isOfTwo)
            return true;
    }
    return false;
}

/// The first part is the name that is looked up, the rest what the tool prints.
template <typename Lookup>
void look(std::string_view input, std::string_view failureMarker) {
    static FuzzLog log;
    FuzzInput parts(input);
    const auto name = parts.part();
    const auto output = parts.rest();
    CannedTool tool(output);
    Lookup lookup(tool, log.log(), "/bin/false");

    const bool found = lookup.lookup(name);
    require(found == lookup.IP4().has_value(), "a look-up has an address if it succeeded");
    const bool isUsable = !name.empty() && name.front() != '-' && Text::isUTF8(name) && !hasControl(name);
    require(isUsable ? !tool.arguments().empty() && tool.arguments().back() == name : tool.arguments().empty(),
        "the tool is started with what it takes for a name, and with nothing else");
    if (found) {
        const auto text = Text::fromASCII(output);
        require(!hasLineEnd(*lookup.IP4()), "an address is one line");
        require(contains(text, *lookup.IP4()), "an address was printed by the tool");
        require(contains(text, name), "a name that was found was printed by the tool");
        require(!contains(Text::lowerCase(text), failureMarker), "what failed has no address");
    }
    require(!lookup.lookup(name), "one object serves one look-up");
}

} // namespace

void readNSLookUp(std::string_view input) {
    look<NSLookUp>(input, "can't find");
}

void readSMBLookup(std::string_view input) {
    look<SMBLookup>(input, "failed to find");
}

} // namespace quorrel::fuzz
