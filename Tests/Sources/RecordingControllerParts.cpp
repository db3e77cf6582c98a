// SPDX-License-Identifier: GPL-3.0-or-later
#include "Tests/Sources/RecordingControllerParts.h"

#include "Sources/HostDefinition.h"

#include <algorithm>
#include <variant>

namespace quorrel {

namespace {

class RecordingBrowser final : public ServiceBrowser {
public:
    explicit RecordingBrowser(RecordingControllerParts& parts)
        : m_parts(parts) {
        m_parts.record("browser");
    }
    ~RecordingBrowser() override { m_parts.record("end of browser " + m_type); }
    void searchForService(const OptionalText& type, const OptionalText& domain) override {
        m_type = textOf(type);
        m_parts.record("search " + m_type + " in " + domain.value_or("no domain"));
    }
    void stopSearch() override { m_parts.record("stop " + m_type); }

private:
    RecordingControllerParts& m_parts;
    std::string m_type;
};

class RecordingDiskMonitor final : public VolumeMonitor {
public:
    explicit RecordingDiskMonitor(RecordingControllerParts& parts)
        : m_parts(parts) {
        m_parts.record("disk monitor");
    }
    ~RecordingDiskMonitor() override { m_parts.record("end of disk monitor"); }

private:
    RecordingControllerParts& m_parts;
};

/// A scan that finds one name.
class Scan final : public Operation {
public:
    Scan(TextList& names, std::string name)
        : m_names(names)
        , m_name(std::move(name)) { }
    void main() override { m_names.append(m_name); }

private:
    TextList& m_names;
    const std::string m_name;
};

} // namespace

class RecordingReachability final : public HostReachability {
public:
    explicit RecordingReachability(RecordingControllerParts& parts)
        : m_parts(parts) {
        m_parts.record("reachability");
    }
    ~RecordingReachability() override { m_parts.record("end of reachability"); }
    void setNetworkStatusNotificationsEnabled(bool enabled) override {
        m_parts.record(enabled ? "reachability on" : "reachability off");
    }
    void setHostName(const std::string& hostName) override {
        m_hostName = hostName;
        m_parts.record("reachability host " + hostName);
    }
    [[nodiscard]] std::string hostName() const override { return m_hostName; }
    int remoteHostStatus() override {
        m_parts.record("reachability status");
        return m_parts.m_remoteHostStatus;
    }

private:
    RecordingControllerParts& m_parts;
    std::string m_hostName;
};

class RecordingMonitor final : public DeviceModelMonitor {
public:
    RecordingMonitor(RecordingControllerParts& parts, const std::shared_ptr<HostDefinition>& host)
        : m_parts(parts)
        , m_host(host)
        , m_name(textOf(host->displayName.get())) {
        host->monitoring.set(true);
        m_parts.m_monitored.push_back(m_name);
        m_parts.record("monitor " + m_name);
    }
    ~RecordingMonitor() override {
        m_parts.record("end of monitor " + m_name);
        m_parts.m_monitored.erase(std::find(m_parts.m_monitored.begin(), m_parts.m_monitored.end(), m_name));
        if (const auto host = m_host.lock())
            host->monitoring.set(false);
    }

private:
    RecordingControllerParts& m_parts;
    const std::weak_ptr<HostDefinition> m_host;
    const std::string m_name;
};

std::unique_ptr<StatusBarItem> RecordingControllerParts::makeStatusBarItem() {
    m_statusBar.setWitness([this](const std::string& event) { record(event); });
    return std::make_unique<StatusBarItem>(m_statusBar, m_timers);
}

std::unique_ptr<ServiceBrowser> RecordingControllerParts::makeServiceBrowser() {
    return std::make_unique<RecordingBrowser>(*this);
}

std::shared_ptr<Operation> RecordingControllerParts::makeSMBScanner(TextList& smbHosts) {
    record("SMB scan");
    return std::make_shared<Scan>(smbHosts, "found-by-smb-scan");
}

std::shared_ptr<Operation> RecordingControllerParts::makeHostFileScanner(TextList& hosts) {
    record("hosts-file scan");
    return std::make_shared<Scan>(hosts, "found-in-hosts-file");
}

std::unique_ptr<VolumeMonitor> RecordingControllerParts::makeDiskMonitor() {
    return std::make_unique<RecordingDiskMonitor>(*this);
}

std::unique_ptr<HostReachability> RecordingControllerParts::makeReachability() {
    return std::make_unique<RecordingReachability>(*this);
}

std::unique_ptr<DeviceModelMonitor> RecordingControllerParts::makeMonitor(const std::shared_ptr<HostDefinition>& host) {
    return std::make_unique<RecordingMonitor>(*this, host);
}

void RecordingControllerParts::record(const std::string& event) {
    m_events.push_back(event);
    if (m_witness)
        m_witness(event);
}

std::vector<std::string> RecordingControllerParts::eventsWith(std::string_view beginning) const {
    std::vector<std::string> result;
    std::copy_if(m_events.begin(), m_events.end(), std::back_inserter(result),
        [&](const std::string& event) { return event.starts_with(beginning); });
    return result;
}

void RecordingControllerParts::RecordingSwitches::preferenceChanged(
    std::string_view key, const std::optional<PreferenceValue>& newValue) {
    const auto* flag = newValue ? std::get_if<bool>(&*newValue) : nullptr;
    m_parts.record("switch " + std::string(key) + (!flag ? " absent" : *flag ? " on" : " off"));
}

} // namespace quorrel
