// SPDX-License-Identifier: GPL-3.0-or-later
#include "Desktop/SingleInstance.h"

#include <QDBusError>
#include <QDBusMessage>
#include <QDBusPendingCallWatcher>
#include <QDBusPendingReply>

#include <unistd.h>

namespace quorrel {

namespace {

const auto busName = QStringLiteral("org.quorrel.Quorrel");
const auto objectPath = QStringLiteral("/org/quorrel/Quorrel");
const auto interface = QStringLiteral("org.freedesktop.Application");

QDBusMessage callFor(const QString& action, const QVariantMap& platformData) {
    const auto method = action.isEmpty() ? QStringLiteral("Activate") : QStringLiteral("ActivateAction");
    auto call = QDBusMessage::createMethodCall(busName, objectPath, interface, method);
    if (!action.isEmpty())
        call << action << QVariant(QVariantList());
    call << QVariant(platformData);
    call.setAutoStartService(false);
    return call;
}

} // namespace

SingleInstance::SingleInstance(const QDBusConnection& bus, std::chrono::milliseconds patience)
    : m_bus(bus)
    , m_patience(patience) { }

SingleInstance::~SingleInstance() {
    // Qt does not survive this on a bus that it has lost.
    if (!m_bus.isConnected())
        return;
    m_bus.unregisterObject(objectPath);
    m_bus.unregisterService(busName);
}

SingleInstance::Launch SingleInstance::launch(const QString& action, const QVariantMap& platformData) {
    if (!m_bus.isConnected())
        return Launch::First;
    // Before the name, so that nobody who sees the name finds nothing behind it.
    m_bus.registerObject(objectPath, this, QDBusConnection::ExportScriptableSlots);
    if (m_bus.registerService(busName))
        return Launch::First;
    const auto reply = m_bus.call(callFor(action, platformData), QDBus::Block, static_cast<int>(m_patience.count()));
    // The one that had the name may have ended instead of answering.
    if (reply.type() != QDBusMessage::ReplyMessage && m_bus.registerService(busName))
        return Launch::First;
    m_bus.unregisterObject(objectPath);
    return Launch::Repeated;
}

void SingleInstance::Activate(const QVariantMap& platformData) {
    activate({}, platformData);
}

void SingleInstance::Open(const QStringList&, const QVariantMap& platformData) {
    activate({}, platformData); // there are no files of ours
}

void SingleInstance::ActivateAction(const QString& action, const QVariantList&, const QVariantMap& platformData) {
    activate(action, platformData);
}

void SingleInstance::activate(const QString& action, const QVariantMap& platformData) {
    if (!calledFromDBus()) {
        emit activated(action, platformData);
        return;
    }
    setDelayedReply(true);
    const auto call = message();
    auto ask = QDBusMessage::createMethodCall(QStringLiteral("org.freedesktop.DBus"),
        QStringLiteral("/org/freedesktop/DBus"), QStringLiteral("org.freedesktop.DBus"),
        QStringLiteral("GetConnectionUnixUser"));
    ask << call.service();
    auto* const watcher = new QDBusPendingCallWatcher(m_bus.asyncCall(ask), this);
    connect(watcher, &QDBusPendingCallWatcher::finished, this, [this, call, action, platformData, watcher] {
        const QDBusPendingReply<uint> user = *watcher;
        watcher->deleteLater();
        if (user.isError() || user.value() != getuid()) {
            m_bus.send(call.createErrorReply(
                QDBusError::AccessDenied, QStringLiteral("Only programs of the same user are answered.")));
            return;
        }
        m_bus.send(call.createReply());
        emit activated(action, platformData);
    });
}

} // namespace quorrel
