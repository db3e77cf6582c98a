// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Platform/RemoteShare.h"

namespace quorrel {

/// The side of a program that asks the one that keeps the catalogue. Main thread only; nothing here waits.
class RemoteClient {
public:
    enum class Presence {
        Absent,
        Silent, ///< one is there, but it does not answer
        There
    };
    struct Observer final {
        /// Soon after the start, and with each change.
        std::function<void(Presence presence, const RemoteProgram& program)> presence;
        std::function<void(const RemoteShare& share)> shareChanged;
        std::function<void()> sharesChanged;
    };
    template <typename T>
    using Answer = std::function<void(std::variant<std::vector<T>, RemoteFailure> answer)>;

    virtual ~RemoteClient() = default;

    virtual void start(Observer observer) = 0;
    /// No observer and no answer is called any more.
    virtual void stop() = 0;

    /// These fail within seconds where nobody answers.
    virtual void listHosts(Answer<RemoteHost> answer) = 0;
    virtual void listShares(Answer<RemoteShare> answer) = 0;
    /// As long as it takes; fails when the other program ends.
    virtual void perform(const RemoteCommand& command, RemoteReply reply) = 0;
};

} // namespace quorrel
