// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Platform/RemoteShare.h"

namespace quorrel {

/// What other programs of the user's session reach. Main thread only; it must not throw.
class RemoteControlTarget {
public:
    virtual ~RemoteControlTarget() = default;

    [[nodiscard]] virtual RemoteProgram program() const = 0;
    [[nodiscard]] virtual std::vector<RemoteHost> hosts() = 0;
    [[nodiscard]] virtual std::vector<RemoteShare> shares() = 0;
    /// Replies once, when it is done or cannot be.
    virtual void perform(const RemoteCommand& command, RemoteReply reply) = 0;
};

/// The side of the program that keeps the catalogue. Nobody but the user's own programs gets through to the target.
/// Main thread only; nothing here waits.
class RemoteControl {
public:
    virtual ~RemoteControl() = default;

    /// From now on the target, which must outlive the control or its `stop`, is asked; again and again, should the
    /// way to others be lost and come back.
    virtual void start(RemoteControlTarget& target) = 0;
    /// Nobody reaches the target any more.
    virtual void stop() = 0;

    /// For whoever listens. Where those are told more slowly than it comes, of each share the last is told.
    virtual void tellShareChanged(const RemoteShare& share) = 0;
    virtual void tellSharesChanged() = 0;
};

} // namespace quorrel
