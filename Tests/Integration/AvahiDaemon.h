// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Tests/Fakes/TemporaryFolder.h"

#include <string>
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
    /// Without leaving it the time to say goodbye to anybody.
    void kill();
    /// It is there and silent, until it is killed or goes on.
    void freeze() const;
    void thaw() const;

    /// For the next start: lines for the section "server" in place of the test bed's, or with none, those.
    void setServerOptions(const std::string& lines);

private:
    void reap();

    pid_t m_child = 0;
    TemporaryFolder m_folder;
    std::string m_configuration; ///< empty: the test bed's
};

} // namespace quorrel
