// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QLabel>

namespace quorrel {

/// Plain text in lines of about so many characters at least. It asks for the height that it has at that width, since
/// the pages of a tab widget do not grow for a text that wraps.
class WrappedLabel final : public QLabel {
public:
    explicit WrappedLabel(int columns, const QString& text = {});

    [[nodiscard]] bool hasHeightForWidth() const override { return false; }
    [[nodiscard]] QSize minimumSizeHint() const override;
    [[nodiscard]] QSize sizeHint() const override { return minimumSizeHint(); }

private:
    const int m_columns;
};

} // namespace quorrel
