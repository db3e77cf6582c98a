// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <string>

namespace quorrel {

/// A menu of the model that the status item shows. Main thread.
struct Menu final {
    std::string title;
};

/// One row of a menu, as an action gets it for its sender. Main thread; the menu must outlive its items.
struct MenuItem final {
    std::string title;
    const Menu* menu = nullptr;
};

} // namespace quorrel
