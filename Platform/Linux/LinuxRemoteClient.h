// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Platform/Linux/MainLoopTimer.h"
#include "Platform/Linux/MessageBus.h"
#include "Platform/RemoteClient.h"

#include <memory>
#include <optional>
#include <string>

struct _GDBusConnection; // NOLINT(bugprone-reserved-identifier): as GLib has it
struct _GVariant; // NOLINT(bugprone-reserved-identifier): likewise

namespace quorrel {

/// Asks by the interface `RemoteInterface` on the session bus. Main thread only, on the main GLib context.
class LinuxRemoteClient final : public RemoteClient {
public:
    /// The session bus's address; empty without one. Whoever does not answer for so long is silent.
    explicit LinuxRemoteClient(std::string bus, Seconds patience = Seconds(5));
    LinuxRemoteClient(const LinuxRemoteClient&) = delete;
    LinuxRemoteClient& operator=(const LinuxRemoteClient&) = delete;
    ~LinuxRemoteClient() override;

    void start(Observer observer) override;
    void stop() override;
    void listHosts(Answer<RemoteHost> answer) override;
    void listShares(Answer<RemoteShare> answer) override;
    void perform(const RemoteCommand& command, RemoteReply reply) override;

private:
    struct Callbacks;
    struct Link;

    void busChanged(_GDBusConnection* connection);
    void leave();
    void appeared(const std::string& owner);
    void vanished();
    void told(const std::string& signal, _GVariant* parameters);
    void tell(Presence presence, const RemoteProgram& program = {});
    [[nodiscard]] int milliseconds() const;

    const std::string m_address;
    const Seconds m_patience;
    std::optional<Observer> m_observer;
    std::optional<MessageBus> m_bus;
    _GDBusConnection* m_connection = nullptr; // the bus's
    unsigned m_nameWatch = 0;
    unsigned m_signals = 0;
    MainLoopTimer m_timer; // until the first presence is known
    std::shared_ptr<Link> m_link; // to the program that is there
    std::shared_ptr<LinuxRemoteClient*> m_self; // while it is started: what answers hold weakly
};

} // namespace quorrel
