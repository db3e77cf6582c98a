// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Console/Output.h"

#include <cstddef>
#include <string>
#include <vector>

namespace quorrel {

/// Shows shares while they change: on a terminal one line for each, rewritten in place; elsewhere, and where the
/// terminal has too few lines, one line for each new status or error. Main thread only.
class LiveView final {
public:
    struct Line final {
        std::string name; ///< fit for a terminal
        std::string status;
        std::string error;
    };

    LiveView(Output& output, std::vector<Line> lines);

    /// One share as a line of its own tells of it, without the line feed.
    [[nodiscard]] static std::string text(const Line& line);

    /// A share's new state; a terminal shows it with the next `refresh`.
    void change(std::size_t index, const std::string& status, const std::string& error);
    /// Brings a terminal up to date.
    void refresh();
    /// Takes the lines off the terminal, so that something else can be written; the next `refresh` brings them back.
    void clear();

private:
    [[nodiscard]] std::string shown(const Line& line) const;

    Output& m_output;
    std::vector<Line> m_lines;
    const bool m_isInPlace;
    std::size_t m_nameColumns = 0;
    bool m_isDrawn = false;
};

} // namespace quorrel
