// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstdlib>

namespace quorrel {

/// How many times as long a program may take that a sanitizer watches.
[[nodiscard]] inline double slowness() {
    const char* text = std::getenv("QUORREL_SLOWNESS");
    return text ? std::atof(text) : 1;
}

} // namespace quorrel
