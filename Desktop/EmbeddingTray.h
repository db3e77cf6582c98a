// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QObject>

namespace quorrel {

/// The kind of tray into which programs put windows of their own. Main thread.
class EmbeddingTray : public QObject {
    Q_OBJECT

public:
    [[nodiscard]] virtual bool isThere() const = 0;

signals:
    /// One has come since.
    void appeared();
};

} // namespace quorrel
