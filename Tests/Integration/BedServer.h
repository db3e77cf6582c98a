// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <sys/types.h>

#include <string>

namespace quorrel {

/// One of the servers that `scripts/testbed` runs, to be stopped and killed by a test. The destructor leaves it
/// running, whatever became of the test.
class BedServer final {
public:
    /// As the test bed calls it: "smb", "dav", "davs", "ftp", "afp", "apache".
    explicit BedServer(std::string name);
    ~BedServer();
    BedServer(const BedServer&) = delete;
    BedServer& operator=(const BedServer&) = delete;

    /// It keeps its port, on which connections are accepted and never answered.
    [[nodiscard]] bool freeze();
    [[nodiscard]] bool thaw();
    /// With all its processes and connections; its port refuses from now on. Returns when they are gone.
    [[nodiscard]] bool kill();
    /// Returns when it answers on its old port.
    [[nodiscard]] bool restart();

private:
    enum class State { Running, Frozen, Killed };

    /// Its process group; a restart gives it another one.
    [[nodiscard]] pid_t group() const;

    const std::string m_name;
    State m_state = State::Running;
};

} // namespace quorrel
