// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <chrono>
#include <condition_variable>
#include <mutex>

namespace quorrel {

/// Where one thread of a test waits until another has come so far.
class Gate final {
public:
    /// Adds one to what was counted.
    void open() {
        const std::lock_guard lock(m_mutex);
        ++m_count;
        m_opened.notify_all();
    }

    /// Blocks until it was opened so often; false after ten seconds.
    [[nodiscard]] bool wait(int count = 1) {
        std::unique_lock lock(m_mutex);
        return m_opened.wait_for(lock, std::chrono::seconds(10), [&] { return m_count >= count; });
    }

    [[nodiscard]] int count() const {
        const std::lock_guard lock(m_mutex);
        return m_count;
    }

private:
    mutable std::mutex m_mutex;
    std::condition_variable m_opened;
    int m_count = 0;
};

} // namespace quorrel
