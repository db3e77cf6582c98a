// SPDX-License-Identifier: GPL-3.0-or-later
#include "Sources/QuorrelAppDelegate.h"

#include "Foundation/Log.h"
#include "Foundation/MainThreadQueue.h"
#include "Foundation/Preferences.h"
#include "Sources/BonjourMonitor.h"
#include "Sources/HostDefinition.h"
#include "Sources/ServiceDefinition.h"
#include "Sources/SharePointDefinition.h"

#include <algorithm>
#include <utility>

namespace quorrel {

namespace {

constexpr double serviceAppearedAction = 1;
constexpr double serviceLeftAction = 0;
constexpr double volumeAppearedAction = 91;
constexpr double volumeLeftAction = 90;

} // namespace

void QuorrelAppDelegate::bonjourServiceNotigficationUpdate(const Notification& notification) {
    if (!notification.userInfo)
        return;
    const auto action = notification.userInfo->number("action");
    const auto name = notification.userInfo->text("name");
    if (!name)
        return;
    const auto isOfServer = [name](const SharePointDefinition& sharePoint) {
        const auto host = sharePoint.parentHost.get().lock();
        return host && host->displayName.get() == name;
    };
    if (action == serviceAppearedAction) {
        const auto type = notification.userInfo->text("type");
        m_workLine.add({
            .key = "appeared " + *name + '\n' + textOf(type),
            .perform = [this, name, type] { serviceAppeared(*name, type); },
            .lookups =
                [this, name, type] {
                    const auto host = m_hostIndex.firstNamed(*name);
                    return host ? lookupsFor(host, host->serviceForFullType(type)) : std::vector<NameLookup>();
                },
            .concerns = isOfServer,
        });
    } else if (action == serviceLeftAction) {
        ++m_departures[*name];
        m_workLine.add({
            .key = "left " + *name,
            .perform = [this, name] { serviceLeft(*name); },
            .concerns = isOfServer,
        });
    }
}

void QuorrelAppDelegate::serviceAppeared(const std::string& name, const OptionalText& type) {
    m_environment.log.line("%@ Appeared", { name });
    bonjourServices.appendUnlessPrinted(name);
    const auto host = m_hostIndex.firstNamed(name);
    if (!host)
        return;
    host->bonjour.set(true);
    if (const auto service = host->serviceForFullType(type))
        resolveIfUnknown(host, service);
    for (const auto& sharePoint : host->sharePoints.snapshot())
        if (!sharePoint->mounting.get())
            queueMount(sharePoint);
    dropSpentMonitors();
    watchModel(host);
}

void QuorrelAppDelegate::serviceLeft(const std::string& name) {
    m_environment.log.line("%@ Left", { name });
    // Departures that waited are one by now, but each takes one of the names.
    const auto departures = m_departures.extract(name);
    for (int left = departures ? departures.mapped() : 0; left > 0 && bonjourServices.removeFirst(name); --left) { }
    const auto host = m_hostIndex.firstNamed(name);
    if (!host)
        return;
    if (m_environment.preferences.boolean("unmountDrives"))
        for (const auto& sharePoint : host->sharePoints.snapshot())
            queueUnmount(sharePoint);
    // Resetting the host clears the flag that tells whether monitors are to go.
    const bool wasMonitored = host->monitoring.get();
    host->resetStatus();
    // All of them go, not only this host's: the others' come back with their hosts' next service.
    if (wasMonitored)
        std::exchange(m_monitorsArray, {}).clear();
}

void QuorrelAppDelegate::diskNotigficationUpdate(const Notification& notification) {
    if (notification.userInfo) {
        const auto action = notification.userInfo->number("action");
        const auto name = notification.userInfo->text("name");
        for (const auto& host : hosts.snapshot()) {
            const auto sharePoint = host->sharePointForName(name);
            if (!sharePoint || (action != volumeAppearedAction && action != volumeLeftAction))
                continue;
            sharePoint->setMounting(false);
            sharePoint->setMounted(action == volumeAppearedAction);
        }
    }
    makeFavroitesMenu();
}

void QuorrelAppDelegate::networkReachabilityChanged(const Notification&) {
    const int status = remoteHostStatus();
    m_workLine.add(
        { .key = status != 0 ? "network" : "no network", .perform = [this, status] { networkBecame(status); } });
}

void QuorrelAppDelegate::networkBecame(int status) {
    if (status != 0) {
        m_environment.log.line("Network Reachable.");
        if (!m_reachable) {
            m_environment.log.line("Mounting all automatic SharePoints");
            mountAll();
        }
        m_reachable = true;
        return;
    }
    m_environment.log.line("Network NOT Reachable.");
    m_reachable = false;
    for (const auto& host : hosts.snapshot())
        host->resetStatus();
}

void QuorrelAppDelegate::saveNotigfication(const Notification& notification) {
    const bool isRecord = isFromMonitor(notification);
    if (isRecord && m_unsavedRecords) {
        ++*m_unsavedRecords;
        m_quietTurns = 0;
        return;
    }
    saveAndShowHosts();
    if (isRecord)
        followRecords();
}

void QuorrelAppDelegate::saveAndShowHosts() {
    saveHostsArray();
    makeMountpopMenu();
    if (m_unsavedRecords)
        m_unsavedRecords = 0;
}

void QuorrelAppDelegate::followRecords() {
    m_unsavedRecords = 0;
    m_quietTurns = 0;
    watchForQuiet();
}

void QuorrelAppDelegate::watchForQuiet() {
    m_environment.mainThreadQueue.post([weakSelf = std::weak_ptr(m_self)] {
        // Two, since a turn may run this before it comes to the next record.
        constexpr int enough = 2;
        const auto self = weakSelf.lock();
        if (!self)
            return;
        auto& controller = **self;
        if (++controller.m_quietTurns < enough) {
            controller.watchForQuiet();
        } else if (*controller.m_unsavedRecords > 0) {
            controller.saveAndShowHosts();
            controller.followRecords();
        } else {
            controller.m_unsavedRecords.reset();
        }
    });
}

bool QuorrelAppDelegate::isFromMonitor(const Notification& notification) const {
    return std::any_of(m_monitorsArray.begin(), m_monitorsArray.end(),
        [&](const auto& monitor) { return monitor.get() == notification.object; });
}

void QuorrelAppDelegate::sendSaveNotification() {
    m_environment.notificationCenter.post("900", this);
}

} // namespace quorrel
