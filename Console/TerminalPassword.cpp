// SPDX-License-Identifier: GPL-3.0-or-later
#include "Console/TerminalPassword.h"

#include <cerrno>
#include <csignal>
#include <cstddef>
#include <cstring>
#include <utility>

#include <fcntl.h>
#include <unistd.h>

namespace quorrel {

namespace {

constexpr std::size_t longestLine = 4096;

/// While nothing typed is shown, the terminal must not be left to a shell: that would not show anything either.
class SuspensionIgnored final {
public:
    SuspensionIgnored() {
        struct sigaction ignore { };
        ignore.sa_handler = SIG_IGN;
        sigaction(SIGTSTP, &ignore, &m_before);
    }
    ~SuspensionIgnored() { sigaction(SIGTSTP, &m_before, nullptr); }
    SuspensionIgnored(const SuspensionIgnored&) = delete;
    SuspensionIgnored& operator=(const SuspensionIgnored&) = delete;

private:
    struct sigaction m_before { };
};

void writeAll(int terminal, std::string_view text) {
    while (!text.empty()) {
        const auto written = write(terminal, text.data(), text.size());
        if (written < 0 && errno != EINTR)
            return;
        if (written > 0)
            text.remove_prefix(static_cast<std::size_t>(written));
    }
}

/// The line without its end; absent at an end of file before anything was typed.
std::optional<std::string> readLine(int terminal) {
    // Reserved, so that no half of it stays behind in freed memory.
    std::string line;
    line.reserve(longestLine);
    while (line.size() < longestLine) {
        char byte = 0;
        const auto count = read(terminal, &byte, 1);
        if (count < 0 && errno == EINTR)
            continue;
        if (count <= 0 && line.empty())
            return std::nullopt;
        if (count <= 0 || byte == '\n')
            break;
        line += byte;
    }
    std::string result = line;
    explicit_bzero(line.data(), line.size());
    return result;
}

} // namespace

TerminalPassword::TerminalPassword(std::string terminalPath)
    : m_terminalPath(std::move(terminalPath)) { }

TerminalPassword::~TerminalPassword() {
    restore();
}

PasswordPrompt::Answer TerminalPassword::ask(const std::string& prompt) {
    const int terminal = open(m_terminalPath.c_str(), O_RDWR | O_CLOEXEC | O_NOCTTY);
    if (terminal < 0)
        return { Outcome::NoTerminal, {} };
    const SuspensionIgnored ignored;
    Answer answer;
    if (hideTyping(terminal)) {
        writeAll(terminal, prompt);
        auto line = readLine(terminal);
        answer.outcome = line ? Outcome::Given : Outcome::Cancelled;
        answer.password = std::move(line).value_or(std::string());
        restore();
        // The line feed that ended the password was not shown.
        writeAll(terminal, "\n");
    }
    close(terminal);
    return answer;
}

bool TerminalPassword::hideTyping(int terminal) {
    const MutexLock lock(m_mutex);
    if (tcgetattr(terminal, &m_before) != 0)
        return false;
    auto hidden = m_before;
    hidden.c_lflag &= ~static_cast<tcflag_t>(ECHO | ECHONL);
    hidden.c_lflag |= ICANON | ISIG;
    hidden.c_iflag |= ICRNL;
    if (tcsetattr(terminal, TCSAFLUSH, &hidden) != 0)
        return false;
    m_terminal = terminal;
    return true;
}

void TerminalPassword::restore() {
    const MutexLock lock(m_mutex);
    if (m_terminal >= 0)
        tcsetattr(m_terminal, TCSANOW, &m_before);
    m_terminal = -1;
}

} // namespace quorrel
