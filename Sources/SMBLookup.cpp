// SPDX-License-Identifier: GPL-3.0-or-later
#include "Sources/SMBLookup.h"

#include <utility>

namespace quorrel {

SMBLookup::SMBLookup(ChildProcess& childProcess, Log& log, std::string path)
    : CommandLineLookup(childProcess, log, std::move(path),
        Tool {
            .arguments = { "-R " }, // the tool takes the blank that hangs on, and answers the same without it
            .startText = "Resolving %@ with nmbLookup",
            .failureMarker = "failed to find",
            .failureText = "nmblookup Failed.",
            .successText = "nmblookup resolved %@ to: %@",
            .alwaysLogsOutput = true,
        }) { }

OptionalText SMBLookup::addressAt(const Lines& lines, std::size_t matchingLine) const {
    const auto& line = lines[matchingLine];
    return line.substr(0, line.find(' '));
}

} // namespace quorrel
