// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Platform/DNSServiceDiscovery.h"
#include "Platform/Linux/AvahiConnection.h"
#include "Platform/Linux/AvahiObject.h"
#include "Platform/Linux/AvahiSightings.h"
#include "Platform/Linux/MainLoopTimer.h"

#include <memory>
#include <optional>
#include <string>

namespace quorrel {

/// A search that the Avahi daemon does. Main thread only; the connection must outlive it.
///
/// Its events are told in the turn of the main loop in which they arrive. Of one that is found nobody can say whether
/// more are coming.
class AvahiNetServiceBrowser final : public NetServiceBrowser {
public:
    explicit AvahiNetServiceBrowser(AvahiConnection& connection);
    AvahiNetServiceBrowser(const AvahiNetServiceBrowser&) = delete;
    AvahiNetServiceBrowser& operator=(const AvahiNetServiceBrowser&) = delete;
    ~AvahiNetServiceBrowser() override;

    void setDelegate(NetServiceBrowserDelegate* delegate) override { m_delegate = delegate; }
    void searchForServicesOfType(const std::string& type, const std::optional<std::string>& domain) override;
    void searchForBrowsableDomains() override;
    void stop() override;

private:
    /// Without dots at the end. Domains are searched for without a type; an empty domain is the daemon's own.
    struct Search final {
        std::optional<std::string> type;
        std::string domain;

        bool operator==(const Search&) const = default;
    };

    void begin(Search search);
    /// Ends the search, silently.
    void end();
    /// Why nobody could search for it, if so.
    [[nodiscard]] std::optional<std::string> obstacle() const;
    void startBrowser();
    void connectionChanged(AvahiConnection::State state);
    void told(const std::string& signal, GVariant* parameters);
    void saw(bool isNew, const NetServiceInstance& instance, AvahiSightings::Place place);
    /// False when a delegate ended the search meanwhile, or destroyed this.
    [[nodiscard]] bool removeAll();
    void tellFind(const NetServiceInstance& instance);
    void tellRemoval(const NetServiceInstance& instance, bool moreComing);
    void failLater(const std::string& error);
    void fail(const std::string& error);

    AvahiConnection& m_connection;
    NetServiceBrowserDelegate* m_delegate = nullptr;
    std::shared_ptr<const Search> m_search; ///< another one for each search
    Subscription m_connectionChanges;
    std::unique_ptr<AvahiObject> m_browser; ///< from when there is a daemon
    AvahiSightings m_sightings; ///< of domains too: instances with nothing but a domain
    MainLoopTimer m_timer; ///< for a failure that is known already
};

} // namespace quorrel
