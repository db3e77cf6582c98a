// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Tests/Fakes/TemporaryFolder.h"

#include <sys/types.h>

#include <string>

namespace quorrel {

/// A session message bus of a test's own, at an address that stays when it is stopped and started again. Main thread.
class DesktopBus final {
public:
    DesktopBus() = default;
    DesktopBus(const DesktopBus&) = delete;
    DesktopBus& operator=(const DesktopBus&) = delete;
    ~DesktopBus() { stop(); }

    [[nodiscard]] std::string address() const { return "unix:path=" + socket(); }
    [[nodiscard]] std::string socket() const { return m_folder.path("bus"); }

    /// Whether it listens, within ten seconds.
    [[nodiscard]] bool start();
    void stop();

private:
    const TemporaryFolder m_folder;
    pid_t m_daemon = 0;
};

} // namespace quorrel
