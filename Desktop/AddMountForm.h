// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Foundation/Property.h"
#include "Foundation/Subscription.h"
#include "Sources/AddMountWindow.h"

#include <QDialog>

#include <functional>
#include <vector>

class QCheckBox;
class QFormLayout;
class QLineEdit;
class QPushButton;
class QSpinBox;
class QVBoxLayout;

namespace quorrel {

class AddMountWindowController;
class ChoiceBox;
struct DesktopEnvironment;

/// The controls of the share editor. Main thread. Each control writes its field of the controller as soon as it
/// changes, and follows the field when something else sets it; a field that no control changed is never written, so
/// that what a control cannot show as it is, such as a fraction of a second, is kept.
///
/// Save, Cancel, Escape and the window's own button are handed to the controller, which decides whether the form goes.
class AddMountForm final : public QDialog {
public:
    /// Both must outlive what the user does with the form; the form may be destroyed after them.
    AddMountForm(const DesktopEnvironment& environment, AddMountWindowController& controller, QWidget* parent);

    void focus(AddMountWindow::Control control);

    void accept() override;
    void reject() override;

private:
    void addServerRows(QFormLayout& form);
    void addLoginRows(QFormLayout& form);
    void addMountingRows(QFormLayout& form);
    void addScriptRows(QFormLayout& form);
    void addNotice(QVBoxLayout& layout);
    void addButtons(QVBoxLayout& layout);
    void addGap(QFormLayout& form);

    QLineEdit* textControl(const char* name, Property<OptionalText>& field);
    QCheckBox* flagControl(const char* name, const QString& title, Property<OptionalFlag>& field);
    /// Calls `write` for what the user does to a control, but not for what `showFields` does to it.
    template <typename Control, typename Signal, typename Write>
    void onEdit(Control* control, Signal signal, Write write);

    void showFields();
    /// Beside what the user types meanwhile.
    void showServerNames();
    void showNotice(bool isShown);
    void enableControls();

    const DesktopEnvironment& m_environment;
    AddMountWindowController& m_controller;
    std::vector<std::function<void()>> m_showers; ///< one per control: the field's value into the control
    bool m_showsFields = false;
    ChoiceBox* m_serverName = nullptr;
    QLineEdit* m_sharePoint = nullptr;
    QLineEdit* m_userName = nullptr;
    QLineEdit* m_password = nullptr;
    QSpinBox* m_delaySeconds = nullptr;
    QWidget* m_notice = nullptr;
    QPushButton* m_cancel = nullptr;
    Subscription m_fields; // the last member: ends before what its callback uses
};

} // namespace quorrel
