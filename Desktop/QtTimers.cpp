// SPDX-License-Identifier: GPL-3.0-or-later
#include "Desktop/QtTimers.h"

#include <QObject>
#include <QTimer>

#include <chrono>
#include <utility>

namespace quorrel {

namespace {

class QtTimer final : public Timer {
public:
    QtTimer(Seconds interval, std::function<void()> action) {
        m_timer.setInterval(std::chrono::duration_cast<std::chrono::milliseconds>(interval));
        // A copy, since the action may destroy this.
        QObject::connect(&m_timer, &QTimer::timeout, [action = std::move(action)] {
            const auto copy = action;
            copy();
        });
        m_timer.start();
    }

    void invalidate() override { m_timer.stop(); }
    [[nodiscard]] bool isValid() const override { return m_timer.isActive(); }

private:
    QTimer m_timer;
};

} // namespace

std::unique_ptr<Timer> QtTimers::scheduleRepeating(Seconds interval, std::function<void()> action) {
    return std::make_unique<QtTimer>(interval, std::move(action));
}

} // namespace quorrel
