// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Foundation/Operation.h"
#include "Foundation/PreferencesStore.h"
#include "Foundation/Property.h"
#include "Foundation/TextList.h"
#include "Sources/StatusBarItem.h"

#include <memory>
#include <optional>
#include <string>
#include <string_view>

namespace quorrel {

class HostDefinition;

/// Browses for one type of service and posts what comes and goes as "ServiceAdded/Removed".
class ServiceBrowser {
public:
    virtual ~ServiceBrowser() = default;
    /// An absent domain stands for the default domains.
    virtual void searchForService(const OptionalText& type, const OptionalText& domain) = 0;
    virtual void stopSearch() = 0;
};

/// Watches one host for its device model; marks the host as monitored for as long as it lives.
class DeviceModelMonitor {
public:
    virtual ~DeviceModelMonitor() = default;
};

/// Posts the coming and going of network volumes as "diskAddRemoveNotification" for as long as it lives.
class VolumeMonitor {
public:
    virtual ~VolumeMonitor() = default;
};

/// Whose reachability counts as the network's while the user chose no other host.
constexpr const char* defaultReachabilityTarget = "example.com";

/// Watches whether one host can be reached; posts "kNetworkReachabilityChangedNotification".
class HostReachability {
public:
    virtual ~HostReachability() = default;
    virtual void setNetworkStatusNotificationsEnabled(bool enabled) = 0;
    virtual void setHostName(const std::string& hostName) = 0;
    [[nodiscard]] virtual std::string hostName() const = 0;
    /// 0: not reachable. The first call for a host name starts its watch.
    virtual int remoteHostStatus() = 0;
};

/// Is told when one of the preferences changed that turn browsers and scans on and off.
class PreferenceSwitches {
public:
    virtual ~PreferenceSwitches() = default;
    virtual void preferenceChanged(std::string_view key, const std::optional<PreferenceValue>& newValue) = 0;
};

/// Makes what surrounds the controller. Main thread only. The controller owns what it gets, and does without a part
/// for which it gets null.
class ControllerParts {
public:
    virtual ~ControllerParts() = default;

    [[nodiscard]] virtual std::unique_ptr<StatusBarItem> makeStatusBarItem() = 0;
    [[nodiscard]] virtual std::unique_ptr<ServiceBrowser> makeServiceBrowser() = 0;
    /// The scans append the host names that they find to the list, from their worker thread.
    [[nodiscard]] virtual std::shared_ptr<Operation> makeSMBScanner(TextList& smbHosts) = 0;
    [[nodiscard]] virtual std::shared_ptr<Operation> makeHostFileScanner(TextList& hosts) = 0;
    [[nodiscard]] virtual std::unique_ptr<VolumeMonitor> makeDiskMonitor() = 0;
    [[nodiscard]] virtual std::unique_ptr<HostReachability> makeReachability() = 0;
    [[nodiscard]] virtual std::unique_ptr<DeviceModelMonitor> makeMonitor(const std::shared_ptr<HostDefinition>& host)
        = 0;

    [[nodiscard]] virtual PreferenceSwitches* preferenceSwitches() = 0;
};

} // namespace quorrel
