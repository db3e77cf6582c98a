// SPDX-License-Identifier: GPL-3.0-or-later
#include "Sources/QuorrelAppDelegate.h"

#include "Foundation/Log.h"
#include "Foundation/MainThreadQueue.h"
#include "Foundation/Preferences.h"
#include "Foundation/StringTable.h"
#include "Sources/AddMountWindowController.h"
#include "Sources/BonjourMonitor.h"
#include "Sources/BonjourResolver.h"
#include "Sources/BonjourScanner.h"
#include "Sources/CatalogueFile.h"
#include "Sources/DiskMonitor.h"
#include "Sources/HostDefinition.h"
#include "Sources/HostFileScanner.h"
#include "Sources/MenuLayout.h"
#include "Sources/PasswordWindowController.h"
#include "Sources/Reachability.h"
#include "Sources/SharePointDefinition.h"
#include "Sources/SMBScanner.h"
#include "Sources/StatusBarEnvironment.h"
#include "Sources/StatusBarItem.h"

#include <array>
#include <stdexcept>
#include <utility>

namespace quorrel {

namespace {

constexpr std::size_t operationsAtOnce = 4;

std::string sortKeyOfSharePoint(const std::shared_ptr<SharePointDefinition>& sharePoint, std::string_view key) {
    return key == "sharePoint" ? textOf(sharePoint->sharePoint.get()) : std::string();
}

std::string sortKeyOfHost(const std::shared_ptr<HostDefinition>& host, std::string_view key) {
    return key == "displayName" ? textOf(host->displayName.get()) : std::string();
}

} // namespace

QuorrelAppDelegate::QuorrelAppDelegate(const ControllerEnvironment& environment)
    : mountsArrayController(sortKeyOfSharePoint)
    , hostsArrayController(sortKeyOfHost)
    , mountMenu(std::make_shared<Menu>(environment.strings.text("Mount")))
    , unmountMenu(std::make_shared<Menu>(environment.strings.text("Unmount")))
    , popMenu(MenuLayout::popMenu(environment.strings, mountMenu, unmountMenu))
    , m_environment(environment)
    , m_context(
          std::make_shared<const CatalogueContext>(CatalogueContext { environment.strings, environment.workspace }))
    , m_catalogueFile(std::make_shared<CatalogueFile>(environment.propertyListFile))
    , m_hostIndex(hosts, m_context->changes->hostNames)
    , m_workLine(environment.resolving.ahead)
    , m_self(std::make_shared<QuorrelAppDelegate*>(this)) {
    m_opQueue.emplace(operationsAtOnce, [&log = environment.log](const std::string& what) {
        log.line("An operation ended with an exception: %@", { what });
    });
    mountsArrayController.setSortDescriptors(sharePointListSortDescriptors);
    hostsArrayController.setSortDescriptors(hostsListSortDescriptors);
}

QuorrelAppDelegate::~QuorrelAppDelegate() {
    // Ends the calls of other threads, which read the pointer below.
    m_preferenceSubscriptions.clear();
    m_notificationSubscriptions.clear();
    unbindLists();
    m_workLine.clear();
    m_self.reset();
    m_AFP_Scanner.reset();
    m_SMB_Scanner.reset();
    m_FTP_Scanner.reset();
    m_HTTP_Scanner.reset();
    m_shellSBMScanner.reset();
    m_hostFileScanner.reset();
    m_resolverArray.clear();
    m_monitorsArray.clear();
    m_opQueue.reset();
    m_diskMonitor.reset();
    m_sharedReachabilityObject.reset();
    m_statusBarItem.reset();
}

void QuorrelAppDelegate::awakeFromNib() {
    registerHotKeys();
    bindLists();
}

void QuorrelAppDelegate::applicationDidFinishLaunching() {
    if (const auto* statusBar = m_environment.statusBar) {
        m_statusBarItem = std::make_unique<StatusBarItem>(statusBar->statusBar, statusBar->timers);
        m_statusBarItem->setMenu(popMenu);
    }
    writeFirstLaunchDefaults();
    loadHostsArray();
    const auto* discovery = m_environment.discovery;
    if (discovery) {
        m_sharedReachabilityObject = std::make_unique<Reachability>(*discovery);
        m_sharedReachabilityObject->setNetworkStatusNotificationsEnabled(true);
    }
    registerForNotifications();
    if (discovery)
        m_diskMonitor = std::make_unique<DiskMonitor>(*discovery, [this] { return hosts.snapshot(); });
    observePreferences();
    startBrowsers();
    startScans();
    setReachabilityTarget();
    makeMountpopMenu();
}

void QuorrelAppDelegate::applicationWillTerminate() {
    m_environment.log.line("Clearing thread queue.");
    m_workLine.clear();
    m_opQueue->cancelAllOperations();
    for (const auto* browser : { &m_AFP_Scanner, &m_SMB_Scanner, &m_FTP_Scanner, &m_HTTP_Scanner })
        if (*browser)
            (*browser)->stopSearch();
    for (auto& subscription : m_notificationSubscriptions)
        subscription.cancel();
    for (auto& subscription : m_preferenceSubscriptions)
        subscription.cancel();
}

void QuorrelAppDelegate::registerForNotifications() {
    using Handler = void (QuorrelAppDelegate::*)(const Notification&);
    constexpr std::array<std::pair<const char*, Handler>, 4> handlers { {
        { "ServiceAdded/Removed", &QuorrelAppDelegate::bonjourServiceNotigficationUpdate },
        { "diskAddRemoveNotification", &QuorrelAppDelegate::diskNotigficationUpdate },
        { "900", &QuorrelAppDelegate::saveNotigfication },
        { kNetworkReachabilityChangedNotification, &QuorrelAppDelegate::networkReachabilityChanged },
    } };
    for (const auto& [name, handler] : handlers)
        m_notificationSubscriptions.push_back(m_environment.notificationCenter.addObserver(
            name, [this, handler = handler](const Notification& notification) {
                onMainThread([this, handler, notification] {
                    (this->*handler)(notification);
                    validateActionsSoon();
                });
            }));
}

void QuorrelAppDelegate::setReachabilityTarget() {
    if (!m_sharedReachabilityObject)
        return;
    m_sharedReachabilityObject->setHostName(m_environment.preferences.text("monitorConnectivityHost"));
    if (textOf(m_sharedReachabilityObject->hostName()).empty())
        m_sharedReachabilityObject->setHostName(defaultReachabilityTarget);
    // Asked for the watch that the first question starts; the answer comes as a notification.
    static_cast<void>(remoteHostStatus());
}

int QuorrelAppDelegate::remoteHostStatus() {
    if (!m_sharedReachabilityObject)
        return 0;
    try {
        return m_sharedReachabilityObject->remoteHostStatus();
    } catch (const std::logic_error& error) {
        // The user may have typed anything for a host.
        m_environment.log.line("The network is not watched: %@", { error.what() });
        return 0;
    }
}

void QuorrelAppDelegate::onMainThread(const std::function<void()>& task) {
    const bool isMainThread = m_environment.mainThreadQueue.isMainThread();
    if (isMainThread && !m_isPrompting && m_postponed == 0) {
        task();
        return;
    }
    if (isMainThread)
        ++m_postponed;
    m_environment.mainThreadQueue.post([task, isMainThread, weakSelf = std::weak_ptr(m_self)] {
        const auto self = weakSelf.lock();
        if (!self)
            return;
        if (isMainThread)
            --(*self)->m_postponed;
        task();
    });
}

} // namespace quorrel
