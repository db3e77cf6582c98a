// SPDX-License-Identifier: GPL-3.0-or-later
#include "Desktop/ChoiceModel.h"

#include "Desktop/ShownText.h"

namespace quorrel {

QVariant ChoiceModel::data(const QModelIndex& index, int role) const {
    const auto value = QStandardItemModel::data(index, role);
    return role == Qt::DisplayRole ? QVariant(ShownText::line(value.toString())) : value;
}

} // namespace quorrel
