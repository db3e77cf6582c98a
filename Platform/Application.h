// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <string>

namespace quorrel {

class ActionTarget;

/// What the about panel tells; texts in the user's language.
struct AboutPanelOptions final {
    std::string applicationName;
    std::string version;
    std::string description;
    std::string licence;
};

/// The program as the desktop sees it. Main thread.
class Application {
public:
    virtual ~Application() = default;

    /// Who gets what menus and windows ask for; null for nobody. Borrowed.
    virtual void setDelegate(ActionTarget* delegate) = 0;
    virtual void activateIgnoringOtherApps() = 0;
    virtual void orderFrontStandardAboutPanel(const AboutPanelOptions& options) = 0;
    /// Ends the run loop; returns at once.
    virtual void terminate() = 0;
};

} // namespace quorrel
