// SPDX-License-Identifier: GPL-3.0-or-later
#include "Sources/BonjourMonitor.h"

#include "Foundation/Log.h"
#include "Foundation/NotificationCenter.h"
#include "Sources/DiscoveryEnvironment.h"
#include "Sources/HostDefinition.h"
#include "Sources/TXTRecord.h"

namespace quorrel {

std::unique_ptr<BonjourMonitor> BonjourMonitor::initWithHost(
    const std::shared_ptr<HostDefinition>& host, const DiscoveryEnvironment& environment) {
    auto monitor = std::make_unique<BonjourMonitor>(environment);
    monitor->monitor(host);
    return monitor;
}

BonjourMonitor::BonjourMonitor(const DiscoveryEnvironment& environment)
    : m_environment(environment) { }

BonjourMonitor::~BonjourMonitor() {
    endWatch();
}

void BonjourMonitor::monitor(const std::shared_ptr<HostDefinition>& host) {
    if (!host || host != m_hostRef.lock())
        endWatch();
    m_hostRef = host;
    if (!host)
        return;
    if (textOf(host->domain.get()).empty())
        host->domain.set("local.");
    if (host->monitoring.get())
        return;
    host->monitoring.set(true);
    m_bonjourMonitor = m_environment.discovery.makeNetService(
        host->domain.get(), "_device-info._tcp.", textOf(host->displayName.get()));
    m_bonjourMonitor->setDelegate(this);
    m_bonjourMonitor->startMonitoring();
}

void BonjourMonitor::endWatch() {
    // Without a service the host's mark, if there is one, is another monitor's.
    if (!m_bonjourMonitor)
        return;
    m_bonjourMonitor->stopMonitoring();
    if (const auto host = m_hostRef.lock())
        host->monitoring.set(false);
    m_bonjourMonitor = nullptr;
}

OptionalText BonjourMonitor::displayName() const {
    const auto host = m_hostRef.lock();
    return host ? host->displayName.get() : std::nullopt;
}

void BonjourMonitor::netServiceDidUpdateTXTRecordData(NetService& service, const std::vector<std::uint8_t>& data) {
    // A record that is gone says nothing: a host that was switched off is still the model that it was.
    if (data.empty())
        return;
    // Neither this monitor nor the service need be there any more once others have been told.
    const auto& environment = m_environment;
    const auto name = service.name();
    const auto model = TXTRecord(data).textFor("model");
    if (const auto host = m_hostRef.lock()) {
        host->setComputerModel(model);
        environment.notificationCenter.post("900", this);
    }
    environment.log.line("%@: %@", { name, textOf(model) });
}

} // namespace quorrel
