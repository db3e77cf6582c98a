// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Platform/Window.h"

#include <QMessageBox>

#include <string>

namespace quorrel {

/// A message with a title above it, for `open()`: modal for its parent, and destroyed when it is closed. Texts are
/// shown as they stand, in the user's language already; the buttons are its maker's. Main thread.
class AlertBox final : public QMessageBox {
public:
    AlertBox(QWidget* parent, Icon icon, const std::string& title, const std::string& message);

    /// Asks, and returns at once. `onClosing` is the answer of who closes the question without a button.
    static void ask(QWidget* parent, const AlertSheet& question, AlertAnswer onClosing, AlertHandler handler);
};

} // namespace quorrel
