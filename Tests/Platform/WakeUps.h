// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Foundation/Clock.h"

namespace quorrel {

/// When the main GLib context would wake up by itself; less than zero for never.
[[nodiscard]] Seconds nextWakeUp();
/// Runs the main context until it would not any more; false when that took longer.
[[nodiscard]] bool fallsQuiet(Seconds limit);

} // namespace quorrel
