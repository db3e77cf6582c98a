// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

namespace quorrel::CoreFiles {

/// Has a crash of this process leave no core file: passwords would stand in it. For the entry point. What the process
/// starts inherits this, and may raise the limit again.
void forbid();

} // namespace quorrel::CoreFiles
