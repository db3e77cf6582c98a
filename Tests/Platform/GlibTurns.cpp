// SPDX-License-Identifier: GPL-3.0-or-later
#include "Tests/Platform/GlibTurns.h"

#include <glib.h>

#include <chrono>

namespace quorrel {

bool runMainContextUntil(const std::function<bool()>& condition, Seconds limit) {
    const auto end = std::chrono::steady_clock::now() + limit;
    const auto wake = g_timeout_add(
        5, [](void*) -> gboolean { return G_SOURCE_CONTINUE; }, nullptr); // so that a turn of nothing ends too
    bool holds = condition();
    while (!holds && std::chrono::steady_clock::now() < end) {
        g_main_context_iteration(nullptr, TRUE);
        holds = condition();
    }
    g_source_remove(wake);
    return holds;
}

} // namespace quorrel
