// SPDX-License-Identifier: GPL-3.0-or-later
#include "Foundation/OperationQueue.h"

#include "Foundation/ObserverList.h"

#include <condition_variable>
#include <deque>
#include <exception>
#include <mutex>
#include <system_error>
#include <thread>
#include <utility>
#include <vector>

namespace quorrel {

struct OperationQueue::State final {
    State(std::size_t max, std::function<void(std::string)> handler)
        : maxConcurrent(max)
        , failed(std::move(handler)) { }

    const std::size_t maxConcurrent;
    const std::function<void(std::string)> failed;
    ObserverList<> idleObservers;
    ObserverList<> endObservers;

    std::mutex mutex;
    std::condition_variable ended;
    std::deque<std::shared_ptr<Operation>> waiting;
    std::vector<std::shared_ptr<Operation>> running;
    std::size_t threads = 0;

    void work();
    void run(Operation& operation) const;
};

void OperationQueue::State::run(Operation& operation) const {
    try {
        operation.main();
    } catch (const std::exception& exception) {
        if (failed)
            failed(exception.what());
    } catch (...) {
        if (failed)
            failed("an exception of unknown type");
    }
}

void OperationQueue::State::work() {
    for (;;) {
        std::shared_ptr<Operation> operation;
        {
            const std::lock_guard lock(mutex);
            if (waiting.empty()) {
                --threads;
                ended.notify_all();
                return;
            }
            operation = std::move(waiting.front());
            waiting.pop_front();
            running.push_back(operation);
        }
        if (!operation->isCancelled())
            run(*operation);
        bool idle = false;
        {
            const std::lock_guard lock(mutex);
            std::erase(running, operation);
            idle = running.empty() && waiting.empty();
        }
        operation.reset();
        endObservers.notify();
        if (idle)
            idleObservers.notify();
    }
}

OperationQueue::OperationQueue(std::size_t maxConcurrentOperationCount, std::function<void(std::string)> failed)
    : m_state(std::make_shared<State>(maxConcurrentOperationCount, std::move(failed))) { }

OperationQueue::~OperationQueue() {
    cancelAllOperations();
    std::unique_lock lock(m_state->mutex);
    m_state->ended.wait(lock, [this] { return m_state->threads == 0; });
}

void OperationQueue::addOperation(std::shared_ptr<Operation> operation) {
    std::string reason;
    {
        const std::lock_guard lock(m_state->mutex);
        m_state->waiting.push_back(std::move(operation));
        if (m_state->threads >= m_state->maxConcurrent)
            return;
        try {
            std::thread([state = m_state] { state->work(); }).detach();
            ++m_state->threads;
            return;
        } catch (const std::system_error& error) {
            if (m_state->threads > 0)
                return; // one of the threads there are comes to it later
            operation = std::move(m_state->waiting.back());
            m_state->waiting.pop_back();
            reason = error.what();
        }
    }
    operation->cancel();
    if (m_state->failed)
        m_state->failed(reason);
}

void OperationQueue::cancelAllOperations() {
    std::deque<std::shared_ptr<Operation>> dropped;
    bool idle = false;
    {
        const std::lock_guard lock(m_state->mutex);
        dropped.swap(m_state->waiting);
        for (const auto& operation : dropped)
            operation->cancel();
        for (const auto& operation : m_state->running)
            operation->cancel();
        idle = !dropped.empty() && m_state->running.empty();
    }
    if (!dropped.empty())
        m_state->endObservers.notify();
    if (idle)
        m_state->idleObservers.notify();
}

std::size_t OperationQueue::operationCount() const {
    const std::lock_guard lock(m_state->mutex);
    return m_state->waiting.size() + m_state->running.size();
}

std::size_t OperationQueue::maxConcurrentOperationCount() const {
    return m_state->maxConcurrent;
}

Subscription OperationQueue::observeIdle(std::function<void()> callback) {
    return m_state->idleObservers.add(std::move(callback));
}

Subscription OperationQueue::observeEnds(std::function<void()> callback) {
    return m_state->endObservers.add(std::move(callback));
}

} // namespace quorrel
