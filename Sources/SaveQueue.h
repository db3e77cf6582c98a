// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Foundation/Clock.h"
#include "Foundation/OperationQueue.h"

#include <functional>
#include <memory>

namespace quorrel {

class Log;
class MainThreadQueue;

/// How long a program that ends waits for a disk to take what is saved.
inline constexpr Seconds savePatience { 5 };

/// Saves on a thread of its own, which is there only while there is something to save: to put a large catalogue into a
/// file, and to wait for the disk, takes longer than a window may stand still. One save at a time, in order; one that
/// has not begun gives way to the next. Main thread, where nothing else is said.
class SaveQueue final {
public:
    /// The references must outlive the queue.
    SaveQueue(MainThreadQueue& mainThreadQueue, Log& log);
    SaveQueue(const SaveQueue&) = delete;
    SaveQueue& operator=(const SaveQueue&) = delete;
    /// Waits for what is left. A program that must not wait ends its process instead.
    ~SaveQueue();

    /// Saves at once where no thread is to be had.
    void add(std::function<void()> save);
    /// For a save, on its thread: what the main thread is to do about it, in a turn of its own or when it waits for the
    /// end of the saves.
    void report(std::function<void()> task);

    /// Any thread.
    [[nodiscard]] bool isSaving() const;
    /// Blocks until nothing is left to save, at most so long; whether nothing is. Any thread.
    bool waitUntilSaved(Seconds patience);
    /// The same, and does what is reported.
    bool finish(Seconds patience);
    /// For as long as it takes.
    void finish();

private:
    struct Reports;

    MainThreadQueue& m_mainThreadQueue;
    const std::shared_ptr<Reports> m_reports; // held weakly by what is posted to the main thread
    OperationQueue m_queue;
};

} // namespace quorrel
