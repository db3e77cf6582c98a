// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Foundation/Clock.h"

#include <functional>

namespace quorrel {

/// Runs the main GLib context until the condition holds, which it looks at after each turn; false when so much time
/// went by.
[[nodiscard]] bool runMainContextUntil(const std::function<bool()>& condition, Seconds limit);

} // namespace quorrel
