// SPDX-License-Identifier: GPL-3.0-or-later
#include "Platform/Linux/CaptivePortalWatch.h"

#include <utility>

namespace quorrel {

// The one monitor of the process is never given back. Its other signal tells what the kernel tells sooner.
CaptivePortalWatch::CaptivePortalWatch(std::function<void()> changed)
    : m_changed(std::move(changed))
    , m_monitor(g_network_monitor_get_default())
    , m_handler(g_signal_connect(m_monitor, "notify::connectivity", G_CALLBACK(&CaptivePortalWatch::notified), this))
    , m_isBehindPortal(read()) { }

CaptivePortalWatch::~CaptivePortalWatch() {
    g_signal_handler_disconnect(m_monitor, m_handler);
}

void CaptivePortalWatch::notified(GObject*, GParamSpec*, void* data) noexcept {
    auto& watch = *static_cast<CaptivePortalWatch*>(data);
    const bool isBehindPortal = watch.read();
    if (std::exchange(watch.m_isBehindPortal, isBehindPortal) != isBehindPortal)
        watch.m_changed();
}

bool CaptivePortalWatch::read() const {
    return g_network_monitor_get_connectivity(m_monitor) == G_NETWORK_CONNECTIVITY_PORTAL;
}

} // namespace quorrel
