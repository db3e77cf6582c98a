// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QDBusConnection>
#include <QDBusContext>
#include <QDBusError>
#include <QObject>
#include <QVariantMap>

namespace quorrel {

/// The program as it is about to end: it gives its name up and answers no more, of which the bus tells the caller.
class EndingLaunch final : public QObject, public QDBusContext {
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "org.freedesktop.Application")

public:
    explicit EndingLaunch(const QDBusConnection& bus) {
        auto registering = bus;
        registering.registerObject("/org/quorrel/Quorrel", this, QDBusConnection::ExportScriptableSlots);
        registering.registerService("org.quorrel.Quorrel");
    }

public slots:
    Q_SCRIPTABLE void Activate(const QVariantMap&) { // NOLINT(readability-identifier-naming)
        connection().unregisterService("org.quorrel.Quorrel");
        sendErrorReply(QDBusError::NoReply);
    }
};

} // namespace quorrel
