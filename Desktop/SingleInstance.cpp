// SPDX-License-Identifier: GPL-3.0-or-later
#include "Desktop/SingleInstance.h"

#include <QDBusMessage>

namespace quorrel {

namespace {

const auto busName = QStringLiteral("org.quorrel.Quorrel"); // its interface's name too
const auto objectPath = QStringLiteral("/org/quorrel/Quorrel");

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

SingleInstance::Launch SingleInstance::launch() {
    if (!m_bus.isConnected())
        return Launch::First;
    // Before the name, so that nobody who sees the name finds nothing behind it.
    m_bus.registerObject(objectPath, this, QDBusConnection::ExportScriptableSlots);
    if (m_bus.registerService(busName))
        return Launch::First;
    auto call = QDBusMessage::createMethodCall(busName, objectPath, busName, QStringLiteral("Activate"));
    call.setAutoStartService(false);
    const auto reply = m_bus.call(call, QDBus::Block, static_cast<int>(m_patience.count()));
    // The one that had the name may have ended instead of answering.
    if (reply.type() != QDBusMessage::ReplyMessage && m_bus.registerService(busName))
        return Launch::First;
    m_bus.unregisterObject(objectPath);
    return Launch::Repeated;
}

void SingleInstance::Activate() {
    emit activated();
}

} // namespace quorrel
