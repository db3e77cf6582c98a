// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Tests/Integration/OtherResolvConf.h"

#include <string>

#include <sys/types.h>

namespace quorrel {

/// A second machine, as a network namespace with a link to the test bed's own, and a name server on it, the only one
/// that is asked. All of it goes with this object.
///
/// Our end is qr0 with 10.78.0.1 and fd78::1, the other is qr1 with .2 and ::2. The server knows host.lan.test.
class LinkedHosts final {
public:
    LinkedHosts();
    LinkedHosts(const LinkedHosts&) = delete;
    LinkedHosts& operator=(const LinkedHosts&) = delete;
    ~LinkedHosts();

    /// Both stand, and the server answers.
    [[nodiscard]] bool isReady() const { return m_isReady; }

    /// Runs a shell's command here, or on the other machine; whether it went well.
    static bool here(const std::string& command);
    bool there(const std::string& command) const;
    /// Both ends up, with all their addresses.
    bool connect() const;

    bool startNameServer();
    void stopNameServer() { end(m_nameServer); }
    /// It is there and silent, and again not.
    void freezeNameServer() const;
    void thawNameServer() const;

private:
    static pid_t spawn(const std::string& command);
    static void end(pid_t& process);

    const OtherResolvConf m_resolvConf { "nameserver 10.78.0.2\n" };
    bool m_isReady = false;
    pid_t m_machine = 0;
    pid_t m_nameServer = 0;
};

} // namespace quorrel
