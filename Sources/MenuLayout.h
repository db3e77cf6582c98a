// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Foundation/Menu.h"

#include <memory>
#include <string_view>

namespace quorrel {

class StringTable;

/// What stays in the status item's menu whatever the catalogue holds, and how what changes is marked.
namespace MenuLayout {

// The favourites stand between the items with these tags. Both are separators, so that the section is set off on either
// side; without favourites the end marker is hidden, and only one line is left.
constexpr int startMarkerTag = 69;
constexpr int endMarkerTag = 96;

/// Between the host's name and the share's in the title of a favourite, which is the key of its command.
constexpr std::string_view favouriteSeparator = " : ";

/// The whole menu with both submenus in it; no favourites yet.
[[nodiscard]] std::shared_ptr<Menu> popMenu(
    const StringTable& strings, const std::shared_ptr<Menu>& mountMenu, const std::shared_ptr<Menu>& unmountMenu);

} // namespace MenuLayout

} // namespace quorrel
