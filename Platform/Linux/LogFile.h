// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <string>

namespace quorrel::LogFile {

/// Turns standard error to the end of that file, which only its owner may read; creates it and the folders above it.
/// Nothing that was in the file is lost. False when it could not be opened: standard error then stays where it was.
bool reopenStandardError(const std::string& path);

} // namespace quorrel::LogFile
