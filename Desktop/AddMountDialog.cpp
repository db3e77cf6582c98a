// SPDX-License-Identifier: GPL-3.0-or-later
#include "Desktop/AddMountDialog.h"

#include "Desktop/AddMountForm.h"
#include "Desktop/AlertBox.h"
#include "Desktop/DesktopEnvironment.h"
#include "Desktop/WindowPlacement.h"
#include "Sources/AddMountWindowController.h"

#include <QFileDialog>
#include <QPushButton>

#include <utility>

namespace quorrel {

AddMountDialog::AddMountDialog(const DesktopEnvironment& environment, std::function<QWidget*()> window)
    : m_environment(environment)
    , m_window(std::move(window)) { }

AddMountDialog::~AddMountDialog() {
    delete m_form;
    delete m_gone; // the event loop may have ended before it came to that
}

void AddMountDialog::beginSheet(AddMountWindowController& controller) {
    const auto control = m_focus; // asked for on behalf of this sheet
    orderOut(); // of one that is still up: the menu in the tray may ask for another
    m_controller = &controller;
    auto* window = m_window ? m_window() : nullptr;
    m_form = new AddMountForm(m_environment, controller, window);
    if (control)
        m_form->focus(*control);
    if (!window || !window->isVisible())
        WindowPlacement::center(*m_form); // it would go where the hidden window may never have been
    m_form->open();
    m_form->raise();
    m_form->activateWindow(); // the wish may come from the tray, while another program is the active one
}

void AddMountDialog::endSheet() {
    if (m_form)
        m_form->hide();
    if (auto* controller = std::exchange(m_controller, nullptr))
        controller->didEndSheet();
}

void AddMountDialog::orderOut() {
    m_focus.reset();
    if (!m_form)
        return;
    m_form->hide();
    m_form->deleteLater(); // its own button may be what ended it
    m_gone = std::exchange(m_form, nullptr);
}

void AddMountDialog::focus(Control control) {
    if (m_form)
        m_form->focus(control);
    else
        m_focus = control;
}

void AddMountDialog::runAlert(
    const std::string& title, const std::string& message, const std::string& button, std::function<void()> closed) {
    auto* box = new AlertBox(alertParent(), QMessageBox::Warning, title, message);
    auto* ok = box->addButton(QString::fromStdString(button), QMessageBox::AcceptRole);
    ok->setObjectName("alertButton");
    box->setDefaultButton(ok);
    box->setEscapeButton(ok);
    QObject::connect(box, &QMessageBox::finished, box, [closed = std::move(closed)] {
        if (closed)
            closed();
    });
    box->open();
}

void AddMountDialog::runQuestion(const AlertSheet& question, AlertHandler answered) {
    AlertBox::ask(alertParent(), question, AlertAnswer::Default, std::move(answered));
}

void AddMountDialog::runOpenPanel(
    const OpenPanelOptions& options, std::function<void(const std::optional<std::string>& path)> closed) {
    auto* panel = new QFileDialog(alertParent());
    panel->setObjectName("openPanel");
    panel->setAttribute(Qt::WA_DeleteOnClose);
    panel->setWindowModality(Qt::WindowModal);
    panel->setAcceptMode(QFileDialog::AcceptOpen);
    panel->setOption(QFileDialog::ReadOnly, !options.canCreateDirectories);
    if (!options.canChooseFiles)
        panel->setFileMode(QFileDialog::Directory);
    else
        panel->setFileMode(options.allowsMultipleSelection ? QFileDialog::ExistingFiles : QFileDialog::ExistingFile);
    QObject::connect(panel, &QFileDialog::finished, panel, [panel, closed = std::move(closed)](int result) {
        const auto files = panel->selectedFiles();
        if (result != QDialog::Accepted || files.isEmpty())
            closed(std::nullopt);
        else
            closed(files.first().toStdString());
    });
    panel->open();
}

QWidget* AddMountDialog::alertParent() const {
    if (m_form)
        return m_form;
    return m_window ? m_window() : nullptr;
}

} // namespace quorrel
