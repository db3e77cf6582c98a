// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Foundation/StringTable.h"

#include <cstdint>
#include <optional>
#include <string_view>

namespace quorrel {

/// Shown for a status that has no text of its own.
inline constexpr std::string_view seeLogForError = localizable("See log for error.");

/// The English text for the status of a mount or an unmount; absent where it has none of its own.
[[nodiscard]] std::optional<std::string_view> mountErrorText(std::int32_t status);
[[nodiscard]] std::optional<std::string_view> unmountErrorText(std::int32_t status);

} // namespace quorrel
