// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <optional>
#include <string>

namespace quorrel {

/// Asks the person at the terminal.
class PasswordPrompt {
public:
    enum class Outcome { Given, Cancelled, NoTerminal };
    struct Answer final {
        Outcome outcome = Outcome::NoTerminal;
        std::string password;
    };

    virtual ~PasswordPrompt() = default;

    /// Blocks until a line was typed, which is not shown.
    [[nodiscard]] virtual Answer ask(const std::string& prompt) = 0;
    /// Makes the terminal show what is typed again; for a program that ends while it asks. Any thread.
    virtual void restore() = 0;
};

} // namespace quorrel
