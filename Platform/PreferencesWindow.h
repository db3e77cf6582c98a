// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Platform/Window.h"

#include <string>

namespace quorrel {

/// The window with the preferences in tabs, whose identifiers are decimal numbers as text. Main thread.
class PreferencesWindow : public Window {
public:
    /// An identifier that no tab has leaves the selection as it is.
    virtual void selectTabViewItemWithIdentifier(const std::string& identifier) = 0;
};

} // namespace quorrel
