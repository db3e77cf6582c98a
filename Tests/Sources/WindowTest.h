// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Sources/ControllerWindows.h"
#include "Tests/Fakes/FakeAddMountWindow.h"
#include "Tests/Fakes/FakeApplication.h"
#include "Tests/Fakes/FakeMainWindow.h"
#include "Tests/Fakes/FakePreferencesWindow.h"
#include "Tests/Sources/ControllerTest.h"

#include <memory>
#include <string>
#include <vector>

namespace quorrel {

/// A controller with windows, awake and not launched yet.
class WindowTest : public ControllerTest {
protected:
    WindowTest() {
        environment.windows = &m_windows;
        environment.helpPage = "file:///usr/share/quorrel/help.html";
        environment.version = "1.2.3";
        controller = std::make_unique<QuorrelAppDelegate>(environment);
        controller->awakeFromNib();
        application.clearEvents();
        window.clearEvents();
    }
    ~WindowTest() override {
        application.setWitness({}); // it looks at what the test's end took away
        controller.reset();
    }

    void selectHost(const std::shared_ptr<HostDefinition>& host) const {
        controller->hostsArrayController.setSelectedObjects({ host });
    }

    /// With its host, whose share points alone can be selected.
    void select(const std::shared_ptr<SharePointDefinition>& sharePoint) const {
        selectHost(sharePoint->parentHost.get().lock());
        controller->mountsArrayController.setSelectedObjects({ sharePoint });
    }

    void perform(Selector action, int tag = 0) const {
        MenuItem sender;
        sender.tag = tag;
        controller->perform(action, sender);
    }

    [[nodiscard]] std::vector<std::string> shownHosts() const {
        std::vector<std::string> names;
        for (const auto& host : controller->hostsArrayController.arrangedObjects())
            names.push_back(textOf(host->displayName.get()));
        return names;
    }

    [[nodiscard]] std::vector<std::string> shownShares() const {
        std::vector<std::string> names;
        for (const auto& sharePoint : controller->mountsArrayController.arrangedObjects())
            names.push_back(textOf(sharePoint->sharePoint.get()));
        return names;
    }

    FakeApplication application;
    FakeMainWindow window;
    FakePreferencesWindow preferencesWindow;
    FakeAddMountWindow sheet;

private:
    ControllerWindows m_windows { application, window, preferencesWindow, sheet };
};

} // namespace quorrel
