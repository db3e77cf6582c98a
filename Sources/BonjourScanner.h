// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Foundation/Property.h"
#include "Platform/DNSServiceDiscovery.h"

#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace quorrel {

struct DiscoveryEnvironment;

/// Browses for one type of service and posts each instance that comes or goes as "ServiceAdded/Removed", with itself
/// as the object. The computer's own services are not announced. Main thread only.
class BonjourScanner final : public NetServiceBrowserDelegate {
public:
    explicit BonjourScanner(const DiscoveryEnvironment& environment);
    ~BonjourScanner() override;
    BonjourScanner(const BonjourScanner&) = delete;
    BonjourScanner& operator=(const BonjourScanner&) = delete;

    /// An absent domain stands for the default domains.
    void searchForService(const OptionalText& type, const OptionalText& domain);
    void searchForServices();
    void searchForDomains();
    void stopSearch();

    /// False at all times; nothing depends on it.
    [[nodiscard]] bool searching() const { return m_searching; }
    [[nodiscard]] const OptionalText& serviceType() const { return m_serviceType; }
    void setServiceType(OptionalText type) { m_serviceType = std::move(type); }
    [[nodiscard]] const OptionalText& serviceDomain() const { return m_serviceDomain; }
    void setServiceDomain(OptionalText domain) { m_serviceDomain = std::move(domain); }
    /// Never filled here.
    [[nodiscard]] const std::optional<std::vector<std::string>>& bonjourServices() const { return m_bonjourServices; }
    void setBonjourServices(std::optional<std::vector<std::string>> services) {
        m_bonjourServices = std::move(services);
    }

    void netServiceBrowserDidNotSearch(NetServiceBrowser& browser, const std::string& error) override;
    void netServiceBrowserDidRemoveDomain(
        NetServiceBrowser& browser, const std::string& domain, bool moreComing) override;
    void netServiceBrowserDidFindDomain(
        NetServiceBrowser& browser, const std::string& domain, bool moreComing) override;
    void netServiceBrowserDidRemoveService(
        NetServiceBrowser& browser, const NetServiceInstance& service, bool moreComing) override;
    void netServiceBrowserDidFindService(
        NetServiceBrowser& browser, const NetServiceInstance& service, bool moreComing) override;
    void netServiceBrowserDidStopSearch(NetServiceBrowser& browser) override;
    void netServiceBrowserWillSearch(NetServiceBrowser& browser) override;

private:
    void post(int action, const NetServiceInstance& service);

    const DiscoveryEnvironment& m_environment;
    const bool m_searching = false;
    const std::unique_ptr<NetServiceBrowser> m_mbrowser;
    std::optional<std::vector<std::string>> m_bonjourServices;
    OptionalText m_serviceType = "_afpovertcp._tcp.";
    OptionalText m_serviceDomain = "";
};

} // namespace quorrel
