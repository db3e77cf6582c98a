// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Foundation/Clock.h"
#include "Foundation/Operation.h"
#include "Foundation/Subscription.h"

#include <cstddef>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

namespace quorrel {

/// Says what an operation does and to what, for operations of which only the last one asked for matters, and of which
/// no two may do something to one subject at once. It is only compared: the kind is a literal, and the operation keeps
/// its subject alive.
struct OperationKey final {
    std::string_view kind;
    const void* subject = nullptr;

    friend bool operator==(const OperationKey&, const OperationKey&) = default;
};

/// Runs operations on threads of its own, in the order in which they were added, so many at a time. One whose subject
/// another is at work on waits for its end, and lets those behind it go first.
///
/// Any thread. Threads exist only while there is work: an idle queue holds none. The destructor cancels everything and
/// waits for what runs; a program that must not wait ends its process instead.
class OperationQueue final {
public:
    /// `failed` is told, on the worker, of an exception that left an operation's `main`, and on the adding thread that
    /// no thread could be had; that operation is then cancelled.
    explicit OperationQueue(std::size_t maxConcurrentOperationCount, std::function<void(std::string what)> failed = {});
    ~OperationQueue();
    OperationQueue(const OperationQueue&) = delete;
    OperationQueue& operator=(const OperationQueue&) = delete;

    /// An operation may be added again, whatever became of it since.
    void addOperation(std::shared_ptr<Operation> operation);
    /// Cancels and drops the operation of that key that waits and has not started, if there is one: the new one takes
    /// its place, at the end. What is asked for over and over while the workers hang so waits once.
    void addOperation(std::shared_ptr<Operation> operation, const OperationKey& key);
    /// Cancels what waits, which then never starts, and what runs, which may look at its flag. Waits for nothing.
    void cancelAllOperations();
    /// Waiting and running operations together.
    [[nodiscard]] std::size_t operationCount() const;
    [[nodiscard]] std::size_t maxConcurrentOperationCount() const;
    /// Whether one of that key waits or runs.
    [[nodiscard]] bool holds(const OperationKey& key) const;

    /// Blocks until there are none, at most so long; whether there are none. Any thread but the queue's own.
    [[nodiscard]] bool waitUntilIdle(Seconds duration);

    /// Calls back on the worker that ended the last operation, or on the thread that cancelled it.
    Subscription observeIdle(std::function<void()> callback);
    /// Calls back on the worker that ended an operation, or on the thread that cancelled or replaced some, before that
    /// of the idle.
    Subscription observeEnds(std::function<void()> callback);

private:
    struct State;
    void add(std::shared_ptr<Operation> operation, const std::optional<OperationKey>& key);

    std::shared_ptr<State> m_state;
};

} // namespace quorrel
