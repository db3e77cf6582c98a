// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Foundation/Menu.h"

#include <string>

namespace quorrel {

/// Whether an action can do anything now, and why not.
struct ActionState final {
    bool isEnabled = true;
    std::string reason; ///< in the user's language; empty when there is nothing to explain

    friend bool operator==(const ActionState&, const ActionState&) = default;
};

/// What menus, buttons and shortcuts hand their actions on to. Main thread.
class ActionTarget {
public:
    virtual ~ActionTarget() = default;

    /// An action that nobody knows does nothing. The sender is borrowed for the call.
    virtual void perform(Selector action, const MenuItem& sender) = 0;
    [[nodiscard]] virtual ActionState validate(Selector action) const = 0;
};

} // namespace quorrel
