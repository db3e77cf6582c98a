// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <functional>

#include <gio/gio.h>

namespace quorrel {

/// Tells whether somebody has to log in before the network lets anything through, as far as the system finds out. Main
/// thread only. Making the first one asks the system's network service, if there is one, and waits for its answer.
class CaptivePortalWatch final {
public:
    /// Called from the main GLib context. It must not destroy the watch, nor throw.
    explicit CaptivePortalWatch(std::function<void()> changed);
    CaptivePortalWatch(const CaptivePortalWatch&) = delete;
    CaptivePortalWatch& operator=(const CaptivePortalWatch&) = delete;
    ~CaptivePortalWatch();

    [[nodiscard]] bool isBehindPortal() const { return m_isBehindPortal; }

private:
    static void notified(GObject* monitor, GParamSpec* property, void* watch) noexcept;
    [[nodiscard]] bool read() const;

    const std::function<void()> m_changed;
    GNetworkMonitor* const m_monitor;
    const unsigned long m_handler;
    bool m_isBehindPortal;
};

} // namespace quorrel
