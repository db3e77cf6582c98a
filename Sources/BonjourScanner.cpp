// SPDX-License-Identifier: GPL-3.0-or-later
#include "Sources/BonjourScanner.h"

#include "Foundation/Dictionary.h"
#include "Foundation/Log.h"
#include "Foundation/NotificationCenter.h"
#include "Sources/DiscoveryEnvironment.h"
#include "Sources/Globals.h"

#include <utility>

namespace quorrel {

namespace {

constexpr int foundAction = 1;
constexpr int removedAction = 0;

} // namespace

BonjourScanner::BonjourScanner(const DiscoveryEnvironment& environment)
    : m_environment(environment)
    , m_mbrowser(environment.discovery.makeNetServiceBrowser()) {
    m_mbrowser->setDelegate(this);
}

BonjourScanner::~BonjourScanner() {
    m_mbrowser->stop();
}

void BonjourScanner::searchForService(const OptionalText& type, const OptionalText& domain) {
    setServiceType(type);
    setServiceDomain(domain);
    searchForServices();
}

void BonjourScanner::searchForServices() {
    m_mbrowser->searchForServicesOfType(textOf(m_serviceType), m_serviceDomain);
}

void BonjourScanner::searchForDomains() {
    m_mbrowser->searchForBrowsableDomains();
}

void BonjourScanner::stopSearch() {
    m_environment.log.line("Stoping Bonjour Service Scanner: %@", { textOf(m_serviceType) });
    m_mbrowser->stop();
}

void BonjourScanner::netServiceBrowserDidNotSearch(NetServiceBrowser&, const std::string&) {
    m_environment.log.line("Bonjour Browser Failed");
}

void BonjourScanner::netServiceBrowserDidRemoveDomain(NetServiceBrowser&, const std::string& domain, bool) {
    m_environment.log.line("Domain %@ removed", { domain });
}

void BonjourScanner::netServiceBrowserDidFindDomain(NetServiceBrowser&, const std::string& domain, bool) {
    m_environment.log.line("Domain %@ found", { domain });
}

void BonjourScanner::netServiceBrowserDidRemoveService(NetServiceBrowser&, const NetServiceInstance& service, bool) {
    post(removedAction, service);
}

void BonjourScanner::netServiceBrowserDidFindService(NetServiceBrowser&, const NetServiceInstance& service, bool) {
    if (service.name != Globals::getLocalComputerName(m_environment.workspace))
        post(foundAction, service);
}

void BonjourScanner::netServiceBrowserDidStopSearch(NetServiceBrowser&) { }

void BonjourScanner::netServiceBrowserWillSearch(NetServiceBrowser&) {
    m_environment.log.line("Starting Bonjour Service Scanner: %@", { textOf(m_serviceType) });
}

void BonjourScanner::post(int action, const NetServiceInstance& service) {
    // Copies: whoever is told may stop this scanner, and the browser's instance goes with it.
    Dictionary userInfo;
    userInfo.set("action", action);
    userInfo.set("name", service.name);
    userInfo.set("type", service.type);
    m_environment.notificationCenter.post("ServiceAdded/Removed", this, std::move(userInfo));
}

} // namespace quorrel
