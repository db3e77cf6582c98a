// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QDBusConnection>
#include <QObject>

namespace quorrel {

/// What keeps the list of icons on a bus.
class FakeIconList final : public QObject {
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "org.kde.StatusNotifierWatcher")
    Q_PROPERTY(bool IsStatusNotifierHostRegistered READ hasHost)

public:
    FakeIconList(QDBusConnection bus, bool hasHost)
        : m_bus(bus)
        , m_hasHost(hasHost) {
        m_bus.registerObject(
            "/StatusNotifierWatcher", this, QDBusConnection::ExportAllProperties | QDBusConnection::ExportAllSignals);
        m_bus.registerService("org.kde.StatusNotifierWatcher");
    }
    ~FakeIconList() override {
        m_bus.unregisterService("org.kde.StatusNotifierWatcher");
        m_bus.unregisterObject("/StatusNotifierWatcher");
    }

    [[nodiscard]] bool hasHost() const {
        ++questions;
        return m_hasHost;
    }
    void registerHost() {
        m_hasHost = true;
        emit StatusNotifierHostRegistered();
    }

    mutable int questions = 0;

signals:
    void StatusNotifierHostRegistered(); // NOLINT(readability-identifier-naming)

private:
    QDBusConnection m_bus;
    bool m_hasHost;
};

} // namespace quorrel
