// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QDBusConnection>
#include <QObject>

#include <chrono>

namespace quorrel {

/// Sees to it that the program runs once in a session: whoever owns the program's name on the session bus is the first.
/// Without a bus every launch is. Main thread.
class SingleInstance final : public QObject {
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "org.quorrel.Quorrel")

public:
    enum class Launch { First, Repeated };

    /// The patience is for a first launch that does not answer.
    explicit SingleInstance(
        const QDBusConnection& bus, std::chrono::milliseconds patience = std::chrono::milliseconds { 5000 });
    ~SingleInstance() override;

    /// Takes the name, or asks whoever has it to show itself; blocks until that one answered or the patience is over.
    [[nodiscard]] Launch launch();

public slots:
    /// What another launch calls over the bus.
    Q_SCRIPTABLE void Activate(); // NOLINT(readability-identifier-naming): names on a bus are written so

signals:
    /// The program was launched again. Only in the first launch, from the event loop.
    void activated();

private:
    QDBusConnection m_bus;
    const std::chrono::milliseconds m_patience;
};

} // namespace quorrel
