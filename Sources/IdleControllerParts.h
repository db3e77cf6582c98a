// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Sources/ControllerParts.h"

namespace quorrel {

/// No parts at all: for programs that neither browse nor watch nor show a menu, and the base of those that have some.
class IdleControllerParts : public ControllerParts {
public:
    [[nodiscard]] std::unique_ptr<StatusBarItem> makeStatusBarItem() override { return nullptr; }
    [[nodiscard]] std::unique_ptr<ServiceBrowser> makeServiceBrowser() override { return nullptr; }
    [[nodiscard]] std::shared_ptr<Operation> makeSMBScanner(TextList&) override { return nullptr; }
    [[nodiscard]] std::shared_ptr<Operation> makeHostFileScanner(TextList&) override { return nullptr; }
    [[nodiscard]] std::unique_ptr<VolumeMonitor> makeDiskMonitor() override { return nullptr; }
    [[nodiscard]] std::unique_ptr<HostReachability> makeReachability() override { return nullptr; }
    [[nodiscard]] std::unique_ptr<DeviceModelMonitor> makeMonitor(const std::shared_ptr<HostDefinition>&) override {
        return nullptr;
    }
    [[nodiscard]] PreferenceSwitches* preferenceSwitches() override { return nullptr; }
};

} // namespace quorrel
