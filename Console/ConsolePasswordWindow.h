// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Console/Output.h"
#include "Console/PasswordPrompt.h"
#include "Platform/PasswordWindow.h"

#include <functional>
#include <optional>
#include <string>

namespace quorrel {

/// The password window of a program without windows: a password that was read from a file, or the terminal. Main
/// thread only.
class ConsolePasswordWindow final : public PasswordWindow {
public:
    /// `aboutToAsk` is called before anything is written to the terminal. The prompt and the output, which gets what
    /// has to be said, must outlive the window.
    ConsolePasswordWindow(
        std::optional<std::string> password, PasswordPrompt& prompt, Output& errors, std::function<void()> aboutToAsk);

    void focusPasswordField() override { }
    [[nodiscard]] Response runModal(PasswordWindowTarget& target) override;
    void stopModal() override { m_response = Response::Stopped; }
    void abortModal() override { m_response = Response::Aborted; }
    void hide() override { }

private:
    const std::optional<std::string> m_password;
    PasswordPrompt& m_prompt;
    Output& m_errors;
    const std::function<void()> m_aboutToAsk;
    Response m_response = Response::Aborted;
};

} // namespace quorrel
