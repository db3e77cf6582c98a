// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Desktop/EmbeddingTray.h"

#include <QAbstractNativeEventFilter>

struct xcb_connection_t;

namespace quorrel {

/// The tray of the X screen that the program is on: whoever owns the screen's selection for it. There is none
/// elsewhere. Main thread, with a QApplication.
class X11EmbeddingTray final : public EmbeddingTray, private QAbstractNativeEventFilter {
    Q_OBJECT

public:
    X11EmbeddingTray();
    ~X11EmbeddingTray() override;

    [[nodiscard]] bool isThere() const override;

private:
    bool nativeEventFilter(const QByteArray& eventType, void* message, qintptr* result) override;

    xcb_connection_t* m_connection = nullptr;
    quint32 m_selection = 0; // atoms
    quint32 m_manager = 0;
};

} // namespace quorrel
