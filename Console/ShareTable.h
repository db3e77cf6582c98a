// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Console/ShareRow.h"

#include <cstddef>
#include <optional>
#include <string>
#include <vector>

namespace quorrel {

/// Lays shares out in columns: host, share, service, status, path, error.
class ShareTable final {
public:
    /// Paths below the home folder are shown with "~".
    explicit ShareTable(std::string homeDirectory);

    /// The lines with a heading, each with a line feed. Names are cut so that all but the errors fits into so many
    /// columns; a path and an error, which the user wants whole, never are.
    [[nodiscard]] std::string text(const std::vector<ShareRow>& rows, std::optional<std::size_t> columns) const;

private:
    [[nodiscard]] std::string shortPath(const std::string& path) const;

    const std::string m_homeDirectory;
};

} // namespace quorrel
