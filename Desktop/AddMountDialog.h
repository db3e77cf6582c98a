// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Sources/AddMountWindow.h"

#include <QPointer>

#include <functional>
#include <optional>
#include <string>

class QWidget;

namespace quorrel {

class AddMountForm;
struct DesktopEnvironment;

/// The share editor's sheet: a form that is made when the sheet begins and gone when it is ordered out. Main thread.
class AddMountDialog final : public AddMountWindow {
public:
    /// `window` gives the window that the sheet belongs to, null for none; it is asked each time the sheet begins.
    AddMountDialog(const DesktopEnvironment& environment, std::function<QWidget*()> window);
    AddMountDialog(const AddMountDialog&) = delete;
    AddMountDialog& operator=(const AddMountDialog&) = delete;
    /// A sheet that is shown goes without a word to its controller.
    ~AddMountDialog() override;

    void beginSheet(AddMountWindowController& controller) override;
    void endSheet() override;
    void orderOut() override;
    void focus(Control control) override;
    void runAlert(const std::string& title, const std::string& message, const std::string& button,
        std::function<void()> closed) override;
    void runQuestion(const AlertSheet& question, AlertHandler answered) override;
    void runOpenPanel(
        const OpenPanelOptions& options, std::function<void(const std::optional<std::string>& path)> closed) override;

private:
    [[nodiscard]] QWidget* alertParent() const;

    const DesktopEnvironment& m_environment;
    const std::function<QWidget*()> m_window;
    AddMountWindowController* m_controller = nullptr; ///< while its sheet is up
    QPointer<AddMountForm> m_form; // the window that it belongs to may take it along
    QPointer<AddMountForm> m_gone; // ordered out, not yet destroyed
    std::optional<Control> m_focus; ///< asked for before there was a form
};

} // namespace quorrel
