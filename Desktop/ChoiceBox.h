// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QComboBox>
#include <QString>

namespace quorrel {

/// A combo box that assistive tools can choose from as they choose in any list: by selecting a row, whether the list
/// is open or not.
class ChoiceBox final : public QComboBox {
public:
    /// The title names the parts that no label can stand beside; its mnemonic is left out.
    ChoiceBox(const QString& title, QWidget* parent);

    void makeEditable();

private:
    void chooseSelectedRow();

    QString m_title;
};

} // namespace quorrel
