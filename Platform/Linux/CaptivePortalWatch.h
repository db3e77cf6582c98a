// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

struct _GNetworkMonitor;
struct _GObject;
struct _GParamSpec;

#include <functional>

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
    static void notified(_GObject* monitor, _GParamSpec* property, void* watch) noexcept;
    [[nodiscard]] bool read() const;

    const std::function<void()> m_changed;
    _GNetworkMonitor* const m_monitor;
    const unsigned long m_handler;
    bool m_isBehindPortal;
};

} // namespace quorrel
