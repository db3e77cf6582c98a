// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Foundation/Clock.h"
#include "Platform/Linux/FolderWatch.h"
#include "Platform/Linux/MainLoopTimer.h"

#include <functional>
#include <memory>
#include <optional>
#include <string>

struct _GDBusConnection; // NOLINT(bugprone-reserved-identifier): as GLib has it

namespace quorrel {

/// A connection of its own to a message bus, taken up whenever there is one. Main thread only, on the main GLib
/// context; nothing here waits.
///
/// The connection that GIO shares within a process is not of use: once its bus is lost, it never comes back. A bus that
/// is not there is waited for at the folder of its socket, or where that folder is to come; one that has no socket is
/// tried in growing intervals.
class MessageBus final {
public:
    /// Told of each connection that is made, and with null of each that is lost or cannot be made. It must not throw;
    /// it may destroy this.
    using Observer = std::function<void(_GDBusConnection* connection)>;

    /// An empty address stands for a session without a bus, of which nothing is told.
    MessageBus(std::string address, Observer observer);
    MessageBus(const MessageBus&) = delete;
    MessageBus& operator=(const MessageBus&) = delete;
    ~MessageBus();

private:
    struct Callbacks;
    struct Link;

    void connect();
    void connected(_GDBusConnection* connection);
    void lost();
    void await();
    void watchFor(const std::string& socket);
    void tryLater();
    void release();

    const std::string m_address;
    const Observer m_observer;
    std::shared_ptr<Link> m_link; ///< while a connection is made or held
    std::optional<FolderWatch> m_folder; ///< where the socket is to come, while there is no connection
    MainLoopTimer m_retry;
    Seconds m_delay { 0 };
};

} // namespace quorrel
