// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Platform/DNSServiceDiscovery.h"

#include <memory>
#include <optional>
#include <set>
#include <string>
#include <utility>
#include <vector>

namespace quorrel {

/// Servers by the hundred, each with a record that never changes.
class StormNetwork final : public DNSServiceDiscovery {
public:
    [[nodiscard]] std::unique_ptr<NetService> makeNetService(
        const std::optional<std::string>&, const std::string&, const std::string& name) override {
        return std::make_unique<Service>(*this, name);
    }
    [[nodiscard]] std::unique_ptr<NetServiceBrowser> makeNetServiceBrowser() override {
        return std::make_unique<Browser>(*this);
    }

    void tell(const std::string& name, bool isThere) {
        const NetServiceInstance instance { name, "_afpovertcp._tcp.", "local." };
        for (auto* browser : std::set(m_browsers))
            if (isThere)
                browser->delegate->netServiceBrowserDidFindService(*browser, instance, false);
            else
                browser->delegate->netServiceBrowserDidRemoveService(*browser, instance, false);
    }

    /// One record that a monitor has not heard of yet; whether there was one.
    bool tellRecord() {
        if (m_unheard.empty())
            return false;
        auto* service = *m_unheard.begin();
        m_unheard.erase(m_unheard.begin());
        service->delegate->netServiceDidUpdateTXTRecordData(
            *service, { 11, 'm', 'o', 'd', 'e', 'l', '=', 'T', 'o', 'w', 'e', 'r' });
        return true;
    }

    [[nodiscard]] int services() const { return m_services; }

private:
    class Browser final : public NetServiceBrowser {
    public:
        explicit Browser(StormNetwork& network)
            : m_network(network) { }
        Browser(const Browser&) = delete;
        Browser& operator=(const Browser&) = delete;
        ~Browser() override { m_network.m_browsers.erase(this); }
        void setDelegate(NetServiceBrowserDelegate* object) override { delegate = object; }
        void searchForServicesOfType(const std::string&, const std::optional<std::string>&) override {
            m_network.m_browsers.insert(this);
        }
        void searchForBrowsableDomains() override { }
        void stop() override { m_network.m_browsers.erase(this); }

        NetServiceBrowserDelegate* delegate = nullptr;

    private:
        StormNetwork& m_network;
    };

    class Service final : public NetService {
    public:
        Service(StormNetwork& network, std::string name)
            : m_network(network)
            , m_name(std::move(name)) {
            ++m_network.m_services;
        }
        Service(const Service&) = delete;
        Service& operator=(const Service&) = delete;
        ~Service() override {
            m_network.m_unheard.erase(this);
            --m_network.m_services;
        }
        void setDelegate(NetServiceDelegate* object) override { delegate = object; }
        void resolveWithTimeout(Seconds) override { }
        void stop() override { }
        void startMonitoring() override { m_network.m_unheard.insert(this); }
        void stopMonitoring() override { m_network.m_unheard.erase(this); }
        [[nodiscard]] std::string name() const override { return m_name; }
        [[nodiscard]] std::optional<std::vector<SocketAddress>> addresses() const override { return std::nullopt; }
        [[nodiscard]] std::string hostName() const override { return {}; }
        [[nodiscard]] int port() const override { return -1; }

        NetServiceDelegate* delegate = nullptr;

    private:
        StormNetwork& m_network;
        const std::string m_name;
    };

    std::set<Browser*> m_browsers;
    std::set<Service*> m_unheard;
    int m_services = 0;
};

} // namespace quorrel
