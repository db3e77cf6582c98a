// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Platform/Window.h"
#include "Sources/CatalogueLists.h"

namespace quorrel {

/// The window with the hosts and the selected host's share points. Main thread. It shows both lists' arranged objects
/// and selections, writes the selections, and decides nothing.
class MainWindow : public Window {
public:
    /// Shows a list from now on, in place of what it showed before; null: none. The list is borrowed until the next
    /// call.
    virtual void bindHostsList(HostListController* hosts) = 0;
    virtual void bindMountsList(SharePointListController* sharePoints) = 0;

    /// What can be done may have changed, also where neither list shows it.
    virtual void validateActions() = 0;

    /// Asks, and returns at once; the answer comes later. Closing the question is the alternate answer.
    virtual void beginAlertSheet(const AlertSheet& sheet, AlertHandler handler) = 0;
    /// Says something that needs no answer, once; returns at once.
    virtual void showNotice(const std::string& title, const std::string& message) = 0;
};

} // namespace quorrel
