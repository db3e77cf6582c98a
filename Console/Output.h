// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstddef>
#include <string_view>

namespace quorrel {

/// Where the user reads. Any thread, one call at a time.
class Output {
public:
    struct Size final {
        std::size_t columns = 80;
        std::size_t rows = 24;
    };

    virtual ~Output() = default;

    /// What cannot be written is lost: there is nobody left to tell.
    virtual void write(std::string_view text) = 0;
    /// Whether it is a terminal whose cursor can be moved.
    [[nodiscard]] virtual bool isTerminal() const = 0;
    /// Of the terminal, as it is now.
    [[nodiscard]] virtual Size size() const = 0;
    /// Whether its reader has gone, as far as a write has told.
    [[nodiscard]] virtual bool isLost() const { return false; }
};

} // namespace quorrel
