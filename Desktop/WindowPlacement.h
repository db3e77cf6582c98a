// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

class QWidget;

/// Where windows go. Main thread. A desktop that places windows itself, as those on Wayland do, has the last word.
namespace quorrel::WindowPlacement {

/// To the middle of its screen.
void center(QWidget& window);

/// Shown, not minimized, and in front of the program's other windows.
void bringToFront(QWidget& window);

} // namespace quorrel::WindowPlacement
