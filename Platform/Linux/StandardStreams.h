// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

namespace quorrel::StandardStreams {

/// Opens the null device on each standard stream that is closed: its number would go to the next file that is opened,
/// and our output into that file. For the entry point, before anything is opened.
void fillClosedOnes();

} // namespace quorrel::StandardStreams
