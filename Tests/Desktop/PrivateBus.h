// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QDBusConnection>
#include <QProcess>
#include <QString>
#include <QStringList>

namespace quorrel {

/// A message bus of a test's own, gone with the object and with the process. Main thread.
class PrivateBus final {
public:
    PrivateBus();
    PrivateBus(const PrivateBus&) = delete;
    PrivateBus& operator=(const PrivateBus&) = delete;
    ~PrivateBus();

    /// A connection of its own each time, as of another program.
    [[nodiscard]] QDBusConnection connection();

private:
    QProcess m_daemon;
    QString m_address;
    QStringList m_connections;
};

} // namespace quorrel
