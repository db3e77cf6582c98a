// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <functional>

namespace quorrel {

/// Calls from the main GLib context whenever a file descriptor has something to tell. Main thread only; destroying it
/// stops it, and leaves the descriptor open.
class DescriptorWatch final {
public:
    enum class Event {
        Readable, ///< or at its end
        Writable, ///< or of no use any more
        Exceptional, ///< as the kernel's lists tell that they changed
    };

    /// The action must not throw; it may destroy the watch.
    DescriptorWatch(int descriptor, Event event, std::function<void()> action);
    DescriptorWatch(const DescriptorWatch&) = delete;
    DescriptorWatch& operator=(const DescriptorWatch&) = delete;
    ~DescriptorWatch();

private:
    struct Callbacks;

    const std::function<void()> m_action;
    const unsigned m_source;
};

} // namespace quorrel
