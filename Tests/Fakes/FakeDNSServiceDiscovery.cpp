// SPDX-License-Identifier: GPL-3.0-or-later
#include "Tests/Fakes/FakeDNSServiceDiscovery.h"

#include "Tests/Fakes/FakeNetService.h"

#include <algorithm>
#include <sstream>
#include <utility>

namespace quorrel {

FakeDNSServiceDiscovery::FakeDNSServiceDiscovery()
    : m_network(std::make_shared<FakeServiceNetwork>()) { }

FakeDNSServiceDiscovery::~FakeDNSServiceDiscovery() {
    m_network->timeline.clear();
    m_network->isThere = false;
}

std::unique_ptr<NetService> FakeDNSServiceDiscovery::makeNetService(
    const std::optional<std::string>& domain, const std::string& type, const std::string& name) {
    return std::make_unique<FakeNetService>(m_network, Request { domain, type, name });
}

std::unique_ptr<NetServiceBrowser> FakeDNSServiceDiscovery::makeNetServiceBrowser() {
    return std::make_unique<FakeNetServiceBrowser>(m_network);
}

void FakeDNSServiceDiscovery::setReplies(const std::string& name, std::vector<Reply> replies) {
    m_network->replies[name] = std::move(replies);
}

void FakeDNSServiceDiscovery::announce(const std::string& name, const std::string& type, const std::string& domain) {
    const auto instance = FakeServiceNetwork::instance(name, type, domain);
    if (m_network->instances[instance]++ == 0 && m_network->isThere)
        for (auto* browser : m_network->browsers)
            browser->instanceAppeared(instance);
}

void FakeDNSServiceDiscovery::withdraw(const std::string& name, const std::string& type, const std::string& domain) {
    const auto found = m_network->instances.find(FakeServiceNetwork::instance(name, type, domain));
    if (found == m_network->instances.end() || --found->second > 0)
        return;
    const auto instance = m_network->instances.extract(found).key();
    if (m_network->isThere)
        for (auto* browser : m_network->browsers)
            browser->instanceWent(instance);
}

void FakeDNSServiceDiscovery::announceDomain(const std::string& domain) {
    if (m_network->domains.insert(domain).second && m_network->isThere)
        for (auto* browser : m_network->browsers)
            browser->domainAppeared(domain);
}

void FakeDNSServiceDiscovery::withdrawDomain(const std::string& domain) {
    if (m_network->domains.erase(domain) > 0 && m_network->isThere)
        for (auto* browser : m_network->browsers)
            browser->domainWent(domain);
}

void FakeDNSServiceDiscovery::setTXTRecord(
    const std::string& name, std::vector<std::uint8_t> data, const std::string& type, const std::string& domain) {
    const auto instance = FakeServiceNetwork::instance(name, type, domain);
    m_network->records[instance] = std::move(data);
    tellRecord(instance);
}

void FakeDNSServiceDiscovery::removeTXTRecord(
    const std::string& name, const std::string& type, const std::string& domain) {
    const auto instance = FakeServiceNetwork::instance(name, type, domain);
    if (m_network->records.erase(instance) > 0)
        tellRecord(instance);
}

void FakeDNSServiceDiscovery::tellRecord(const NetServiceInstance& instance) {
    const FakeServiceNetwork::OrderByText isBefore;
    if (!m_network->isThere)
        return;
    for (auto* service : m_network->services)
        if (service->isMonitored() && !isBefore(service->instance(), instance)
            && !isBefore(instance, service->instance()))
            service->recordChanged();
}

void FakeDNSServiceDiscovery::loseDaemon() {
    if (!std::exchange(m_network->isThere, false))
        return;
    for (auto* browser : m_network->browsers)
        browser->daemonWasLost();
    for (auto* service : m_network->services)
        service->daemonWasLost();
}

void FakeDNSServiceDiscovery::restoreDaemon() {
    if (std::exchange(m_network->isThere, true))
        return;
    for (auto* browser : m_network->browsers)
        browser->daemonIsBack();
    for (auto* service : m_network->services)
        service->daemonIsBack();
}

void FakeDNSServiceDiscovery::setEventDelay(Seconds delay) {
    m_network->eventDelay = delay;
}

void FakeDNSServiceDiscovery::setSearchError(std::optional<std::string> error) {
    m_network->searchError = std::move(error);
}

void FakeDNSServiceDiscovery::failSearches(const std::string& error) {
    for (auto* browser : m_network->browsers)
        browser->searchFailed(error);
}

void FakeDNSServiceDiscovery::advance(Seconds duration) {
    m_network->timeline.advance(duration);
}

int FakeDNSServiceDiscovery::resolutionsUnderWay() const {
    const auto& services = m_network->services;
    return static_cast<int>(
        std::count_if(services.begin(), services.end(), [](const auto* each) { return each->isUnderWay(); }));
}

std::vector<FakeDNSServiceDiscovery::Search> FakeDNSServiceDiscovery::searches() const {
    std::vector<Search> result;
    for (const auto* browser : m_network->browsers)
        if (browser->search())
            result.push_back(*browser->search());
    return result;
}

std::vector<NetServiceInstance> FakeDNSServiceDiscovery::monitored() const {
    std::vector<NetServiceInstance> result;
    for (const auto* service : m_network->services)
        if (service->isMonitored())
            result.push_back(service->instance());
    return result;
}

SocketAddress FakeDNSServiceDiscovery::addressIPv4(const std::string& dottedDecimal, int port) {
    SocketAddress address(16);
    address[0] = 16;
    address[1] = 2;
    address[2] = static_cast<std::uint8_t>(port >> 8);
    address[3] = static_cast<std::uint8_t>(port & 0xFF);
    std::istringstream text(dottedDecimal);
    std::string part;
    for (std::size_t index = 4; index < 8 && std::getline(text, part, '.'); ++index)
        address[index] = static_cast<std::uint8_t>(std::stoi(part));
    return address;
}

SocketAddress FakeDNSServiceDiscovery::addressIPv6(int port) {
    SocketAddress address(28);
    address[0] = 28;
    address[1] = 30;
    address[2] = static_cast<std::uint8_t>(port >> 8);
    address[3] = static_cast<std::uint8_t>(port & 0xFF);
    address[8] = 0xFD;
    address[23] = 1;
    return address;
}

std::vector<std::uint8_t> FakeDNSServiceDiscovery::txtRecord(const std::vector<std::string>& strings) {
    std::vector<std::uint8_t> data;
    for (const auto& each : strings) {
        data.push_back(static_cast<std::uint8_t>(each.size()));
        data.insert(data.end(), each.begin(), each.end());
    }
    return data;
}

} // namespace quorrel
