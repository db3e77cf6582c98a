// SPDX-License-Identifier: GPL-3.0-or-later
#include "Sources/NSLookUp.h"

#include <string_view>
#include <utility>

namespace quorrel {

namespace {

/// What is left without the first characters, which are not bytes.
std::string withoutFirst(std::string_view text, int characters) {
    const auto continuesCharacter = [](char byte) { return (static_cast<unsigned char>(byte) & 0xC0) == 0x80; };
    for (; characters > 0 && !text.empty(); --characters)
        do
            text.remove_prefix(1);
        while (!text.empty() && continuesCharacter(text.front()));
    return std::string(text);
}

} // namespace

NSLookUp::NSLookUp(ChildProcess& childProcess, Log& log, std::string path)
    : CommandLineLookup(childProcess, log, std::move(path),
        Tool {
            .arguments = {},
            .startText = "Resolving %@ with nsLookup",
            .failureMarker = "can't find",
            .failureText = "nslookup Failed.",
            .successText = "nslookup resolved %@ to: %@",
            .alwaysLogsOutput = false,
        }) { }

OptionalText NSLookUp::addressAt(const Lines& lines, std::size_t matchingLine) const {
    // The address stands below the name, behind "Address: ", which is not looked for.
    constexpr int labelLength = 9;
    if (matchingLine + 1 >= lines.size())
        return std::nullopt;
    return withoutFirst(lines[matchingLine + 1], labelLength);
}

} // namespace quorrel
