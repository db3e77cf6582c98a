// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Sources/ControllerParts.h"
#include "Tests/Fakes/FakeStatusBar.h"
#include "Tests/Fakes/FakeTimers.h"

#include <functional>
#include <memory>
#include <string>
#include <utility>
#include <vector>

namespace quorrel {

/// Parts that do nothing but write down, in order, what the controller does with them. Main thread.
class RecordingControllerParts final : public ControllerParts {
public:
    [[nodiscard]] std::unique_ptr<StatusBarItem> makeStatusBarItem() override;
    [[nodiscard]] std::unique_ptr<ServiceBrowser> makeServiceBrowser() override;
    [[nodiscard]] std::shared_ptr<Operation> makeSMBScanner(TextList& smbHosts) override;
    [[nodiscard]] std::shared_ptr<Operation> makeHostFileScanner(TextList& hosts) override;
    [[nodiscard]] std::unique_ptr<VolumeMonitor> makeDiskMonitor() override;
    [[nodiscard]] std::unique_ptr<HostReachability> makeReachability() override;
    /// Marks the host as monitored while the monitor lives.
    [[nodiscard]] std::unique_ptr<DeviceModelMonitor> makeMonitor(const std::shared_ptr<HostDefinition>& host) override;
    [[nodiscard]] PreferenceSwitches* preferenceSwitches() override { return &m_switches; }

    void record(const std::string& event);
    /// The events since the last call.
    std::vector<std::string> takeEvents() { return std::exchange(m_events, {}); }
    /// Those of the events so far that begin with the text.
    [[nodiscard]] std::vector<std::string> eventsWith(std::string_view beginning) const;
    /// Called with every event, for tests that look at the world at that moment.
    void setWitness(std::function<void(const std::string& event)> witness) { m_witness = std::move(witness); }

    [[nodiscard]] FakeStatusBar& statusBar() { return m_statusBar; }
    [[nodiscard]] FakeTimers& timers() { return m_timers; }

    /// The names of the hosts with a living monitor.
    [[nodiscard]] const std::vector<std::string>& monitored() const { return m_monitored; }
    void setRemoteHostStatus(int status) { m_remoteHostStatus = status; }

private:
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
    FakeStatusBar m_statusBar;
    FakeTimers m_timers;
    RecordingSwitches m_switches { *this };
};

} // namespace quorrel
