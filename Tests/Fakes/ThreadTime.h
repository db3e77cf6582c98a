// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Foundation/Clock.h"

#include <ctime>

namespace quorrel {

/// The processor's time that the calling thread has used, which other processes on a busy machine do not add to.
[[nodiscard]] inline Seconds threadTime() {
    timespec time {};
    ::clock_gettime(CLOCK_THREAD_CPUTIME_ID, &time);
    return Seconds(static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_nsec) / 1e9);
}

} // namespace quorrel
