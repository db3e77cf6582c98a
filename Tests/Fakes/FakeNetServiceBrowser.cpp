// SPDX-License-Identifier: GPL-3.0-or-later
#include "Tests/Fakes/FakeNetServiceBrowser.h"

#include <utility>

namespace quorrel {

namespace {

/// Whether both mean the same, however they were written.
bool isSame(const FakeNetServiceBrowser::Search& left, const FakeNetServiceBrowser::Search& right) {
    if (!left.type || !right.type)
        return !left.type && !right.type;
    const FakeServiceNetwork::OrderByText isBefore;
    const auto first = FakeServiceNetwork::instance({}, *left.type, left.domain);
    const auto second = FakeServiceNetwork::instance({}, *right.type, right.domain);
    return !isBefore(first, second) && !isBefore(second, first);
}

} // namespace

FakeNetServiceBrowser::FakeNetServiceBrowser(std::shared_ptr<FakeServiceNetwork> network)
    : m_network(std::move(network)) {
    m_network->browsers.push_back(this);
}

FakeNetServiceBrowser::~FakeNetServiceBrowser() {
    m_network->timeline.forget(this);
    std::erase(m_network->browsers, this);
}

void FakeNetServiceBrowser::searchForServicesOfType(const std::string& type, const std::optional<std::string>& domain) {
    m_network->record("search " + type + (domain ? " in \"" + *domain + '"' : ""));
    begin({ type, domain });
}

void FakeNetServiceBrowser::searchForBrowsableDomains() {
    m_network->record("search domains");
    begin({});
}

void FakeNetServiceBrowser::begin(Search search) {
    const bool isTheSame = m_search && isSame(*m_search, search);
    m_search = std::move(search);
    if (!isTheSame) {
        m_network->timeline.forget(this);
        m_found.clear();
        m_foundDomains.clear();
        if (!isPossible())
            schedule([this] { fail("Invalid service type"); });
        else if (m_network->searchError)
            searchFailed(*m_network->searchError);
        else if (m_network->isThere)
            scheduleAll();
    }
    if (m_delegate)
        m_delegate->netServiceBrowserWillSearch(*this);
}

void FakeNetServiceBrowser::stop() {
    m_network->record("stop search" + (m_search && m_search->type ? ' ' + *m_search->type : ""));
    m_network->timeline.forget(this);
    if (std::exchange(m_search, std::nullopt) && m_delegate)
        m_delegate->netServiceBrowserDidStopSearch(*this);
}

bool FakeNetServiceBrowser::isPossible() const {
    if (!m_search->type)
        return true;
    return m_search->type->starts_with('_') && FakeServiceNetwork::isPlain(*m_search->type)
        && FakeServiceNetwork::isPlain(m_search->domain.value_or(std::string()));
}

bool FakeNetServiceBrowser::isWanted(const NetServiceInstance& instance) const {
    if (!m_search || !m_search->type)
        return false;
    const auto wanted = FakeServiceNetwork::instance({}, *m_search->type, m_search->domain);
    return instance.type == wanted.type && instance.domain == wanted.domain;
}

void FakeNetServiceBrowser::instanceAppeared(const NetServiceInstance& instance) {
    if (isWanted(instance))
        schedule([this, instance] {
            if (m_found.insert(instance).second)
                tell(true, instance);
        });
}

void FakeNetServiceBrowser::instanceWent(const NetServiceInstance& instance) {
    if (isWanted(instance))
        schedule([this, instance] {
            if (m_found.erase(instance) > 0)
                tell(false, instance);
        });
}

void FakeNetServiceBrowser::domainAppeared(const std::string& domain) {
    if (m_search && !m_search->type)
        schedule([this, domain] {
            if (m_foundDomains.insert(domain).second)
                tell(true, domain);
        });
}

void FakeNetServiceBrowser::domainWent(const std::string& domain) {
    if (m_search && !m_search->type)
        schedule([this, domain] {
            if (m_foundDomains.erase(domain) > 0)
                tell(false, domain);
        });
}

void FakeNetServiceBrowser::searchFailed(const std::string& error) {
    if (m_search)
        schedule([this, error] { fail(error); });
}

void FakeNetServiceBrowser::daemonWasLost() {
    m_network->timeline.forget(this);
    for (const auto& each : m_found)
        instanceWent(each);
    for (const auto& each : m_foundDomains)
        domainWent(each);
}

void FakeNetServiceBrowser::daemonIsBack() {
    if (m_search && isPossible())
        scheduleAll();
}

void FakeNetServiceBrowser::schedule(std::function<void()> event) {
    m_network->timeline.schedule(m_network->eventDelay, this, std::move(event));
}

void FakeNetServiceBrowser::scheduleAll() {
    for (const auto& [instance, interfaces] : m_network->instances)
        instanceAppeared(instance);
    for (const auto& domain : m_network->domains)
        domainAppeared(domain);
}

void FakeNetServiceBrowser::fail(const std::string& error) {
    m_network->timeline.forget(this);
    m_search.reset();
    if (m_delegate)
        m_delegate->netServiceBrowserDidNotSearch(*this, error);
}

void FakeNetServiceBrowser::tell(bool isThere, const NetServiceInstance& instance) {
    const auto event = isThere ? &NetServiceBrowserDelegate::netServiceBrowserDidFindService
                               : &NetServiceBrowserDelegate::netServiceBrowserDidRemoveService;
    if (m_delegate)
        (m_delegate->*event)(*this, instance, m_network->timeline.hasMoreNow(this));
}

void FakeNetServiceBrowser::tell(bool isThere, const std::string& domain) {
    const auto event = isThere ? &NetServiceBrowserDelegate::netServiceBrowserDidFindDomain
                               : &NetServiceBrowserDelegate::netServiceBrowserDidRemoveDomain;
    if (m_delegate)
        (m_delegate->*event)(*this, domain, m_network->timeline.hasMoreNow(this));
}

} // namespace quorrel
