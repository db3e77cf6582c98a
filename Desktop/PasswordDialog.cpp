// SPDX-License-Identifier: GPL-3.0-or-later
#include "Desktop/PasswordDialog.h"

#include "Desktop/DesktopEnvironment.h"
#include "Desktop/PasswordForm.h"
#include "Foundation/MainThreadQueue.h"

namespace quorrel {

PasswordDialog::PasswordDialog(const DesktopEnvironment& environment)
    : m_environment(environment) { }

PasswordDialog::~PasswordDialog() {
    hide();
}

bool PasswordDialog::bringToFront() {
    if (!m_form || !m_form->isVisible())
        return false;
    m_form->raise();
    m_form->activateWindow();
    return true;
}

void PasswordDialog::focusPasswordField() {
    if (m_form)
        m_form->focusPasswordField(); // a new form has it there
}

PasswordWindow::Response PasswordDialog::runModal(PasswordWindowTarget& target) {
    if (bringToFront())
        return Response::Aborted;
    hide();
    m_form = new PasswordForm(m_environment, target);
    auto* form = m_form.data();
    const MainThreadQueue::Pause pause(m_environment.mainThreadQueue);
    form->show();
    bringToFront(); // the wish may come from the tray, while another program is the active one
    // Neither the form nor this object need be there any more when that returns.
    return form->exec() == QDialog::Accepted ? Response::Stopped : Response::Aborted;
}

void PasswordDialog::stopModal() {
    if (m_form)
        m_form->done(QDialog::Accepted);
}

void PasswordDialog::abortModal() {
    if (m_form)
        m_form->done(QDialog::Rejected);
}

void PasswordDialog::hide() {
    if (!m_form)
        return;
    m_form->wipe();
    delete m_form;
}

} // namespace quorrel
