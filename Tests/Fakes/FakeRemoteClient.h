// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Foundation/MainThreadQueue.h"
#include "Platform/RemoteClient.h"

#include <functional>
#include <utility>
#include <vector>

namespace quorrel {

/// Another program as a test has it. Everything comes in a later turn, as from a bus. Main thread.
class FakeRemoteClient final : public RemoteClient {
public:
    explicit FakeRemoteClient(MainThreadQueue& queue)
        : m_queue(queue) { }

    void start(Observer observer) override {
        m_observer = std::move(observer);
        ++starts;
        tellPresence();
        if (onStart)
            onStart();
    }
    void stop() override { m_observer = {}; }

    void listHosts(Answer<RemoteHost> answer) override { list(hosts, std::move(answer)); }
    void listShares(Answer<RemoteShare> answer) override { list(shares, std::move(answer)); }

    void perform(const RemoteCommand& command, RemoteReply reply) override {
        commands.push_back(command);
        m_queue.post([this, command, reply = std::move(reply)] {
            reply(onCommand ? onCommand(command) : RemoteOutcome(std::vector<RemoteShare>()));
        });
    }

    /// Its own presence, now.
    void tellPresence() {
        m_queue.post([this] {
            if (const auto tell = m_observer.presence)
                tell(presence, program);
        });
    }
    void tell(const RemoteShare& share) {
        m_queue.post([this, share] {
            if (const auto tell = m_observer.shareChanged)
                tell(share);
        });
    }
    void tellShares() {
        m_queue.post([this] {
            if (const auto tell = m_observer.sharesChanged)
                tell();
        });
    }

    Presence presence = Presence::There;
    RemoteProgram program;
    std::vector<RemoteHost> hosts;
    std::vector<RemoteShare> shares;
    bool answersLists = true;
    std::function<RemoteOutcome(const RemoteCommand&)> onCommand; ///< else all succeeds, and nothing becomes of it
    std::function<void()> onStart;
    std::vector<RemoteCommand> commands;
    int starts = 0;

private:
    template <typename T>
    void list(const std::vector<T>& items, Answer<T> answer) {
        m_queue.post([this, &items, answer = std::move(answer)] {
            if (answersLists)
                answer(items);
            else
                answer(RemoteFailure { RemoteFailure::Kind::NoAnswer, "Timeout was reached" });
        });
    }

    MainThreadQueue& m_queue;
    Observer m_observer;
};

} // namespace quorrel
