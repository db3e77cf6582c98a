// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Foundation/ConditionVariable.h"

#include <optional>

namespace quorrel {

class OperationQueue;
class VolumeService;

/// The meeting of a run on the main thread and a signal that wants to end it.
class InterruptGuard final {
public:
    /// The volume service must outlive the guard.
    explicit InterruptGuard(VolumeService& volumes);

    /// While a queue is guarded, an interruption cancels it. Main thread.
    void guard(OperationQueue& queue);
    /// The queue is about to go. Waits for an interruption that is at work, and tells the signal of one that was. Main
    /// thread.
    [[nodiscard]] std::optional<int> release();
    [[nodiscard]] bool isInterrupted() const;

    /// Cancels the guarded queue, makes the volume service give up, and waits a little for what runs; false when
    /// operations were left. Any thread but the main one.
    bool interrupt(int signal);

private:
    VolumeService& m_volumes;
    mutable Mutex m_mutex;
    ConditionVariable m_changed;
    OperationQueue* m_queue GUARDED_BY(m_mutex) = nullptr;
    std::optional<int> m_signal GUARDED_BY(m_mutex);
    bool m_isAtWork GUARDED_BY(m_mutex) = false;
};

} // namespace quorrel
