// SPDX-License-Identifier: GPL-3.0-or-later
#include "Sources/QuorrelAppDelegate.h"

#include "Sources/BonjourResolver.h"
#include "Sources/HostDefinition.h"
#include "Sources/MenuLayout.h"
#include "Sources/MountOperation.h"
#include "Sources/NameLookup.h"
#include "Sources/ServiceDefinition.h"
#include "Sources/SharePointDefinition.h"
#include "Sources/UnmountOperation.h"

#include <cstdint>
#include <string>
#include <string_view>
#include <utility>

namespace quorrel {

namespace {

constexpr std::string_view mountKind = "mount";
constexpr std::string_view unmountKind = "unmount";

std::string keyFor(std::string_view kind, const SharePointDefinition* sharePoint) {
    return std::string(kind) + ' ' + std::to_string(reinterpret_cast<std::uintptr_t>(sharePoint)); // NOLINT
}

} // namespace

void QuorrelAppDelegate::mount(const SharePointPointer& sharePoint) {
    mountInTurn(sharePoint, Manner::AsMarked);
}

void QuorrelAppDelegate::mountSharePoint(const SharePointPointer& sharePoint) {
    mount(sharePoint);
}

void QuorrelAppDelegate::mountInTurn(const SharePointPointer& sharePoint, Manner manner) {
    const auto* address = sharePoint.get();
    m_workLine.add({
        .key = keyFor(manner == Manner::Manually ? "mount manually" : "mount", address),
        .perform =
            [this, weakSharePoint = std::weak_ptr(sharePoint), isNull = !sharePoint, manner] {
                const auto same = weakSharePoint.lock();
                if (same || isNull)
                    mountNow(same, manner);
            },
        .prepare = [this, weakSharePoint = std::weak_ptr(sharePoint)] { getHostPassword(weakSharePoint.lock()); },
        .lookups =
            [this, weakSharePoint = std::weak_ptr(sharePoint)] {
                const auto same = weakSharePoint.lock();
                return same ? lookupsFor(same->parentHost.get().lock(), same->parentService.get().lock())
                            : std::vector<NameLookup>();
            },
        .concerns = [address](const SharePointDefinition& other) { return &other == address; },
        .isMount = true,
    });
}

void QuorrelAppDelegate::mountNow(const SharePointPointer& sharePoint, Manner manner) {
    if (m_isTerminating)
        return; // rather than give the password, the user ended the program
    if (sharePoint && manner == Manner::Manually)
        sharePoint->manualMount.set(true);
    const auto host = sharePoint ? sharePoint->parentHost.get().lock() : nullptr;
    const auto service = sharePoint ? sharePoint->parentService.get().lock() : nullptr;
    resolveIfUnknown(host, service);
    if (!sharePoint || !sharePoint->mounting.get())
        queueMount(sharePoint);
}

void QuorrelAppDelegate::unmount(const SharePointPointer& sharePoint) {
    // One that nothing that waits will mount is not kept waiting for others' names.
    if (!sharePoint || !m_workLine.concerns(*sharePoint)) {
        unmountNow(sharePoint);
        return;
    }
    const auto* address = sharePoint.get();
    m_workLine.add({
        .key = keyFor("unmount", address),
        .perform = [this, weakSharePoint = std::weak_ptr(sharePoint)] { unmountNow(weakSharePoint.lock()); },
        .concerns = [address](const SharePointDefinition& other) { return &other == address; },
    });
}

void QuorrelAppDelegate::unmountNow(const SharePointPointer& sharePoint) {
    if (sharePoint && sharePoint->referenceNumber.get())
        queueUnmount(sharePoint);
}

void QuorrelAppDelegate::mountAll() {
    for (const auto& host : hosts.snapshot())
        for (const auto& sharePoint : host->sharePoints.snapshot())
            if (isSet(sharePoint->automatically.get()))
                mount(sharePoint);
}

void QuorrelAppDelegate::mountAllListItem() {
    m_workLine.callOffMounts();
    m_workLine.add({ .key = "cancel", .perform = [this] { cancelQueueIfBusy(); } });
    for (const auto& host : hosts.snapshot())
        mountManually(host);
}

void QuorrelAppDelegate::unmountAllListItem() {
    m_workLine.callOffMounts();
    m_workLine.add({ .key = "unmount all", .perform = [this] {
                        cancelQueueIfBusy();
                        for (const auto& host : hosts.snapshot())
                            for (const auto& sharePoint : host->sharePoints.snapshot())
                                unmountNow(sharePoint);
                    } });
}

void QuorrelAppDelegate::mountMenuItem(const MenuItem& item) {
    for (const auto& host : hostsOfMenu(item))
        mountManually(host->sharePointForName(item.title));
}

void QuorrelAppDelegate::unmountMenuItem(const MenuItem& item) {
    for (const auto& host : hostsOfMenu(item))
        unmount(host->sharePointForName(item.title));
}

void QuorrelAppDelegate::mountThisHostMenuItem(const MenuItem& item) {
    for (const auto& host : hostsOfMenu(item))
        mountManually(host);
}

void QuorrelAppDelegate::unmountThisHostMenuItem(const MenuItem& item) {
    for (const auto& host : hostsOfMenu(item))
        unmountAllOf(host);
}

void QuorrelAppDelegate::mountThisHostListItem() {
    if (const auto host = selectedHost())
        mountManually(host);
}

void QuorrelAppDelegate::unmountThisHostListItem() {
    if (const auto host = selectedHost())
        unmountAllOf(host);
}

void QuorrelAppDelegate::mountSelectedListItem() {
    if (const auto sharePoint = selectedSharePoint())
        mountManually(sharePoint);
}

void QuorrelAppDelegate::unmountSelectedListItem() {
    if (const auto sharePoint = selectedSharePoint())
        unmount(sharePoint);
}

void QuorrelAppDelegate::mountFavroiteItem(const MenuItem& item) {
    constexpr auto favouriteSeparator = MenuLayout::favouriteSeparator;
    const auto separator = item.title.find(favouriteSeparator);
    if (separator == std::string::npos)
        return;
    const auto host = m_hostIndex.firstNamed(item.title.substr(0, separator));
    if (!host)
        return;
    const auto start = separator + favouriteSeparator.size();
    const auto end = item.title.find(favouriteSeparator, start);
    const auto sharePoint
        = host->sharePointForName(item.title.substr(start, end == std::string::npos ? end : end - start));
    if (sharePoint && sharePoint->mounted.get())
        unmount(sharePoint);
    else
        mountManually(sharePoint);
}

std::vector<NameLookup> QuorrelAppDelegate::lookupsFor(
    const HostPointer& host, const std::shared_ptr<ServiceDefinition>& service) const {
    if (!service || (host && (host->resolving.get() || host->resolved.get())))
        return {};
    const auto lookup = BonjourResolver::lookupFor(*service, m_environment.resolving);
    return lookup ? std::vector { *lookup } : std::vector<NameLookup>();
}

void QuorrelAppDelegate::resolveIfUnknown(const HostPointer& host, const std::shared_ptr<ServiceDefinition>& service) {
    if (host && (host->resolving.get() || host->resolved.get()))
        return;
    dropSpentResolvers();
    // The array first: it keeps a resolver alive whose answers come later.
    m_resolverArray.push_back(std::make_unique<BonjourResolver>(m_environment.resolving));
    m_resolverArray.back()->resolve(service, nullptr);
}

void QuorrelAppDelegate::dropSpentResolvers() {
    // Services stay with their hosts, so that what was awaited then and has not ended since is awaited still. The one
    // that came since need never have been.
    const auto ends = m_context->changes->resolvingEnds.load();
    if (std::exchange(m_resolvingEnds, ends) != ends)
        std::erase_if(m_resolverArray, [](const auto& resolver) { return !resolver->isAwaited(); });
    else if (!m_resolverArray.empty() && !m_resolverArray.back()->isAwaited())
        m_resolverArray.pop_back();
}

void QuorrelAppDelegate::queueMount(const SharePointPointer& sharePoint) {
    queueOperation(
        mountKind, sharePoint, MountOperation::initWithSharePointDefinition(sharePoint, m_environment.mounting));
}

void QuorrelAppDelegate::queueUnmount(const SharePointPointer& sharePoint) {
    queueOperation(
        unmountKind, sharePoint, UnmountOperation::initWithSharePointDefinition(sharePoint, m_environment.mounting));
}

void QuorrelAppDelegate::queueOperation(
    std::string_view kind, const SharePointPointer& sharePoint, std::shared_ptr<Operation> operation) {
    // One of a kind that waits for a share point is enough: a server that comes and goes while the workers hang would
    // fill the queue. The last of all that wait decides in either case.
    if (sharePoint)
        m_opQueue->addOperation(std::move(operation), { kind, sharePoint.get() });
    else
        m_opQueue->addOperation(std::move(operation));
}

bool QuorrelAppDelegate::isBusyWith(const SharePointDefinition& sharePoint) const {
    return m_workLine.concerns(sharePoint) || m_opQueue->holds({ mountKind, &sharePoint })
        || m_opQueue->holds({ unmountKind, &sharePoint });
}

void QuorrelAppDelegate::mountManually(const HostPointer& host) {
    for (const auto& sharePoint : host->sharePoints.snapshot())
        mountManually(sharePoint);
}

void QuorrelAppDelegate::unmountAllOf(const HostPointer& host) {
    for (const auto& sharePoint : host->sharePoints.snapshot())
        unmount(sharePoint);
}

void QuorrelAppDelegate::cancelQueueIfBusy() {
    if (m_opQueue->operationCount() > 0)
        m_opQueue->cancelAllOperations();
}

std::vector<QuorrelAppDelegate::HostPointer> QuorrelAppDelegate::hostsOfMenu(const MenuItem& item) const {
    std::vector<HostPointer> result;
    if (!item.menu)
        return result;
    for (const auto& host : hosts.snapshot())
        if (host->displayName.get() == item.menu->title())
            result.push_back(host);
    return result;
}

} // namespace quorrel
