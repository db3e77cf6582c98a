// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Console/PasswordPrompt.h"
#include "Foundation/Mutex.h"

#include <optional>

#include <termios.h>

namespace quorrel {

/// Asks on the process's controlling terminal, whatever its standard streams are.
class TerminalPassword final : public PasswordPrompt {
public:
    explicit TerminalPassword(std::string terminalPath = "/dev/tty");
    ~TerminalPassword() override;
    TerminalPassword(const TerminalPassword&) = delete;
    TerminalPassword& operator=(const TerminalPassword&) = delete;

    [[nodiscard]] Answer ask(const std::string& prompt) override;
    void restore() override;

private:
    [[nodiscard]] bool hideTyping(int terminal);

    const std::string m_terminalPath;
    Mutex m_mutex;
    int m_terminal GUARDED_BY(m_mutex) = -1; // the one whose typing is hidden now
    termios m_before GUARDED_BY(m_mutex) {};
};

} // namespace quorrel
