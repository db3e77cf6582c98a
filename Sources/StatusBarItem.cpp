// SPDX-License-Identifier: GPL-3.0-or-later
#include "Sources/StatusBarItem.h"

#include "Platform/StatusBar.h"
#include "Platform/Timers.h"

#include <utility>

namespace quorrel {

namespace {

constexpr double length = 28.0; // points
constexpr Seconds blinkInterval { 1.0 };

} // namespace

StatusBarItem::StatusBarItem(StatusBar& statusBar, Timers& timers)
    : m_timers(timers)
    , m_statusItem(statusBar.statusItemWithLength(length)) {
    showIcon();
    m_statusItem->setAlternateImage({ "menubarIcon-neg.png" });
    m_statusItem->setHighlightMode(true);
}

StatusBarItem::~StatusBarItem() {
    m_statusItem.reset();
    m_animationTimer.reset();
}

void StatusBarItem::setMenu(std::shared_ptr<Menu> menu) {
    m_statusItemMenu = std::move(menu);
    m_statusItem->setMenu(m_statusItemMenu);
}

void StatusBarItem::startAnimation() {
    showIcon();
    if (m_animationTimer)
        m_animationTimer->invalidate();
    m_animationTimer = m_timers.scheduleRepeating(blinkInterval, [this] { animationTimerMethod(); });
    m_onoff = true;
}

void StatusBarItem::animationTimerMethod() {
    showIcon();
    m_onoff = !m_onoff;
}

void StatusBarItem::stopAnimation() {
    if (m_animationTimer)
        m_animationTimer->invalidate();
    showIcon();
}

void StatusBarItem::showIcon() {
    m_statusItem->setImage(image());
}

Image StatusBarItem::image() {
    return { "menubarIcon.png" };
}

} // namespace quorrel
