// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QDialog>

#include <string>

class QLineEdit;

namespace quorrel {

class PasswordWindowTarget;
struct DesktopEnvironment;

/// What the password prompt shows. Main thread. Both buttons, Escape and the window's own button are handed to the
/// target, which decides whether the form goes.
class PasswordForm final : public QDialog {
public:
    /// Both must outlive the form's run.
    PasswordForm(const DesktopEnvironment& environment, PasswordWindowTarget& target);

    void focusPasswordField();
    /// Forgets what was typed, and writes it no more.
    void wipe();

    void accept() override;
    void reject() override;

private:
    /// A name from the network in one line of bounded width.
    [[nodiscard]] std::string displayName(const std::string& name) const;
    [[nodiscard]] QString heading() const;
    [[nodiscard]] QString explanation() const;

    const DesktopEnvironment& m_environment;
    PasswordWindowTarget& m_target;
    QLineEdit* m_password = nullptr;
};

} // namespace quorrel
