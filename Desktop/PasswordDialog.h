// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Platform/PasswordWindow.h"

#include <QPointer>

namespace quorrel {

class PasswordForm;
struct DesktopEnvironment;

/// The modal password prompt. Main thread. It is the one place that runs an event loop within the event loop, since
/// the mount that asks cannot go on before it knows; the main-thread queue is paused meanwhile.
class PasswordDialog final : public PasswordWindow {
public:
    explicit PasswordDialog(const DesktopEnvironment& environment);
    PasswordDialog(const PasswordDialog&) = delete;
    PasswordDialog& operator=(const PasswordDialog&) = delete;
    /// Aborts a run that is under way.
    ~PasswordDialog() override;

    /// Brings the prompt to the front while it runs; false when none does.
    bool bringToFront();

    void focusPasswordField() override;
    /// Aborted too when the application quits meanwhile, and at once while the prompt runs already.
    [[nodiscard]] Response runModal(PasswordWindowTarget& target) override;
    void stopModal() override;
    void abortModal() override;
    void hide() override;

private:
    const DesktopEnvironment& m_environment;
    QPointer<PasswordForm> m_form; // from its run until it is hidden
};

} // namespace quorrel
