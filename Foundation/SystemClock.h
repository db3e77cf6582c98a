// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Foundation/Clock.h"

namespace quorrel {

/// The machine's own clock.
class SystemClock final : public Clock {
public:
    [[nodiscard]] Time now() const override;
    Seconds sleep(Seconds duration, WakeSignal* wake) override;
};

} // namespace quorrel
