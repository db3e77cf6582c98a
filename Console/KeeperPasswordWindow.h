// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Console/UnseenPasswordWindow.h"

#include <optional>
#include <set>
#include <string>

namespace quorrel {

class Output;

/// The password window of a program that nobody sits at: a password that was read from a file, or none. Never waits.
/// Main thread only.
class KeeperPasswordWindow final : public UnseenPasswordWindow {
public:
    /// The output, which is told once of each share that goes without, must outlive the window.
    KeeperPasswordWindow(std::optional<std::string> password, Output& errors);

    [[nodiscard]] Response runModal(PasswordWindowTarget& target) override;

private:
    const std::optional<std::string> m_password;
    Output& m_errors;
    std::set<std::string> m_told;
};

} // namespace quorrel
