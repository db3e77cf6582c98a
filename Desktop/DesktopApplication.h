// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Foundation/ActionTarget.h"
#include "Platform/Application.h"

#include <functional>

namespace quorrel {

/// The program for the desktop, and the one place that every action of a view passes. Main thread, with a QApplication.
///
/// While a modal window runs, the controller is in the middle of a command. An action then brings that window to the
/// front instead, save for "terminate".
class DesktopApplication final : public Application, public ActionTarget {
public:
    using AboutPanelHandler = std::function<void(const AboutPanelOptions& options)>;

    /// The handler shows the about panel.
    explicit DesktopApplication(AboutPanelHandler aboutPanel);

    void setDelegate(ActionTarget* delegate) override { m_delegate = delegate; }
    void activateIgnoringOtherApps() override;
    void orderFrontStandardAboutPanel(const AboutPanelOptions& options) override;
    /// In the next turn of the event loop, also when it has not started yet; modal windows end with it.
    void terminate() override;

    void perform(Selector action, const MenuItem& sender) override;
    [[nodiscard]] ActionState validate(Selector action) const override;

private:
    const AboutPanelHandler m_aboutPanel;
    ActionTarget* m_delegate = nullptr;
};

} // namespace quorrel
