// SPDX-License-Identifier: GPL-3.0-or-later
#include "Tests/Platform/WakeUps.h"

#include <glib.h>

namespace quorrel {

Seconds nextWakeUp() {
    auto* context = g_main_context_default();
    if (!g_main_context_acquire(context))
        return Seconds(0);
    gint priority = 0;
    gint timeout = 0;
    if (!g_main_context_prepare(context, &priority))
        g_main_context_query(context, G_MAXINT, &timeout, nullptr, 0);
    g_main_context_release(context);
    return std::chrono::milliseconds(timeout);
}

bool fallsQuiet(Seconds limit) {
    const auto end = std::chrono::steady_clock::now() + limit;
    while (nextWakeUp() >= Seconds(0)) {
        if (std::chrono::steady_clock::now() + nextWakeUp() > end)
            return false;
        g_main_context_iteration(nullptr, TRUE);
    }
    return true;
}

} // namespace quorrel
