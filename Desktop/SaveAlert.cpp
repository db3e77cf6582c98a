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
    delete m_box;
}

void SaveAlert::show(const std::string& path, const std::string& reason) {
    withdraw();
    const auto message = Text::filledEscaped(
        m_strings.text(
            "%@ cannot be written: %@.\n\nQuorrel keeps what you change and saves it with the next change, as "
            "soon as that is possible. What is not saved when Quorrel ends is lost."),
        { path, reason });
    m_box = new AlertBox(nullptr, QMessageBox::Warning, m_strings.text("Your shares could not be saved"), message);
    m_box->addButton(QString::fromStdString(m_strings.text("OK")), QMessageBox::AcceptRole)
        ->setObjectName("alertButton");
    m_box->show();
}

void SaveAlert::withdraw() {
    if (m_box)
        m_box->close();
}

} // namespace quorrel
