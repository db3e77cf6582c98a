// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Sources/CommandLineLookup.h"

#include <string>

namespace quorrel {

/// Asks the NetBIOS name service through nmblookup. Logs the tool's output whatever the preferences say.
class SMBLookup final : public CommandLineLookup {
public:
    SMBLookup(ChildProcess& childProcess, Log& log, std::string path = "/usr/bin/nmblookup");

private:
    [[nodiscard]] OptionalText addressAt(const Lines& lines, std::size_t matchingLine) const override;
};

} // namespace quorrel
