// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <optional>
#include <string>
#include <variant>
#include <vector>

namespace quorrel {

/// Why the arguments mean nothing, with what is right: one line, ready to be shown.
struct UsageError final {
    std::string message;
};

/// What the user asked for.
struct CommandLine final {
    enum class Command { Help, Version, Status, List, Mount, Unmount, Watch };

    Command command = Command::Help;
    bool all = false;
    bool json = false;
    bool follow = false;
    std::optional<std::string> passwordFile;
    std::vector<std::string> names; ///< HOST or HOST/SHARE, as typed

    /// Takes the arguments behind the program's name. An error never repeats what could be a password.
    [[nodiscard]] static std::variant<CommandLine, UsageError> parse(const std::vector<std::string>& arguments);

    /// What --help prints.
    [[nodiscard]] static std::string helpText();
};

} // namespace quorrel
