// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <functional>
#include <string>

namespace quorrel {

/// A window of the program. Main thread.
class Window {
public:
    virtual ~Window() = default;

    virtual void center() = 0;
    /// Shows it in front of the program's other windows, ready for the keyboard.
    virtual void makeKeyAndOrderFront() = 0;
    /// Shows it also when the program is not the active one.
    virtual void orderFrontRegardless() = 0;
};

/// A question with two answers, shown on a window; texts in the user's language.
struct AlertSheet final {
    std::string title;
    std::string message;
    std::string defaultButton;
    std::string alternateButton;
};

enum class AlertAnswer { Default, Alternate };

using AlertHandler = std::function<void(AlertAnswer answer)>;

} // namespace quorrel
