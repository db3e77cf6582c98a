// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QDBusConnection>
#include <QDBusServiceWatcher>
#include <QObject>
#include <QTimer>

#include <chrono>
#include <memory>

namespace quorrel {

class EmbeddingTray;

/// Waits for something that shows tray icons. Main thread; nothing here blocks but looking for an X selection.
///
/// Qt decides once in a process's life, at the first use of its tray icon, whether icons go over the session bus or are
/// embedded, and one that was made too early is never seen. So nobody touches Qt's tray icon before `found`. A host on
/// the bus is preferred; an embedding tray is taken at once where nobody on the bus keeps a list of icons, and
/// otherwise when the patience is over, since a session may start the two in any order.
class TrayHostWatch final : public QObject {
    Q_OBJECT

public:
    static constexpr std::chrono::milliseconds usualPatience { 5000 };

    TrayHostWatch(const QDBusConnection& bus, std::unique_ptr<EmbeddingTray> embedding,
        std::chrono::milliseconds patience = usualPatience);
    ~TrayHostWatch() override;

    /// Starts to look. Signals come in later turns of the event loop.
    void start();
    [[nodiscard]] bool hasFound() const { return m_hasFound; }

signals:
    /// Once.
    void found();
    /// The patience is over and there was nothing. Once at most; `found` may still come.
    void noneFound();

private slots:
    void askForHost();

private:
    enum class Watcher { Unknown, Absent, Present };

    void askForWatcher();
    void watcherChanged(bool isPresent);
    void losePatience();
    void decide();
    void finish();

    QDBusConnection m_bus;
    std::unique_ptr<EmbeddingTray> m_embedding; // null once found
    QDBusServiceWatcher m_service;
    QTimer m_patience;
    Watcher m_watcher = Watcher::Unknown;
    bool m_hasHost = false;
    bool m_isPatient = true;
    bool m_hasFound = false;
};

} // namespace quorrel
