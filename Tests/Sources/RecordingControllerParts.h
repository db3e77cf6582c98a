// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Sources/ControllerParts.h"

#include <functional>
#include <memory>
#include <string>
#include <utility>
#include <vector>

namespace quorrel {

/// Parts that do nothing but write down, in order, what the controller does with them. Main thread.
class RecordingControllerParts final : public ControllerParts {
public:
    [[nodiscard]] std::unique_ptr<StatusItem> makeStatusItem() override;
    [[nodiscard]] std::unique_ptr<ServiceBrowser> makeServiceBrowser() override;
    [[nodiscard]] std::shared_ptr<Operation> makeSMBScanner(TextList& smbHosts) override;
    [[nodiscard]] std::shared_ptr<Operation> makeHostFileScanner(TextList& hosts) override;
    [[nodiscard]] std::unique_ptr<VolumeMonitor> makeDiskMonitor() override;
    [[nodiscard]] std::unique_ptr<HostReachability> makeReachability() override;
    /// Marks the host as monitored while the monitor lives.
    [[nodiscard]] std::unique_ptr<DeviceModelMonitor> makeMonitor(const std::shared_ptr<HostDefinition>& host) override;
    [[nodiscard]] MenuBuilder* menuBuilder() override { return &m_menuBuilder; }
    [[nodiscard]] PreferenceSwitches* preferenceSwitches() override { return &m_switches; }

    void record(const std::string& event);
    /// The events since the last call.
    std::vector<std::string> takeEvents() { return std::exchange(m_events, {}); }
    /// Those of the events so far that begin with the text.
    [[nodiscard]] std::vector<std::string> eventsWith(std::string_view beginning) const;
    /// Called with every event, for tests that look at the world at that moment.
    void setWitness(std::function<void(const std::string& event)> witness) { m_witness = std::move(witness); }

    /// The names of the hosts with a living monitor.
    [[nodiscard]] const std::vector<std::string>& monitored() const { return m_monitored; }
    void setRemoteHostStatus(int status) { m_remoteHostStatus = status; }

private:
    class RecordingMenuBuilder final : public MenuBuilder {
    public:
        explicit RecordingMenuBuilder(RecordingControllerParts& parts)
            : m_parts(parts) { }
        void makeMountMenus(const Hosts& hosts) override;
        void makeFavouritesSection(const Hosts& hosts) override;

    private:
        RecordingControllerParts& m_parts;
    };

    class RecordingSwitches final : public PreferenceSwitches {
    public:
        explicit RecordingSwitches(RecordingControllerParts& parts)
            : m_parts(parts) { }
        void preferenceChanged(std::string_view key, const std::optional<PreferenceValue>& newValue) override;

    private:
        RecordingControllerParts& m_parts;
    };

    friend class RecordingMonitor;
    friend class RecordingReachability;

    std::vector<std::string> m_events;
    std::function<void(const std::string&)> m_witness;
    std::vector<std::string> m_monitored;
    int m_remoteHostStatus = 0;
    RecordingMenuBuilder m_menuBuilder { *this };
    RecordingSwitches m_switches { *this };
};

} // namespace quorrel
