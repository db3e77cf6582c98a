// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Platform/PasswordWindow.h"

#include <optional>
#include <set>
#include <string>

namespace quorrel {

class Output;

/// The password window of a program that nobody sits at: a password that was read from a file, or none. Never waits.
/// Main thread only.
class KeeperPasswordWindow final : public PasswordWindow {
public:
    /// The output, which is told once of each share that goes without, must outlive the window.
    KeeperPasswordWindow(std::optional<std::string> password, Output& errors);

    void focusPasswordField() override { }
    [[nodiscard]] Response runModal(PasswordWindowTarget& target) override;
    void stopModal() override { m_response = Response::Stopped; }
    void abortModal() override { m_response = Response::Aborted; }
    void hide() override { }

private:
    const std::optional<std::string> m_password;
    Output& m_errors;
    std::set<std::string> m_told;
    Response m_response = Response::Aborted;
};

} // namespace quorrel
