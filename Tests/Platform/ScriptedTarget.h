// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Platform/RemoteControl.h"

#include <utility>
#include <vector>

namespace quorrel {

/// Answers as a test says, and keeps what it was asked. Main thread.
class ScriptedTarget final : public RemoteControlTarget {
public:
    [[nodiscard]] RemoteProgram program() const override { return { "/home/user/Quorrel2.plist", "1.2.3" }; }
    [[nodiscard]] std::vector<RemoteHost> hosts() override {
        ++asked;
        return hostList;
    }
    [[nodiscard]] std::vector<RemoteShare> shares() override {
        ++asked;
        return shareList;
    }
    void perform(const RemoteCommand& command, RemoteReply reply) override {
        commands.push_back(command);
        if (holdsReplies)
            held.push_back(std::move(reply));
        else
            reply(outcome);
    }

    std::vector<RemoteHost> hostList;
    std::vector<RemoteShare> shareList;
    RemoteOutcome outcome = std::vector<RemoteShare>();
    bool holdsReplies = false;
    std::vector<RemoteReply> held;
    std::vector<RemoteCommand> commands;
    int asked = 0; ///< for lists
};

} // namespace quorrel
