// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Sources/CommandLineLookup.h"

#include <string>

namespace quorrel {

/// Asks the DNS through nslookup.
class NSLookUp final : public CommandLineLookup {
public:
    NSLookUp(ChildProcess& childProcess, Log& log, std::string path = "/usr/bin/nslookup");

private:
    [[nodiscard]] OptionalText addressAt(const Lines& lines, std::size_t matchingLine) const override;
};

} // namespace quorrel
