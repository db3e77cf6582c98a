// SPDX-License-Identifier: GPL-3.0-or-later
#include "Sources/ToolOutput.h"

#include "Foundation/Log.h"
#include "Foundation/Text.h"
#include "Platform/ChildProcess.h"

namespace quorrel {

std::string toolOutput(
    ChildProcess& childProcess, Log& log, const std::string& path, const std::vector<std::string>& arguments) {
    const auto result = childProcess.run(path, arguments);
    if (result.started && !result.failure.empty())
        log.line("%@ was ended: %@", { path, result.failure });
    return Text::fromASCII(result.output);
}

} // namespace quorrel
