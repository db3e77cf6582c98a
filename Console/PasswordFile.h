// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <string>
#include <variant>

namespace quorrel {

/// A file with a password in its first line.
class PasswordFile final {
public:
    struct Failure final {
        std::string message; ///< one line, fit for a terminal
    };

    PasswordFile() = delete;

    /// Refuses a file that anybody but its owner may read.
    [[nodiscard]] static std::variant<std::string, Failure> read(const std::string& path);
};

} // namespace quorrel
