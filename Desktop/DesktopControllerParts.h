// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Sources/IdleControllerParts.h"

namespace quorrel {

class StatusBar;
class Timers;

/// The controller's parts on a desktop: a status item. Main thread.
class DesktopControllerParts final : public IdleControllerParts {
public:
    /// Both must outlive what is made here.
    DesktopControllerParts(StatusBar& statusBar, Timers& timers)
        : m_statusBar(statusBar)
        , m_timers(timers) { }

    [[nodiscard]] std::unique_ptr<StatusBarItem> makeStatusBarItem() override {
        return std::make_unique<StatusBarItem>(m_statusBar, m_timers);
    }

private:
    StatusBar& m_statusBar;
    Timers& m_timers;
};

} // namespace quorrel
