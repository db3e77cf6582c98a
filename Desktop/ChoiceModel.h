// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QStandardItemModel>
#include <QVariant>

namespace quorrel {

/// The rows of a box to choose from. Others may have chosen a row's text: it is shown, and told to assistive tools, as
/// plain text on one line, and chosen and edited as it is.
class ChoiceModel final : public QStandardItemModel {
    Q_OBJECT

public:
    using QStandardItemModel::QStandardItemModel;

    [[nodiscard]] QVariant data(const QModelIndex& index, int role) const override;
};

} // namespace quorrel
