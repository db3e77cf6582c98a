// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <atomic>

namespace quorrel {

/// A unit of work for an operation queue. `main` runs on a worker thread, which it may block, once for each time that
/// the operation is added.
///
/// `cancel` only sets a flag: one that waits is then never started, one that has started runs to its end unless it
/// looks at it.
class Operation {
public:
    Operation() = default;
    Operation(const Operation&) = delete;
    Operation& operator=(const Operation&) = delete;
    virtual ~Operation();

    virtual void main() = 0;

    void cancel() { m_cancelled = true; }
    [[nodiscard]] bool isCancelled() const { return m_cancelled; }

private:
    std::atomic<bool> m_cancelled = false;
};

} // namespace quorrel
