// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Tests/Fakes/TemporaryFolder.h"

#include <string>
#include <sys/types.h>

namespace quorrel {

/// A system bus of our own, which this process and those that it starts use from its making on. It ends with this
/// object.
class OwnBus final {
public:
    OwnBus();
    OwnBus(const OwnBus&) = delete;
    OwnBus& operator=(const OwnBus&) = delete;
    ~OwnBus() { kill(); }

    /// False when it did not come up within ten seconds.
    [[nodiscard]] bool start();
    void kill();

private:
    [[nodiscard]] bool accepts() const;

    TemporaryFolder m_folder;
    const std::string m_socket;
    pid_t m_child = 0;
};

} // namespace quorrel
