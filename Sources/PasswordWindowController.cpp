// SPDX-License-Identifier: GPL-3.0-or-later
#include "Sources/PasswordWindowController.h"

#include "Sources/HostDefinition.h"
#include "Sources/ServiceDefinition.h"
#include "Sources/SharePointDefinition.h"

namespace quorrel {

PasswordWindowController::PasswordWindowController(PasswordWindow& window)
    : m_window(window) { }

void PasswordWindowController::setMount(const std::shared_ptr<SharePointDefinition>& mount) {
    if (!m_isShown)
        m_mount = mount;
}

void PasswordWindowController::showWindowModal() {
    const auto mount = m_mount.lock();
    if (!mount || m_isShown)
        return;
    m_isShown = true;
    m_window.focusPasswordField();
    const auto response = m_window.runModal(*this);
    if (const auto asked = host(); asked && response == PasswordWindow::Response::Aborted)
        asked->password.set(std::nullopt);
    m_window.hide();
    m_isShown = false;
}

std::string PasswordWindowController::hostName() const {
    const auto asked = host();
    return asked ? textOf(asked->displayName.get()) : std::string();
}

std::string PasswordWindowController::shareName() const {
    const auto mount = m_mount.lock();
    return mount ? textOf(mount->sharePoint.get()) : std::string();
}

std::string PasswordWindowController::password() const {
    const auto asked = host();
    return asked ? textOf(asked->password.get()) : std::string();
}

void PasswordWindowController::setPassword(const std::string& text) {
    if (const auto asked = host())
        asked->password.set(text);
}

void PasswordWindowController::saveHostPassword() {
    m_window.stopModal();
}

void PasswordWindowController::cancelhostPassword() {
    m_window.abortModal();
}

std::shared_ptr<HostDefinition> PasswordWindowController::host() const {
    const auto mount = m_mount.lock();
    const auto service = mount ? mount->parentService.get().lock() : nullptr;
    return service ? service->parentHost.get().lock() : nullptr;
}

} // namespace quorrel
