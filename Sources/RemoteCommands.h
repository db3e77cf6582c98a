// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Foundation/Subscription.h"
#include "Platform/RemoteControl.h"
#include "Sources/ShareEvents.h"
#include "Sources/ShareIdentities.h"

#include <cstddef>
#include <list>
#include <memory>
#include <string>
#include <variant>
#include <vector>

namespace quorrel {

class MainThreadQueue;
class QuorrelAppDelegate;
class StringTable;

/// What other programs of the user ask of the controller, and what they are told. Main thread only.
///
/// A command is answered when its shares have got there or failed. Nobody is asked for a password on behalf of another
/// program: it comes with the command, or the command fails.
class RemoteCommands final : public RemoteControlTarget {
public:
    /// All of it must outlive this.
    RemoteCommands(QuorrelAppDelegate& controller, ShareEvents& events, RemoteControl& control,
        MainThreadQueue& mainThreadQueue, const StringTable& strings, std::string version);
    RemoteCommands(const RemoteCommands&) = delete;
    RemoteCommands& operator=(const RemoteCommands&) = delete;
    ~RemoteCommands() override;

    /// Lets others in: the catalogue is there.
    void begin();
    /// The program ends: who waits is told so, and nobody is let in any more.
    void end();

    /// A share by that name, for whoever tells others of it.
    [[nodiscard]] static RemoteShare describe(const SharePointDefinition& sharePoint, std::string identity);

    [[nodiscard]] RemoteProgram program() const override;
    [[nodiscard]] std::vector<RemoteHost> hosts() override;
    [[nodiscard]] std::vector<RemoteShare> shares() override;
    void perform(const RemoteCommand& command, RemoteReply reply) override;

private:
    using SharePointPointer = std::shared_ptr<SharePointDefinition>;
    using SharePoints = std::vector<SharePointPointer>;

    struct Task final {
        bool mounts = true;
        bool isSingle = true;
        bool hasPassword = false;
        SharePoints sharePoints;
        std::vector<std::string> errors; ///< of those that were not begun, beside them; empty for the others
        std::size_t ended = 0; ///< how many of the first are known to be done
        RemoteReply reply;
    };

    [[nodiscard]] std::variant<SharePoints, RemoteFailure> sharePointsFor(const RemoteCommand& command);
    [[nodiscard]] SharePoints favourites(const std::string& name) const;
    void start(Task& task, const RemoteCommand& command);
    /// Replies to whatever is done by now.
    void endTasks();
    void endTasksSoon();
    void finish(const Task& task);
    [[nodiscard]] std::string errorOf(const SharePointDefinition& sharePoint, bool mounts) const;
    void updateIdentities();
    [[nodiscard]] RemoteShare remoteShare(const SharePointDefinition& sharePoint) const;
    void tell(const ShareEvents::Events& events);

    QuorrelAppDelegate& m_controller;
    ShareEvents& m_events;
    RemoteControl& m_control;
    MainThreadQueue& m_mainThreadQueue;
    const StringTable& m_strings;
    const std::string m_version;
    ShareIdentities m_identities;
    bool m_areIdentitiesCurrent = false;
    bool m_isOpen = false;
    std::list<Task> m_tasks;
    std::vector<Subscription> m_subscriptions;
    const std::shared_ptr<RemoteCommands*> m_self = std::make_shared<RemoteCommands*>(this); // what tasks hold weakly
};

} // namespace quorrel
