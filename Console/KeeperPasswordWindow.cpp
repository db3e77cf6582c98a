// SPDX-License-Identifier: GPL-3.0-or-later
#include "Console/KeeperPasswordWindow.h"

#include "Console/DisplayText.h"
#include "Console/Output.h"

#include <utility>

namespace quorrel {

KeeperPasswordWindow::KeeperPasswordWindow(std::optional<std::string> password, Output& errors)
    : m_password(std::move(password))
    , m_errors(errors) { }

PasswordWindow::Response KeeperPasswordWindow::runModal(PasswordWindowTarget& target) {
    m_response = Response::Aborted;
    if (m_password) {
        target.setPassword(*m_password);
        target.saveHostPassword();
        return m_response;
    }
    const auto name = DisplayText::printable(target.hostName()) + '/' + DisplayText::printable(target.shareName());
    if (m_told.insert(name).second)
        m_errors.write("quorrelctl: " + name
            + " wants a password, and watch asks nobody: --password-file FILE gives one, or store it with the share\n");
    target.cancelhostPassword();
    return m_response;
}

} // namespace quorrel
