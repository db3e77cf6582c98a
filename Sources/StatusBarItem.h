// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Foundation/Image.h"
#include "Foundation/Menu.h"

#include <memory>

namespace quorrel {

class StatusBar;
class StatusItem;
class Timer;
class Timers;

/// The program's item in the status area, with its menu; there as long as the object. Main thread.
class StatusBarItem final {
public:
    /// Both must outlive the object.
    StatusBarItem(StatusBar& statusBar, Timers& timers);
    ~StatusBarItem();
    StatusBarItem(const StatusBarItem&) = delete;
    StatusBarItem& operator=(const StatusBarItem&) = delete;

    [[nodiscard]] static Image image();

    void setMenu(std::shared_ptr<Menu> menu);

    /// Blinks once a second between two phases that show the same image.
    void startAnimation();
    void animationTimerMethod();
    void stopAnimation();

private:
    void showIcon();

    Timers& m_timers;
    std::shared_ptr<Menu> m_statusItemMenu;
    std::unique_ptr<StatusItem> m_statusItem;
    std::unique_ptr<Timer> m_animationTimer;
    bool m_onoff = false;
};

} // namespace quorrel
