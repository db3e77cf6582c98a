// SPDX-License-Identifier: GPL-3.0-or-later
#include "Desktop/ChoiceBox.h"

#include "Desktop/ChoiceModel.h"
#include "Desktop/ShownText.h"

#include <QAbstractItemView>
#include <QItemSelectionModel>
#include <QLineEdit>

namespace quorrel {

ChoiceBox::ChoiceBox(const QString& title, QWidget* parent)
    : QComboBox(parent)
    , m_title(ShownText::withoutMnemonic(title)) {
    setModel(new ChoiceModel(this));
    view()->setAccessibleName(m_title);
    // Keys and mouse move the current row along with the selection, only later in the same turn of the loop.
    connect(view()->selectionModel(), &QItemSelectionModel::selectionChanged, this, &ChoiceBox::chooseSelectedRow,
        Qt::QueuedConnection);
}

void ChoiceBox::makeEditable() {
    setEditable(true);
    lineEdit()->setAccessibleName(m_title);
}

/// Qt gives assistive tools the rows to select, but takes none for chosen that way.
void ChoiceBox::chooseSelectedRow() {
    const auto selected = view()->selectionModel()->selectedIndexes();
    if (selected.isEmpty() || selected.front() == view()->currentIndex())
        return;
    setCurrentIndex(selected.front().row());
    view()->setCurrentIndex(selected.front());
    hidePopup();
}

} // namespace quorrel
