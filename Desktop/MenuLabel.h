// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Foundation/Menu.h"

#include <QString>

namespace quorrel::MenuLabel {

/// Who draws a menu: Qt in a window of its own, or the desktop, which gets it over the session bus.
enum class Drawer { Qt, Desktop };

/// What an action's text must be so that the row reads as the item's title, indented, on one line.
[[nodiscard]] QString textOf(const MenuItem& item, Drawer drawer);

} // namespace quorrel::MenuLabel
