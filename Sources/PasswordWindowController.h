// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Platform/PasswordWindow.h"

#include <memory>
#include <string>

namespace quorrel {

class HostDefinition;
class SharePointDefinition;

/// Asks for the password of one share point's host, which it edits directly. Main thread only.
class PasswordWindowController final : public PasswordWindowTarget {
public:
    /// The window must outlive the controller.
    explicit PasswordWindowController(PasswordWindow& window);

    /// The share point for which the password is asked; not owned. Ignored while the window is shown, so that what is
    /// being typed cannot end up with another host.
    void setMount(const std::shared_ptr<SharePointDefinition>& mount);

    /// Returns when the window is closed, at once without a share point or while the window is shown already.
    /// Cancelled, the host is left without a password.
    void showWindowModal();

    [[nodiscard]] std::string hostName() const override;
    [[nodiscard]] std::string shareName() const override;
    [[nodiscard]] std::string password() const override;
    void setPassword(const std::string& text) override;
    void saveHostPassword() override;
    void cancelhostPassword() override;

private:
    [[nodiscard]] std::shared_ptr<HostDefinition> host() const;

    PasswordWindow& m_window;
    std::weak_ptr<SharePointDefinition> m_mount;
    bool m_isShown = false;
};

} // namespace quorrel
