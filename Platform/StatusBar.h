// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Foundation/Image.h"
#include "Foundation/Menu.h"

#include <memory>

namespace quorrel {

/// One item in the desktop's status area; there as long as the object. Main thread.
class StatusItem {
public:
    virtual ~StatusItem() = default;

    virtual void setImage(const Image& image) = 0;
    /// Shown while the item is highlighted.
    virtual void setAlternateImage(const Image& image) = 0;
    virtual void setHighlightMode(bool isOn) = 0;
    /// Shows the menu, and follows its changes once per turn of the run loop. Null: none.
    virtual void setMenu(std::shared_ptr<Menu> menu) = 0;
};

/// The desktop's status area. Main thread.
class StatusBar {
public:
    virtual ~StatusBar() = default;

    /// The length is in points. Where the desktop has no status area yet, the item appears as soon as there is one.
    [[nodiscard]] virtual std::unique_ptr<StatusItem> statusItemWithLength(double length) = 0;
};

} // namespace quorrel
