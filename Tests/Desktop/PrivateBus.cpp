// SPDX-License-Identifier: GPL-3.0-or-later
#include "Tests/Desktop/PrivateBus.h"

#include <csignal>
#include <sys/prctl.h>

namespace quorrel {

namespace {

constexpr int bound = 10000; // milliseconds

} // namespace

PrivateBus::PrivateBus() {
    m_daemon.setChildProcessModifier([] { prctl(PR_SET_PDEATHSIG, SIGTERM); });
    m_daemon.start("dbus-daemon",
        { "--session", "--nofork", "--nopidfile", "--print-address=1", "--address=unix:tmpdir=" + qgetenv("HOME") });
    while (!m_daemon.canReadLine() && m_daemon.waitForReadyRead(bound)) { }
    m_address = QString::fromUtf8(m_daemon.readLine()).trimmed();
}

PrivateBus::~PrivateBus() {
    for (const auto& name : m_connections)
        QDBusConnection::disconnectFromBus(name);
    m_daemon.terminate();
    if (!m_daemon.waitForFinished(bound))
        m_daemon.kill();
}

QDBusConnection PrivateBus::connection() {
    static int count = 0; // names are the process's
    m_connections.append("test " + QString::number(++count));
    return QDBusConnection::connectToBus(m_address, m_connections.back());
}

} // namespace quorrel
