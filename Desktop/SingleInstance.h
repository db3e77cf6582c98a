// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QDBusConnection>
#include <QDBusContext>
#include <QObject>
#include <QString>
#include <QStringList>
#include <QVariantList>
#include <QVariantMap>

#include <chrono>

namespace quorrel {

/// Sees to it that the program runs once in a session: whoever owns the program's name on the session bus is the first.
/// Without a bus every launch is. What the desktop asks of a program that it starts over the bus comes here as well.
/// Main thread.
class SingleInstance final : public QObject, protected QDBusContext {
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "org.freedesktop.Application")

public:
    enum class Launch { First, Repeated };

    /// The patience is for a first launch that does not answer.
    explicit SingleInstance(
        const QDBusConnection& bus, std::chrono::milliseconds patience = std::chrono::milliseconds { 5000 });
    ~SingleInstance() override;

    /// Takes the name, or hands the wish to whoever has it; blocks until that one answered or the patience is over. The
    /// action is one of the desktop entry's, empty for none in particular. The platform data, as the desktop names
    /// them, tell which wish of the user's it comes from.
    [[nodiscard]] Launch launch(const QString& action = {}, const QVariantMap& platformData = {});

public slots:
    // What others call over the bus. NOLINTBEGIN(readability-identifier-naming): names there are written so
    Q_SCRIPTABLE void Activate(const QVariantMap& platformData);
    Q_SCRIPTABLE void Open(const QStringList& files, const QVariantMap& platformData);
    Q_SCRIPTABLE void ActivateAction(
        const QString& action, const QVariantList& parameters, const QVariantMap& platformData);
    // NOLINTEND(readability-identifier-naming)

signals:
    /// The program was launched again, or is asked for something. Only in the first launch, from the event loop.
    void activated(const QString& action, const QVariantMap& platformData);

private:
    /// Once it is known that a program of this user asks.
    void activate(const QString& action, const QVariantMap& platformData);

    QDBusConnection m_bus;
    const std::chrono::milliseconds m_patience;
};

} // namespace quorrel
