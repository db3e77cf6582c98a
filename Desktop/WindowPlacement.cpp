// SPDX-License-Identifier: GPL-3.0-or-later
#include "Desktop/WindowPlacement.h"

#include <QScreen>
#include <QWidget>

namespace quorrel::WindowPlacement {

void center(QWidget& window) {
    // A window that was never shown has no size yet.
    if (!window.testAttribute(Qt::WA_Resized) && !window.isVisible())
        window.adjustSize();
    auto frame = window.frameGeometry();
    frame.moveCenter(window.screen()->availableGeometry().center());
    window.move(frame.topLeft());
}

void bringToFront(QWidget& window) {
    window.setWindowState(window.windowState() & ~Qt::WindowMinimized);
    window.show();
    window.raise();
}

} // namespace quorrel::WindowPlacement
