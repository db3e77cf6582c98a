// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Platform/DNSServiceDiscovery.h"
#include "Platform/Linux/AvahiConnection.h"
#include "Platform/Linux/AvahiObject.h"
#include "Platform/Linux/AvahiRecordWatches.h"
#include "Platform/Linux/AvahiTXTRecordMonitor.h"
#include "Platform/Linux/MainLoopTimer.h"

#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace quorrel {

/// One service instance, resolved to its IPv4 address and watched by the Avahi daemon. Main thread only; connection and
/// watches must outlive it. A resolution ends with its first answer, or with its own time-out or the daemon's,
/// whichever is first.
class AvahiNetService final : public NetService {
public:
    /// Type and domain with or without the dot at their end; an empty domain is "local".
    AvahiNetService(AvahiConnection& connection, AvahiRecordWatches& watches, std::string domain, std::string type,
        std::string name);
    AvahiNetService(const AvahiNetService&) = delete;
    AvahiNetService& operator=(const AvahiNetService&) = delete;
    ~AvahiNetService() override;

    void setDelegate(NetServiceDelegate* delegate) override { m_delegate = delegate; }
    void resolveWithTimeout(Seconds timeout) override;
    void stop() override;
    void startMonitoring() override;
    void stopMonitoring() override { m_monitor.reset(); }

    [[nodiscard]] std::string name() const override { return m_name; }
    [[nodiscard]] std::optional<std::vector<SocketAddress>> addresses() const override { return m_addresses; }
    [[nodiscard]] std::string hostName() const override { return m_hostName; }
    [[nodiscard]] int port() const override { return m_port; }

private:
    [[nodiscard]] bool hasFitName() const;
    void startResolver();
    void connectionChanged(AvahiConnection::State state);
    void told(const std::string& signal, GVariant* parameters);
    /// Whether a resolution was under way.
    bool end();
    void fail(const std::string& error);

    AvahiConnection& m_connection;
    AvahiRecordWatches& m_watches;
    const std::string m_domain;
    const std::string m_type;
    const std::string m_name;
    NetServiceDelegate* m_delegate = nullptr;

    bool m_isUnderWay = false;
    Subscription m_connectionChanges;
    std::unique_ptr<AvahiObject> m_resolver; ///< from when there is a daemon
    MainLoopTimer m_timer; // for the time-out, or for a failure that is known already

    std::unique_ptr<AvahiTXTRecordMonitor> m_monitor;

    std::optional<std::vector<SocketAddress>> m_addresses;
    std::string m_hostName;
    int m_port = -1;
};

} // namespace quorrel
