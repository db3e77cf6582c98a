// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Foundation/StringTable.h"

#include <QString>

#include <string_view>

namespace quorrel {

class ActionTarget;
class MainThreadQueue;
class Preferences;

/// What the views need of the program; all of it must outlive them. Main thread.
struct DesktopEnvironment final {
    ActionTarget& actions; ///< gets what the user does
    const StringTable& strings;
    Preferences& preferences;
    MainThreadQueue& mainThreadQueue;

    /// The text for a key in the user's language.
    [[nodiscard]] QString text(std::string_view key) const { return QString::fromStdString(strings.text(key)); }
};

} // namespace quorrel
