// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Platform/Window.h"

#include <functional>
#include <optional>
#include <string>

namespace quorrel {

class AddMountWindowController;

/// What an open panel offers.
struct OpenPanelOptions final {
    bool canCreateDirectories = false;
    bool canChooseFiles = true;
    bool canChooseDirectories = false;
    bool allowsMultipleSelection = false;
};

/// The sheet that edits one share point, modal for the main window. Main thread. Its controls show and write the
/// controller's fields; it decides nothing. Nothing here waits for the user: what comes later comes by callback.
class AddMountWindow {
public:
    enum class Control { ServerName, SharePoint, UserName };

    virtual ~AddMountWindow() = default;

    /// Shows the sheet for the fields of the controller, which is borrowed until `orderOut`. What the user does comes
    /// as `addMountSaveAction`, `askToCancel` (closing the sheet in any other way included) and `selectScript`.
    virtual void beginSheet(AddMountWindowController& controller) = 0;
    /// Ends the modal state; then calls the controller's `didEndSheet`.
    virtual void endSheet() = 0;
    virtual void orderOut() = 0;
    /// Also before the sheet is shown, for when it is.
    virtual void focus(Control control) = 0;
    /// One button, modal for the sheet; calls back when it is closed.
    virtual void runAlert(
        const std::string& title, const std::string& message, const std::string& button, std::function<void()> closed)
        = 0;
    /// Modal for the sheet; Return and closing the question are the default answer.
    virtual void runQuestion(const AlertSheet& question, AlertHandler answered) = 0;
    /// Calls back with the chosen path, absent when the user cancelled.
    virtual void runOpenPanel(
        const OpenPanelOptions& options, std::function<void(const std::optional<std::string>& path)> closed)
        = 0;
};

} // namespace quorrel
