// SPDX-License-Identifier: GPL-3.0-or-later
#include "Foundation/OperationQueue.h"

#include "Foundation/ConditionVariable.h"
#include "Foundation/ObserverList.h"

#include <algorithm>
#include <chrono>
#include <exception>
#include <functional>
#include <iterator>
#include <list>
#include <system_error>
#include <thread>
#include <unordered_map>
#include <utility>
#include <vector>

namespace quorrel {

namespace {

struct Entry final {
    std::shared_ptr<Operation> operation;
    std::optional<OperationKey> key;
};

struct KeyHash final {
    [[nodiscard]] std::size_t operator()(const OperationKey& key) const {
        constexpr std::size_t prime = 31;
        return std::hash<std::string_view>()(key.kind) * prime + std::hash<const void*>()(key.subject);
    }
};

} // namespace

struct OperationQueue::State final : std::enable_shared_from_this<State> {
    State(std::size_t max, std::function<void(std::string)> handler)
        : maxConcurrent(max)
        , failed(std::move(handler)) { }

    const std::size_t maxConcurrent;
    const std::function<void(std::string)> failed;
    ObserverList<> idleObservers;
    ObserverList<> endObservers;

    Mutex mutex;
    ConditionVariable ended;
    std::list<Entry> waiting GUARDED_BY(mutex);
    // Those of them with a key
    std::unordered_map<OperationKey, std::list<Entry>::iterator, KeyHash> keyed GUARDED_BY(mutex);
    std::vector<Entry> running GUARDED_BY(mutex);
    std::size_t threads GUARDED_BY(mutex) = 0;

    void work();
    void run(Operation& operation) const;

    /// If one more may run. Why nothing will ever run what waits, if so.
    [[nodiscard]] std::optional<std::string> startThread() REQUIRES(mutex);
    void append(Entry entry) REQUIRES(mutex);
    Entry takeOut(std::list<Entry>::iterator place) REQUIRES(mutex);
    /// The first that may run now; absent when there is none.
    [[nodiscard]] std::optional<Entry> takeNext() REQUIRES(mutex);
    [[nodiscard]] bool isBusy(const Entry& entry) const REQUIRES(mutex);
    [[nodiscard]] bool isIdle() const REQUIRES(mutex) { return waiting.empty() && running.empty(); }
};

std::optional<std::string> OperationQueue::State::startThread() {
    if (threads >= maxConcurrent)
        return std::nullopt;
    try {
        std::thread([state = shared_from_this()] { state->work(); }).detach();
        ++threads;
    } catch (const std::system_error& error) {
        if (threads == 0)
            return error.what(); // otherwise one of the threads there are comes to it later
    }
    return std::nullopt;
}

void OperationQueue::State::append(Entry entry) {
    const auto place = waiting.insert(waiting.end(), std::move(entry));
    if (place->key)
        keyed[*place->key] = place;
}

Entry OperationQueue::State::takeOut(std::list<Entry>::iterator place) {
    auto entry = std::move(*place);
    waiting.erase(place);
    if (entry.key)
        keyed.erase(*entry.key);
    return entry;
}

std::optional<Entry> OperationQueue::State::takeNext() {
    // Few are passed over: those that wait for what runs now, one of each kind.
    auto next = waiting.begin();
    while (next != waiting.end() && isBusy(*next))
        ++next;
    return next == waiting.end() ? std::nullopt : std::optional(takeOut(next));
}

bool OperationQueue::State::isBusy(const Entry& entry) const {
    return entry.key && std::any_of(running.begin(), running.end(), [&](const Entry& each) {
        return each.key && each.key->subject == entry.key->subject;
    });
}

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
            const MutexLock lock(mutex);
            auto next = takeNext();
            if (!next) { // the worker whose end is waited for goes on with what waits for it
                --threads;
                ended.notifyAll();
                return;
            }
            operation = next->operation;
            running.push_back(std::move(*next));
        }
        if (!operation->isCancelled())
            run(*operation);
        bool idle = false;
        {
            const MutexLock lock(mutex);
            // It may run twice at once.
            running.erase(std::find_if(
                running.begin(), running.end(), [&](const Entry& each) { return each.operation == operation; }));
            idle = isIdle();
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
    MutexLock lock(m_state->mutex);
    while (m_state->threads > 0)
        m_state->ended.wait(lock);
}

void OperationQueue::addOperation(std::shared_ptr<Operation> operation) {
    add(std::move(operation), std::nullopt);
}

void OperationQueue::addOperation(std::shared_ptr<Operation> operation, const OperationKey& key) {
    add(std::move(operation), key);
}

void OperationQueue::add(std::shared_ptr<Operation> operation, const std::optional<OperationKey>& key) {
    std::shared_ptr<Operation> replaced;
    std::optional<std::string> failure;
    {
        const MutexLock lock(m_state->mutex);
        if (const auto found = key ? m_state->keyed.find(*key) : m_state->keyed.end(); found != m_state->keyed.end())
            replaced = m_state->takeOut(found->second).operation;
        if (replaced && replaced != operation)
            replaced->cancel();
        m_state->append({ operation, key });
        failure = m_state->startThread();
        if (failure)
            static_cast<void>(m_state->takeOut(std::prev(m_state->waiting.end())));
    }
    if (failure) {
        operation->cancel();
        if (m_state->failed)
            m_state->failed(*failure);
    }
    operation.reset();
    if (std::exchange(replaced, nullptr))
        m_state->endObservers.notify();
}

void OperationQueue::cancelAllOperations() {
    std::list<Entry> dropped;
    bool idle = false;
    {
        const MutexLock lock(m_state->mutex);
        dropped.swap(m_state->waiting);
        m_state->keyed.clear();
        for (const auto& each : dropped)
            each.operation->cancel();
        for (const auto& each : m_state->running)
            each.operation->cancel();
        idle = !dropped.empty() && m_state->running.empty();
    }
    if (!dropped.empty())
        m_state->endObservers.notify();
    if (idle)
        m_state->idleObservers.notify();
}

std::size_t OperationQueue::operationCount() const {
    const MutexLock lock(m_state->mutex);
    return m_state->waiting.size() + m_state->running.size();
}

std::size_t OperationQueue::maxConcurrentOperationCount() const {
    return m_state->maxConcurrent;
}

bool OperationQueue::holds(const OperationKey& key) const {
    const MutexLock lock(m_state->mutex);
    return m_state->keyed.contains(key)
        || std::any_of(
            m_state->running.begin(), m_state->running.end(), [&](const Entry& each) { return each.key == key; });
}

bool OperationQueue::waitUntilIdle(Seconds duration) {
    using std::chrono::steady_clock;
    const auto end = steady_clock::now() + std::chrono::ceil<steady_clock::duration>(duration);
    MutexLock lock(m_state->mutex);
    while (!m_state->isIdle() && steady_clock::now() < end)
        m_state->ended.waitUntil(lock, end); // a thread ends where it finds no more to do
    return m_state->isIdle();
}

Subscription OperationQueue::observeIdle(std::function<void()> callback) {
    return m_state->idleObservers.add(std::move(callback));
}

Subscription OperationQueue::observeEnds(std::function<void()> callback) {
    return m_state->endObservers.add(std::move(callback));
}

} // namespace quorrel
