// SPDX-License-Identifier: GPL-3.0-or-later
#include "Desktop/SaveAlert.h"

#include "Desktop/AlertBox.h"
#include "Foundation/StringTable.h"
#include "Foundation/Text.h"

#include <QPushButton>

namespace quorrel {

SaveAlert::SaveAlert(const StringTable& strings)
    : m_strings(strings) { }

SaveAlert::~SaveAlert() {
    delete m_failure;
    delete m_kept;
}

void SaveAlert::show(const std::string& path, const std::string& reason) {
    open(m_failure, m_strings.text("Your shares could not be saved"),
        Text::filledOnOneLine(
            m_strings.text(
                "%@ cannot be written: %@.\n\nQuorrel keeps what you change and saves it with the next change, as "
                "soon as that is possible. What is not saved when Quorrel ends is lost."),
            { path, reason }));
}

void SaveAlert::withdraw() {
    if (m_failure)
        m_failure->close();
}

void SaveAlert::showKept(const std::string& path) {
    open(m_kept, m_strings.text("Your shares were changed outside Quorrel"),
        Text::filledOnOneLine(
            m_strings.text("%@ is not as Quorrel left it: it was edited or replaced, or its disk was not there when "
                           "Quorrel started.\n\nQuorrel saves your shares as it shows them. The other file is kept in "
                           "the same folder, with .damaged behind its name."),
            { path }));
}

void SaveAlert::open(QPointer<AlertBox>& box, const std::string& title, const std::string& message) {
    if (box)
        box->close();
    box = new AlertBox(nullptr, QMessageBox::Warning, title, message);
    box->addButton(QString::fromStdString(m_strings.text("OK")), QMessageBox::AcceptRole)->setObjectName("alertButton");
    box->show();
}

} // namespace quorrel
