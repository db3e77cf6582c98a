// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Foundation/Operation.h"
#include "Foundation/Subscription.h"

#include <cstddef>
#include <functional>
#include <memory>
#include <string>

namespace quorrel {

/// Runs operations on threads of its own, in the order in which they were added, so many at a time.
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

    void addOperation(std::shared_ptr<Operation> operation);
    /// Cancels what waits, which then never starts, and what runs, which may look at its flag. Waits for nothing.
    void cancelAllOperations();
    /// Waiting and running operations together.
    [[nodiscard]] std::size_t operationCount() const;
    [[nodiscard]] std::size_t maxConcurrentOperationCount() const;

    /// Calls back on the worker that ended the last operation, or on the thread that cancelled it.
    Subscription observeIdle(std::function<void()> callback);
    /// Calls back on the worker that ended an operation, or on the thread that cancelled some, before that of the idle.
    Subscription observeEnds(std::function<void()> callback);

private:
    struct State;
    std::shared_ptr<State> m_state;
};

} // namespace quorrel
