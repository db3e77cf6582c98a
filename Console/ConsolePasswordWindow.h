// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Console/Output.h"
#include "Console/PasswordPrompt.h"
#include "Console/UnseenPasswordWindow.h"

#include <functional>
#include <optional>
#include <string>

namespace quorrel {

/// The password window of a program without windows: a password that was read from a file, or the terminal. Main
/// thread only.
class ConsolePasswordWindow final : public UnseenPasswordWindow {
public:
    /// `aboutToAsk` is called before anything is written to the terminal. The prompt and the output, which gets what
    /// has to be said, must outlive the window.
    ConsolePasswordWindow(
        std::optional<std::string> password, PasswordPrompt& prompt, Output& errors, std::function<void()> aboutToAsk);

    [[nodiscard]] Response runModal(PasswordWindowTarget& target) override;

private:
    const std::optional<std::string> m_password;
    PasswordPrompt& m_prompt;
    Output& m_errors;
    const std::function<void()> m_aboutToAsk;
};

} // namespace quorrel
