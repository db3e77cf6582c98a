// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <sys/types.h>

namespace quorrel {

/// The test bed's Avahi daemon, or one of our own in its place. One that we started ends with this object.
class AvahiDaemon final {
public:
    AvahiDaemon();
    AvahiDaemon(const AvahiDaemon&) = delete;
    AvahiDaemon& operator=(const AvahiDaemon&) = delete;
    ~AvahiDaemon();

    /// False when it did not end, or did not come up, within ten seconds. Starting when it runs does nothing.
    [[nodiscard]] bool stop();
    [[nodiscard]] bool start();

private:
    pid_t m_child = 0;
};

} // namespace quorrel
