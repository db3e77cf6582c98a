// SPDX-License-Identifier: GPL-3.0-or-later
#include "Desktop/TrayHostWatch.h"

#include "Desktop/EmbeddingTray.h"

#include <QDBusMessage>
#include <QDBusPendingCallWatcher>
#include <QDBusPendingReply>
#include <QDBusVariant>

#include <utility>

namespace quorrel {

namespace {

const auto watcherName = QStringLiteral("org.kde.StatusNotifierWatcher"); // its interface's name too
const auto watcherPath = QStringLiteral("/StatusNotifierWatcher");

QDBusPendingCall hasOwner(const QDBusConnection& bus) {
    auto call = QDBusMessage::createMethodCall(QStringLiteral("org.freedesktop.DBus"),
        QStringLiteral("/org/freedesktop/DBus"), QStringLiteral("org.freedesktop.DBus"),
        QStringLiteral("NameHasOwner"));
    call << watcherName;
    return bus.asyncCall(call);
}

QDBusPendingCall isHostRegistered(const QDBusConnection& bus) {
    auto call = QDBusMessage::createMethodCall(
        watcherName, watcherPath, QStringLiteral("org.freedesktop.DBus.Properties"), QStringLiteral("Get"));
    call.setAutoStartService(false);
    call << watcherName << QStringLiteral("IsStatusNotifierHostRegistered");
    return bus.asyncCall(call);
}

} // namespace

TrayHostWatch::TrayHostWatch(
    const QDBusConnection& bus, std::unique_ptr<EmbeddingTray> embedding, std::chrono::milliseconds patience)
    : m_bus(bus)
    , m_embedding(std::move(embedding)) {
    m_patience.setSingleShot(true);
    m_patience.setInterval(patience);
}

TrayHostWatch::~TrayHostWatch() = default;

void TrayHostWatch::start() {
    connect(&m_patience, &QTimer::timeout, this, &TrayHostWatch::losePatience);
    connect(m_embedding.get(), &EmbeddingTray::appeared, this, &TrayHostWatch::decide, Qt::QueuedConnection);
    m_patience.start();
    if (m_bus.isConnected()) {
        connect(&m_service, &QDBusServiceWatcher::serviceOwnerChanged, this,
            [this](const QString&, const QString&, const QString& owner) { watcherChanged(!owner.isEmpty()); });
        m_service.setConnection(m_bus);
        m_service.addWatchedService(watcherName);
        m_bus.connect(
            {}, watcherPath, watcherName, QStringLiteral("StatusNotifierHostRegistered"), this, SLOT(askForHost()));
        askForWatcher();
    } else {
        m_watcher = Watcher::Absent;
        QMetaObject::invokeMethod(this, &TrayHostWatch::decide, Qt::QueuedConnection);
    }
}

void TrayHostWatch::askForWatcher() {
    auto* answer = new QDBusPendingCallWatcher(hasOwner(m_bus), this);
    connect(answer, &QDBusPendingCallWatcher::finished, this, [this](QDBusPendingCallWatcher* call) {
        call->deleteLater();
        const QDBusPendingReply<bool> reply = *call;
        if (m_watcher == Watcher::Unknown)
            watcherChanged(reply.isValid() && reply.value());
    });
}

void TrayHostWatch::watcherChanged(bool isPresent) {
    m_watcher = isPresent ? Watcher::Present : Watcher::Absent;
    m_hasHost = false;
    if (isPresent)
        askForHost();
    decide();
}

void TrayHostWatch::askForHost() {
    if (m_hasFound)
        return;
    auto* answer = new QDBusPendingCallWatcher(isHostRegistered(m_bus), this);
    connect(answer, &QDBusPendingCallWatcher::finished, this, [this](QDBusPendingCallWatcher* call) {
        call->deleteLater();
        const QDBusPendingReply<QDBusVariant> reply = *call;
        m_hasHost = reply.isValid() && reply.value().variant().toBool();
        decide();
    });
}

void TrayHostWatch::losePatience() {
    m_isPatient = false;
    decide();
    if (!m_hasFound)
        emit noneFound();
}

void TrayHostWatch::decide() {
    if (m_hasFound)
        return;
    const bool mayEmbed = m_watcher == Watcher::Absent || !m_isPatient;
    if (m_hasHost || (mayEmbed && m_embedding->isThere()))
        finish();
}

/// What is found stays found: Qt itself follows hosts that go and come again.
void TrayHostWatch::finish() {
    m_hasFound = true;
    m_patience.stop();
    m_service.setWatchedServices({});
    m_bus.disconnect(
        {}, watcherPath, watcherName, QStringLiteral("StatusNotifierHostRegistered"), this, SLOT(askForHost()));
    m_embedding.release()->deleteLater(); // it may be what called
    emit found();
}

} // namespace quorrel
