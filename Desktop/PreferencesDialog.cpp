// SPDX-License-Identifier: GPL-3.0-or-later
#include "Desktop/PreferencesDialog.h"

#include "Desktop/PreferencesForm.h"
#include "Desktop/WindowPlacement.h"

#include <utility>

namespace quorrel {

PreferencesDialog::PreferencesDialog(const DesktopEnvironment& environment, LoginItem& loginItem, std::string logFile)
    : m_environment(environment)
    , m_loginItem(loginItem)
    , m_logFile(std::move(logFile)) { }

PreferencesDialog::~PreferencesDialog() = default;

void PreferencesDialog::center() {
    WindowPlacement::center(form());
}

void PreferencesDialog::makeKeyAndOrderFront() {
    WindowPlacement::bringToFront(form());
    form().activateWindow();
}

void PreferencesDialog::orderFrontRegardless() {
    WindowPlacement::bringToFront(form());
}

void PreferencesDialog::selectTabViewItemWithIdentifier(const std::string& identifier) {
    form().selectTab(identifier);
}

QDialog* PreferencesDialog::window() const {
    return m_form.get();
}

PreferencesForm& PreferencesDialog::form() {
    if (!m_form)
        m_form = std::make_unique<PreferencesForm>(m_environment, m_loginItem, m_logFile);
    return *m_form;
}

} // namespace quorrel
