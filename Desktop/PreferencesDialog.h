// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Platform/PreferencesWindow.h"

#include <memory>
#include <string>

class QDialog;

namespace quorrel {

class LoginItem;
class PreferencesForm;
struct DesktopEnvironment;

/// The window with the preferences, whose tabs are "1", "2" and "3". Main thread. It is made when it is first used.
class PreferencesDialog final : public PreferencesWindow {
public:
    /// The references must outlive the window. The log file is only named.
    PreferencesDialog(const DesktopEnvironment& environment, LoginItem& loginItem, std::string logFile);
    PreferencesDialog(const PreferencesDialog&) = delete;
    PreferencesDialog& operator=(const PreferencesDialog&) = delete;
    ~PreferencesDialog() override;

    void center() override;
    void makeKeyAndOrderFront() override;
    void orderFrontRegardless() override;
    void selectTabViewItemWithIdentifier(const std::string& identifier) override;

    /// The window; null before its first use.
    [[nodiscard]] QDialog* window() const;

private:
    PreferencesForm& form();

    const DesktopEnvironment& m_environment;
    LoginItem& m_loginItem;
    const std::string m_logFile;
    std::unique_ptr<PreferencesForm> m_form;
};

} // namespace quorrel
