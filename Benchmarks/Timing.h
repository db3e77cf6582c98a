// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <algorithm>
#include <chrono>
#include <cstddef>
#include <vector>

namespace quorrel {

using SteadyClock = std::chrono::steady_clock;

[[nodiscard]] inline double milliseconds(SteadyClock::duration duration) {
    return std::chrono::duration<double, std::milli>(duration).count();
}

/// REQUIRES: at least one value.
[[nodiscard]] inline double median(std::vector<double> values) {
    std::sort(values.begin(), values.end());
    return values[values.size() / 2];
}

} // namespace quorrel
