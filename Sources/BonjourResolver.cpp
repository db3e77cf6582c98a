// SPDX-License-Identifier: GPL-3.0-or-later
#include "Sources/BonjourResolver.h"

#include "Foundation/PrintedList.h"
#include "Sources/Globals.h"
#include "Sources/HostDefinition.h"
#include "Sources/LookupAhead.h"
#include "Sources/NSLookUp.h"
#include "Sources/Rehearsal.h"
#include "Sources/ServiceDefinition.h"
#include "Sources/SMBLookup.h"

#include <algorithm>
#include <array>
#include <string_view>
#include <utility>

namespace quorrel {

namespace {

constexpr Seconds resolutionTimeout { 5.0 };

constexpr std::array<std::string_view, 4> namesOfDNSProtocols {
    "File Transfer Protocol (ftp)",
    "Network File System (nfs)",
    "Secure WebDAV (https)",
    "WebDAV (http)",
};
constexpr std::array<std::string_view, 2> namesOfNetBIOSProtocols {
    "Server Message Block (smb)",
    "Common Internet File System (cifs)",
};

template <typename Names>
bool isOneOf(const Names& names, const OptionalText& name) {
    return name && std::find(names.begin(), names.end(), *name) != names.end();
}

/// The tool's own spelling of the name is never taken: the user's is what the share is mounted by.
bool takeAddress(HostDefinition& host, CommandLineLookup& tool) {
    const auto name = host.displayName.get();
    if (!tool.lookup(textOf(name)))
        return false;
    host.adresses.set(std::vector { textOf(tool.IP4()) });
    host.hostName.set(name);
    host.resolved.set(true);
    return true;
}

std::optional<std::string> dottedDecimal(const SocketAddress& address) {
    constexpr std::size_t family = 1;
    constexpr std::size_t first = 4;
    if (address.size() < first + 4 || address[family] != 2)
        return std::nullopt;
    auto text = std::to_string(address[first]);
    for (std::size_t index = first + 1; index < first + 4; ++index)
        text += "." + std::to_string(address[index]);
    return text;
}

} // namespace

BonjourResolver::BonjourResolver(ResolverEnvironment& environment)
    : m_environment(environment) { }

ChildProcess& ResolverEnvironment::tools() const {
    return ahead ? *ahead : childProcess;
}

BonjourResolver::~BonjourResolver() {
    // A host must not stay "resolving"; this delegate is told of a stop, too.
    if (m_bonjourService)
        m_bonjourService->stop();
    if (const auto unresolved = m_rehearsal ? host() : nullptr)
        unresolved->resolving.set(false);
}

std::optional<NameLookup> BonjourResolver::lookupFor(
    const ServiceDefinition& service, const ResolverEnvironment& environment) {
    const auto displayType = service.displayType.get();
    const bool isNetBIOS = isOneOf(namesOfNetBIOSProtocols, displayType);
    const auto host = service.parentHost.get().lock();
    if ((!isNetBIOS && !isOneOf(namesOfDNSProtocols, displayType)) || !host || host->resolving.get()
        || host->isNameIP())
        return std::nullopt;
    return NameLookup { textOf(host->displayName.get()), environment.nslookupPath,
        isNetBIOS ? environment.nmblookupPath : std::string() };
}

void BonjourResolver::resolve(
    const std::shared_ptr<ServiceDefinition>& service, const std::shared_ptr<SharePointDefinition>& sharePoint) {
    m_serviceRef = service;
    m_sharePointRef = sharePoint;
    if (!service)
        return;
    const auto displayType = service->displayType.get();
    service->type.set(Globals::getFullServiceName(displayType));
    const auto host = service->parentHost.get().lock();
    if (!host || host->resolving.get())
        return;

    if (host->isNameIP()) {
        const auto name = host->displayName.get();
        host->hostName.set(name);
        host->resolving.set(false);
        host->resolved.set(true);
        m_environment.log.line("IP Address detected, assuming resolve.", { textOf(name) });
    } else if (isOneOf(namesOfDNSProtocols, displayType)) {
        lookUpInDNS(*host);
        host->resolving.set(false);
    } else if (isOneOf(namesOfNetBIOSProtocols, displayType)) {
        if (!lookUpInDNS(*host))
            lookUpInNetBIOS(*host);
        host->resolving.set(false);
    } else {
        startBonjour(*host, *service);
    }
}

void BonjourResolver::startBonjour(HostDefinition& host, ServiceDefinition& service) {
    host.resolving.set(true);
    m_bonjourService = m_environment.discovery.makeNetService(
        host.domain.get(), textOf(service.type.get()), textOf(host.displayName.get()));
    m_bonjourService->setDelegate(this);
    m_bonjourService->resolveWithTimeout(resolutionTimeout);
}

bool BonjourResolver::lookUpInDNS(HostDefinition& host) {
    NSLookUp tool(m_environment.tools(), m_environment.log, m_environment.nslookupPath);
    return takeAddress(host, tool);
}

bool BonjourResolver::lookUpInNetBIOS(HostDefinition& host) {
    SMBLookup tool(m_environment.tools(), m_environment.log, m_environment.nmblookupPath);
    return takeAddress(host, tool);
}

bool BonjourResolver::isAwaited() const {
    const auto awaiting = host();
    return awaiting && awaiting->resolving.get();
}

std::shared_ptr<HostDefinition> BonjourResolver::host() const {
    const auto service = m_serviceRef.lock();
    return service ? service->parentHost.get().lock() : nullptr;
}

std::optional<std::vector<std::string>> BonjourResolver::getIPV4FromService(const NetService& service) {
    const auto addresses = service.addresses();
    if (!addresses)
        return std::nullopt;
    PrintedList result;
    // Kept from one address to the next: one of another family offers the last IPv4 text again, which the list has.
    std::optional<std::string> current;
    for (const auto& address : *addresses) {
        if (auto text = dottedDecimal(address))
            current = std::move(text);
        if (current && !result.printedFormContains(*current))
            result.append(*current);
    }
    return result.items();
}

void BonjourResolver::netServiceDidNotResolve(NetService& netService, const std::string&) {
    if (!m_serviceRef.lock())
        return;
    m_environment.log.line("Service Did NOT Resolve with Bonjour for: [%@]", { netService.name() });
    if (m_environment.ahead) {
        m_rehearsal = std::make_unique<Rehearsal>(*m_environment.ahead);
        m_lookupEnds = m_environment.ahead->observeEnds([this] {
            // What was called off meanwhile, as by a network that went, is not to come back.
            if (m_rehearsal && isAwaited())
                fallBack();
        });
    }
    fallBack();
}

void BonjourResolver::fallBack() {
    const auto unresolved = host();
    if (!unresolved)
        return;
    if (m_rehearsal
        && !m_rehearsal->covers({ { textOf(unresolved->displayName.get()), m_environment.nslookupPath, {} } }))
        return;
    const auto rehearsal = std::exchange(m_rehearsal, nullptr);
    {
        const LookupAhead::Performance performance(m_environment.ahead, rehearsal.get());
        lookUpInDNS(*unresolved);
    }
    unresolved->resolving.set(false);
}

void BonjourResolver::netServiceDidStop(NetService&) {
    if (const auto service = m_serviceRef.lock())
        if (const auto host = service->parentHost.get().lock())
            host->resolving.set(false);
}

void BonjourResolver::netServiceDidResolveAddress(NetService& netService) {
    const auto service = m_serviceRef.lock();
    if (!service)
        return;
    const auto host = service->parentHost.get().lock();
    if (host) {
        host->adresses.set(getIPV4FromService(netService));
        host->hostName.set(netService.hostName());
        host->resolved.set(true);
    }
    service->port.set(netService.port());
    m_environment.log.line("Did Resolved [%@] notifying mounter", { netService.name() });
    if (host) {
        host->resolving.set(false);
        host->resolved.set(true);
    }
}

void BonjourResolver::netServiceWillResolve(NetService& netService) {
    if (m_serviceRef.lock())
        m_environment.log.line("Resolving [%@]", { netService.name() });
}

} // namespace quorrel
