// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Platform/Timers.h"

namespace quorrel {

/// Timers on Qt's loop of the main thread.
class QtTimers final : public Timers {
public:
    [[nodiscard]] std::unique_ptr<Timer> scheduleRepeating(Seconds interval, std::function<void()> action) override;
};

} // namespace quorrel
