// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QList>
#include <QObject>
#include <QRect>

#include <optional>
#include <string>

class QTimer;
class QWidget;

namespace quorrel {

class Preferences;

/// Keeps where a window is, and how large, in a preference, as "x y width height": written when the user has come to an
/// end with moving it, and when it closes.
class WindowFrame final : public QObject {
public:
    /// The preferences must outlive the window; the window owns this.
    WindowFrame(QWidget& window, Preferences& preferences, std::string key);
    ~WindowFrame() override;

    /// Puts the window where it was, or as near to it as the screens of today allow. False when nothing usable is kept.
    bool restore();

    bool eventFilter(QObject* watched, QEvent* event) override;

    /// Absent for a text that is no frame.
    [[nodiscard]] static std::optional<QRect> parsed(const std::string& text);
    /// The frame moved, and where need be shrunk, onto the screen that shows most of it, the first for none.
    [[nodiscard]] static QRect fitted(QRect frame, const QList<QRect>& screens);

private:
    void save();

    QWidget& m_window;
    Preferences& m_preferences;
    const std::string m_key;
    QTimer* const m_timer; // a child
};

} // namespace quorrel
