// SPDX-License-Identifier: GPL-3.0-or-later
#include "Console/ConsolePasswordWindow.h"

#include "Console/DisplayText.h"

#include <utility>

namespace quorrel {

ConsolePasswordWindow::ConsolePasswordWindow(
    std::optional<std::string> password, PasswordPrompt& prompt, Output& errors, std::function<void()> aboutToAsk)
    : m_password(std::move(password))
    , m_prompt(prompt)
    , m_errors(errors)
    , m_aboutToAsk(std::move(aboutToAsk)) { }

PasswordWindow::Response ConsolePasswordWindow::runModal(PasswordWindowTarget& target) {
    m_response = Response::Aborted;
    if (m_password) {
        target.setPassword(*m_password);
        target.saveHostPassword();
        return m_response;
    }
    m_aboutToAsk();
    const auto host = DisplayText::printable(target.hostName());
    const auto name = host + '/' + DisplayText::printable(target.shareName());
    const auto answer = m_prompt.ask("Password on " + host + " for " + name + ": ");
    if (answer.outcome == PasswordPrompt::Outcome::Given) {
        target.setPassword(answer.password);
        target.saveHostPassword();
        return m_response;
    }
    if (answer.outcome == PasswordPrompt::Outcome::NoTerminal)
        m_errors.write("quorrelctl: " + name
            + " wants a password, and there is no terminal to ask on; --password-file FILE gives one\n");
    target.cancelhostPassword();
    return m_response;
}

} // namespace quorrel
