// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Platform/LoginItems.h"

#include <memory>
#include <string>
#include <vector>

namespace quorrel {

/// The login items as the user's autostart entries, one desktop file each. An entry that the user switched off is one
/// whose program nobody knows. Main thread; what links lead to on mounted volumes is never looked at, and counts as not
/// there. No entry is made for a program that is not there.
class AutostartLoginItems final : public LoginItems {
public:
    struct Places final {
        std::string folder; ///< the entries
        std::vector<std::string> programs; ///< where a program is that an entry names without its folder
        std::vector<std::string> volumes; ///< what is below these may be on another machine
    };

    explicit AutostartLoginItems(Places places);

    /// Null when the folder is not one or cannot be read; one that is missing is made by the first insertion.
    [[nodiscard]] std::unique_ptr<LoginItemsList> open() override;

private:
    const Places m_places;
};

} // namespace quorrel
