// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <string>
#include <system_error>

namespace quorrel {

/// What a system error number says.
[[nodiscard]] inline std::string systemErrorText(int number) {
    return std::generic_category().message(number);
}

} // namespace quorrel
