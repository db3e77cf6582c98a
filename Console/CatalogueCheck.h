// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <optional>
#include <string>

namespace quorrel {

class PropertyListFile;

/// An empty catalogue is what the controller makes of a broken file as well; whoever sits at a terminal wants to know.
class CatalogueCheck final {
public:
    CatalogueCheck() = delete;

    /// What is wrong with the catalogue's file in that folder: one line, fit for a terminal.
    [[nodiscard]] static std::optional<std::string> complaint(PropertyListFile& files, const std::string& folder);
};

} // namespace quorrel
